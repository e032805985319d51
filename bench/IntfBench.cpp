/// \file
/// The interface directory module beside the shortest hand-written C++ that does the same, and its mirror also beside
/// the same built from Qt objects and signals.
///
///   MirrorFill/HOW/N    a reactor is made over a directory of N entries, its output empty
///   MirrorChange/HOW/N  each of N entries is replaced in the input, in random order
///   MirrorRemove/HOW/N  each of N entries is removed from the input, in random order
///   ModelChange/HOW/N   of each of N statuses one of four forwarding-model inputs changes
///   CounterBlocks/HOW/N each of N interfaces gets a counter: 19 blocks. `-named`: other processes can find the managers
///   SliceSweep/HOW/N    the sweep of a slice of N interfaces that are all served already
///   Agent/HOW/N         `agentFactory`, N interfaces put into its directory, and all its reactors with a slice
///
/// `items_per_second` counts entries, statuses, blocks or interfaces; `bytes` is what one takes on the heap.

#include <QHash>
#include <QObject>
#include <QString>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <sys/mman.h>

#include "bench/IntfWorlds.h"
#include "bench/Worlds.h"

// Named, for moc and so that no class can be seen to be the only one of its kind.
namespace IntfBench {

std::vector<std::string> namesOf(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i)
    names.push_back(Bench::nameOf(i));
  return names;
}

// ---------------------------------------------------------------------------------------------------------------
// By hand: entities with plain counts, in absl::flat_hash_map by name. Observers must outlive what they observe, and
// not unregister while they are called.

template <class T>
using Ref = boost::intrusive_ptr<T>;

struct Named : boost::intrusive_ref_counter<Named, boost::thread_unsafe_counter> {
  explicit Named(std::string intfName) : name(std::move(intfName)) {}
  virtual ~Named() = default;

  std::string const name;
};

class Observer {
 public:
  virtual ~Observer() = default;
  virtual void onKey(std::string const&) {}
};

template <class T>
class Directory {
 public:
  using Entries = absl::flat_hash_map<std::string, Ref<T>>;

  Entries const& entries() const { return entries_; }
  T* find(std::string const& name) const {
    auto const entry = entries_.find(name);
    return entry != entries_.end() ? entry->second.get() : nullptr;
  }
  void set(Ref<T> const& entity) {
    auto const [entry, isNew] = entries_.try_emplace(entity->name, entity);
    if (!isNew) {
      if (entry->second == entity) return;
      entry->second = entity;
    }
    tell(entity->name);
  }
  void erase(std::string const& name) {
    if (entries_.erase(name) != 0) tell(name);
  }

  std::vector<Observer*> observers;

 private:
  void tell(std::string const& name) {
    for (Observer* const observer : observers)
      observer->onKey(name);
  }

  Entries entries_;
};

template <class T>
class DirectoryMirror final : public Observer {
 public:
  DirectoryMirror(Directory<T>& in, Directory<T>& out) : in_(in), out_(out) {
    in_.observers.push_back(this);
    for (auto const& [name, entity] : in_.entries())
      out_.set(entity);
    std::vector<std::string> stale;
    for (auto const& [name, entity] : out_.entries())
      if (in_.find(name) == nullptr) stale.push_back(name);
    for (auto const& name : stale)
      out_.erase(name);
  }
  ~DirectoryMirror() override { std::erase(in_.observers, this); }
  void onKey(std::string const& name) override {
    if (T* const entity = in_.find(name)) {
      out_.set(entity);
    } else {
      out_.erase(name);
    }
  }

 private:
  Directory<T>& in_;
  Directory<T>& out_;
};

