#pragma once

/// \file
/// The errdisable module: which interfaces have a member, what each member watches, and the state and reason it writes.
///
/// A member writes only when something makes it: until then its configuration keeps what was written last, be it by
/// another machine or the host. A member stays with the configuration it was born with: a replacement under the same key
/// locks it (every later attempt ends in a name-in-use exception) until the key goes.

#include "model/State.h"

namespace Model {

class ErrdisableModel {
 public:
  explicit ErrdisableModel(State& state) : state_(state) {}

  /// A machine that has scanned its configurations and is switched on; its number.
  int create(int activity, int configs, int statuses, int list);
  /// Both false when a name-in-use exception ends them.
  bool handleIntf(int number, int interface);
  bool handleInitialized(int number);
  /// Aborts the process for a configured interface without member: `State::impossible`.
  void handleErrdisable(int number, int interface);
  void evaluate(State::Member const& member);

  /// What the host changed, and who evaluates: in the order of registration, for two machines may share an entity.
  void adminChanged(int config);
  void activeChanged(int status);
  void listChanged(int list, int interface);
  void listChanged(int list);

 private:
  template <class InputOf>
  void evaluateThoseThat(InputOf const& inputOf, int notifier);
  template <class Tell>
  void tellListWatchers(int list, Tell const& tell);

  int configOf(State::Machine const& machine, int interface);
  void memberStatusIs(State::Member& member, int status);
  void write(int config, int state, int reason);

  State& state_;
};

}  // namespace Model
