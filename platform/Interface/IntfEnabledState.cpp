#include "platform/Interface/IntfEnabledState.h"

#include <charconv>
#include <ostream>
#include <string>
#include <string_view>

#include "Zon/Strep.h"

namespace Interface {

namespace {

constexpr IntfEnabledState named[] = {IntfEnabledState::unset, IntfEnabledState::enabled, IntfEnabledState::disabled};

/// Empty for a value without a name.
constexpr std::string_view wordOf(IntfEnabledState state) noexcept {
  switch (state) {
  case IntfEnabledState::unset:
    return "unset";
  case IntfEnabledState::enabled:
    return "enabled";
  case IntfEnabledState::disabled:
    return "disabled";
  }
  return {};
}

void writeUnformatted(std::ostream& out, std::string_view text) {
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, IntfEnabledState state) {
  std::string_view const word = wordOf(state);
  if (word.empty()) {
    writeUnformatted(out, std::to_string(static_cast<std::int32_t>(state)));
  } else {
    writeUnformatted(out, word);
  }
  return out;
}

void readValue(Zon::String8::IteratorConst& begin, Zon::String8::IteratorConst const& end, IntfEnabledState& state) {
  std::string_view const text = Zon::textBetween(begin, end);
  for (IntfEnabledState const known : named) {
    std::string_view const word = wordOf(known);
    if (text.starts_with(word)) {
      state = known;
      begin += static_cast<std::ptrdiff_t>(word.size());
      return;
    }
  }
  std::int32_t number = 0;
  auto const [behind, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) {
    Zon::cannotConvert(begin, end, typeid(IntfEnabledState));
  }
  state = static_cast<IntfEnabledState>(number);
  begin += behind - text.data();
}

}  // namespace Interface
