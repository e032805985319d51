#pragma once

/// \file
/// Cuts a file, pipe or terminal into lines, with bounded memory.
///
/// Guarantees
///   A  Lines come without their newline; the last one needs none. Offsets and line numbers are exact.
///   B  A line longer than the limit is reported as such and skipped whole; the next one is read normally.
///   C  `next` reads at most once, so it blocks at most once, and never while `hasLine()`.
///
/// Use
///
///     VaroHost::LineReader lines(descriptor);
///     while (true) {
///       switch (lines.next()) { ... }
///     }

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace VaroHost {

class LineReader {
 public:
  enum class Result {
    line,     ///< `line()` holds the next one
    tooLong,  ///< a line beyond the limit was skipped
    again,    ///< the line is not complete yet: call once more when there is input
    end,      ///< no more input
    failed    ///< `error()` says why
  };

  static constexpr std::size_t maxLineBytes = 1U << 20U;

  /// The descriptor stays the caller's.
  explicit LineReader(int descriptor);

  Result next();
  /// Valid until the next call of `next`.
  std::string_view line() const noexcept { return line_; }
  /// Number of the line that `next` reported last, from 1.
  std::uint64_t number() const noexcept { return number_; }
  /// Bytes consumed so far.
  std::uint64_t offset() const noexcept { return offset_; }
  int error() const noexcept { return error_; }
  /// Whether the next line is in the buffer already.
  bool hasLine() const noexcept;

 private:
  bool fill();
  bool search() noexcept;
  Result taken(std::size_t bytes, bool newline);

  int const descriptor_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  /// Bytes from `begin_` known to hold no newline.
  std::size_t searched_ = 0;
  bool skipping_ = false;
  bool atEnd_ = false;
  int error_ = 0;
  std::uint64_t number_ = 0;
  std::uint64_t offset_ = 0;
  std::string_view line_;
};

}  // namespace VaroHost
