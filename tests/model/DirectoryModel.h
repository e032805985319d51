#pragma once

/// \file
/// Configuration and status directories: what a change makes of the mirrors and machines that watch them, in the order
/// they registered. Only real changes reach anybody.

#include "model/State.h"

namespace Model {

class DirectoryModel {
 public:
  explicit DirectoryModel(State& state) : state_(state) {}

  void set(Half half, int directory, int interface, int entity);
  void del(Half half, int directory, int interface);
  void delAll(Half half, int directory);
  /// Announces a key without a change.
  void notify(Half half, int directory, int interface);
  /// Announces that everything changed: mirrors copy all, the others learn nothing they use.
  void notifyAll(Half half, int directory);

 private:
  template <class ToMirror, class ToGated>
  void tell(Half half, int directory, ToMirror const& toMirror, ToGated const& toGated);

  State& state_;
};

}  // namespace Model