class HandMirror {
 public:
  explicit HandMirror(std::size_t count) : names_(namesOf(count)) {
    for (auto& configs : configs_)
      for (auto const& name : names_)
        configs.emplace_back(new Named(name));
    for (auto const& config : configs_[0])
      in_.set(config);
  }
  void wire() {
    out_ = std::make_unique<Directory<Named>>();
    mirror_ = std::make_unique<DirectoryMirror<Named>>(in_, *out_);
  }
  void unwire() {
    mirror_.reset();
    out_.reset();
  }
  void change(std::size_t i, std::size_t round) { in_.set(configs_[round % 2][i]); }
  void remove(std::size_t i) { in_.erase(names_[i]); }
  bool isEmpty() const { return out_->entries().empty(); }
  char const* check(std::size_t round) const {
    for (std::size_t i = 0; i < names_.size(); ++i)
      if (out_->find(names_[i]) != configs_[round % 2][i].get()) return "a mirrored entry is wrong";
    return nullptr;
  }

 private:
  std::vector<std::string> const names_;
  std::array<std::vector<Ref<Named>>, 2> configs_;
  Directory<Named> in_;
  std::unique_ptr<Directory<Named>> out_;
  std::unique_ptr<DirectoryMirror<Named>> mirror_;
};

struct Status : Named {
  using Named::Named;
  void inputIs(std::string const& source, std::int32_t model) {
    auto const [input, isNew] = inputs.try_emplace(source, model);
    if (!isNew) {
      if (input->second == model) return;
      input->second = model;
    }
    for (Observer* const observer : observers)
      observer->onKey(source);
  }
  void forwardingModelIs(std::int32_t model) {
    if (forwardingModel == model) return;
    forwardingModel = model;
    for (Observer* const observer : modelObservers)
      observer->onKey(name);
  }

  absl::flat_hash_map<std::string, std::int32_t> inputs;
  std::int32_t forwardingModel = 0;
  std::vector<Observer*> observers;
  std::vector<Observer*> modelObservers;
};

class Resolver final : public Observer {
 public:
  explicit Resolver(Status& status) : status_(status) {
    status_.observers.push_back(this);
    resolve();
  }
  ~Resolver() override { std::erase(status_.observers, this); }
  void onKey(std::string const&) override { resolve(); }

 private:
  void resolve() {
    std::int32_t model = 5;
    for (auto const& [source, wanted] : status_.inputs)
      model = std::min(model, wanted);
    status_.forwardingModelIs(model);
  }

  Status& status_;
};

using Resolvers = absl::flat_hash_map<std::string, std::unique_ptr<Resolver>>;

class HandModels {
 public:
  explicit HandModels(std::size_t count) : sources_(Bench::forwardingSources.begin(), Bench::forwardingSources.end()) {
    for (auto const& name : namesOf(count)) {
      statuses_.emplace_back(new Status(name));
      for (auto const& source : sources_)
        statuses_.back()->inputIs(source, source == sources_[0] ? 4 : 7);
    }
  }
  void wire() {
    for (auto const& status : statuses_)
      resolvers_.emplace(status->name, std::make_unique<Resolver>(*status));
  }
  void change(std::size_t i, std::size_t round) { statuses_[i]->inputIs(sources_[0], Bench::forwardingModelIn(round)); }
  char const* check(std::size_t round) const {
    for (auto const& status : statuses_)
      if (status->forwardingModel != Bench::forwardingModelIn(round)) return "a forwarding model is wrong";
    return nullptr;
  }

 private:
  std::vector<std::string> const sources_;
  std::vector<Ref<Status>> statuses_;
  Resolvers resolvers_;
};

/// Blocks of 64 bytes behind their names in memory that others can share, and an index of them. Neither locked nor
/// checked, and it does not grow.
class BlockStore {
 public:
  BlockStore()
    : at_(static_cast<std::byte*>(::mmap(nullptr, size_, PROT_READ | PROT_WRITE, flags_, -1, 0))), base_(at_) {
    if (base_ == MAP_FAILED) throw std::bad_alloc();
  }
  BlockStore(BlockStore const&) = delete;
  BlockStore& operator=(BlockStore const&) = delete;
  ~BlockStore() { ::munmap(base_, size_); }

