#include "platform/Interface/IntfEnabledState.h"

#include <ostream>
#include <string>
#include <string_view>

namespace Interface {

namespace {

void writeUnformatted(std::ostream& out, std::string_view text) {
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, IntfEnabledState state) {
  switch (state) {
  case IntfEnabledState::unset:
    writeUnformatted(out, "unset");
    return out;
  case IntfEnabledState::enabled:
    writeUnformatted(out, "enabled");
    return out;
  case IntfEnabledState::disabled:
    writeUnformatted(out, "disabled");
    return out;
  }
  writeUnformatted(out, std::to_string(static_cast<std::int32_t>(state)));
  return out;
}

}  // namespace Interface
