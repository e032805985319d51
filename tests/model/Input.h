#pragma once

/// \file
/// A watcher of a reactor, as the model remembers it: what it watches, whether it hears, and what waits for a dispatch.

#include <cstdint>

#include "model/Vocabulary.h"

namespace Model {

struct Input {
  /// An empty slot has no watcher at all.
  bool present = false;
  int notifier = none;
  bool on = false;
  bool zombie = false;
  /// When it registered with its notifier: who registered first acts first. Another notifier is a new registration.
  std::uint64_t stamp = 0;

  // What a deferring activity recorded since its last turn.
  enum class Pending { nothing, changes, everything };
  int activity = nullActivity;
  Pending pending = Pending::nothing;
  unsigned pendingCount = 0;
  int pendingKey = none;

  /// What it watches, none also for an empty slot.
  int watched() const { return present ? notifier : none; }
  bool hears() const { return present && on && !zombie; }

  void switchIs(bool active) {
    if (present) on = active;
  }
  /// A zombie is switched off, a revived one on, whatever its owner's switch says.
  void zombieIs(bool marked) {
    if (!present || marked == zombie) return;
    if (notifier != none) on = !marked;
    zombie = marked;
  }
};

}  // namespace Model
