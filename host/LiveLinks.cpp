#include "host/LiveLinks.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <linux/if.h>

#include "host/Text.h"

namespace VaroHost {

using Interface::IntfConfig;
using Interface::IntfEnabledState;
using Interface::IntfStatus;

namespace {

bool isActive(LinkFacts const& facts) noexcept {
  // An interface that is merely down stays active: else one that is held down could never recover.
  return facts.operState != IF_OPER_NOTPRESENT && facts.operState != IF_OPER_LOWERLAYERDOWN;
}

IntfEnabledState adminState(bool isUp) noexcept {
  return isUp ? IntfEnabledState::enabled : IntfEnabledState::disabled;
}

}  // namespace

LiveLinks::LiveLinks(Device& device, LinkSwitch* linkSwitch, Events& events)
  : device_(device), switch_(linkSwitch), events_(events) {}

LinkFacts const* LiveLinks::facts(Zon::String8 const& name) const {
  auto const found = byName_.find(name.view());
  return found == byName_.end() ? nullptr : &links_.at(found->second).facts;
}

void LiveLinks::onLink(Link const& link) {
  Entry& entry = links_[link.index];
  bool isForeign = true;
  if (!entry.expected.empty()) {
    // Either the echo of our own act or something older than it.
    isForeign = false;
    if (entry.expected.front() == link.isUp) {
      entry.expected.pop_front();
    }
  }
  entry.isStale = false;
  entry.facts.index = link.index;
  entry.facts.isUp = link.isUp;
  entry.facts.type = link.type;
  entry.facts.transmitQueues = link.transmitQueues.value_or(entry.facts.transmitQueues);
  entry.facts.operState = link.operState.value_or(entry.facts.operState);
  if (entry.name != link.name) {
    nameIs(entry, link);
  } else {
    update(entry, isForeign);
  }
  events_.changed();
  if (isSynchronized_) {
    review(entry);
  }
}

/// Gives a link its first or another name: the interface of that name is a new one.
void LiveLinks::nameIs(Entry& entry, Link const& link) {
  std::string const oldName = entry.name;
  if (auto const taken = byName_.find(link.name); taken != byName_.end()) {
    // Its present bearer lost it; what became of it is still to come.
    forget(links_.at(taken->second));
  }
  forget(entry);
  entry.name = link.name;
  byName_[link.name] = link.index;

  auto const status = Zon::newPtr<IntfStatus>(link.name);
  status->activeIs(isActive(entry.facts));
  device_.statusIs(status);
  auto const config = Zon::newPtr<IntfConfig>(link.name);
  config->adminEnabledStateLocalIs(adminState(link.isUp || entry.isHeld));
  device_.configIs(config);
  events_.interfaceIs(link.name, entry.facts);

  if (isSynchronized_) {
    events_.note(oldName.empty() ? fmt::format("{}: added", printable(link.name))
                                 : fmt::format("{}: renamed to {}", printable(oldName), printable(link.name)));
  }
}

/// Takes the interface of a link away.
void LiveLinks::forget(Entry& entry) {
  if (entry.name.empty()) {
    return;
  }
  events_.interfaceDel(entry.facts);
  device_.configDel(entry.name);
  device_.statusDel(entry.name);
  byName_.erase(entry.name);
  entry.name.clear();
}

void LiveLinks::update(Entry& entry, bool isForeign) {
  auto const status = device_.status(entry.name);
  auto const config = device_.config(entry.name);
  status->activeIs(isActive(entry.facts));
  if (isForeign && !entry.isHeld) {
    config->adminEnabledStateLocalIs(adminState(entry.facts.isUp));
  }
}

void LiveLinks::onLinkGone(int index) {
  auto const found = links_.find(index);
  if (found == links_.end()) {
    return;
  }
  std::string const name = found->second.name;
  forget(found->second);
  links_.erase(found);
  events_.changed();
  if (isSynchronized_ && !name.empty()) {
    events_.note(fmt::format("{}: removed", printable(name)));
  }
}

void LiveLinks::onOverrun() {
  // The echoes may be among what was lost. What is told next is newer than all our acts.
  for (auto& [index, entry] : links_) {
    entry.expected.clear();
    entry.isStale = true;
  }
  isResynchronizing_ = isSynchronized_;
}

void LiveLinks::onSynchronized() {
  isResynchronizing_ = false;
  bool const isFirst = !std::exchange(isSynchronized_, true);
  if (isFirst) {
    events_.synchronized();
    for (auto& [index, entry] : links_) {
      review(entry);
    }
  }
}

void LiveLinks::errdisabledIs(std::map<std::string, std::string> const& entries) {
  std::vector<std::string> changed;
  for (auto at = device_.errdisable()->errdisabledIntfIteratorConst(); at; at.advance()) {
    std::string name = at.key().stringValue().stdString();
    if (!entries.contains(name)) {
      changed.push_back(std::move(name));
    }
  }
  for (std::string const& name : changed) {
    device_.errdisable()->errdisabledIntfDel(name);
  }
  for (auto const& [name, reason] : entries) {
    auto const present = device_.errdisable()->errdisabledIntf(name);
    if (!present || present->value() != Zon::String8(reason)) {
      device_.errdisable()->errdisabledIntfIs(name, reason);
      changed.push_back(name);
    }
  }
  events_.changed();
  if (isSynchronized_) {
    for (std::string const& name : changed) {
      review(name);
    }
  }
}

void LiveLinks::review(std::string const& name) {
  if (auto const found = byName_.find(name); found != byName_.end()) {
    review(links_.at(found->second));
  }
}

void LiveLinks::review(Entry& entry) {
  // Of a link with old facts it cannot be said whose act they show; it is reviewed when it is told again.
  if (switch_ == nullptr || isReleased_ || entry.name.empty() || entry.isStale) {
    return;
  }
  auto const listed = device_.errdisable()->errdisabledIntf(entry.name);
  auto const shown = printable(entry.name);
  if (!listed) {
    if (entry.isHeld && act(entry, true)) {
      entry.isHeld = false;
      events_.enforced(fmt::format("{}: set up again", shown));
    }
    return;
  }
  if (!entry.facts.isUp || !entry.expected.empty()) {
    return;
  }
  if (entry.isHeld) {
    if (act(entry, false)) {
      events_.enforced(fmt::format("{}: was set up by somebody else while error-disabled, set down again", shown));
    }
    return;
  }
  auto const status = device_.status(entry.name);
  auto const config = device_.config(entry.name);
  bool const isDisabledByEntry = status->active() && config->enabledStateLocal() == IntfEnabledState::disabled;
  if (isDisabledByEntry && act(entry, false)) {
    entry.isHeld = true;
    events_.enforced(fmt::format("{}: set down ({})", shown, printable(listed->value().view())));
  }
}

/// Sets a link up or down; false, and said once, when the kernel refuses.
bool LiveLinks::act(Entry& entry, bool up) {
  if (auto error = switch_->set(entry.facts.index, up)) {
    if (*error != entry.lastError) {
      events_.failed(fmt::format("{}: cannot set it {}: {}", printable(entry.name), up ? "up" : "down", *error));
      entry.lastError = std::move(*error);
    }
    return false;
  }
  entry.lastError.clear();
  // The kernel tells of changes only: setting up what is up already has no echo. A link with old facts is told anyway.
  bool const isToBeTold =
      entry.expected.empty() ? entry.isStale || up != entry.facts.isUp : up != entry.expected.back();
  if (isToBeTold) {
    entry.expected.push_back(up);
  }
  return true;
}

void LiveLinks::releaseAll() {
  isReleased_ = true;
  for (auto& [index, entry] : links_) {
    if (entry.isHeld && act(entry, true)) {
      entry.isHeld = false;
      events_.enforced(fmt::format("{}: set up again", printable(entry.name)));
    }
  }
}

bool LiveLinks::awaitsNews() const {
  return isResynchronizing_ ||
         std::any_of(links_.begin(), links_.end(), [](auto const& link) { return !link.second.expected.empty(); });
}

}  // namespace VaroHost
