#pragma once

/// \file
/// A reactor with one input of each kind and keyed children, which records what reaches its handlers.

#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include "Zon/HashMap.h"
#include "Zon/Input.h"
#include "Zon/Reactor.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "platform/Interface/IntfConfig.h"
#include "support/Events.h"

namespace Support {

using ConfigDirPtr = Zon::Ptr<Interface::AllIntfConfigDir>;
using ConfigPtr = Zon::Ptr<Interface::IntfConfig const>;
using StatusDirPtr = Zon::Ptr<Interface::AllIntfStatusDir>;
using ActivityPtr = Zon::Ptr<Zon::ActivityConfig>;

class Reader : public Zon::ReactorOf<Reader> {
 public:
  class ZonConfigs;
  class ZonConfig;
  class ZonStatuses;
  class Child;
  using Children = Zon::HashMap<Child, Orvet::IntfId>;

  Reader(ActivityPtr const& activity, Events& record, ConfigDirPtr const& dir = nullptr,
         ConfigPtr const& single = nullptr, StatusDirPtr const& statusDir = nullptr);
  ~Reader() override;

  ConfigDirPtr configs() const;
  void configsIs(ConfigDirPtr const& notifier);
  ConfigDirPtr configsDel();
  Zon::Ptr<ZonConfigs> newConfigs(ConfigDirPtr const& notifier);

  ConfigPtr config() const;
  void configIs(ConfigPtr const& notifier);
  ConfigPtr configDel();
  Zon::Ptr<ZonConfig> newConfig(ConfigPtr const& notifier);

  StatusDirPtr statuses() const;
  void statusesIs(StatusDirPtr const& notifier);
  StatusDirPtr statusesDel();
  Zon::Ptr<ZonStatuses> newStatuses(StatusDirPtr const& notifier);

  /// Finds or creates a child built from a directory and a configuration.
  Zon::Ptr<Child> childIs(ActivityPtr const& activity, Orvet::IntfId const& key, ConfigDirPtr const& dir,
                          ConfigPtr const& single);

  void handle(std::string const& event) {
    events->add(event);
    if (auto const run = act) run(event);
  }

  Events* events;
  std::function<void(std::string const& event)> act;
  /// Runs while a child is being made.
  std::function<void()> actMaking;

  Zon::Ptr<ZonConfigs> const& zonConfigs() const { return configs_; }
  Zon::Ptr<ZonConfig> const& zonConfig() const { return config_; }
  Zon::Ptr<ZonStatuses> const& zonStatuses() const { return statuses_; }
  Children children;

 private:
  friend Zon::ReactorOf<Reader>;
  static constexpr auto zonInputs() { return std::tuple(&Reader::configs_, &Reader::config_, &Reader::statuses_); }
  static constexpr auto zonChildren() { return std::tuple(&Reader::children); }

  Zon::Ptr<ZonConfigs> configs_;
  Zon::Ptr<ZonConfig> config_;
  Zon::Ptr<ZonStatuses> statuses_;
};

/// Records when it dies and when it is switched; lets tests look at what is protected otherwise.
template <class Base>
class Observed : public Base {
 public:
  using Base::Base;
  ~Observed() override {
    if (death != nullptr) death->add("~" + label);
  }
  void hasNotificationActiveIs(bool active) override {
    if (death != nullptr) death->add(label + (active ? ":on" : ":off"));
    if (onSwitch) onSwitch();
    Base::hasNotificationActiveIs(active);
  }
  using Base::zonIsQueued;

  /// Runs inside every switching.
  std::function<void()> onSwitch;

  Events* death = nullptr;
  std::string label;
};

/// The gate on a collection.
class Reader::ZonConfigs final : public Observed<Zon::KeyedInput<Reader, Interface::AllIntfConfigDir::Notifiee>> {
 public:
  using Observed::Observed;
  void onIntfConfig(Orvet::IntfId id) override {
    zonGate(std::move(id), [](Reader& reader, Orvet::IntfId const& key) {
      reader.handle("configs(" + key.stringValue().stdString() + ")");
    });
  }
  void onIntfConfig() override {
    zonAct([](Reader& reader) { reader.handle("configs()"); });
  }
  void onAttribute(Zon::AttributeId id) override {
    zonAct([id](Reader& reader) { reader.handle("attribute(" + std::to_string(id) + ")"); });
  }
  void onNotification() override {
    zonAct([](Reader& reader) { reader.handle("notification"); });
  }
  void onNotificationException(Zon::AttributeId id) override {
    zonAct([id](Reader& reader) { reader.handle("exception(" + std::to_string(id) + ")"); });
  }
};

/// The gate on a single value; a rebinding counts as a change.
class Reader::ZonConfig final
  : public Observed<Zon::ValueInput<Reader, Interface::IntfConfig::NotifieeConst, 263,
                                    &Interface::IntfConfig::NotifieeConst::onAdminEnabledStateLocal>> {
 public:
  using Observed::Observed;
  void notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) override {
    zonRebind(notifier, [this] { zonAct([](Reader& reader) { reader.handle("rebound"); }); });
  }
  void onAdminEnabledStateLocal() override {
    zonGate([](Reader& reader) { reader.handle("config"); });
  }
  void onAttribute(Zon::AttributeId id) override {
    zonAct([id](Reader& reader) { reader.handle("attribute(" + std::to_string(id) + ")"); });
  }
  void onNotification() override {
    zonAct([](Reader& reader) { reader.handle("notification"); });
  }
};

