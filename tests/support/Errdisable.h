#pragma once

/// \file
/// What the tests of the errdisable module share: recording entities and the three inputs of the module.
///
/// A write of a module is recorded as "Ethernet1.state=disabled" and "Ethernet1.reason='text'", a question as
/// "Ethernet1.adminEnabled?" (on demand), a death as "~label" (on demand).

#include <functional>
#include <sstream>
#include <string>
#include <utility>

#include "VaroErrdisable/Root.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "support/Events.h"

namespace Support {

using Interface::IntfEnabledState;

inline std::string text(IntfEnabledState state) {
  std::ostringstream out;
  out << state;
  return out.str();
}

/// A configuration that records how it is written and asked.
class RecordingConfig : public Interface::IntfConfig {
 public:
  RecordingConfig(Orvet::IntfId const& id, Events& events)
    : IntfConfig(id), events_(&events), label_(id.stringValue().stdString()) {}

  /// The same interface under another label, to tell two entities apart.
  RecordingConfig(Orvet::IntfId const& id, Events& events, std::string label)
    : IntfConfig(id), events_(&events), label_(std::move(label)) {}

  /// Replaces the entity's own answer.
  std::function<bool()> answer;
  bool recordsQuestions = false;
  /// Run inside the setter, after the record and before the value is stored.
  std::function<void()> beforeState;
  std::function<void()> beforeReason;

  bool adminEnabled() const override {
    if (recordsQuestions) events_->add(label_ + ".adminEnabled?");
    return answer ? answer() : IntfConfig::adminEnabled();
  }
  void enabledStateLocalIs(IntfEnabledState state) override {
    events_->add(label_ + ".state=" + text(state));
    if (auto const act = beforeState) act();
    IntfConfig::enabledStateLocalIs(state);
  }
  void enabledStateReasonIs(Zon::String8 reason) override {
    events_->add(label_ + ".reason='" + reason.stdString() + "'");
    if (auto const act = beforeReason) act();
    IntfConfig::enabledStateReasonIs(std::move(reason));
  }

  /// "disabled 'inactive'": what the entity holds now.
  std::string holds() const { return text(enabledStateLocal()) + " '" + enabledStateReason().stdString() + "'"; }

 private:
  Events* events_;
  std::string label_;
};

/// A T whose death is recorded, and which may do something just before.
template <class T>
class Mourned : public T {
 public:
  template <class... Args>
  Mourned(Events& events, std::string label, Args&&... args)
    : T(std::forward<Args>(args)...), events_(&events), label_(std::move(label)) {}
  ~Mourned() override {
    events_->add("~" + label_);
    if (lastWill) lastWill();
  }

  std::function<void()> lastWill;

 private:
  Events* events_;
  std::string label_;
};

/// A plain watcher of a configuration.
class ConfigWatcher : public Recorder<Interface::IntfConfig::Notifiee> {
 public:
  using Recorder::Recorder;

  void onDefaultConfig() override { heard("default"); }
  void onAdminEnabledStateLocal() override { heard("admin"); }
  void onEnabledStateLocal() override { heard("state"); }
  void onEnabledStateReason() override { heard("reason"); }
};

/// The inputs of the module, and what is done to them.
struct ErrdisableInputs {
  // First, because entities record their deaths here.
  Events events;
  Zon::Ptr<Interface::AllIntfConfigDir> configs = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  Zon::Ptr<Interface::AllIntfStatusDir> statuses = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  Zon::Ptr<Errdisable::Status> errdisable = Zon::newPtr<Errdisable::Status>("errdisable");

  Zon::Ptr<RecordingConfig> newConfig(Orvet::IntfId const& id) { return Zon::newPtr<RecordingConfig>(id, events); }
  static Zon::Ptr<Interface::IntfStatus> newStatus(Orvet::IntfId const& id, bool active) {
    auto const status = Zon::newPtr<Interface::IntfStatus>(id);
    status->activeIs(active);
    return status;
  }
  Zon::Ptr<RecordingConfig> addConfig(Orvet::IntfId const& id) {
    auto const config = newConfig(id);
    configs->intfConfigIs(config);
    return config;
  }
  Zon::Ptr<Interface::IntfStatus> addStatus(Orvet::IntfId const& id, bool active) {
    auto const status = newStatus(id, active);
    statuses->intfStatusIs(status);
    return status;
  }
  Zon::Ptr<VaroErrdisable::IntfSM> newMachine(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                              Zon::Ptr<Interface::IntfConfig> const& config) {
    return VaroErrdisable::intfSMFactory(activity, config->intfId(), errdisable, config);
  }
  Zon::Ptr<VaroErrdisable::AllIntfSM> newMachines(Zon::Ptr<Zon::ActivityConfig> const& activity) {
    return VaroErrdisable::AllIntfSM::AllIntfSMIs(activity, configs, statuses, errdisable);
  }
};

}  // namespace Support
