#pragma once

/// \file
/// What happened in a test, in order, and watchers that record it and may misbehave on demand.
///
/// Use
///
///     Support::Events events;
///     auto watcher = Zon::newPtr<Support::ConfigDirWatcher>("a", events, directory);
///     watcher->act = [&](std::string const& heard) { throw std::runtime_error(heard); };
///     ...
///     EXPECT_EQ(events.take(), "a:key(Ethernet1) a:exception(258)");

#include <functional>
#include <string>
#include <utility>

#include "Zon/Activity.h"
#include "Zon/Notifiee.h"
#include "platform/Interface/AllIntfConfigDir.h"

namespace Support {

/// Events in order, separated by blanks.
class Events {
 public:
  void add(std::string const& event) { text_ += (text_.empty() ? "" : " ") + event; }
  /// Everything since the last call.
  std::string take() { return std::exchange(text_, {}); }

 private:
  std::string text_;
};

/// The labels of `n` watchers: "a", "b", ...
inline std::string label(std::size_t n) { return std::string(1, static_cast<char>('a' + n)); }

/// A watcher of kind N that records what every watcher may hear. Born on, bound and registered.
template <class N>
class Recorder : public N {
 public:
  Recorder(std::string label, Events& events, Zon::Ptr<Zon::PtrInterface const> const& notifier = nullptr)
    : label_(std::move(label)), events_(&events) {
    this->zonBind(dynamic_cast<typename N::ZonNotifier const*>(notifier.ptr()));
    this->hasNotificationActiveIs(true);
    this->isRegisteredNotifieeIs(true);
  }
  ~Recorder() override {
    if (recordsDeath) events_->add("~" + label_);
  }

  /// Runs inside every callback, after it was recorded.
  std::function<void(std::string const& event)> act;
  /// Runs inside `onNotificationException`.
  std::function<void()> actOnException;
  bool recordsDeath = false;

  std::string const& label() const { return label_; }

  void onNotificationException(Zon::AttributeId id) override {
    events_->add(label_ + ":exception(" + std::to_string(id) + ")");
    if (auto const sabotage = actOnException) sabotage();
  }
  void onZeroReferences() override { heard("zeroReferences"); }
  void onIsNondestructing() override { heard("isNondestructing"); }
  void onParent() override { heard("parent"); }
  void onVersion() override { heard("version"); }
  void onAttribute(Zon::AttributeId id) override { heard("attribute(" + std::to_string(id) + ")"); }
  void onNotification() override { heard("notification"); }
  void onCollectionNotification(Zon::String8) override { heard("collectionNotification"); }

 protected:
  void heard(std::string const& event) {
    events_->add(label_ + ":" + event);
    // A copy: the saboteur may destroy this watcher.
    if (auto const sabotage = act) sabotage(event);
  }
  template <class K>
  static std::string text(K const& key) {
    if constexpr (requires { key.stringValue(); }) {
      return key.stringValue().stdString();
    } else {
      return key.stdString();
    }
  }

 private:
  std::string label_;
  Events* events_;
};

/// A plain watcher of a configuration directory, const or not.
template <class N>
class ConfigDirRecorder : public Recorder<N> {
 public:
  using Recorder<N>::Recorder;

  void onIntfConfig(Orvet::IntfId id) override { this->heard("key(" + this->text(id) + ")"); }
  void onIntfConfigzonImmediate() override { this->heard("immediate"); }
  void onIntfConfig() override { this->heard("all"); }
};

using ConfigDirWatcher = ConfigDirRecorder<Interface::AllIntfConfigDir::NotifieeConst>;

inline Zon::Ptr<Zon::ActivityConfig> deferring() { return Zon::newPtr<Zon::ActivityConfig>(); }
inline Zon::Ptr<Zon::ActivityConfig> immediate() {
  return Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate);
}

}  // namespace Support
