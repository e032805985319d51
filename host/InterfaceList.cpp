#include "host/InterfaceList.h"

#include <algorithm>
#include <utility>

#include "host/NaturalOrder.h"

namespace VaroHost {

std::string_view operStateName(std::uint8_t operState) noexcept {
  static constexpr std::string_view names[] = {"unknown", "not-present", "down", "lower-layer-down",
                                               "testing", "dormant",     "up"};
  return operState < std::size(names) ? names[operState] : "unknown";
}

bool InterfaceView::isHeldByErrdisable() const noexcept {
  return config && errdisabled && (!status || status->active());
}

InterfaceList::InterfaceList(Device const& device, LinkFactsOf facts) : device_(device), facts_(std::move(facts)) {
  for (auto at = device.configs()->intfConfigIteratorConst(); at; at.advance()) {
    names_.push_back(at->intfId().stringValue());
  }
  for (auto at = device.statuses()->intfStatusIteratorConst(); at; at.advance()) {
    if (!device.configs()->intfConfig(at->intfId())) {
      names_.push_back(at->intfId().stringValue());
    }
  }
  std::sort(names_.begin(), names_.end(), NaturalOrder::by([](Zon::String8 const& name) { return name.view(); }));
}

InterfaceView InterfaceList::view(std::size_t at) const {
  Zon::String8 const& name = names_[at];
  return {name, device_.configs()->intfConfig(name), device_.statuses()->intfStatus(name),
          device_.errdisable()->errdisabledIntf(name), facts_ ? facts_(name) : nullptr};
}

std::size_t InterfaceList::unconfiguredErrdisabled() const {
  std::size_t count = 0;
  for (auto at = device_.errdisable()->errdisabledIntfIteratorConst(); at; at.advance()) {
    count += device_.configs()->intfConfig(at.key()) ? 0 : 1;
  }
  return count;
}

}  // namespace VaroHost
