/// \file
/// The keyed collection beside its peers, all over members of the same interface names: look-ups that depend on one
/// another and that do not, insertion, iteration, removal. Names read OPERATION/CONTAINER/MEMBERS; times are of one
/// pass over all members, `items_per_second` counts members.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/container/node_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/intrusive/unordered_set.hpp>

#include "bench/Members.h"

namespace {

using Bench::Port;
using Bench::PortMap;
namespace bi = boost::intrusive;

/// The same member in boost's intrusive set.
class BoostPort final : public Zon::PtrInterface, public bi::unordered_set_base_hook<bi::store_hash<true>> {
 public:
  explicit BoostPort(Orvet::IntfId id) : id_(std::move(id)) {}

  Orvet::IntfId const& fwkKey() const noexcept { return id_; }

  std::uint64_t value = 1;

 private:
  Orvet::IntfId id_;
};

struct IdHash {
  std::size_t operator()(Orvet::IntfId const& id) const noexcept { return id.hash(); }
  std::size_t operator()(BoostPort const& port) const noexcept { return port.fwkKey().hash(); }
};

struct IdEqual {
  bool operator()(BoostPort const& a, BoostPort const& b) const noexcept { return a.fwkKey() == b.fwkKey(); }
  bool operator()(Orvet::IntfId const& a, BoostPort const& b) const noexcept { return a == b.fwkKey(); }
};

/// What all containers of one size share.
struct Data {
  explicit Data(std::size_t count)
    : ids(Bench::idsOf(count)), order(Bench::shuffled(count)), ports(Bench::portsOf(ids)) {
    std::vector<std::uint32_t> const next = Bench::cycle(count);
    for (std::size_t i = 0; i < count; ++i) {
      names.push_back(Bench::nameOf(i));
      boostPorts.push_back(Zon::newPtr<BoostPort>(ids[i]));
      ports[i]->value = boostPorts[i]->value = next[i];
    }
  }

  /// Of the size used last: the sizes come one after the other.
  static Data const& of(std::size_t count) {
    static std::unique_ptr<Data> last;
    if (last == nullptr || last->ids.size() != count) {
      last.reset();
      last = std::make_unique<Data>(count);
    }
    return *last;
  }

  std::vector<Orvet::IntfId> ids;
  std::vector<std::string> names;
  std::vector<std::uint32_t> order;
  std::vector<Zon::Ptr<Port>> ports;
  std::vector<Zon::Ptr<BoostPort>> boostPorts;
};

class Varo {
 public:
  explicit Varo(Data const& data) : data_(data) {}

  void insert(std::size_t i) { map_.newMember(data_.ports[i], PortMap::hashOf(data_.ids[i])); }
  std::uint64_t find(std::size_t i) const { return map_.find(data_.ids[i])->value; }
  void erase(std::size_t i) { map_.memberDel(data_.ids[i]); }
  std::uint64_t sum() const {
    std::uint64_t sum = 0;
    for (PortMap::IteratorConst it(map_); it; it.advance())
      sum += it->value;
    return sum;
  }

 private:
  Data const& data_;
  PortMap map_;
};

class BoostIntrusive {
 public:
  explicit BoostIntrusive(Data const& data) : data_(data), set_({buckets_.data(), buckets_.size()}) {}

  void insert(std::size_t i) {
    // It grows when told to: by the same rule as ours.
    if (set_.size() == buckets_.size()) {
      std::vector<Set::bucket_type> larger(buckets_.size() * 2);
      set_.rehash({larger.data(), larger.size()});
      buckets_.swap(larger);
    }
    set_.insert(*data_.boostPorts[i]);
  }
  std::uint64_t find(std::size_t i) const { return set_.find(data_.ids[i], IdHash(), IdEqual())->value; }
  void erase(std::size_t i) { set_.erase(set_.find(data_.ids[i], IdHash(), IdEqual())); }
  std::uint64_t sum() const {
    std::uint64_t sum = 0;
    for (BoostPort const& port : set_)
      sum += port.value;
    return sum;
  }
  ~BoostIntrusive() { set_.clear(); }

 private:
  using Set = bi::unordered_set<BoostPort, bi::hash<IdHash>, bi::equal<IdEqual>, bi::power_2_buckets<true>>;

  Data const& data_;
  std::vector<Set::bucket_type> buckets_ = std::vector<Set::bucket_type>(1);
  Set set_;
};

/// A map that owns its nodes: the key apart from the member, which it holds through a counted pointer.
template <class Map>
class Standard {
 public:
  using Key = typename Map::key_type;

