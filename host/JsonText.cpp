#include "host/JsonText.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "host/Text.h"

namespace VaroHost {

namespace {

/// Removes everything up to the mark; false when it is not there.
bool skipBehind(std::string_view& text, std::string_view mark) noexcept {
  std::size_t const at = text.find(mark);
  if (at != std::string_view::npos) {
    text.remove_prefix(at + mark.size());
  }
  return at != std::string_view::npos;
}

/// What the library calls a kind of token, for people; null for what is none.
std::optional<std::string> tokenText(std::string_view token) {
  static constexpr std::pair<std::string_view, std::string_view> words[] = {
      {"string literal", "a string"},       {"number literal", "a number"}, {"true literal", "true"},
      {"false literal", "false"},           {"null literal", "null"},       {"end of input", "the end"},
      {"'[', '{', or a literal", "a value"}};
  for (auto const& [theirs, ours] : words) {
    if (token == theirs) {
      return std::string(ours);
    }
  }
  // A character between quotes.
  if (token.size() == 3 && token.starts_with('\'') && token.ends_with('\'')) {
    return fmt::format("\"{}\"", printable(token.substr(1, 1)));
  }
  return std::nullopt;
}

/// What may stand where the library expected that token; after a value it leaves out the comma.
std::optional<std::string> expectedText(std::string_view token) {
  std::optional<std::string> const text = tokenText(token);
  if (token == "'}'" || token == "']'") {
    return fmt::format("\",\" or {}", *text);
  }
  return token == "end of input" ? "nothing more" : text;
}

/// Of what the library read the last is what does not belong there; it writes control characters as <U+001B>.
std::string_view lastCharacter(std::string_view read) noexcept {
  constexpr std::size_t length = std::string_view("<U+001B>").size();
  bool const isControl =
      read.ends_with('>') && read.size() >= length && read.substr(read.size() - length).starts_with("<U+00");
  return read.substr(read.size() - std::min<std::size_t>(read.size(), isControl ? length : 1));
}

/// \param fault for instance "unexpected end of input; expected '}'" or "invalid literal; last read: 'x'"
std::string syntaxFault(std::string_view fault) {
  constexpr std::string_view expectation = "; expected ";
  constexpr std::string_view unexpected = "unexpected ";
  if (std::string_view rest = fault; fault.starts_with(unexpected) && skipBehind(rest, expectation)) {
    std::size_t const length = fault.size() - rest.size() - expectation.size() - unexpected.size();
    auto const wanted = expectedText(rest);
    auto const found = tokenText(fault.substr(unexpected.size(), length));
    if (wanted && found) {
      return fmt::format("expected {}, found {}", *wanted, *found);
    }
  }
  std::string_view read = fault;
  if (fault.starts_with("invalid literal") && skipBehind(read, "; last read: '")) {
    std::string expected = "a value";
    // What was read may hold anything, even what follows it.
    if (std::size_t const at = read.rfind(std::string("'") + std::string(expectation)); at != std::string_view::npos) {
      if (auto const wanted = expectedText(read.substr(at + 1 + expectation.size()))) {
        expected = *wanted;
        read = read.substr(0, at + 1);
      }
    }
    read.remove_suffix(1);
    return fmt::format("expected {}, found \"{}\"", expected, printable(lastCharacter(read)));
  }
  std::string_view reason = fault.substr(0, fault.find("; last read: '"));
  if (skipBehind(reason, "invalid string: ")) {
    return reason.starts_with("ill-formed") ? "a string with a byte that is not UTF-8"
                                            : fmt::format("a string that is none: {}", reason);
  }
  return skipBehind(reason, "invalid number; ") ? fmt::format("a number that is none: {}", reason) : printable(reason);
}

}  // namespace

std::string jsonText(nlohmann::ordered_json const& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string jsonFault(nlohmann::json::exception const& error) {
  std::string_view reason = error.what();
  skipBehind(reason, "] ");
  if (std::string_view number = reason; skipBehind(number, "number overflow parsing '")) {
    return fmt::format("the number {} is too large", excerpt(number.substr(0, number.size() - 1)));
  }
  if (skipBehind(reason, "syntax error ") && skipBehind(reason, "- ")) {
    return syntaxFault(reason);
  }
  return printable(reason);
}

}  // namespace VaroHost
