#pragma once

/// \file
/// `VaroIntf::AllIntfQueueCounterSliceReactor`: serves one slice. It publishes the counter directory of every interface of
/// the slice in the shared output and keeps one counter reactor per interface.
///
/// Guarantees
///   A  Where two slices list one interface, the output holds the entry of whichever reacted last, and a removal in either
///      slice withdraws it.
///   B  Counter reactors run on the null activity, and each is bound to one counter directory for life: a directory
///      replaced under its interface is published, then refused with a name-in-use exception.
///   C  The sweep only adds and refreshes.
///   D  A null output is done without.
///
/// Use: `AllIntfQueueCounterReactor` keeps one per slice, under the slice's name.

#include "VaroIntf/AllIntfQueueCounterSliceIntfCounterReactor.h"
#include "Zon/Reactor.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"

namespace VaroIntf {

class AllIntfQueueCounterSliceReactor : public Zon::ReactorOf<AllIntfQueueCounterSliceReactor>,
                                        public Zon::HashMapLink<AllIntfQueueCounterSliceReactor> {
 public:
  class ZonCounterIn;

  using IntfQueueCounterSm = AllIntfQueueCounterSliceIntfCounterReactor;
  using IntfQueueCounterSms = Zon::HashMap<IntfQueueCounterSm, Orvet::IntfId>;
  using IntfQueueCounterSmIterator = IntfQueueCounterSms::Iterator;
  using IntfQueueCounterSmIteratorConst = IntfQueueCounterSms::IteratorConst;

  /// Creates the reactor, sweeps the slice and switches the reactor on.
  static Zon::Ptr<AllIntfQueueCounterSliceReactor>
  AllIntfQueueCounterSliceReactorIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 sliceName,
                                    Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn);

  AllIntfQueueCounterSliceReactor(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 sliceName,
                                  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                  Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn);
  ~AllIntfQueueCounterSliceReactor() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfQueueCounterSliceReactor>;

  Zon::String8 const& sliceName() const noexcept { return sliceName_; }
  Zon::String8 const& fwkKey() const noexcept { return sliceName_; }
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> counterOut() const noexcept { return counterOut_; }

  Zon::Ptr<Interface::AllIntfQueueCounterDir> counterIn() const;
  void counterInIs(Zon::Ptr<Interface::AllIntfQueueCounterDir> const& slice);
  Zon::Ptr<Interface::AllIntfQueueCounterDir> counterInDel();
  Zon::Ptr<ZonCounterIn> newCounterIn(Zon::Ptr<Interface::AllIntfQueueCounterDir> const& slice);

  Zon::Ptr<IntfQueueCounterSm> intfQueueCounterSm(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfQueueCounterSm const> intfQueueCounterSm(Orvet::IntfId const& intfId) const;
  /// Finds the reactor of an interface or makes it. A found one gets the activity first.
  /// Errors: name-in-use exception when it watches another counter directory or serves another slice.
  Zon::Ptr<IntfQueueCounterSm>
  intfQueueCounterSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
                       Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
                       Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir);
  /// Makes a reactor and inserts it, without looking for one.
  Zon::Ptr<IntfQueueCounterSm>
  newIntfQueueCounterSm(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
                        Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
                        Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir);
  Zon::Ptr<IntfQueueCounterSm> intfQueueCounterSmDel(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfQueueCounterSm> intfQueueCounterSmDel(IntfQueueCounterSmIterator& at);
  void intfQueueCounterSmDelAll();
  void intfQueueCounterSmNotify(Orvet::IntfId const&) noexcept {}
  IntfQueueCounterSmIterator intfQueueCounterSmIterator();
  IntfQueueCounterSmIteratorConst intfQueueCounterSmIteratorConst() const;

  /// Reaction to an interface that came, was replaced or went.
  void handleQueueCounterDir(Orvet::IntfId intfId);
  /// The sweep over all interfaces of the slice.
  void handleQueueCounterDir();
  /// Withdraws from the output what the slice lists now. Children go with the destructor.
  void doPrepareToDie();

 private:
  friend Zon::ReactorOf<AllIntfQueueCounterSliceReactor>;
  static constexpr auto zonInputs() { return std::tuple(&AllIntfQueueCounterSliceReactor::counterIn_); }
  static constexpr auto zonChildren() { return std::tuple(&AllIntfQueueCounterSliceReactor::intfQueueCounterSm_); }

  void publish(Orvet::IntfId const& intfId, Zon::Ptr<Interface::IntfQueueCounterDir> const& counters);
  void withdraw(Orvet::IntfId const& intfId);

  Zon::String8 const sliceName_;
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const counterOut_;
  Zon::Ptr<ZonCounterIn> counterIn_;
  IntfQueueCounterSms intfQueueCounterSm_;
};

class AllIntfQueueCounterSliceReactor::ZonCounterIn final
  : public Zon::KeyedInput<AllIntfQueueCounterSliceReactor, Interface::AllIntfQueueCounterDir::Notifiee> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfQueueCounterSliceReactorIs(AllIntfQueueCounterSliceReactor* owner) noexcept { zonOwnerIs(owner); }
  void onIntfQueueCounterDir(Orvet::IntfId intfId) override;
  void onIntfQueueCounterDir() override {}
};

}  // namespace VaroIntf
