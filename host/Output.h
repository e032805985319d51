#pragma once

/// \file
/// Standard output as a command sees it: buffered, and calm when the reader has gone.
///
/// Guarantees
///   A  After the reader closed a pipe, or the terminal was closed, everything written is dropped; `ended()` tells, so
///      that the command can stop.
///   B  Any other failure to write is kept in `error()`; nothing throws.
///
/// Use
///
///     VaroHost::Output out(STDOUT_FILENO);
///     out.print("{} interfaces\n", count);

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace VaroHost {

class Output {
 public:
  explicit Output(int descriptor) noexcept;
  ~Output() { flush(); }
  Output(Output const&) = delete;
  Output& operator=(Output const&) = delete;

  void write(std::string_view text);
  template <class... Args>
  void print(fmt::format_string<Args...> pattern, Args&&... args) {
    fmt::format_to(std::back_inserter(buffer_), pattern, std::forward<Args>(args)...);
    flushWhenLarge();
  }
  void flush() noexcept;

  /// What fits on a screen.
  struct Size {
    std::size_t lines;
    std::size_t columns;
  };

  bool isTerminal() const noexcept { return isTerminal_; }
  /// A terminal that understands more than lines.
  bool isScreen() const noexcept;
  /// The terminal's size; 24 by 80 where it is not known.
  Size screenSize() const noexcept;
  /// The reader has gone, or writing failed: there is no point in going on.
  bool ended() const noexcept { return error_ != 0; }
  /// The number of the error that ended the output, 0 while all is well and for a reader that went.
  int error() const noexcept;

 private:
  static constexpr std::size_t large = 1U << 16U;

  void flushWhenLarge() noexcept {
    if (buffer_.size() >= large) {
      flush();
    }
  }

  int const descriptor_;
  /// At the start: of a terminal that was closed it cannot be told any more.
  bool const isTerminal_;
  int error_ = 0;
  std::string buffer_;
};

}  // namespace VaroHost
