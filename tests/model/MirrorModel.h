#pragma once

/// \file
/// The all-interfaces mirror: two independent halves, each copying one directory's entries to another at every change, on
/// any activity. What it copied stays when the mirror goes.

#include "model/State.h"

namespace Model {

class MirrorModel {
 public:
  explicit MirrorModel(State& state) : state_(state) {}

  /// A mirror switched on, that has copied both halves; its number.
  int create(int activity, std::array<int, 2> const& output, std::array<int, 2> const& input);
  void mirror(int number, Half half, int interface);
  void mirrorAll(int number, Half half);
  /// Another input for an existing watcher is copied whole; the first one of an empty slot is not.
  void inputIs(int number, Half half, int directory);

 private:
  State& state_;
};

}  // namespace Model
