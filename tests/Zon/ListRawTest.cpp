#include "Zon/ListRaw.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/SnapshotIterator.h"

namespace {

// As in a notifier: the list is a member before the nested watcher class is complete.
class Port {
 public:
  class NotifieeConst;

  std::uint32_t watchers() const { return list_.count(); }

 private:
  Zon::ListRaw<NotifieeConst> list_;
};

class Port::NotifieeConst : public Zon::PtrInterface::NotifieeConst {};

class Watcher final : public Zon::PtrInterface::NotifieeConst {
 public:
  Watcher(std::string name, std::string& events) : name_(std::move(name)), events_(&events) {}
  ~Watcher() override { *events_ += "~" + name_ + " "; }

  std::string const& label() const { return name_; }

 private:
  std::string name_;
  std::string* events_;
};

// A member class with a link of its own.
class Node final : public Zon::PtrInterface {
 public:
  explicit Node(char name) : name_(name) {}

  char label() const { return name_; }
  Node* lrNext() const { return next_; }
  void lrNextIs(Node* next) { next_ = next; }

 private:
  char name_;
  Node* next_ = nullptr;
};

using Nodes = std::vector<Zon::Ptr<Node>>;

Nodes nodesOf(std::string const& names) {
  Nodes nodes;
  for (char const name : names)
    nodes.push_back(Zon::newPtr<Node>(name));
  return nodes;
}

std::string textOf(Zon::ListRaw<Node> const& list) {
  std::string text;
  for (Zon::ListRaw<Node>::LrIteratorConst it(list); it; ++it)
    text += it->label();
  return text;
}

// Members still in the list when a test ends would be reported as an error of the owner.
class ListRaw : public testing::Test {
 protected:
  ~ListRaw() override { list.deleteAll(); }

  Nodes nodes;
  Zon::ListRaw<Node> list;
};

TEST_F(ListRaw, StartsEmpty) {
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.count(), 0U);
  EXPECT_EQ(list.zonModCount(), 0U);
  EXPECT_EQ(list.head(), nullptr);
  EXPECT_EQ(list.tail(), nullptr);
}

TEST_F(ListRaw, CanBeDeclaredWithAnIncompleteMemberType) { EXPECT_EQ(Port().watchers(), 0U); }

TEST_F(ListRaw, AppendsAtTheTailAndCountsTheChange) {
  nodes = nodesOf("abc");
  for (auto const& node : nodes)
    list.append(node.ptr());
  EXPECT_EQ(textOf(list), "abc");
  EXPECT_EQ(list.head(), nodes[0].ptr());
  EXPECT_EQ(list.tail(), nodes[2].ptr());
  EXPECT_EQ(list.count(), 3U);
  EXPECT_EQ(list.zonModCount(), 3U);
}

TEST_F(ListRaw, LaysItsFieldsOutBehindTheVirtualTable) {
  nodes = nodesOf("abc");
  for (auto const& node : nodes)
    list.append(node.ptr());
  list.unlink(nodes[1].ptr());
  auto const* const bytes = reinterpret_cast<unsigned char const*>(&list) + sizeof(void*);
  std::uint32_t counters[2];
  Node* ends[2];
  std::memcpy(counters, bytes, sizeof counters);
  std::memcpy(ends, bytes + sizeof counters, sizeof ends);
  EXPECT_EQ(counters[0], 4U) << "changes";
  EXPECT_EQ(counters[1], 2U) << "members";
  EXPECT_EQ(ends[0], nodes[0].ptr());
  EXPECT_EQ(ends[1], nodes[2].ptr());
}

TEST_F(ListRaw, HoldsNoReferences) {
  nodes = nodesOf("a");
  list.append(nodes[0].ptr());
  EXPECT_EQ(nodes[0]->zonReferences(), 1U);
}

TEST_F(ListRaw, UnlinksAtEveryPosition) {
  for (std::size_t i = 0; i < 4; ++i) {
    nodes = nodesOf("abcd");
    for (auto const& node : nodes)
      list.append(node.ptr());
    std::uint32_t const changes = list.zonModCount();
    EXPECT_TRUE(list.unlink(nodes[i].ptr()));
    std::string rest = "abcd";
    rest.erase(i, 1);
    EXPECT_EQ(textOf(list), rest);
    EXPECT_EQ(list.count(), 3U);
    EXPECT_EQ(list.zonModCount(), changes + 1);
    EXPECT_EQ(nodes[i]->lrNext(), nullptr);
    list.append(nodes[i].ptr());
    EXPECT_EQ(textOf(list), rest + nodes[i]->label());
    list.deleteAll();
  }
}

