#pragma once

/// \file
/// The device that the program keeps: what producers write, what the modules make of it, and both modules between:
///
///     aggregate directory ── mirror ──> configs(), statuses() ──> errdisable module ──> enabled states
///     of the agent                            └── statuses ──> forwarding models
///     slices of queue counters ──> one output, blocks in shared memory
///
/// Guarantees
///   A  Changes are evaluated at once, one by one: the activity is immediate, so that no burst is coalesced away.
///   B  A status has its `active` before it enters its directory; a replaced entry leaves before the new one comes; a
///      changed default configuration is followed by the evaluation of whoever may use it.
///   C  An operation that throws `ChangeError` has changed nothing, but for one thing: a counter whose blocks find no room
///      is not added, while the blocks that were made before the memory ran out stay, since nothing frees a block.
///   D  No change is made from inside a callback.
///   E  Producers write into the agent's aggregate directory, and into it alone; everybody reads the mirror. The modules
///      are wired from the producers on and go in the opposite order.
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
#include "host/CounterMemory.h"
#include "host/Module.h"
#include "host/QueueCounters.h"
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
  /// \param memory where the counter blocks are
  explicit Device(StateFollower* follower = nullptr, CounterMemory const& memory = CounterMemory());
  ~Device();
  Device(Device const&) = delete;
  Device& operator=(Device const&) = delete;

  /// What the mirror made of the producers' entries.
  Zon::Ptr<Interface::AllIntfConfigDir const> configs() const noexcept { return configs_; }
  Zon::Ptr<Interface::AllIntfStatusDir const> statuses() const noexcept { return statuses_; }
  /// What the producers wrote.
  Zon::Ptr<Interface::AllIntfConfigDir const> configsIn() const noexcept { return configsIn_; }
  Zon::Ptr<Interface::AllIntfStatusDir const> statusesIn() const noexcept { return statusesIn_; }
  Zon::Ptr<Errdisable::Status> const& errdisable() const noexcept { return errdisable_; }
  QueueCounters& queueCounters() noexcept { return queueCounters_; }
  QueueCounters const& queueCounters() const noexcept { return queueCounters_; }

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
  void sliceAdd(Change const& change);
  void sliceReplace(Change const& change);
  void sliceDel(Change const& change);
  void countersAdd(Change const& change);
  void countersReplace(Change const& change);
  void countersDel(Change const& change);
  void counterAdd(Change const& change);
  void counterDel(Change const& change);

  /// Evaluates the interface of that change again.
  void reevaluate(Change const& change);
  /// Evaluates every interface again.
  void reevaluateAll(Change const& change);

  using DefaultConfigs = std::map<std::string, Zon::Ptr<Interface::IntfConfig>, std::less<>>;
  DefaultConfigs const& defaultConfigs() const noexcept { return defaultConfigs_; }
  /// The default configuration of that name, null for the empty name.
  /// Errors: `ChangeError` when there is none.
  Zon::Ptr<Interface::IntfConfig> defaultConfig(std::string const& name) const;

  // The steps beneath, for hosts that know their interfaces directly.

  /// The producers' entries, to be written to; null when absent.
  Zon::Ptr<Interface::IntfConfig> config(Orvet::IntfId const& intfId) const { return configsIn_->intfConfig(intfId); }
  Zon::Ptr<Interface::IntfStatus> status(Orvet::IntfId const& intfId) const { return statusesIn_->intfStatus(intfId); }
  /// REQUIRES: no configuration of that interface is there.
  void configIs(Zon::Ptr<Interface::IntfConfig> const& config);
  void configDel(Orvet::IntfId const& intfId);
  void statusIs(Zon::Ptr<Interface::IntfStatus> const& status) { statusesIn_->intfStatusIs(status); }
  void statusDel(Orvet::IntfId const& intfId) { statusesIn_->intfStatusDel(intfId); }

 private:
  Zon::Ptr<Interface::IntfConfig> presentConfig(Change const& change) const;
  Zon::Ptr<Interface::IntfStatus> presentStatus(Change const& change) const;
  Zon::Ptr<QueueCounters::Slice> presentSlice(Change const& change) const;
  Zon::Ptr<QueueCounters::Counters> presentCounters(Change const& change) const;
  void assign(Zon::Entity& target, Change const& change);

  StateFollower* const follower_;
  Zon::Ptr<Zon::ActivityConfig> const activity_;
  Zon::Ptr<Interface::AllIntfConfigDir> const configs_;
  Zon::Ptr<Interface::AllIntfStatusDir> const statuses_;
  Zon::Ptr<Errdisable::Status> const errdisable_;
  QueueCounters queueCounters_;
  DefaultConfigs defaultConfigs_;
  Module agent_;
  Zon::Ptr<Interface::AllIntfConfigDir> const configsIn_;
  Zon::Ptr<Interface::AllIntfStatusDir> const statusesIn_;
  Module errdisableRoot_;
  Module::Interface machine_;
};

}  // namespace VaroHost
