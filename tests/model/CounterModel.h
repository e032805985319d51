#pragma once

/// \file
/// The queue-counter chain: which slices and interfaces have reactors, what the output points to, which blocks exist.
///
/// The output is shared and whoever wrote last wins: a removal in one slice takes away what another published. A slice
/// reactor and a leaf stay with the slice and the counters of their birth; a replacement under the same name locks them.

#include "model/State.h"

namespace Model {

class CounterModel {
 public:
  explicit CounterModel(State& state) : state_(state) {}

  /// A discovery that has swept its slices and is switched on; its number.
  int create(int activity, int output, int slices);
  // False when a name-in-use exception ends it, with what was done before.
  bool handleSlice(int number, int slice);
  bool sweep(int number);
  bool handle(State::SliceReactor& reactor, int interface);
  bool sweep(State::SliceReactor& reactor);
  void prepareToDie(State::SliceReactor const& reactor);
  void handle(State::Leaf const& leaf, int counter);
  void sweep(State::Leaf const& leaf);

  // What the host changed.
  void slicesChanged(int slices, int slice);
  void slicesChanged(int slices);
  void sliceChanged(int entry, int interface);
  void countersChanged(int counters, int counter);

 private:
  template <class Tell>
  void tellDiscoveries(int slices, Tell const& tell);
  bool someSliceLists(int slices, int interface) const;
  int entryOf(int slices, int slice) const;
  void outputIs(int output, int interface, int counters);

  State& state_;
};

}  // namespace Model
