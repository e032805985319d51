// The map against std::map, over random histories. A history is a function of its seed; a failure names the seed and
// the operation, and VARO_SEED=<seed> runs that history alone.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/Zon/HashMapMembers.h"

namespace MapTest {
namespace {

using ModelKey = std::pair<std::uint32_t, std::string>;

template <class V>
class History {
 public:
  History(std::uint32_t seed, std::uint32_t operations) : random_(seed), operations_(operations) {
    // Few hashes collide often, many spread over all buckets.
    std::array<std::uint32_t, 4> const spreads = {1, 7, 100, 100'000};
    spread_ = spreads[seed % spreads.size()];
  }

  void run() {
    for (std::uint32_t i = 0; i < operations_; ++i) {
      SCOPED_TRACE("operation " + std::to_string(i));
      operate();
      check(i % 64 == 0);
      if (testing::Test::HasFatalFailure() || testing::Test::HasNonfatalFailure()) return;
    }
  }

 private:
  struct Walk {
    typename Map<V>::Iterator it;
    bool atEnd = true;
    ModelKey at;
  };

  std::uint32_t below(std::uint32_t bound) {
    return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(random_);
  }

  ModelKey randomKey() { return {below(spread_) * 0x9e3779b9U, std::string(1, static_cast<char>('a' + below(20)))}; }
  static Key keyOf(ModelKey const& key) { return {key.first, key.second}; }

  void operate() {
    switch (below(12)) {
    case 0:
    case 1:
    case 2:
    case 3:
      insert(randomKey());
      break;
    case 4:
    case 5:
      erase(randomKey());
      break;
    case 6:
      eraseAt(walks_[below(walks)]);
      break;
    case 7:
      reset(walks_[below(walks)]);
      break;
    case 8:
      walks_[below(walks)] = walks_[below(walks)];
      break;
    case 9:
      if (below(200) == 0) {
        map_.memberDelAll();
        model_.clear();
      }
      break;
    default:
      advance(walks_[below(walks)]);
    }
  }

  void insert(ModelKey const& key) {
    if (model_.contains(key)) return;
    auto member = Zon::newPtr<V>(keyOf(key));
    // A member that left is inserted again now and then.
    if (removed_ && below(2) == 0 && !model_.contains(modelKeyOf(*removed_))) member = std::exchange(removed_, nullptr);
    model_[modelKeyOf(*member)] = member.ptr();
    map_.newMember(member, map_.hashOf(member->fwkKey()));
  }

  static ModelKey modelKeyOf(V const& member) { return {member.fwkKey().reversed, member.fwkKey().name}; }

  void erase(ModelKey const& key) {
    auto const found = model_.find(key);
    Zon::Ptr<V> const removed = map_.memberDel(keyOf(key));
    ASSERT_EQ(removed.ptr(), found == model_.end() ? nullptr : found->second);
    if (removed) {
      model_.erase(found);
      removed_ = removed;
    }
  }

  void eraseAt(Walk const& walk) {
    Zon::Ptr<V> const removed = map_.memberDel(walk.it);
    auto const found = walk.atEnd ? model_.end() : model_.find(walk.at);
    // The key may have come back with another member.
    bool const inMap = found != model_.end() && found->second == walk.it.ptr().ptr();
    ASSERT_EQ(removed.ptr(), inMap ? found->second : nullptr);
    if (inMap) model_.erase(found);
  }

  void stand(Walk& walk, typename std::map<ModelKey, V*>::const_iterator where) {
    walk.atEnd = where == model_.end();
    ASSERT_EQ(walk.it.ptr().ptr(), walk.atEnd ? nullptr : where->second);
    if (!walk.atEnd) walk.at = where->first;
  }

  void reset(Walk& walk) {
    walk.it = typename Map<V>::Iterator(map_);
    stand(walk, model_.begin());
  }

  void advance(Walk& walk) {
    walk.it.advance();
    if (!walk.atEnd) stand(walk, model_.upper_bound(walk.at));
  }

  void check(bool thoroughly) {
    ASSERT_EQ(map_.members(), model_.size());
    ModelKey const key = randomKey();
    auto const found = model_.find(key);
    ASSERT_EQ(map_.find(keyOf(key)), found == model_.end() ? nullptr : found->second);
    auto const behind = model_.lower_bound(key);
    ASSERT_EQ(map_.startAtHash(keyOf(key)).ptr(), behind == model_.end() ? nullptr : behind->second);
    if (!thoroughly) return;
    auto expected = model_.begin();
    for (typename Map<V>::IteratorConst it(map_); it; it.advance(), ++expected) {
      ASSERT_NE(expected, model_.end());
      ASSERT_EQ(it.ptr().ptr(), expected->second);
      ASSERT_GE(it->zonReferences(), 1U);
    }
    ASSERT_EQ(expected, model_.end());
  }

  static constexpr std::uint32_t walks = 4;

  std::mt19937 random_;
  std::uint32_t operations_;
  std::uint32_t spread_;
  Map<V> map_;
  std::map<ModelKey, V*> model_;
  Zon::Ptr<V> removed_;
  std::array<Walk, walks> walks_;
};

template <class V>
class HashMapModel : public testing::Test {};

using MemberKinds = testing::Types<Linked, OwnLink, ValueLink>;
TYPED_TEST_SUITE(HashMapModel, MemberKinds);

TYPED_TEST(HashMapModel, AgreesWithStdMapOverRandomHistories) {
  std::vector<std::uint32_t> seeds;
  if (char const* const chosen = std::getenv("VARO_SEED")) {
    seeds.push_back(static_cast<std::uint32_t>(std::strtoul(chosen, nullptr, 10)));
  } else {
    std::uint32_t const fresh = std::random_device()();
    for (std::uint32_t i = 0; i < 40; ++i)
      seeds.push_back(i < 20 ? i : fresh + i);
  }
  for (std::uint32_t const seed : seeds) {
    SCOPED_TRACE("VARO_SEED=" + std::to_string(seed));
    { History<TypeParam>(seed, 3000).run(); }
    ASSERT_EQ(MemberBase::alive, 0);
    if (this->HasFailure()) return;
  }
}

}  // namespace
}  // namespace MapTest
