#include "Zon/LinkedQueue.h"

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Zon/Ptr.h"

namespace {

int itemsAlive = 0;

class Item : public Zon::PtrInterface {
 public:
  explicit Item(std::string text) : text_(std::move(text)) { ++itemsAlive; }
  ~Item() override { --itemsAlive; }

  std::string const& text() const { return text_; }

 private:
  std::string text_;
};

class ZonItem : public Zon::QueueLink<ZonItem, Zon::Ptr<Item>> {
 public:
  using QueueLink::QueueLink;
};

using Queue = Zon::LinkedQueue<ZonItem, Item, Zon::Ptr<Item>>;

Queue queueOf(std::string const& letters) {
  Queue queue;
  for (char const letter : letters)
    queue.append(Zon::newPtr<Item>(std::string(1, letter)));
  return queue;
}

std::string textOf(Queue const& queue) {
  std::string text;
  for (auto it = queue.iterator(); it; ++it)
    text += it->text();
  return text;
}

TEST(LinkedQueue, KeepsTheOrderOfAppending) {
  Queue const queue = queueOf("abc");
  EXPECT_EQ(textOf(queue), "abc");
  EXPECT_EQ(queue.size(), 3U);
  EXPECT_FALSE(queue.empty());
}

TEST(LinkedQueue, IsEmptyAtFirstAndItsIteratorStandsNowhere) {
  Queue const queue;
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.size(), 0U);
  auto it = queue.iterator();
  EXPECT_FALSE(it);
  ++it;
  EXPECT_FALSE(it);
}

TEST(LinkedQueue, HoldsNullElements) {
  Queue queue;
  queue.append(nullptr);
  auto it = queue.iterator();
  ASSERT_TRUE(it);
  EXPECT_EQ(it.ptr(), nullptr);
}

TEST(LinkedQueue, ACopyIsIndependent) {
  Queue queue = queueOf("abc");
  Queue copy = queue;
  copy.append(Zon::newPtr<Item>("d"));
  auto it = queue.iterator();
  queue.del(it);
  EXPECT_EQ(textOf(queue), "bc");
  EXPECT_EQ(textOf(copy), "abcd");
  queue = copy;
  EXPECT_EQ(textOf(queue), "abcd");
}

TEST(LinkedQueue, AMovedQueueLeavesAnEmptyOne) {
  Queue queue = queueOf("ab");
  Queue const moved = std::move(queue);
  EXPECT_EQ(textOf(moved), "ab");
  EXPECT_TRUE(queue.empty());
}

TEST(LinkedQueue, ARemovalAtTheIteratorMakesItsNextIncrementStay) {
  for (char const removed : std::string("abcd")) {
    Queue queue = queueOf("abcd");
    std::string visited;
    for (auto it = queue.iterator(); it; ++it) {
      visited += it->text();
      if (it->text()[0] == removed) {
        Zon::Ptr<Item> const item = queue.del(it);
        EXPECT_EQ(item->text(), std::string(1, removed));
      }
    }
    EXPECT_EQ(visited, "abcd");
    std::string rest = "abcd";
    rest.erase(rest.find(removed), 1);
    EXPECT_EQ(textOf(queue), rest);
    EXPECT_EQ(queue.size(), 3U);
    queue.append(Zon::newPtr<Item>("z"));
    EXPECT_EQ(textOf(queue), rest + "z");
  }
}

TEST(LinkedQueue, RemovingEveryElementOfAWalkEmptiesIt) {
  Queue queue = queueOf("abcd");
  std::string removed;
  for (auto it = queue.iterator(); it; ++it)
    removed += queue.del(it)->text();
  EXPECT_EQ(removed, "abcd");
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(itemsAlive, 0);
}

TEST(LinkedQueue, SizesGoWithTheElements) {
  Queue one = queueOf("abc");
  Queue other = queueOf("d");
  one.swap(other);
  EXPECT_EQ(one.size(), 1U);
  EXPECT_EQ(other.size(), 3U);
  other.clear();
  EXPECT_EQ(other.size(), 0U);
  EXPECT_TRUE(other.empty());
  other.append(Zon::newPtr<Item>("e"));
  EXPECT_EQ(other.size(), 1U);
  EXPECT_EQ(textOf(other), "e");
}

TEST(LinkedQueue, ReleasesAMillionElementsWithoutRecursion) {
  {
    Queue queue;
    for (int i = 0; i < 1'000'000; ++i)
      queue.append(nullptr);
    queue.append(Zon::newPtr<Item>("last"));
    EXPECT_EQ(itemsAlive, 1);
  }
  EXPECT_EQ(itemsAlive, 0);
}

struct Row {
  explicit Row(std::string rowName) : name(std::move(rowName)) {}

  std::string name;
};

TEST(LinkQueue, FindsLinksByTheIndexTheyWereGiven) {
  Zon::LinkQueue<Row, unsigned> queue;
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.append("zero"), 0U);
  Row* const zero = queue.link(0);
  for (unsigned i = 1; i < 100; ++i)
    EXPECT_EQ(queue.append(std::to_string(i)), i);
  EXPECT_EQ(queue.size(), 100U);
  EXPECT_EQ(queue.link(0), zero) << "growth must not move links";
  EXPECT_EQ(queue.link(99)->name, "99");
}

TEST(LinkQueue, AnswersNullPastTheEnd) {
  Zon::LinkQueue<Row, unsigned> queue;
  EXPECT_EQ(queue.link(0), nullptr);
  queue.append("only");
  EXPECT_EQ(queue.link(1), nullptr);
  EXPECT_EQ(queue.link(~0U), nullptr);
}

}  // namespace
