#include <utility>

#include "Zon/Strep.h"
#include "faults/World.h"

namespace Faults {

namespace {

template <class Value>
std::string shown(Value const& value) {
  return Zon::valueToStrep(value).stdString();
}
std::string shown(bool value) { return value ? "yes" : "no"; }

/// The last part of a key: interfaces and names.
std::string shown(Orvet::IntfId const& id) { return id.stringValue().stdString(); }
std::string shown(Zon::String8 const& name) { return name.stdString(); }

/// Writes down whatever can be reached from a world.
class Observer {
 public:
  explicit Observer(World const& world) : world_(world) {}

  Facts observe() {
    if (world_.agent()) aggregate();
    for (auto config = world_.configs()->intfConfigIterator(); config; config.advance())
      entry("host config ", config.key(),
            !world_.agent() || world_.produced()->intfConfig(config.key()) == config.ptr());
    for (auto status = world_.statuses()->intfStatusIterator(); status; status.advance())
      entry("host status ", status.key(),
            !world_.agent() || world_.producedStatuses()->intfStatus(status.key()) == status.ptr());
    for (auto entry = world_.errdisabled()->errdisabledIntfIterator(); entry; entry.advance())
      fact("errdisabled " + shown(entry.key()), shown(entry.value()));
    if (world_.activity()) fact("pending", std::to_string(world_.activity()->zonPending()));
    slices();
    if (world_.agent()) {
      if (auto const machine = world_.agent()->allIntfStatusDirSm()) forwarding(*machine);
      if (auto const machine = world_.agent()->allIntfQueueCounterReactor()) chain(*machine);
      if (auto const mirror = world_.agent()->allIntfReactor()) reactor("mirror", *mirror);
    }
    if (auto const machine = world_.root() ? world_.root()->allIntfSM() : nullptr) machines(*machine);
    return std::move(facts_);
  }

 private:
  void fact(std::string what, std::string value) { facts_.emplace(std::move(what), std::move(value)); }
  void entry(char const* what, Orvet::IntfId const& key, bool isProduced) {
    fact(what + shown(key), isProduced ? "the produced one" : "another");
  }
  template <class Reactor>
  void reactor(std::string const& what, Reactor const& reactor) {
    fact(what, std::string(reactor.hasNotificationActive() ? "on" : "off") +
                   (reactor.zonMarkedForDeletion() ? ", a zombie" : ""));
  }

  void aggregate() {
    for (auto config = world_.produced()->intfConfigIterator(); config; config.advance()) {
      std::string const about = "config " + shown(config.key());
      fact(about, "there");
      fact(about + " admin", shown(config->adminEnabledStateLocal()));
      fact(about + " state", shown(config->enabledStateLocal()));
      fact(about + " reason", shown(config->enabledStateReason()));
      if (auto const standard = config->defaultConfig()) {
        fact(about + " default", shown(standard->adminEnabledStateLocal()));
      }
    }
    for (auto status = world_.producedStatuses()->intfStatusIterator(); status; status.advance()) {
      std::string const about = "status " + shown(status.key());
      fact(about, "there");
      fact(about + " active", shown(status->active()));
      fact(about + " forwarding", std::to_string(status->forwardingModel()));
      for (auto input = status->forwardingModelInputsIterator(); input; input.advance())
        fact(about + " input " + shown(input.key()), std::to_string(input.value()));
    }
  }

