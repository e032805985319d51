#pragma once

/// \file
/// A name as people type it to choose among managers and blocks.
///
/// Guarantees
///   A  A text with `*`, `?` or `[` is a shell pattern of the whole name; `*` also matches slashes, as names have them.
///   B  Any other text is a plain name: it matches that name exactly, and every name that begins with it. Whoever asks
///      decides whether the latter counts.
///   C  Names are bytes; a zero byte is matched by `?` and `*` as any other.
///
/// Use
///
///     if (VaroHost::NamePattern("Ethernet1-*").match(name) != VaroHost::NamePattern::Match::none) show(name);

#include <string>
#include <string_view>
#include <utility>

namespace VaroHost {

class NamePattern {
 public:
  enum class Match { none, prefix, whole };

  explicit NamePattern(std::string text)
    : text_(std::move(text)), isShellPattern_(text_.find_first_of("*?[") != std::string::npos) {}

  std::string const& text() const noexcept { return text_; }
  Match match(std::string_view name) const;

 private:
  std::string const text_;
  bool const isShellPattern_;
};

}  // namespace VaroHost
