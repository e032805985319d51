/// \file
/// The errdisable module beside the shortest hand-written C++ that makes the same decision, and the same built from Qt
/// objects and signals. One interface in sixteen is errdisabled.
///
///   Event/HOW/N        the status of each of N interfaces flips, in random order; the status object is at hand
///   EventByName/HOW/N  the same, the status looked up by the interface's name first, in the key type of each
///   Wire/HOW/N         everything that reacts is made and connected for N interfaces that exist already;
///                      `bytes` is what that takes an interface
///
/// An event is the flip, the decision, and two writes into the configuration with their delivery. `items_per_second`
/// counts events or interfaces.

#include <QHash>
#include <QObject>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <absl/container/flat_hash_map.h>

#include "VaroErrdisable/Root.h"
#include "bench/Worlds.h"

// Named, for moc and so that no class can be seen to be the only one of its kind.
namespace ErrdisableBench {

bool isErrdisabled(std::size_t i) { return i % 16 == 3; }
/// The status of every interface flips in every round.
bool isActive(std::size_t round) { return round % 2 == 0; }

template <class World>
char const* checkDecisions(World const& world, std::size_t count, std::size_t round);

// ---------------------------------------------------------------------------------------------------------------

class Varo {
 public:
  explicit Varo(std::size_t count) : ids_(Bench::idsOf(count)) {
    for (std::size_t i = 0; i < count; ++i) {
      configDir_->intfConfigIs(Zon::newPtr<Interface::IntfConfig>(ids_[i]));
      statuses_.push_back(Zon::newPtr<Interface::IntfStatus>(ids_[i]));
      statuses_.back()->activeIs(true);
      statusDir_->intfStatusIs(statuses_.back());
      if (isErrdisabled(i)) errdisabled_->errdisabledIntfIs(ids_[i], "bpduguard");
    }
  }
  void wire() { root_->allIntfSMIs(activity_, configDir_, statusDir_, errdisabled_); }
  void unwire() { root_->allIntfSMDel(); }
  void event(std::size_t i, std::size_t round) { statuses_[i]->activeIs(isActive(round)); }
  void eventByName(std::size_t i, std::size_t round) { statusDir_->intfStatus(ids_[i])->activeIs(isActive(round)); }
  char const* check(std::size_t round) const { return checkDecisions(*this, ids_.size(), round); }
  std::string reason(std::size_t i) const { return configDir_->intfConfig(ids_[i])->enabledStateReason().stdString(); }
  bool disabled(std::size_t i) const {
    return configDir_->intfConfig(ids_[i])->enabledStateLocal() == Interface::IntfEnabledState::disabled;
  }

 private:
  std::vector<Orvet::IntfId> ids_;
  std::vector<Zon::Ptr<Interface::IntfStatus>> statuses_;
  Zon::Ptr<Interface::AllIntfConfigDir> configDir_ = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  Zon::Ptr<Interface::AllIntfStatusDir> statusDir_ = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  Zon::Ptr<Errdisable::Status> errdisabled_ = Zon::newPtr<Errdisable::Status>("errdisable");
  Zon::Ptr<Zon::ActivityConfig> activity_ = Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate);
  Zon::Ptr<VaroErrdisable::Root> root_ = VaroErrdisable::rootFactory("errdisable");
};

// ---------------------------------------------------------------------------------------------------------------

enum class State { unset, enabled, disabled };

/// Hears of one interface. It must outlive what it observes, and not unregister while it is called.
class Observer {
 public:
  virtual ~Observer() = default;
  virtual void onActive() {}
  virtual void onAdminState() {}
  virtual void onEnabledState() {}
  virtual void onReason() {}
};

struct Config {
  explicit Config(std::string intfName) : name(std::move(intfName)) {}
  bool adminEnabled() const { return effective() != State::disabled; }
  State effective() const { return admin != State::unset || defaultConfig == nullptr ? admin : defaultConfig->admin; }
  void enabledIs(State state) {
    if (enabled == state) return;
    enabled = state;
    for (Observer* const observer : observers)
      observer->onEnabledState();
  }
  void reasonIs(std::string const& text) {
    if (reason == text) return;
    reason = text;
    for (Observer* const observer : observers)
      observer->onReason();
  }

  std::string name;
  Config* defaultConfig = nullptr;
  State admin = State::unset;
  State enabled = State::unset;
  std::string reason;
  std::vector<Observer*> observers;
};

struct Status {
  void activeIs(bool value) {
    if (active == value) return;
    active = value;
    for (Observer* const observer : observers)
      observer->onActive();
  }

