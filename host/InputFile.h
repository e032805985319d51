#pragma once

/// \file
/// A file that a command reads: opened, described and closed.
///
/// Guarantees
///   A  "-" is standard input, which is never closed.
///   B  What cannot be opened or is a directory is trouble, named in the message.
///
/// Use
///
///     VaroHost::InputFile input(options.file);
///     VaroHost::LineReader lines(input.descriptor());

#include <cstdint>
#include <string>

namespace VaroHost {

class InputFile {
 public:
  /// Errors: `Trouble`.
  explicit InputFile(std::string const& file);
  ~InputFile();
  InputFile(InputFile const&) = delete;
  InputFile& operator=(InputFile const&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  /// As messages name it.
  std::string const& name() const noexcept { return name_; }
  /// Bytes of a regular file, else 0.
  std::uint64_t size() const noexcept { return size_; }
  bool isRegular() const noexcept { return isRegular_; }

  /// Everything from here to the end. Errors: `Trouble` when it cannot be read or has more than `limit` bytes.
  std::string readAll(std::size_t limit) const;

 private:
  int descriptor_ = -1;
  std::string name_;
  std::uint64_t size_ = 0;
  bool isRegular_ = false;
};

}  // namespace VaroHost