  explicit Standard(Data const& data) : data_(data) {}

  void insert(std::size_t i) { map_.emplace(key(i), data_.ports[i]); }
  std::uint64_t find(std::size_t i) const { return map_.find(key(i))->second->value; }
  void erase(std::size_t i) { map_.erase(key(i)); }
  std::uint64_t sum() const {
    std::uint64_t sum = 0;
    for (auto const& [key, port] : map_)
      sum += port->value;
    return sum;
  }

 private:
  Key const& key(std::size_t i) const {
    if constexpr (std::is_same_v<Key, std::string>) {
      return data_.names[i];
    } else {
      return data_.ids[i];
    }
  }

  Data const& data_;
  Map map_;
};

using StdById = Standard<std::unordered_map<Orvet::IntfId, Zon::Ptr<Port>, IdHash>>;
using NodeById = Standard<absl::node_hash_map<Orvet::IntfId, Zon::Ptr<Port>, IdHash>>;
using FlatById = Standard<absl::flat_hash_map<Orvet::IntfId, Zon::Ptr<Port>, IdHash>>;
using StdByName = Standard<std::unordered_map<std::string, Zon::Ptr<Port>>>;
using NodeByName = Standard<absl::node_hash_map<std::string, Zon::Ptr<Port>>>;
using FlatByName = Standard<absl::flat_hash_map<std::string, Zon::Ptr<Port>>>;

template <class Container>
void fill(Container& container, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    container.insert(i);
}

void countMembers(benchmark::State& state, std::size_t count) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

/// The next key comes out of the member found last.
template <class Container>
void findDependent(benchmark::State& state, std::size_t count) {
  Container container(Data::of(count));
  fill(container, count);
  std::uint64_t at = 0;
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i)
      at = container.find(at);
    benchmark::DoNotOptimize(at);
  }
  countMembers(state, count);
}

template <class Container>
void findIndependent(benchmark::State& state, std::size_t count) {
  Data const& data = Data::of(count);
  Container container(data);
  fill(container, count);
  for (auto _ : state) {
    std::uint64_t sum = 0;
    for (std::uint32_t const i : data.order)
      sum += container.find(i);
    benchmark::DoNotOptimize(sum);
  }
  countMembers(state, count);
}

template <class Container>
void insert(benchmark::State& state, std::size_t count) {
  Data const& data = Data::of(count);
  for (auto _ : state) {
    state.PauseTiming();
    auto container = std::make_unique<Container>(data);
    state.ResumeTiming();
    for (std::uint32_t const i : data.order)
      container->insert(i);
    state.PauseTiming();
    container.reset();
    state.ResumeTiming();
  }
  countMembers(state, count);
}

template <class Container>
void erase(benchmark::State& state, std::size_t count) {
  Data const& data = Data::of(count);
  Container container(data);
  for (auto _ : state) {
    state.PauseTiming();
    fill(container, count);
    state.ResumeTiming();
    for (std::uint32_t const i : data.order)
      container.erase(i);
  }
  countMembers(state, count);
}

template <class Container>
void iterate(benchmark::State& state, std::size_t count) {
  Container container(Data::of(count));
  fill(container, count);
  for (auto _ : state)
    benchmark::DoNotOptimize(container.sum());
  countMembers(state, count);
}

template <class Container>
void add(std::string const& name, std::size_t count) {
  std::string const tail = "/" + name + "/" + std::to_string(count);
  auto const one = [&tail, count](char const* operation, void (*run)(benchmark::State&, std::size_t)) {
    benchmark::RegisterBenchmark((operation + tail).c_str(), run, count)->Unit(benchmark::kMicrosecond);
  };
  one("FindDependent", findDependent<Container>);
  one("FindIndependent", findIndependent<Container>);
  one("Insert", insert<Container>);
  one("Iterate", iterate<Container>);
  one("Erase", erase<Container>);
}

bool const registered = [] {
  for (std::size_t const count : {64, 1'000, 10'000, 100'000, 1'000'000}) {
    add<Varo>("Varo", count);
    add<BoostIntrusive>("boost::intrusive::unordered_set", count);
    add<NodeById>("absl::node_hash_map<IntfId>", count);
    add<FlatById>("absl::flat_hash_map<IntfId>", count);
    add<StdById>("std::unordered_map<IntfId>", count);
    add<NodeByName>("absl::node_hash_map<string>", count);
    add<FlatByName>("absl::flat_hash_map<string>", count);
    add<StdByName>("std::unordered_map<string>", count);
  }
  return true;
}();

}  // namespace