  bool active = true;
  std::vector<Observer*> observers;
};

using Errdisabled = absl::flat_hash_map<std::string, std::string>;

class Machine final : public Observer {
 public:
  Machine(Config& config, Status& status, Errdisabled const& errdisabled)
    : config_(config), status_(status), errdisabled_(errdisabled) {
    config_.observers.push_back(this);
    status_.observers.push_back(this);
    evaluate();
  }
  ~Machine() override {
    std::erase(config_.observers, this);
    std::erase(status_.observers, this);
  }
  void onActive() override { evaluate(); }
  void onAdminState() override { evaluate(); }

 private:
  void evaluate() {
    static std::string const inactive = "inactive";
    static std::string const byAdmin = "admin";
    static std::string const none;
    if (!status_.active) {
      config_.enabledIs(State::disabled);
      config_.reasonIs(inactive);
      return;
    }
    if (auto const entry = errdisabled_.find(config_.name); entry != errdisabled_.end()) {
      config_.enabledIs(State::disabled);
      config_.reasonIs(entry->second);
      return;
    }
    State state = config_.effective();
    if (state == State::unset && config_.enabled != State::unset)
      state = config_.adminEnabled() ? State::enabled : State::disabled;
    config_.enabledIs(state);
    config_.reasonIs(config_.adminEnabled() ? none : byAdmin);
  }

  Config& config_;
  Status& status_;
  Errdisabled const& errdisabled_;
};

class HandWritten {
 public:
  explicit HandWritten(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      names_.push_back(Bench::nameOf(i));
      configs_.emplace(names_[i], std::make_unique<Config>(names_[i]));
      auto status = std::make_unique<Status>();
      byIndex_.push_back(status.get());
      statuses_.emplace(names_[i], std::move(status));
      if (isErrdisabled(i)) errdisabled_.emplace(names_[i], "bpduguard");
    }
  }
  void wire() {
    for (auto const& [name, config] : configs_)
      machines_.emplace(name, std::make_unique<Machine>(*config, *statuses_.find(name)->second, errdisabled_));
  }
  void unwire() {
    absl::flat_hash_map<std::string, std::unique_ptr<Machine>>().swap(machines_);
    for (auto const& [name, config] : configs_)
      config->observers.shrink_to_fit();
    for (auto const& [name, status] : statuses_)
      status->observers.shrink_to_fit();
  }
  void event(std::size_t i, std::size_t round) { byIndex_[i]->activeIs(isActive(round)); }
  void eventByName(std::size_t i, std::size_t round) { statuses_.find(names_[i])->second->activeIs(isActive(round)); }
  char const* check(std::size_t round) const { return checkDecisions(*this, names_.size(), round); }
  std::string reason(std::size_t i) const { return configs_.find(names_[i])->second->reason; }
  bool disabled(std::size_t i) const { return configs_.find(names_[i])->second->enabled == State::disabled; }

 private:
  std::vector<std::string> names_;
  std::vector<Status*> byIndex_;
  absl::flat_hash_map<std::string, std::unique_ptr<Config>> configs_;
  absl::flat_hash_map<std::string, std::unique_ptr<Status>> statuses_;
  Errdisabled errdisabled_;
  absl::flat_hash_map<std::string, std::unique_ptr<Machine>> machines_;
};

// ---------------------------------------------------------------------------------------------------------------

class QtConfig : public QObject {
  Q_OBJECT

 public:
  explicit QtConfig(QString intfName) : name(std::move(intfName)) {}
  bool adminEnabled() const { return effective() != State::disabled; }
  State effective() const { return admin != State::unset || defaultConfig == nullptr ? admin : defaultConfig->admin; }
  void enabledIs(State state) {
    if (enabled == state) return;
    enabled = state;
    Q_EMIT enabledChanged();
  }
  void reasonIs(QString const& text) {
    if (reason == text) return;
    reason = text;
    Q_EMIT reasonChanged();
  }

  QString name;
  QtConfig* defaultConfig = nullptr;
  State admin = State::unset;
  State enabled = State::unset;
  QString reason;

 Q_SIGNALS:
  void adminChanged();
  void enabledChanged();
  void reasonChanged();
};

class QtStatus : public QObject {
  Q_OBJECT

 public:
  void activeIs(bool value) {
    if (active == value) return;
    active = value;
    Q_EMIT activeChanged();
  }

  bool active = true;

 Q_SIGNALS:
  void activeChanged();
};

using QtErrdisabled = QHash<QString, QString>;

class QtMachine : public QObject {
  Q_OBJECT