  void slices() {
    for (auto entry = world_.slices()->entityPtrIterator(); entry; entry.advance()) {
      fact("slice " + shown(entry.key()), "there");
      fact("slice " + shown(entry.key()) + " parent", entry->parent() == world_.slices() ? "right" : "wrong");
    }
    for (auto subdir = world_.slices()->subdirIterator(); subdir; subdir.advance())
      fact("slice " + shown(subdir->name()) + " walked", "yes");
    for (auto counters = world_.counters()->intfQueueCounterDirIterator(); counters; counters.advance())
      fact("published " + shown(counters.key()), counters->parent() ? shown(counters->parent()->name()) : "nobody's");
    for (char const* const name : sliceNames)
      if (auto const slice = world_.filed(name)) this->slice(*slice);
  }
  void slice(Interface::AllIntfQueueCounterDir& slice) {
    std::string const about = "slice " + shown(slice.name()) + " ";
    for (auto counters = slice.intfQueueCounterDirIterator(); counters; counters.advance())
      for (auto counter = counters->intfQueueCounterIterator(); counter; counter.advance())
        fact(about + shown(counters.key()) + " counts " + shown(counter.key()), "yes");
    for (auto block = slice.counterShmemMan()->counterBlockIterator(); block; block.advance())
      fact(about + "block " + shown(block.key()), "there");
    for (auto block = slice.statisticsShmemMan()->counterBlockIterator(); block; block.advance())
      fact(about + "queue block " + shown(block.key()), "there");
  }

  void forwarding(VaroIntf::AllIntfStatusDirSm& machine) {
    reactor("forwarding", machine);
    for (auto child = machine.intfStatusReactorIterator(); child; child.advance()) {
      std::string const about = "forwarding " + shown(child.key());
      reactor(about, *child);
      fact(about + " serves",
           child->intfStatus() == world_.statuses()->intfStatus(child.key()) ? "the host's" : "another");
    }
  }

  void chain(VaroIntf::AllIntfQueueCounterReactor& machine) {
    reactor("counters", machine);
    for (auto child = machine.sliceSmIterator(); child; child.advance()) {
      std::string const about = "counters " + shown(child.key());
      reactor(about, *child);
      fact(about + " serves", child->counterIn() == world_.slice(child.key().cStr()) ? "the filed one" : "another");
      for (auto leaf = child->intfQueueCounterSmIterator(); leaf; leaf.advance())
        reactor(about + " " + shown(leaf.key()), *leaf);
    }
  }

  void machines(VaroErrdisable::AllIntfSM& machine) {
    reactor("errdisable", machine);
    for (auto child = machine.intfSMIterator(); child; child.advance()) {
      std::string const about = "errdisable " + shown(child.key());
      reactor(about, *child);
      fact(about + " config",
           child->intfConfig() == world_.configs()->intfConfig(child.key()) ? "the host's" : "another");
      if (child->intfStatus()) {
        fact(about + " status",
             child->intfStatus() == world_.statuses()->intfStatus(child.key()) ? "the host's" : "another");
      }
    }
  }

  World const& world_;
  Facts facts_;
};

}  // namespace

std::string difference(Facts const& expected, Facts const& found) {
  std::string text;
  for (auto const& [what, value] : expected)
    if (auto const at = found.find(what); at == found.end() || at->second != value)
      text += "- " + what + ": " + value + "\n";
  for (auto const& [what, value] : found)
    if (auto const at = expected.find(what); at == expected.end() || at->second != value)
      text += "+ " + what + ": " + value + "\n";
  return text;
}

Facts World::facts() const { return Observer(*this).observe(); }

Facts World::references() const {
  Facts counts;
  auto const count = [&counts](std::string what, Zon::PtrInterface const& object) {
    counts.emplace(std::move(what), std::to_string(object.zonReferences()));
  };
  count("configs", *configs_);
  count("statuses", *statuses_);
  count("errdisabled", *errdisabled_);
  count("slices", *slices_);
  count("counters", *counters_);
  if (activity_) count("activity", *activity_);
  // Looked up, not walked to: a walk holds what it stands on.
  for (char const* const intf : interfaceNames) {
    if (Interface::IntfConfig const* const config = configs_->intfConfig(intf).ptr())
      count("config " + std::string(intf), *config);
    if (Interface::IntfStatus const* const status = statuses_->intfStatus(intf).ptr())
      count("status " + std::string(intf), *status);
  }
  for (std::size_t at = 0; at != filed_.size(); ++at)
    if (filed_[at]) count("slice " + std::string(sliceNames[at]), *filed_[at]);
  return counts;
}

}  // namespace Faults