  void ensure(std::string const& name) {
    auto const [entry, isNew] = blocks_.try_emplace(name, nullptr);
    if (!isNew) return;
    auto const length = static_cast<std::uint32_t>(name.size());
    std::size_t const head = (2 * sizeof length + length + 63) / 64 * 64;
    auto const recordSize = static_cast<std::uint32_t>(head + 64);
    std::memcpy(at_, &recordSize, sizeof recordSize);
    std::memcpy(at_ + sizeof recordSize, &length, sizeof length);
    std::memcpy(at_ + 2 * sizeof length, name.data(), length);
    entry->second = at_ + head;
    at_ += recordSize;
  }
  std::size_t blocks() const { return blocks_.size(); }

 private:
  static constexpr std::size_t size_ = Pelto::ShmemMan::defaultCapacity;
  static constexpr int flags_ = MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE;

  std::byte* at_;
  std::byte* const base_;
  absl::flat_hash_map<std::string, std::byte*> blocks_;
};

struct Slice {
  BlockStore counterBlocks;
  BlockStore statisticsBlocks;
};

struct Counters : Named {
  using Named::Named;
  void add(std::string const& counter) {
    if (!counters.emplace(counter, true).second) return;
    for (Observer* const observer : observers)
      observer->onKey(counter);
  }

  absl::flat_hash_map<std::string, bool> counters;
  std::vector<Observer*> observers;
};

class BlockMaker final : public Observer {
 public:
  BlockMaker(Counters& counters, std::unique_ptr<Slice> const& slice) : counters_(counters), slice_(slice) {
    counters_.observers.push_back(this);
    for (auto const& [counter, present] : counters_.counters)
      onKey(counter);
  }
  ~BlockMaker() override { std::erase(counters_.observers, this); }
  void onKey(std::string const& counter) override {
    if (!counters_.counters.contains(counter)) return;
    slice_->counterBlocks.ensure(counters_.name + "-" + counter);
    for (unsigned queue = 0; queue != Bench::blocksOfACounter - 1; ++queue)
      slice_->statisticsBlocks.ensure(counters_.name + "-" + std::to_string(queue) + "-" + counter);
  }

 private:
  Counters& counters_;
  std::unique_ptr<Slice> const& slice_;
};

using BlockMakers = absl::flat_hash_map<std::string, std::unique_ptr<BlockMaker>>;

class HandSlice {
 public:
  explicit HandSlice(std::size_t count) {
    for (auto const& name : namesOf(count))
      entries_.set(new Counters(name));
  }
  void wire() {
    out_ = std::make_unique<Directory<Counters>>();
    sweep();
  }
  void unwire() {
    makers_ = {};
    out_.reset();
  }
  void sweep() {
    for (auto const& [name, counters] : entries_.entries()) {
      out_->set(counters);
      auto const [maker, isNew] = makers_.try_emplace(name, nullptr);
      if (isNew) maker->second = std::make_unique<BlockMaker>(*counters, slice);
    }
  }
  char const* check(std::size_t) const {
    for (auto const& [name, counters] : entries_.entries())
      if (out_->find(name) != counters.get()) return "an output entry is wrong";
    return nullptr;
  }
  Directory<Counters>& entries() { return entries_; }

  std::unique_ptr<Slice> slice = std::make_unique<Slice>();

 private:
  Directory<Counters> entries_;
  std::unique_ptr<Directory<Counters>> out_;
  BlockMakers makers_;
};

class HandBlocks {
 public:
  explicit HandBlocks(std::size_t count) : slice_(count) {
    slice_.wire();
    for (auto const& name : namesOf(count))
      counters_.push_back(slice_.entries().find(name));
  }
  void unwire() {
    for (Counters* const counters : counters_)
      counters->counters.clear();
    slice_.slice.reset();
    slice_.slice = std::make_unique<Slice>();
  }
  void wire() {
    for (Counters* const counters : counters_)
      counters->add("dropped");
  }
  char const* check(std::size_t) const {
    std::size_t const blocks = slice_.slice->counterBlocks.blocks() + slice_.slice->statisticsBlocks.blocks();
    return blocks == counters_.size() * Bench::blocksOfACounter ? nullptr : "blocks are missing";
  }

 private:
  HandSlice slice_;
  std::vector<Counters*> counters_;
};

