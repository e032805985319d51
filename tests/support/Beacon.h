#pragma once

/// \file
/// A sample notifier of one attribute, under either rule of whom a delivery calls, and its recording watcher.

#include <string>

#include "Zon/Notifiee.h"
#include "support/Events.h"

namespace Support {

template <Zon::Deliver policy>
class Beacon : public Zon::Watched<Beacon<policy>> {
 public:
  class NotifieeConst;
  class Notifiee;
  class Watcher;

  static constexpr Zon::Deliver zonDelivery = policy;

  explicit Beacon(Zon::Name name = "beacon") : Zon::Watched<Beacon>(std::move(name)) {}
  ~Beacon() override {
    if (death != nullptr) death->add("~beacon");
  }

  int colour() const { return colour_; }
  void colourIs(int colour) { this->template zonSet<258, &NotifieeConst::onColour>(colour_, colour); }

  std::uint32_t watchers() const { return zonNotifiees_.count(); }
  std::uint32_t watcherChanges() const { return zonNotifiees_.zonModCount(); }
  /// The labels of the registered watchers, in order.
  std::string order() const;

  Events* death = nullptr;

 private:
  friend Zon::WatchedAccess;

  int colour_ = 0;
  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
};

template <Zon::Deliver policy>
class Beacon<policy>::NotifieeConst : public Zon::NotifieeConstOf<Beacon<policy>> {
 public:
  virtual void onColour() {}
};

template <Zon::Deliver policy>
class Beacon<policy>::Notifiee : public Zon::NotifieeOf<Beacon<policy>> {};

/// Records "LABEL:VALUE" with the value it sees.
template <Zon::Deliver policy>
class Beacon<policy>::Watcher : public Recorder<typename Beacon<policy>::NotifieeConst> {
 public:
  using Recorder<typename Beacon<policy>::NotifieeConst>::Recorder;

  void onColour() override {
    auto const beacon = this->notifier();
    this->heard(beacon ? std::to_string(beacon->colour()) : "gone");
  }
};

template <Zon::Deliver policy>
std::string Beacon<policy>::order() const {
  std::string text;
  for (typename Zon::ListRaw<NotifieeConst>::LrIteratorConst it(zonNotifiees_); it; ++it) {
    text += dynamic_cast<Watcher const&>(*it).label();
  }
  return text;
}

}  // namespace Support
