/// \file
/// Delivery of a change of one key to 1, 8 and 64 watchers, beside its peers. Every callback does the same: it takes the
/// key by value and counts. Then a change that an activity records, coalesces and dispatches, beside the shortest queue
/// with a dirty flag. Names read WHAT/HOW/WATCHERS; `items_per_second` counts callbacks.

#include <QObject>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/signals2.hpp>
#include <sigc++/sigc++.h>

#include "Zon/Input.h"
#include "Zon/Reactor.h"
#include "bench/Members.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/IntfStatus.h"

// Named, so that the compiler cannot see that there is one kind of watcher only, and for moc.
namespace DeliveryBench {

using Orvet::IntfId;

constexpr std::size_t keys = 64;

class VaroWatcher final : public Interface::AllIntfConfigDir::NotifieeConst {
 public:
  void onIntfConfig(IntfId) override { ++calls; }
  void onIntfConfig() override {}

  std::uint64_t calls = 0;
};

class Varo {
 public:
  explicit Varo(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      watchers_.push_back(Zon::newPtr<VaroWatcher>());
      watchers_.back()->notifierIs(directory_);
      watchers_.back()->isRegisteredNotifieeIs(true);
      watchers_.back()->hasNotificationActiveIs(true);
    }
  }
  void tell(IntfId const& id) { directory_->intfConfigNotify(id); }
  std::uint64_t calls() const { return watchers_.back()->calls; }

 private:
  Zon::Ptr<Interface::AllIntfConfigDir> directory_ = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  std::vector<Zon::Ptr<VaroWatcher>> watchers_;
};

class Observer {
 public:
  virtual ~Observer() = default;
  virtual void onIntfConfig(IntfId) {}

  std::uint64_t calls = 0;
};

class CountingObserver : public Observer {
 public:
  void onIntfConfig(IntfId) override { ++calls; }
};

class OtherObserver : public Observer {
 public:
  void onIntfConfig(IntfId) override { calls += 2; }
};

/// Protects nothing: the floor.
class BareLoop {
 public:
  explicit BareLoop(std::size_t count) {
    bool other = false;
    benchmark::DoNotOptimize(other);
    for (std::size_t i = 0; i < count; ++i) {
      if (other) {
        observers_.push_back(std::make_unique<OtherObserver>());
      } else {
        observers_.push_back(std::make_unique<CountingObserver>());
      }
    }
  }
  [[gnu::noinline]] void tell(IntfId const& id) {
    for (auto const& observer : observers_)
      observer->onIntfConfig(id);
  }
  std::uint64_t calls() const { return observers_.back()->calls; }

 private:
  std::vector<std::unique_ptr<Observer>> observers_;
};

struct Slot {
  void onIntfConfig(IntfId) { ++calls; }

  std::uint64_t calls = 0;
};

class BoostSignals {
 public:
  explicit BoostSignals(std::size_t count) : slots_(count) {
    for (Slot& slot : slots_)
      signal_.connect([&slot](IntfId id) { slot.onIntfConfig(std::move(id)); });
  }
  void tell(IntfId const& id) { signal_(id); }
  std::uint64_t calls() const { return slots_.back().calls; }

 private:
  std::vector<Slot> slots_;
  boost::signals2::signal<void(IntfId)> signal_;
};

/// The same signal without its lock.
class BoostSignalsUnlocked {
 public:
  explicit BoostSignalsUnlocked(std::size_t count) : slots_(count) {
    for (Slot& slot : slots_)
      signal_.connect([&slot](IntfId id) { slot.onIntfConfig(std::move(id)); });
  }
  void tell(IntfId const& id) { signal_(id); }
  std::uint64_t calls() const { return slots_.back().calls; }

 private:
  std::vector<Slot> slots_;
  boost::signals2::signal_type<void(IntfId), boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type
      signal_;
};

class Sigc {
 public:
  explicit Sigc(std::size_t count) : slots_(count) {
    for (Slot& slot : slots_)
      signal_.connect(sigc::mem_fun(slot, &Slot::onIntfConfig));
  }
  void tell(IntfId const& id) { signal_.emit(id); }
  std::uint64_t calls() const { return slots_.back().calls; }

 private:
  std::vector<Slot> slots_;
  sigc::signal<void, IntfId> signal_;
};

class QtNotifier : public QObject {
  Q_OBJECT

 public:
  void tell(Orvet::IntfId const& id) { Q_EMIT intfConfig(id); }

 Q_SIGNALS:
  void intfConfig(Orvet::IntfId id);
};

class QtWatcher : public QObject {
  Q_OBJECT

