#include "host/Text.h"

#include <clocale>
#include <cwchar>
#include <iterator>

#include <fmt/format.h>
#include <locale.h>

namespace VaroHost {

namespace {

bool isPlain(unsigned char byte) noexcept { return byte >= 0x20 && byte < 0x7f && byte != '\\'; }

bool isPlain(std::string_view bytes) noexcept {
  for (char const byte : bytes) {
    if (!isPlain(static_cast<unsigned char>(byte))) {
      return false;
    }
  }
  return true;
}

/// Characters that would change the line around them or hide in it.
bool isTreacherous(char32_t code) noexcept {
  struct Range {
    char32_t first, last;
  };
  static constexpr Range ranges[] = {{0x00, 0x1f},     {0x7f, 0x9f},      {0xad, 0xad},     {0x61c, 0x61c},
                                     {0x200b, 0x200f}, {0x2028, 0x202e},  {0x2060, 0x206f}, {0xfeff, 0xfeff},
                                     {0xfff9, 0xfffb}, {0xe0000, 0xe007f}};
  for (Range const& range : ranges) {
    if (code >= range.first && code <= range.last) {
      return true;
    }
  }
  return false;
}

/// Width classes come from the C library's UTF-8 locale, whatever locale the user runs.
class Utf8Locale {
 public:
  Utf8Locale() : old_(uselocale(shared())) {}
  ~Utf8Locale() { uselocale(old_); }
  Utf8Locale(Utf8Locale const&) = delete;
  Utf8Locale& operator=(Utf8Locale const&) = delete;

  static std::size_t width(char32_t code) {
    int const columns = wcwidth(static_cast<wchar_t>(code));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
  }

 private:
  static locale_t shared() {
    // Never freed: it serves until the process ends.
    static locale_t const locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
  }

  locale_t old_;
};

}  // namespace

std::optional<Utf8Character> Utf8Character::first(std::string_view bytes) noexcept {
  auto const byte = [bytes](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
  unsigned char const lead = byte(0);
  if (lead < 0x80) {
    return Utf8Character{lead, 1};
  }
  std::size_t const length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || bytes.size() < length) {
    return std::nullopt;
  }
  char32_t code = lead & (0x7fU >> length);
  for (std::size_t at = 1; at < length; ++at) {
    if ((byte(at) & 0xc0U) != 0x80) {
      return std::nullopt;
    }
    code = code << 6U | (byte(at) & 0x3fU);
  }
  bool const overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  bool const surrogate = code >= 0xd800 && code <= 0xdfff;
  if (overlong || surrogate || code > 0x10ffff) {
    return std::nullopt;
  }
  return Utf8Character{code, length};
}

std::size_t findInvalidUtf8(std::string_view bytes) noexcept {
  std::size_t at = 0;
  while (at < bytes.size()) {
    auto const character = Utf8Character::first(bytes.substr(at));
    if (!character) {
      return at;
    }
    at += character->length;
  }
  return std::string_view::npos;
}

std::string printable(std::string_view bytes) {
  if (isPlain(bytes)) {
    return std::string(bytes);
  }
  std::string text;
  while (!bytes.empty()) {
    auto const character = Utf8Character::first(bytes);
    std::size_t const length = character ? character->length : 1;
    if (!character || (length == 1 && isTreacherous(character->code))) {
      fmt::format_to(std::back_inserter(text), "\\x{:02x}", static_cast<unsigned char>(bytes[0]));
    } else if (isTreacherous(character->code)) {
      fmt::format_to(std::back_inserter(text), "\\u{{{:04x}}}", static_cast<std::uint32_t>(character->code));
    } else if (character->code == '\\') {
      text += "\\\\";
    } else {
      text += bytes.substr(0, length);
    }
    bytes.remove_prefix(length);
  }
  return text;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t columns = 0;
  std::size_t at = 0;
  while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) {
    ++at;
    ++columns;
  }
  if (at == text.size()) {
    return columns;
  }
  Utf8Locale const locale;
  while (at < text.size()) {
    auto const character = Utf8Character::first(text.substr(at));
    columns += character ? Utf8Locale::width(character->code) : 1;
    at += character ? character->length : 1;
  }
  return columns;
}

std::string excerpt(std::string_view bytes, std::size_t columns) {
  // No column shows more than a few bytes: what lies far behind cannot be seen and need not be converted.
  constexpr std::size_t bytesAColumn = 16;
  std::string_view const seen = bytes.substr(0, (columns + 1) * bytesAColumn);
  std::string text = printable(seen);
  if (seen.size() == bytes.size() && displayWidth(text) <= columns) {
    return text;
  }
  std::size_t const room = columns < 3 ? 0 : columns - 3;
  std::size_t at = 0;
  std::size_t used = 0;
  Utf8Locale const locale;
  while (at < text.size()) {
    auto const character = Utf8Character::first(std::string_view(text).substr(at));
    std::size_t const length = character ? character->length : 1;
    used += character ? Utf8Locale::width(character->code) : 1;
    if (used > room) {
      break;
    }
    at += length;
  }
  text.resize(at);
  return text + "...";
}

}  // namespace VaroHost
