#pragma once

/// \file
/// The status machine: one reactor per status of its directory, each keeping its status's forwarding model at the lowest
/// code its inputs ask for, 5 at most.

#include "model/State.h"

namespace Model {

class StatusModel {
 public:
  explicit StatusModel(State& state) : state_(state) {}

  /// A machine that has swept its directory and is switched on; its number.
  int create(int activity, int directory);
  /// The reactor of one interface comes, moves to another status or goes with it.
  void handle(int number, int interface);
  /// The sweep: makes and moves, removes nothing.
  void sweep(int number);
  /// Finds the reactor of the status's interface and moves it, or makes it.
  void reactorIs(int number, int status);
  /// The inputs of a status changed: every reactor that hears it resolves.
  void inputsChanged(int status);

 private:
  void resolve(int status);

  State& state_;
};

}  // namespace Model