 public:
  void onIntfConfig(Orvet::IntfId) { ++calls; }

  std::uint64_t calls = 0;
};

class QtSignals {
 public:
  explicit QtSignals(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      watchers_.push_back(std::make_unique<QtWatcher>());
      QObject::connect(&notifier_, &QtNotifier::intfConfig, watchers_.back().get(), &QtWatcher::onIntfConfig,
                       Qt::DirectConnection);
    }
  }
  void tell(IntfId const& id) { notifier_.tell(id); }
  std::uint64_t calls() const { return watchers_.back()->calls; }

 private:
  QtNotifier notifier_;
  std::vector<std::unique_ptr<QtWatcher>> watchers_;
};

template <class Peer>
void deliver(benchmark::State& state, std::size_t watchers) {
  auto const ids = Bench::idsOf(keys);
  Peer peer(watchers);
  std::size_t told = 0;
  for (auto _ : state)
    peer.tell(ids[told++ % keys]);
  if (peer.calls() != told) state.SkipWithError("a watcher was not called");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(watchers));
}

// ---------------------------------------------------------------------------------------------------------------
// Deferred: every notifier has one watcher; all of them change `changes` times, then all handlers run.

class KeyedReader final : public Zon::ReactorOf<KeyedReader> {
 public:
  class Directory final : public Zon::KeyedInput<KeyedReader, Interface::AllIntfConfigDir::NotifieeConst> {
   public:
    using KeyedInput::KeyedInput;
    void onIntfConfig(IntfId id) override {
      zonGate(std::move(id), [](KeyedReader& reader, IntfId const&) { ++reader.handled; });
    }
    void onIntfConfig() override {
      zonAct([](KeyedReader& reader) { ++reader.handled; });
    }
  };

  KeyedReader(Zon::Ptr<Zon::ActivityConfig> const& activity,
              Zon::Ptr<Interface::AllIntfConfigDir const> const& directory)
    : ReactorOf(activity), directory_(zonNewInput<Directory>(directory)) {}
  ~KeyedReader() override { zonTearDown(); }

  std::uint64_t handled = 0;

 private:
  friend Zon::ReactorOf<KeyedReader>;
  static constexpr auto zonInputs() { return std::tuple(&KeyedReader::directory_); }

  Zon::Ptr<Directory> directory_;
};

class ValueReader final : public Zon::ReactorOf<ValueReader> {
 public:
  class Status final : public Zon::ValueInput<ValueReader, Interface::IntfStatus::NotifieeConst, 272,
                                              &Interface::IntfStatus::NotifieeConst::onActive> {
   public:
    using ValueInput::ValueInput;
    void onActive() override {
      zonGate([](ValueReader& reader) { ++reader.handled; });
    }
  };

  ValueReader(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::Ptr<Interface::IntfStatus const> const& status)
    : ReactorOf(activity), status_(zonNewInput<Status>(status)) {}
  ~ValueReader() override { zonTearDown(); }

  std::uint64_t handled = 0;

 private:
  friend Zon::ReactorOf<ValueReader>;
  static constexpr auto zonInputs() { return std::tuple(&ValueReader::status_); }

  Zon::Ptr<Status> status_;
};

/// The activity of both, and its dispatch.
class Deferring {
 public:
  void dispatch() {
    while (activity_->zonPending() != 0)
      activity_->zonDispatch();
  }

 protected:
  Zon::Ptr<Zon::ActivityConfig> activity_ = Zon::newPtr<Zon::ActivityConfig>();
};

class VaroKeyed : public Deferring {
 public:
  explicit VaroKeyed(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      directories_.push_back(Zon::newPtr<Interface::AllIntfConfigDir>("config"));
      readers_.push_back(Zon::newPtr<KeyedReader>(activity_, directories_.back()));
      readers_.back()->hasNotificationActiveIs(true);
    }
  }
  void change(std::size_t i, IntfId const& id) { directories_[i]->intfConfigNotify(id); }
  std::uint64_t handled() const { return readers_.back()->handled; }

 private:
  std::vector<Zon::Ptr<Interface::AllIntfConfigDir>> directories_;
  std::vector<Zon::Ptr<KeyedReader>> readers_;
};

class VaroValue : public Deferring {
 public:
  explicit VaroValue(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      statuses_.push_back(Zon::newPtr<Interface::IntfStatus>("Ethernet1"));
      readers_.push_back(Zon::newPtr<ValueReader>(activity_, statuses_.back()));
      readers_.back()->hasNotificationActiveIs(true);
    }
  }
  void change(std::size_t i, IntfId const&) { statuses_[i]->activeIs(!statuses_[i]->active()); }
  std::uint64_t handled() const { return readers_.back()->handled; }

 private:
  std::vector<Zon::Ptr<Interface::IntfStatus>> statuses_;
  std::vector<Zon::Ptr<ValueReader>> readers_;
};

