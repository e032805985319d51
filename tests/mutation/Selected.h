#pragma once

/// \file
/// Put in front of every source of a mutated tree (and only there): which of the changes compiled into it acts.
///
/// `VARO_MUTANT=N` in the environment selects one. `VARO_MUTANTS_REACHED=FILE` selects none and marks in FILE, a byte
/// each, the changes whose place is passed; the file is mapped, so the marks outlive every kind of end. Works before
/// any constructor ran: the state is constant-initialised.

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varoMutation {

inline constexpr int unread = -3;
inline constexpr int marking = -2;
inline constexpr int none = -1;

inline constinit int selected = unread;
inline constinit unsigned char* marks = nullptr;
inline constinit long markCount = 0;

[[gnu::noinline, gnu::cold]] inline void read() noexcept {
  int const error = errno;
  int now = none;
  if (char const* const number = std::getenv("VARO_MUTANT")) {
    now = std::atoi(number);
  } else if (char const* const file = std::getenv("VARO_MUTANTS_REACHED")) {
    int const fd = ::open(file, O_RDWR | O_CLOEXEC);
    struct stat status {};
    if (fd >= 0 && ::fstat(fd, &status) == 0) {
      void* const address =
          ::mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
      if (address != MAP_FAILED) {
        marks = static_cast<unsigned char*>(address);
        markCount = status.st_size;
        now = marking;
      }
    }
    if (fd >= 0) {
      ::close(fd);
    }
  }
  errno = error;
  selected = now;
}

/// Whether the change of that number acts.
[[gnu::always_inline]] inline bool on(int number) noexcept {
  if (selected < none) [[unlikely]] {
    if (selected == unread) {
      read();
    }
    if (selected == marking && number < markCount) {
      marks[number] = 1;
      return false;
    }
  }
  return selected == number;
}

}  // namespace varoMutation
