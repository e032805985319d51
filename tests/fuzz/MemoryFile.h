#pragma once

/// \file
/// A file in memory, for what reads or writes descriptors.

#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include "Fuzz.h"

namespace Fuzz {

class MemoryFile {
 public:
  /// Stands before these bytes.
  explicit MemoryFile(std::string_view bytes = {}) : descriptor_(::memfd_create("fuzz", MFD_CLOEXEC)) {
    require(descriptor_ >= 0 &&
                ::pwrite(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
            "there is a file");
  }
  MemoryFile(MemoryFile const&) = delete;
  MemoryFile& operator=(MemoryFile const&) = delete;
  ~MemoryFile() { ::close(descriptor_); }

  int descriptor() const noexcept { return descriptor_; }
  std::string bytes() const {
    std::string text(static_cast<std::size_t>(::lseek(descriptor_, 0, SEEK_END)), '\0');
    require(::pread(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "it can be read");
    return text;
  }

 private:
  int const descriptor_;
};

}  // namespace Fuzz