class HandAgent {
 public:
  explicit HandAgent(std::size_t count) : slice_(count) {
    for (auto const& name : namesOf(count)) {
      configs_.emplace_back(new Named(name));
      statuses_.emplace_back(new Status(name));
      statuses_.back()->inputIs("bridging", 3);
    }
  }
  void wire() {
    agent_ = std::make_unique<Agent>();
    for (auto const& config : configs_)
      agent_->configIn.set(config);
    for (auto const& status : statuses_)
      agent_->statusIn.set(status);
    agent_->wire();
    slice_.wire();
  }
  void unwire() {
    agent_.reset();
    slice_.unwire();
  }
  char const* check(std::size_t) const {
    for (std::size_t i = 0; i < configs_.size(); ++i) {
      if (agent_->configOut.find(configs_[i]->name) != configs_[i].get()) return "a mirrored configuration is wrong";
      if (agent_->statusOut.find(configs_[i]->name) != statuses_[i].get()) return "a mirrored status is wrong";
      if (statuses_[i]->forwardingModel != 3) return "a forwarding model is wrong";
    }
    return slice_.check(0);
  }

 private:
  struct Agent {
    void wire() {
      config = std::make_unique<DirectoryMirror<Named>>(configIn, configOut);
      status = std::make_unique<DirectoryMirror<Status>>(statusIn, statusOut);
      for (auto const& [name, entity] : statusOut.entries())
        resolvers.emplace(name, std::make_unique<Resolver>(*entity));
    }

    Directory<Named> configIn;
    Directory<Named> configOut;
    Directory<Status> statusIn;
    Directory<Status> statusOut;
    std::unique_ptr<DirectoryMirror<Named>> config;
    std::unique_ptr<DirectoryMirror<Status>> status;
    Resolvers resolvers;
  };

  std::vector<Ref<Named>> configs_;
  std::vector<Ref<Status>> statuses_;
  HandSlice slice_;
  std::unique_ptr<Agent> agent_;
};

// ---------------------------------------------------------------------------------------------------------------

class QtConfig : public QObject {
  Q_OBJECT

 public:
  explicit QtConfig(QString intfName) : name(std::move(intfName)) {}

  QString const name;
};

class QtDirectory : public QObject {
  Q_OBJECT

 public:
  using Entries = QHash<QString, std::shared_ptr<QtConfig>>;

  Entries const& entries() const { return entries_; }
  std::shared_ptr<QtConfig> find(QString const& name) const { return entries_.value(name); }
  void set(std::shared_ptr<QtConfig> const& config) {
    auto& entry = entries_[config->name];
    if (entry == config) return;
    entry = config;
    Q_EMIT changed(config->name);
  }
  void erase(QString const& name) {
    if (entries_.remove(name) != 0) Q_EMIT changed(name);
  }

 Q_SIGNALS:
  void changed(QString const& name);

 private:
  Entries entries_;
};

class QtDirectoryMirror : public QObject {
  Q_OBJECT

 public:
  QtDirectoryMirror(QtDirectory& in, QtDirectory& out) : in_(in), out_(out) {
    connect(&in, &QtDirectory::changed, this, &QtDirectoryMirror::mirror, Qt::DirectConnection);
    for (auto const& config : in_.entries())
      out_.set(config);
    for (QString const& name : out_.entries().keys())
      if (!in_.entries().contains(name)) out_.erase(name);
  }
  void mirror(QString const& name) {
    if (auto const config = in_.find(name)) {
      out_.set(config);
    } else {
      out_.erase(name);
    }
  }

 private:
  QtDirectory& in_;
  QtDirectory& out_;
};