TEST_F(ListRaw, UnlinkingWhatIsNotInItChangesNothing) {
  nodes = nodesOf("ab");
  EXPECT_FALSE(list.unlink(nodes[0].ptr()));
  list.append(nodes[0].ptr());
  EXPECT_FALSE(list.unlink(nodes[1].ptr()));
  EXPECT_FALSE(list.unlink(nullptr));
  EXPECT_EQ(textOf(list), "a");
  EXPECT_EQ(list.zonModCount(), 1U);
}

TEST_F(ListRaw, UnlinkingTheLastOneLeavesAnEmptyList) {
  nodes = nodesOf("a");
  list.append(nodes[0].ptr());
  EXPECT_TRUE(list.unlink(nodes[0].ptr()));
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.tail(), nullptr);
}

TEST_F(ListRaw, DeleteAllClearsEveryLinkAndCountsEveryMember) {
  nodes = nodesOf("abc");
  for (auto const& node : nodes)
    list.append(node.ptr());
  list.deleteAll();
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.tail(), nullptr);
  EXPECT_EQ(list.count(), 0U);
  EXPECT_EQ(list.zonModCount(), 6U);
  for (auto const& node : nodes) {
    EXPECT_EQ(node->lrNext(), nullptr);
    EXPECT_EQ(node->zonReferences(), 1U);
  }
  list.deleteAll();
  EXPECT_EQ(list.zonModCount(), 6U);
}

TEST_F(ListRaw, IteratesMutably) {
  nodes = nodesOf("ab");
  for (auto const& node : nodes)
    list.append(node.ptr());
  Zon::ListRaw<Node>::LrIterator it(list);
  Node* const first = it.ptr();
  EXPECT_EQ(first, nodes[0].ptr());
  ++it;
  EXPECT_EQ((*it).label(), 'b');
  ++it;
  EXPECT_FALSE(it);
}

#ifndef NDEBUG
TEST(ListRawDeathTest, AListThatDiesWithMembersIsAnError) {
  EXPECT_DEATH(
      {
        Node node('a');
        Zon::ListRaw<Node> forgotten;
        forgotten.append(&node);
      },
      "head_ == nullptr");
}
#endif

// ---------------------------------------------------------------------------------------------------------------

using Watchers = Zon::ListRaw<Watcher>;
using Snapshot = Zon::SnapshotIterator<Watchers>;

class SnapshotIterator : public testing::Test {
 protected:
  ~SnapshotIterator() override { list.deleteAll(); }

  void fill(std::string const& names) {
    for (char const name : names) {
      watchers.push_back(Zon::newPtr<Watcher>(std::string(1, name), events));
      list.append(watchers.back().ptr());
    }
  }
  void drop(std::size_t i) {
    list.unlink(watchers[i].ptr());
    watchers[i] = nullptr;
  }

  std::string events;
  std::vector<Zon::Ptr<Watcher>> watchers;
  Watchers list;
};

TEST_F(SnapshotIterator, WalksWhatTheListHadAtFirst) {
  fill("abc");
  std::string seen;
  for (Snapshot it(list); it; ++it) {
    seen += it->label();
    list.unlink(watchers[1].ptr());
    if (seen == "a") fill("d");
  }
  EXPECT_EQ(seen, "abc");
}

TEST_F(SnapshotIterator, OfAnEmptyListIsAtItsEnd) {
  Snapshot it(list);
  EXPECT_FALSE(it);
  EXPECT_EQ(it.ptr(), nullptr);
  it.skipDropped();
  EXPECT_FALSE(it);
}

TEST_F(SnapshotIterator, HoldsWhatItHasNotPassed) {
  fill("abc");
  Snapshot it(list);
  ++it;
  EXPECT_EQ(watchers[0]->zonReferences(), 1U);
  EXPECT_EQ(watchers[1]->zonReferences(), 2U);
  EXPECT_EQ(watchers[2]->zonReferences(), 2U);
  drop(1);
  EXPECT_EQ(events, "");
  EXPECT_EQ((*it).label(), "b");
  ++it;
  EXPECT_EQ(events, "~b ");
}

