#include "host/Change.h"

#include "Zon/Strep.h"

namespace VaroHost {

std::string_view name(Operation operation) noexcept {
  static constexpr std::string_view names[operations] = {"set", "add", "replace", "del"};
  return names[static_cast<std::size_t>(operation)];
}

std::string name(Interface::IntfEnabledState state) { return Zon::valueToStrep(state).stdString(); }

std::string_view name(Member member) noexcept {
  static constexpr std::string_view names[memberCount] = {"time", "entity", "key", "attribute", "value", "op"};
  return names[static_cast<std::size_t>(member)];
}

}  // namespace VaroHost
