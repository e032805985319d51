#pragma once

/// \file
/// `VaroIntf::AllIntfQueueCounterReactor`: keeps one slice reactor per slice of the input directory, and removes output
/// entries that no slice provides any more.
///
/// Guarantees
///   A  After a sweep every output entry is backed by a slice and every slice has its reactor. The sweep never removes
///      slice reactors; keyed changes do.
///   B  Slice reactors run on the null activity.
///   C  A slice reactor is bound to one slice and one output; meeting others is a name-in-use exception.
///   D  Without input the sweep changes nothing: an input not yet there must not wipe an output. Without output there is
///      nothing to clean or publish; reactors and blocks are made as usual.
///
/// Use: `Agent::allIntfQueueCounterReactorIs` makes and owns it.

#include "VaroIntf/AllIntfQueueCounterSliceReactor.h"
#include "Zon/Dir.h"
#include "Zon/Reactor.h"

namespace VaroIntf {

class AllIntfQueueCounterReactor : public Zon::ReactorOf<AllIntfQueueCounterReactor> {
 public:
  class ZonCounterIn;

  using SliceSms = Zon::HashMap<AllIntfQueueCounterSliceReactor, Zon::String8>;
  using SliceSmIterator = SliceSms::Iterator;
  using SliceSmIteratorConst = SliceSms::IteratorConst;

  /// Creates the reactor, sweeps the slices and switches the reactor on.
  static Zon::Ptr<AllIntfQueueCounterReactor>
  AllIntfQueueCounterReactorIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                               Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                               Zon::Ptr<Zon::Dir> const& counterIn);

  AllIntfQueueCounterReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                             Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                             Zon::Ptr<Zon::Dir> const& counterIn);
  ~AllIntfQueueCounterReactor() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfQueueCounterReactor>;

  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> counterOut() const noexcept { return counterOut_; }

  Zon::Ptr<Zon::Dir> counterIn() const;
  void counterInIs(Zon::Ptr<Zon::Dir> const& directory);
  Zon::Ptr<Zon::Dir> counterInDel();
  Zon::Ptr<ZonCounterIn> newCounterIn(Zon::Ptr<Zon::Dir> const& directory);

  Zon::Ptr<AllIntfQueueCounterSliceReactor> sliceSm(Zon::String8 const& sliceName);
  Zon::Ptr<AllIntfQueueCounterSliceReactor const> sliceSm(Zon::String8 const& sliceName) const;
  /// Finds the reactor of a slice or makes it. A found one gets the activity first.
  /// Errors: name-in-use exception when it was built for another output or watches another slice.
  Zon::Ptr<AllIntfQueueCounterSliceReactor> sliceSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                      Zon::String8 const& sliceName,
                                                      Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                                      Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn);
  /// Makes a reactor and inserts it, without looking for one.
  Zon::Ptr<AllIntfQueueCounterSliceReactor> newSliceSm(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                       Zon::String8 const& sliceName,
                                                       Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                                       Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn);
  Zon::Ptr<AllIntfQueueCounterSliceReactor> sliceSmDel(Zon::String8 const& sliceName);
  Zon::Ptr<AllIntfQueueCounterSliceReactor> sliceSmDel(SliceSmIterator& at);
  void sliceSmDelAll();
  void sliceSmNotify(Zon::String8 const&) noexcept {}
  SliceSmIterator sliceSmIterator();
  SliceSmIteratorConst sliceSmIteratorConst() const;

  /// Reaction to a slice that came, was replaced or went.
  void handleQueueCounterDir(Zon::String8 name);
  /// The sweep: drops stale output entries, then reacts to every slice.
  void handleQueueCounterDir();

 private:
  friend Zon::ReactorOf<AllIntfQueueCounterReactor>;
  static constexpr auto zonInputs() { return std::tuple(&AllIntfQueueCounterReactor::counterIn_); }
  static constexpr auto zonChildren() { return std::tuple(&AllIntfQueueCounterReactor::sliceSm_); }

  void removeStaleEntries(Zon::Dir& slices);

  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const counterOut_;
  Zon::Ptr<ZonCounterIn> counterIn_;
  SliceSms sliceSm_;
};

class AllIntfQueueCounterReactor::ZonCounterIn final
  : public Zon::KeyedInput<AllIntfQueueCounterReactor, Zon::Dir::Notifiee> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfQueueCounterReactorIs(AllIntfQueueCounterReactor* owner) noexcept { zonOwnerIs(owner); }
  void onEntityPtr(Zon::Name name) override;
  void onEntityPtr() override {}
};

}  // namespace VaroIntf
