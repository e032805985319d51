#pragma once

/// \file
/// A device fed with links, and what must hold of it after every message.

#include <initializer_list>
#include <map>
#include <optional>
#include <string>

#include <linux/if.h>

#include "Fuzz.h"
#include "host/LiveLinks.h"
#include "host/StateFollower.h"
#include "host/Text.h"

namespace Fuzz {

/// What the errdisable module owes every configuration of a device.
inline void checkStates(VaroHost::Device const& device) {
  using Interface::IntfEnabledState;
  for (auto at = device.configs()->intfConfigIteratorConst(); at; at.advance()) {
    auto const status = device.statuses()->intfStatus(at.key());
    auto const entry = device.errdisable()->errdisabledIntf(at.key());
    if (status && !status->active()) {
      require(at->enabledStateLocal() == IntfEnabledState::disabled && at->enabledStateReason() == "inactive",
              "an inactive interface is disabled as such");
    } else if (entry) {
      require(at->enabledStateLocal() == IntfEnabledState::disabled && at->enabledStateReason() == entry->value(),
              "an errdisabled interface is disabled with its reason");
    } else {
      require(at->enabledStateReason() == (at->adminEnabled() ? "" : "admin"), "the reason follows the switch");
      require(at->adminEnabled() || at->enabledStateLocal() == IntfEnabledState::disabled,
              "an interface that is switched off is disabled");
    }
  }
}

class Links final : public VaroHost::LiveLinks::Events, public VaroHost::LinkSwitch {
 public:
  void changed() override {
    follower_.flush([](auto const& transition) { require(transition.before != transition.after, "a change changes"); });
  }
  void note(std::string const& text) override { shown(text); }
  void enforced(std::string const& text) override { shown(text); }
  void failed(std::string const& text) override { shown(text); }
  void interfaceIs(std::string const&, VaroHost::LinkFacts const&) override {}
  void interfaceDel(VaroHost::LinkFacts const&) override {}
  void synchronized() override {}

  /// Obeys, or refuses every third act.
  std::optional<std::string> set(int, bool) override {
    if (++acts_ % 3 == 0) return "refused";
    return std::nullopt;
  }

  void start(std::initializer_list<char const*> names) {
    int index = 0;
    for (char const* const name : names)
      links.onLink({++index, name, true, IF_OPER_UP, 1});
    links.onSynchronized();
  }

  void checkErrdisabled(std::map<std::string, std::string> const& entries) {
    std::size_t count = 0;
    for (auto at = device.errdisable()->errdisabledIntfIteratorConst(); at; at.advance()) {
      auto const found = entries.find(at.key().stringValue().stdString());
      require(found != entries.end() && at.value() == found->second, "the device has no other entries");
      ++count;
    }
    require(count == entries.size(), "the device has all entries");
    checkStates(device);
  }

 private:
  static void shown(std::string const& text) {
    require(VaroHost::findInvalidUtf8(text) == std::string::npos, "what is told can be shown");
  }

  VaroHost::StateFollower follower_;
  unsigned acts_ = 0;

 public:
  VaroHost::Device device{&follower_};
  VaroHost::LiveLinks links{device, this, *this};
};

}  // namespace Fuzz
