#pragma once

/// \file
/// `VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor`: makes the shared-memory blocks of one interface's queue counters
/// within one slice: per counter one block for the interface and one for each of 18 queues.
///
/// Guarantees
///   A  Every block is looked up before it is made: repeating a reaction makes nothing twice.
///   B  Blocks are never freed; they outlive their counter.
///   C  Blocks made before a manager refused one stay, and the next reaction completes them.
///   D  Without slice it makes no blocks.
///
/// Use: `AllIntfQueueCounterSliceReactor` keeps one per interface.

#include "Zon/HashMap.h"
#include "Zon/Input.h"
#include "Zon/Reactor.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"

namespace VaroIntf {

class AllIntfQueueCounterSliceIntfCounterReactor : public Zon::ReactorOf<AllIntfQueueCounterSliceIntfCounterReactor>,
                                                   public Zon::HashMapLink<AllIntfQueueCounterSliceIntfCounterReactor> {
 public:
  class ZonIntfQueueCounterDir;

  /// Queues of an interface that have a block of their own, numbered from 0.
  static constexpr unsigned queues = 18;

  /// Creates the reactor, sweeps the counters and switches the reactor on.
  static Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor> AllIntfQueueCounterSliceIntfCounterReactorIs(
      Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
      Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
      Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir);

  AllIntfQueueCounterSliceIntfCounterReactor(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
                                             Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
                                             Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir);
  ~AllIntfQueueCounterSliceIntfCounterReactor() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfQueueCounterSliceIntfCounterReactor>;

  Orvet::IntfId const& intfId() const noexcept { return intfId_; }
  Orvet::IntfId const& fwkKey() const noexcept { return intfId_; }

  Zon::Ptr<Interface::IntfQueueCounterDir const> intfQueueCounterDir() const;
  void intfQueueCounterDirIs(Zon::Ptr<Interface::IntfQueueCounterDir const> const& counters);
  Zon::Ptr<Interface::IntfQueueCounterDir const> intfQueueCounterDirDel();
  Zon::Ptr<ZonIntfQueueCounterDir>
  newIntfQueueCounterDir(Zon::Ptr<Interface::IntfQueueCounterDir const> const& counters);

  /// The slice whose managers hold the blocks.
  Zon::Ptr<Interface::AllIntfQueueCounterDir> allIntfQueueCounterDir() const noexcept {
    return allIntfQueueCounterDir_;
  }

  /// Reaction to a counter that came or went.
  /// Errors: what a manager raises when it cannot make a block.
  void handleQueueCounter(Zon::String8 name);
  /// The sweep over all counters of the interface.
  void handleQueueCounter();

 private:
  friend Zon::ReactorOf<AllIntfQueueCounterSliceIntfCounterReactor>;
  static constexpr auto zonInputs() {
    return std::tuple(&AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDir_);
  }

  void makeBlocks(Zon::String8 const& name) const;

  Orvet::IntfId const intfId_;
  Zon::Ptr<ZonIntfQueueCounterDir> intfQueueCounterDir_;
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const allIntfQueueCounterDir_;
};

class AllIntfQueueCounterSliceIntfCounterReactor::ZonIntfQueueCounterDir final
  : public Zon::KeyedInput<AllIntfQueueCounterSliceIntfCounterReactor, Interface::IntfQueueCounterDir::NotifieeConst> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfQueueCounterSliceIntfCounterReactorIs(AllIntfQueueCounterSliceIntfCounterReactor* owner) noexcept {
    zonOwnerIs(owner);
  }
  void onIntfQueueCounter(Zon::Name name) override;
  void onIntfQueueCounter() override {}
};

}  // namespace VaroIntf