/// What waits in a hand-written queue.
class Task {
 public:
  virtual ~Task() = default;
  virtual void run() = 0;

  std::uint64_t handled = 0;
};

class Queue {
 public:
  void add(Task* task) { tasks_.push_back(task); }
  [[gnu::noinline]] void dispatch() {
    running_.swap(tasks_);
    for (Task* const task : running_)
      task->run();
    running_.clear();
  }

 private:
  std::vector<Task*> tasks_;
  std::vector<Task*> running_;
};

class ValueTask : public Task {
 public:
  explicit ValueTask(Queue& queue) : queue_(queue) {}
  virtual void onActive() {
    if (!std::exchange(dirty_, true)) queue_.add(this);
  }
  void run() override {
    dirty_ = false;
    ++handled;
  }

 private:
  Queue& queue_;
  bool dirty_ = false;
};

/// Remembers the key of a single change.
class KeyedTask : public Task {
 public:
  explicit KeyedTask(Queue& queue) : queue_(queue) {}
  virtual void onIntfConfig(IntfId id) {
    key_ = std::move(id);
    if (changes_++ == 0) queue_.add(this);
  }
  void run() override {
    if (std::exchange(changes_, 0) == 1) {
      handleKey(key_);
    } else {
      handleAll();
    }
  }
  virtual void handleKey(IntfId) { ++handled; }
  virtual void handleAll() { ++handled; }

 private:
  Queue& queue_;
  IntfId key_;
  std::uint32_t changes_ = 0;
};

template <class T>
class HandWritten {
 public:
  explicit HandWritten(std::size_t count) : values_(count) {
    for (std::size_t i = 0; i < count; ++i)
      tasks_.push_back(std::make_unique<T>(queue_));
  }
  [[gnu::noinline]] void change(std::size_t i, IntfId const& id) {
    if constexpr (std::is_same_v<T, KeyedTask>) {
      tasks_[i]->onIntfConfig(id);
    } else {
      values_[i] = !values_[i];
      tasks_[i]->onActive();
    }
  }
  void dispatch() { queue_.dispatch(); }
  std::uint64_t handled() const { return tasks_.back()->handled; }

 private:
  Queue queue_;
  std::vector<char> values_;
  std::vector<std::unique_ptr<T>> tasks_;
};

template <class Peer>
void defer(benchmark::State& state, std::size_t watchers, int changes) {
  auto const ids = Bench::idsOf(keys);
  Peer peer(watchers);
  std::uint64_t rounds = 0;
  for (auto _ : state) {
    for (int change = 0; change < changes; ++change)
      for (std::size_t i = 0; i < watchers; ++i)
        peer.change(i, ids[i]);
    peer.dispatch();
    ++rounds;
  }
  if (peer.handled() != rounds) state.SkipWithError("a handler did not run exactly once a round");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(watchers));
}

template <class Peer>
void addDelivery(std::string const& name) {
  for (std::size_t const watchers : {1, 8, 64})
    benchmark::RegisterBenchmark(("Deliver/" + name + "/" + std::to_string(watchers)).c_str(), deliver<Peer>, watchers);
}

template <class Own, class Peer>
void addDeferred(std::string const& what) {
  for (int const changes : {1, 2}) {
    for (std::size_t const watchers : {1, 64}) {
      std::string const head = "Defer" + what + (changes == 1 ? "Once/" : "Twice/");
      std::string const tail = "/" + std::to_string(watchers);
      benchmark::RegisterBenchmark((head + "Varo" + tail).c_str(), defer<Own>, watchers, changes);
      benchmark::RegisterBenchmark((head + "hand-written queue" + tail).c_str(), defer<Peer>, watchers, changes);
    }
  }
}

bool const registered = [] {
  addDelivery<Varo>("Varo");
  addDelivery<BareLoop>("loop of virtual calls");
  addDelivery<BoostSignals>("boost::signals2");
  addDelivery<BoostSignalsUnlocked>("boost::signals2 without lock");
  addDelivery<Sigc>("sigc++");
  addDelivery<QtSignals>("Qt direct connection");
  addDeferred<VaroValue, HandWritten<ValueTask>>("Value");
  addDeferred<VaroKeyed, HandWritten<KeyedTask>>("Keyed");
  return true;
}();

}  // namespace DeliveryBench

#include "DeliveryBench.moc"
