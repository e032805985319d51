#pragma once

/// \file
/// Foreign text on a terminal: names and reasons may hold any bytes, a table and a message must survive them.
///
/// Guarantees
///   A  What `printable` returns is valid UTF-8 on one line, without control, direction or invisible characters: those
///      stand as `\xHH` (bytes) or `\u{HHHH}` (characters).
///   B  `displayWidth` counts terminal columns: wide characters two, combining ones none.
///   C  `excerpt` never cuts a character in two.
///
/// Use
///
///     out += VaroHost::printable(name);

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace VaroHost {

/// One character at the start of `bytes`, which must not be empty.
struct Utf8Character {
  char32_t code = 0;
  std::size_t length = 0;

  /// Null when the bytes are not well-formed UTF-8 (overlong, surrogate, truncated, beyond U+10FFFF).
  static std::optional<Utf8Character> first(std::string_view bytes) noexcept;
};

/// Offset of the first byte that is not well-formed UTF-8, or `npos`.
std::size_t findInvalidUtf8(std::string_view bytes) noexcept;

std::string printable(std::string_view bytes);
/// Columns of a text that `printable` returned.
std::size_t displayWidth(std::string_view text);
/// `printable`, cut with "..." after at most `columns` columns.
std::string excerpt(std::string_view bytes, std::size_t columns = 60);
/// What the word behind a number ends in.
constexpr std::string_view plural(std::size_t count) noexcept { return count == 1 ? "" : "s"; }

}  // namespace VaroHost