TEST_F(SnapshotIterator, ReleasesTheRestWhenItDiesEarly) {
  fill("abc");
  {
    Snapshot it(list);
    ++it;
    for (std::size_t i = 0; i < 3; ++i)
      drop(i);
    EXPECT_EQ(events, "~a ");
  }
  EXPECT_EQ(events, "~a ~b ~c ");
}

TEST_F(SnapshotIterator, SkipsUnseenWhatOnlyItHolds) {
  fill("abcde");
  Snapshot it(list);
  drop(0);
  drop(1);
  drop(2);
  drop(4);
  it.skipDropped();
  ASSERT_TRUE(it);
  EXPECT_EQ(it->label(), "d");
  EXPECT_EQ(events, "~a ~b ~c ");
  ++it;
  it.skipDropped();
  EXPECT_FALSE(it);
  EXPECT_EQ(events, "~a ~b ~c ~e ");
}

TEST_F(SnapshotIterator, TwoSnapshotsHideADroppedMemberFromEachOther) {
  fill("a");
  Snapshot outer(list);
  {
    Snapshot inner(list);
    drop(0);
    inner.skipDropped();
    EXPECT_TRUE(inner);
  }
  outer.skipDropped();
  EXPECT_FALSE(outer);
  EXPECT_EQ(events, "~a ");
}

TEST_F(SnapshotIterator, TakesAnyNumberOfMembers) {
  for (std::size_t const count : {1U, 15U, 16U, 17U, 1000U}) {
    fill(std::string(count, 'x'));
    std::size_t seen = 0;
    for (Snapshot it(list); it; ++it) {
      EXPECT_EQ(it.ptr(), watchers[seen].ptr());
      EXPECT_EQ(it->zonReferences(), 2U);
      ++seen;
    }
    EXPECT_EQ(seen, count);
    for (auto const& watcher : watchers)
      EXPECT_EQ(watcher->zonReferences(), 1U);
    list.deleteAll();
    watchers.clear();
  }
}

class HeardOfTheEnd final : public Zon::ListRaw<Watcher> {
 public:
  void zonWalkEnded(LrIteratorConst const& it) const override { atEnd += it ? 0 : 1; }

  mutable int atEnd = 0;
};

TEST_F(SnapshotIterator, TellsTheListThatTheWalkEnded) {
  HeardOfTheEnd told;
  Watcher watcher("a", events);
  told.append(&watcher);
  {
    Zon::SnapshotIterator<HeardOfTheEnd> it(told);
    EXPECT_EQ(told.atEnd, 1);
    EXPECT_EQ(it->label(), "a");
  }
  EXPECT_EQ(told.atEnd, 1);
  EXPECT_EQ(watcher.zonReferences(), 1U) << "a watcher in automatic storage survives its snapshots";
  told.deleteAll();
}

// Destroying a member destroys the one after it: the snapshot must have forgotten the first before.
TEST_F(SnapshotIterator, ForgetsAnElementBeforeItsDestructorRuns) {
  class Chained final : public Zon::PtrInterface::NotifieeConst {
   public:
    explicit Chained(std::string& events) : events_(&events) {}
    ~Chained() override {
      *events_ += walk == nullptr || walk->ptr() != this ? "gone " : "standing ";
      if (neighbour) neighbour = nullptr;
    }

    Zon::Ptr<Chained> neighbour;
    Zon::SnapshotIterator<Zon::ListRaw<Chained>>* walk = nullptr;

   private:
    std::string* events_;
  };

  Zon::ListRaw<Chained> chainedList;
  auto first = Zon::newPtr<Chained>(events);
  first->neighbour = Zon::newPtr<Chained>(events);
  chainedList.append(first.ptr());
  chainedList.append(first->neighbour.ptr());
  Zon::SnapshotIterator<Zon::ListRaw<Chained>> it(chainedList);
  first->walk = &it;
  chainedList.deleteAll();
  first = nullptr;
  it.skipDropped();
  EXPECT_FALSE(it) << "the second was held by the first alone";
  EXPECT_EQ(events, "gone gone ");
}

}  // namespace
