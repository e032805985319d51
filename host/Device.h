#pragma once

/// \file
/// The device that the program keeps: the directories of configurations and statuses, the errdisabled list, the default
/// configurations, and the errdisable module wired over them.
///
/// Guarantees
///   A  Changes are evaluated at once, one by one: the activity is immediate, so that no burst is coalesced away.
///   B  A status has its `active` before it enters its directory; a replaced entry leaves before the new one comes; a
///      changed default configuration is followed by the evaluation of whoever may use it.
///   C  An operation that throws `ChangeError` has changed nothing.
///   D  No change is made from inside a callback.
///
/// Use
///
///     VaroHost::Device device;
///     device.apply(change);

#include <functional>
#include <map>
#include <string>

#include "Zon/Activity.h"
#include "Zon/Ptr.h"
#include "host/Change.h"
#include "host/Module.h"
#include "host/Schema.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfStatusDir.h"

namespace VaroHost {

class StateFollower;

class Device {
 public:
  /// Creates and wires everything.
  /// \param follower hears of every configuration that comes or goes; null for nobody. Must outlive the device.
  explicit Device(StateFollower* follower = nullptr);
  ~Device();
  Device(Device const&) = delete;
  Device& operator=(Device const&) = delete;

  Zon::Ptr<Interface::AllIntfConfigDir> const& configs() const noexcept { return configs_; }
  Zon::Ptr<Interface::AllIntfStatusDir> const& statuses() const noexcept { return statuses_; }
  Zon::Ptr<Errdisable::Status> const& errdisable() const noexcept { return errdisable_; }

  /// Applies one line of a recording. Errors: `ChangeError`.
  void apply(Change const& change) {
    (this->*change.entity->apply[static_cast<std::size_t>(change.operation)])(change);
  }

  // The operations of the schema's table.

  void configSet(Change const& change);
  void configAdd(Change const& change);
  void configReplace(Change const& change);
  void configDel(Change const& change);
  void defaultConfigSet(Change const& change);
  void defaultConfigAdd(Change const& change);
  void defaultConfigDel(Change const& change);
  void statusSet(Change const& change);
  void statusAdd(Change const& change);
  void statusReplace(Change const& change);
  void statusDel(Change const& change);
  void errdisabledSet(Change const& change);
  void errdisabledDel(Change const& change);
  void forwardingInputSet(Change const& change);
  void forwardingInputDel(Change const& change);

  /// Evaluates the interface of that change again.
  void reevaluate(Change const& change);
  /// Evaluates every interface again.
  void reevaluateAll(Change const& change);

  /// The default configuration of that name, null for the empty name.
  /// Errors: `ChangeError` when there is none.
  Zon::Ptr<Interface::IntfConfig> defaultConfig(std::string const& name) const;

  // The steps beneath, for hosts that know their interfaces directly.

  /// REQUIRES: no configuration of that interface is there.
  void configIs(Zon::Ptr<Interface::IntfConfig> const& config);
  void configDel(Orvet::IntfId const& intfId);

 private:
  Zon::Ptr<Interface::IntfConfig> config(Change const& change) const;
  Zon::Ptr<Interface::IntfStatus> status(Change const& change) const;
  void assign(Zon::Entity& target, Change const& change);

  StateFollower* const follower_;
  Zon::Ptr<Zon::ActivityConfig> const activity_;
  Zon::Ptr<Interface::AllIntfConfigDir> const configs_;
  Zon::Ptr<Interface::AllIntfStatusDir> const statuses_;
  Zon::Ptr<Errdisable::Status> const errdisable_;
  std::map<std::string, Zon::Ptr<Interface::IntfConfig>, std::less<>> defaultConfigs_;
  Module module_;
  Module::Interface machine_;
};

}  // namespace VaroHost