class QtMirror {
 public:
  explicit QtMirror(std::size_t count) {
    for (auto const& name : namesOf(count))
      names_.push_back(QString::fromStdString(name));
    for (auto& configs : configs_)
      for (auto const& name : names_)
        configs.push_back(std::make_shared<QtConfig>(name));
    for (auto const& config : configs_[0])
      in_.set(config);
  }
  void wire() {
    out_ = std::make_unique<QtDirectory>();
    mirror_ = std::make_unique<QtDirectoryMirror>(in_, *out_);
  }
  void unwire() {
    mirror_.reset();
    out_.reset();
  }
  void change(std::size_t i, std::size_t round) { in_.set(configs_[round % 2][i]); }
  void remove(std::size_t i) { in_.erase(names_[i]); }
  bool isEmpty() const { return out_->entries().empty(); }
  char const* check(std::size_t round) const {
    for (std::size_t i = 0; i < names_.size(); ++i)
      if (out_->find(names_[i]) != configs_[round % 2][i]) return "a mirrored entry is wrong";
    return nullptr;
  }

 private:
  std::vector<QString> names_;
  std::array<std::vector<std::shared_ptr<QtConfig>>, 2> configs_;
  QtDirectory in_;
  std::unique_ptr<QtDirectory> out_;
  std::unique_ptr<QtDirectoryMirror> mirror_;
};

// ---------------------------------------------------------------------------------------------------------------

template <class World>
void removals(benchmark::State& state, std::size_t count) {
  auto& kept = Bench::Kept<World>::of(count);
  for (auto _ : state) {
    for (std::uint32_t const i : kept.order)
      kept.world.remove(i);
    state.PauseTiming();
    if (!kept.world.isEmpty()) state.SkipWithError("an entry was not removed");
    for (std::size_t i = 0; i < count; ++i)
      kept.world.change(i, kept.round);
    state.ResumeTiming();
  }
  Bench::checkWorld(state, kept.world, kept.round);
  Bench::countItems(state, count);
}

template <class World>
void sweeps(benchmark::State& state, std::size_t count) {
  auto& kept = Bench::Kept<World>::of(count);
  for (auto _ : state)
    kept.world.sweep();
  Bench::checkWorld(state, kept.world, kept.round);
  Bench::countItems(state, count);
}

template <class World>
void blocks(benchmark::State& state, std::size_t count) {
  Bench::wiring<World>(state, count);
  Bench::countItems(state, count * Bench::blocksOfACounter);
}

template <class World>
void addMirror(std::string const& how, std::size_t count) {
  Bench::addBenchmark("MirrorFill", how, count, Bench::wiring<World>);
  Bench::addBenchmark("MirrorChange", how, count, Bench::events<World, &World::change>);
  Bench::addBenchmark("MirrorRemove", how, count, removals<World>);
}

bool const registered = [] {
  constexpr char const* byHand = "hand-written";
  using Bench::addBenchmark;
  for (std::size_t const count : {64, 1'000, 10'000, 100'000, 1'000'000}) {
    addMirror<Bench::Mirror>("Varo", count);
    addMirror<HandMirror>(byHand, count);
    // A million of them measure the machine's memory more than the signals, for minutes.
    if (count <= 100'000) addMirror<QtMirror>("Qt", count);
    addBenchmark("ModelChange", "Varo", count,
                 Bench::events<Bench::ForwardingModels, &Bench::ForwardingModels::change>);
    addBenchmark("ModelChange", byHand, count, Bench::events<HandModels, &HandModels::change>);
    addBenchmark("SliceSweep", "Varo", count, sweeps<Bench::CounterSlice>);
    addBenchmark("SliceSweep", byHand, count, sweeps<HandSlice>);
    addBenchmark("Agent", "Varo", count, Bench::wiring<Bench::Agents>);
    addBenchmark("Agent", byHand, count, Bench::wiring<HandAgent>);
    // 19 blocks of 128 bytes each: more do not fit into the managers' default capacity.
    if (count > 10'000) continue;
    addBenchmark("CounterBlocks", "Varo-named", count, blocks<Bench::CounterBlocks<true>>);
    addBenchmark("CounterBlocks", "Varo-private", count, blocks<Bench::CounterBlocks<false>>);
    addBenchmark("CounterBlocks", byHand, count, blocks<HandBlocks>);
  }
  return true;
}();

}  // namespace IntfBench

#include "IntfBench.moc"
