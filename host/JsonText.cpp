#include "host/JsonText.h"

namespace VaroHost {

namespace {

/// The JSON library's number for a number beyond all doubles; alone it states no place.
constexpr int numberOverflow = 406;

void skipBehind(std::string_view& text, std::string_view mark) noexcept {
  if (std::size_t const at = text.find(mark); at != std::string_view::npos) {
    text.remove_prefix(at + mark.size());
  }
}

}  // namespace

std::string jsonText(nlohmann::ordered_json const& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string_view jsonFault(nlohmann::json::exception const& error) {
  std::string_view reason = error.what();
  skipBehind(reason, "] ");
  if (error.id == numberOverflow) {
    return reason;
  }
  skipBehind(reason, ": ");
  if (constexpr std::string_view syntax = "syntax error "; reason.starts_with(syntax)) {
    reason.remove_prefix(syntax.size());
  }
  return reason;
}

}  // namespace VaroHost