 public:
  QtMachine(QtConfig& config, QtStatus& status, QtErrdisabled const& errdisabled)
    : config_(config), status_(status), errdisabled_(errdisabled) {
    connect(&config, &QtConfig::adminChanged, this, &QtMachine::evaluate, Qt::DirectConnection);
    connect(&config, &QtConfig::enabledChanged, this, &QtMachine::ignore, Qt::DirectConnection);
    connect(&config, &QtConfig::reasonChanged, this, &QtMachine::ignore, Qt::DirectConnection);
    connect(&status, &QtStatus::activeChanged, this, &QtMachine::evaluate, Qt::DirectConnection);
    evaluate();
  }
  void ignore() {}
  void evaluate() {
    static QString const inactive = QStringLiteral("inactive");
    static QString const byAdmin = QStringLiteral("admin");
    static QString const none;
    if (!status_.active) {
      config_.enabledIs(State::disabled);
      config_.reasonIs(inactive);
      return;
    }
    if (auto const entry = errdisabled_.constFind(config_.name); entry != errdisabled_.constEnd()) {
      config_.enabledIs(State::disabled);
      config_.reasonIs(*entry);
      return;
    }
    State state = config_.effective();
    if (state == State::unset && config_.enabled != State::unset)
      state = config_.adminEnabled() ? State::enabled : State::disabled;
    config_.enabledIs(state);
    config_.reasonIs(config_.adminEnabled() ? none : byAdmin);
  }

 private:
  QtConfig& config_;
  QtStatus& status_;
  QtErrdisabled const& errdisabled_;
};

class QtSignals {
 public:
  explicit QtSignals(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      names_.push_back(QString::fromStdString(Bench::nameOf(i)));
      configs_.insert(names_[i], std::make_shared<QtConfig>(names_[i]));
      statuses_.insert(names_[i], std::make_shared<QtStatus>());
      byIndex_.push_back(statuses_.value(names_[i]).get());
      if (isErrdisabled(i)) errdisabled_.insert(names_[i], QStringLiteral("bpduguard"));
    }
  }
  void wire() {
    for (auto config = configs_.begin(); config != configs_.end(); ++config)
      machines_.insert(config.key(), std::make_shared<QtMachine>(**config, **statuses_.constFind(config.key()),
                                                                 std::as_const(errdisabled_)));
  }
  void unwire() { machines_ = {}; }
  void event(std::size_t i, std::size_t round) { byIndex_[i]->activeIs(isActive(round)); }
  void eventByName(std::size_t i, std::size_t round) { (*statuses_.constFind(names_[i]))->activeIs(isActive(round)); }
  char const* check(std::size_t round) const { return checkDecisions(*this, names_.size(), round); }
  std::string reason(std::size_t i) const { return configs_.value(names_[i])->reason.toStdString(); }
  bool disabled(std::size_t i) const { return configs_.value(names_[i])->enabled == State::disabled; }

 private:
  // QHash copies what it holds: shared pointers, where the others have single ones.
  std::vector<QString> names_;
  std::vector<QtStatus*> byIndex_;
  QHash<QString, std::shared_ptr<QtConfig>> configs_;
  QHash<QString, std::shared_ptr<QtStatus>> statuses_;
  QtErrdisabled errdisabled_;
  QHash<QString, std::shared_ptr<QtMachine>> machines_;
};

// ---------------------------------------------------------------------------------------------------------------

/// What went wrong in a world of `count` interfaces, null when every decision is right for the present statuses.
template <class World>
char const* checkDecisions(World const& world, std::size_t count, std::size_t round) {
  for (std::size_t i = 0; i < count; ++i) {
    std::string const wanted = !isActive(round) ? "inactive" : isErrdisabled(i) ? "bpduguard" : "";
    if (world.reason(i) != wanted || world.disabled(i) != !wanted.empty()) return "a decision is wrong";
  }
  return nullptr;
}

template <class World>
void add(std::string const& how, std::size_t count) {
  Bench::addBenchmark("Event", how, count, Bench::events<World, &World::event>);
  Bench::addBenchmark("EventByName", how, count, Bench::events<World, &World::eventByName>);
  Bench::addBenchmark("Wire", how, count, Bench::wiring<World>);
}

bool const registered = [] {
  for (std::size_t const count : {64, 1'000, 10'000, 100'000, 1'000'000}) {
    add<Varo>("Varo", count);
    add<HandWritten>("hand-written", count);
    // A million of them measure the machine's memory more than the signals, for minutes.
    if (count <= 100'000) add<QtSignals>("Qt", count);
  }
  return true;
}();

}  // namespace ErrdisableBench

#include "ErrdisableBench.moc"
