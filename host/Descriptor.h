#pragma once

/// \file
/// A file descriptor that is closed with its owner.
///
/// Guarantees
///   A  It is closed once, also when an exception leaves the owner; a negative one was never open.
///
/// Use
///
///     VaroHost::Descriptor const input(::open(file, O_RDONLY | O_CLOEXEC));
///     if (input.number < 0) fail(errno);

#include <unistd.h>

namespace VaroHost {

struct Descriptor {
  Descriptor() noexcept = default;
  explicit Descriptor(int open) noexcept : number(open) {}
  ~Descriptor() {
    if (number >= 0) {
      ::close(number);
    }
  }
  Descriptor(Descriptor const&) = delete;
  Descriptor& operator=(Descriptor const&) = delete;

  int number = -1;
};

}  // namespace VaroHost
