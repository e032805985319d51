#include "host/ErrdisableFile.h"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Descriptor.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

using Result = ErrdisableFile::Result;

ErrdisableFile refused(std::string const& what, int error) { return {Result::refused, Trouble(what, error).what()}; }

bool isSame(timespec const& a, timespec const& b) noexcept { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

ErrdisableFile readOpen(int descriptor) {
  struct stat before {};
  if (::fstat(descriptor, &before) != 0 || !S_ISREG(before.st_mode)) {
    return {Result::refused, "not a regular file"};
  }
  if (before.st_size > ErrdisableFile::maxBytes) {
    return {Result::refused, "larger than 16 MiB"};
  }
  std::string text(static_cast<std::size_t>(before.st_size), '\0');
  std::size_t done = 0;
  ssize_t got = 1;
  while (done < text.size() && got > 0) {
    got = ::read(descriptor, text.data() + done, text.size() - done);
    done += got > 0 ? static_cast<std::size_t>(got) : 0;
  }
  if (got < 0) {
    return refused("cannot be read", errno);
  }
  struct stat after {};
  bool const isUnchanged = done == text.size() && ::fstat(descriptor, &after) == 0 && after.st_size == before.st_size &&
                           isSame(after.st_mtim, before.st_mtim) && isSame(after.st_ctim, before.st_ctim);
  return isUnchanged ? ErrdisableFile{Result::text, std::move(text)} : ErrdisableFile{Result::changing, ""};
}

ErrdisableFile readOnce(std::string const& file) {
  // Nonblocking: a pipe in the file's place must not stop everything.
  Descriptor const descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (descriptor.number < 0) {
    return errno == ENOENT ? ErrdisableFile{Result::absent, ""} : refused("cannot open", errno);
  }
  return readOpen(descriptor.number);
}

}  // namespace

ErrdisableFile ErrdisableFile::read(std::string const& file) {
  constexpr int attempts = 3;
  ErrdisableFile read{Result::changing, ""};
  for (int count = 0; count < attempts && read.result == Result::changing; ++count) {
    read = readOnce(file);
  }
  return read;
}

}  // namespace VaroHost
