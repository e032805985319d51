#pragma once

/// \file
/// `VaroIntf::Agent`: the root entity a host creates to run the interface directory module. It owns the aggregate
/// directory and the three reactors.
///
/// Guarantees
///   A  An agent has its directory, under its own name, before anybody sees it.
///   B  A setter given what the child already serves refreshes the child's activity and changes nothing else; other
///      inputs replace the child. The attribute changes only when the new child is complete.
///   C  `...Del` and the destructor silence a reactor before they release it; the children go in the order directory,
///      all-interfaces reactor, status machine, queue-counter reactor.
///
/// Use
///
///     auto agent = VaroIntf::agentFactory("intf");
///     agent->allIntfReactorIs(activity, hostConfigDir, hostStatusDir);
///     agent->allIntfDir()->config()->intfConfigIs(config);   // appears in hostConfigDir

#include "VaroIntf/AllIntfDir.h"
#include "VaroIntf/AllIntfQueueCounterReactor.h"
#include "VaroIntf/AllIntfReactor.h"
#include "VaroIntf/AllIntfStatusDirSm.h"
#include "VaroIntf/VaroIntf.h"
#include "Zon/Entity.h"

namespace VaroIntf {

class Agent : public Zon::Entity {
 public:
  /// Creates an agent with its directory.
  static Zon::Ptr<Agent> AgentIs(Zon::Name name);

  explicit Agent(Zon::Name name);
  ~Agent() override;

  void isNondestructingIs(bool nondestructing) override;
  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<Agent>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<AllIntfDir> allIntfDir() const noexcept { return allIntfDir_; }
  Zon::Ptr<AllIntfDir> allIntfDirIs(Zon::Name name);
  /// Makes a directory under the agent without storing it.
  Zon::Ptr<AllIntfDir> newAllIntfDir(Zon::Name name);
  Zon::Ptr<AllIntfDir> allIntfDirDel();

  /// The reactor compares its outputs only: whatever became of the directory, a kept reactor keeps its inputs.
  Zon::Ptr<AllIntfReactor> allIntfReactor() const noexcept { return allIntfReactor_; }
  Zon::Ptr<AllIntfReactor> allIntfReactorIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                            Zon::Ptr<Interface::AllIntfConfigDir> const& configDir,
                                            Zon::Ptr<Interface::AllIntfStatusDir> const& statusDir);
  Zon::Ptr<AllIntfReactor> newAllIntfReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                             Zon::Ptr<Interface::AllIntfConfigDir> const& configDir,
                                             Zon::Ptr<Interface::AllIntfStatusDir> const& statusDir);
  Zon::Ptr<AllIntfReactor> allIntfReactorDel();

  Zon::Ptr<AllIntfStatusDirSm> allIntfStatusDirSm() const noexcept { return allIntfStatusDirSm_; }
  Zon::Ptr<AllIntfStatusDirSm> allIntfStatusDirSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                    Zon::Ptr<Interface::AllIntfStatusDir> const& allIntfStatusDir);
  Zon::Ptr<AllIntfStatusDirSm> newAllIntfStatusDirSm(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                     Zon::Ptr<Interface::AllIntfStatusDir> const& allIntfStatusDir);
  Zon::Ptr<AllIntfStatusDirSm> allIntfStatusDirSmDel();

  Zon::Ptr<AllIntfQueueCounterReactor> allIntfQueueCounterReactor() const noexcept {
    return allIntfQueueCounterReactor_;
  }
  Zon::Ptr<AllIntfQueueCounterReactor>
  allIntfQueueCounterReactorIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                               Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& allIntfQueueCounterDir,
                               Zon::Ptr<Zon::Dir> const& dir);
  Zon::Ptr<AllIntfQueueCounterReactor>
  newAllIntfQueueCounterReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& allIntfQueueCounterDir,
                                Zon::Ptr<Zon::Dir> const& dir);
  Zon::Ptr<AllIntfQueueCounterReactor> allIntfQueueCounterReactorDel();

 private:
  Zon::Ptr<AllIntfDir> allIntfDir_;
  Zon::Ptr<AllIntfReactor> allIntfReactor_;
  Zon::Ptr<AllIntfStatusDirSm> allIntfStatusDirSm_;
  Zon::Ptr<AllIntfQueueCounterReactor> allIntfQueueCounterReactor_;
};

/// Creates the module's root; the plug-in's entry point.
Zon::Ptr<Agent> agentFactory(Zon::Name name);

}  // namespace VaroIntf