/// Acts at once.
class Reader::ZonStatuses final : public Observed<Zon::DirectInput<Reader, Interface::AllIntfStatusDir::Notifiee>> {
 public:
  using Observed::Observed;
  void onIntfStatus(Orvet::IntfId id) override {
    zonAct([&](Reader& reader) { reader.handle("statuses(" + id.stringValue().stdString() + ")"); });
  }
  void onIntfStatuszonImmediate() override {
    zonAct([](Reader& reader) { reader.handle("statusesImmediate"); });
  }
  void onIntfStatus() override {
    zonAct([](Reader& reader) { reader.handle("statuses()"); });
  }
  void onAttribute(Zon::AttributeId id) override {
    zonAct([id](Reader& reader) { reader.handle("attribute(" + std::to_string(id) + ")"); });
  }
  void onNotification() override {
    zonAct([](Reader& reader) { reader.handle("notification"); });
  }
};

/// A keyed child without inputs.
class Reader::Child final : public Zon::ReactorOf<Child>, public Zon::HashMapLink<Child> {
 public:
  Child(ActivityPtr const& activity, Events& record, Orvet::IntfId key, ConfigDirPtr dir, ConfigPtr single)
    : ReactorOf(activity), events(&record), key_(std::move(key)), dir_(std::move(dir)), single_(std::move(single)) {}
  ~Child() override {
    events->add("~" + key_.stringValue().stdString());
    zonTearDown();
  }

  Orvet::IntfId const& fwkKey() const noexcept { return key_; }
  ConfigDirPtr dir() const { return dir_; }
  ConfigPtr single() const { return single_; }

  void hasNotificationActiveIs(bool active) override {
    events->add(key_.stringValue().stdString() + (active ? ":on" : ":off"));
    ReactorOf::hasNotificationActiveIs(active);
  }

  Events* events;

 private:
  friend Zon::ReactorOf<Child>;
  static constexpr auto zonInputs() { return std::tuple<>(); }

  Orvet::IntfId const key_;
  ConfigDirPtr const dir_;
  ConfigPtr const single_;
};

inline Reader::Reader(ActivityPtr const& activity, Events& record, ConfigDirPtr const& dir, ConfigPtr const& single,
                      StatusDirPtr const& statusDir)
  : ReactorOf(activity), events(&record) {
  if (dir) configs_ = newConfigs(dir);
  if (single) config_ = newConfig(single);
  if (statusDir) statuses_ = newStatuses(statusDir);
}
inline Reader::~Reader() {
  events->add("~reader");
  zonTearDown();
}

inline ConfigDirPtr Reader::configs() const { return zonNotifier(configs_); }
inline void Reader::configsIs(ConfigDirPtr const& notifier) {
  zonInputIs(&Reader::configs_, notifier, [this](auto const& made) { return newConfigs(made); });
}
inline ConfigDirPtr Reader::configsDel() { return zonInputDel(&Reader::configs_); }
inline Zon::Ptr<Reader::ZonConfigs> Reader::newConfigs(ConfigDirPtr const& notifier) {
  return zonNewInput<ZonConfigs>(notifier);
}

inline ConfigPtr Reader::config() const { return zonNotifier(config_); }
inline void Reader::configIs(ConfigPtr const& notifier) {
  zonInputIs(&Reader::config_, notifier, [this](auto const& made) { return newConfig(made); });
}
inline ConfigPtr Reader::configDel() { return zonInputDel(&Reader::config_); }
inline Zon::Ptr<Reader::ZonConfig> Reader::newConfig(ConfigPtr const& notifier) {
  return zonNewInput<ZonConfig>(notifier);
}

inline StatusDirPtr Reader::statuses() const { return zonNotifier(statuses_); }
inline void Reader::statusesIs(StatusDirPtr const& notifier) {
  zonInputIs(&Reader::statuses_, notifier, [this](auto const& made) { return newStatuses(made); });
}
inline StatusDirPtr Reader::statusesDel() { return zonInputDel(&Reader::statuses_); }
inline Zon::Ptr<Reader::ZonStatuses> Reader::newStatuses(StatusDirPtr const& notifier) {
  return zonNewInput<ZonStatuses>(notifier);
}

inline Zon::Ptr<Reader::Child> Reader::childIs(ActivityPtr const& activity, Orvet::IntfId const& key,
                                               ConfigDirPtr const& dir, ConfigPtr const& single) {
  Zon::Ptr<Reader> const self(this);
  return Zon::findOrCreate(
      children, key, activity,
      [&](Orvet::IntfId const& wanted) {
        auto made = Zon::newPtr<Child>(activity, *events, wanted, dir, single);
        if (auto const run = std::exchange(actMaking, {})) run();
        return made;
      },
      Zon::ConstructorParameter<Child, Interface::AllIntfConfigDir>{"dir", dir, [](Child const& c) { return c.dir(); }},
      Zon::ConstructorParameter<Child, Interface::IntfConfig const>{"single", single,
                                                                    [](Child const& c) { return c.single(); }});
}

}  // namespace Support
