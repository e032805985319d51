#include "Zon/Dir.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "support/Collections.h"

namespace {

using Support::Events;
using Zon::Dir;
using Zon::Entity;
using Zon::newPtr;
using Zon::Ptr;

class DirTest : public testing::Test {
 protected:
  std::string subdirs() {
    std::string text;
    for (auto it = dir->subdirIterator(); it; it.advance())
      text += it->name().stdString();
    return text;
  }

  Events events;
  Ptr<Dir> dir = newPtr<Dir>("dir");
  Ptr<Entity> plain = newPtr<Entity>("p");
  Ptr<Dir> sub = newPtr<Dir>("s");
};

TEST_F(DirTest, BothLookUpsFindEveryEntry) {
  dir->entityPtrIs(plain);
  dir->entityPtrIs(sub);
  EXPECT_EQ(dir->entityPtr("p"), plain);
  EXPECT_EQ(dir->entityRef("p"), plain);
  EXPECT_EQ(dir->entityPtr("s"), sub);
  EXPECT_EQ(dir->entityRef("s"), sub);
  Dir const& constant = *dir;
  Ptr<Entity const> const found = constant.entityRef("s");
  EXPECT_EQ(found, sub);
  EXPECT_EQ(constant.entityPtr("x"), nullptr);
  EXPECT_EQ(constant.entityRef("x"), nullptr);
}

TEST_F(DirTest, TheWalkOverSubdirectoriesMeetsExactlyTheDirectories) {
  auto const slice = newPtr<Interface::AllIntfQueueCounterDir>("q");
  dir->entityPtrIs(plain);
  EXPECT_EQ(subdirs(), "");
  dir->entityPtrIs(sub);
  EXPECT_EQ(subdirs(), "s");
  dir->entityPtrIs(slice);
  EXPECT_EQ(subdirs().size(), 2U);
  dir->entityPtrDel("s");
  EXPECT_EQ(subdirs(), "q");
  EXPECT_EQ(dir->subdirIterator().ptr(), slice);
  EXPECT_EQ(dir->subdirIteratorConst().ptr(), slice);
  EXPECT_EQ(dir->subdirIterator().key(), "q");
  dir->entityPtrDelAll();
  EXPECT_EQ(subdirs(), "");
}

TEST_F(DirTest, ADirectoryReplacedByAPlainEntityIsNoSubdirectoryAnyMore) {
  dir->entityPtrIs(sub);
  auto const same = newPtr<Entity>("s");
  dir->entityPtrIs(same);
  EXPECT_EQ(subdirs(), "");
  EXPECT_EQ(dir->entityPtr("s"), same);
  EXPECT_EQ(sub->parent(), nullptr);
  dir->entityPtrIs(sub);
  EXPECT_EQ(subdirs(), "s");
  EXPECT_EQ(same->parent(), nullptr);
}

TEST_F(DirTest, ADirectoryReplacedByAnotherIsMetOnce) {
  dir->entityPtrIs(sub);
  auto const next = newPtr<Dir>("s");
  dir->entityPtrIs(next);
  EXPECT_EQ(subdirs(), "s");
  EXPECT_EQ(dir->subdirIterator().ptr(), next);
}

TEST_F(DirTest, RemovalReturnsWhatWasRemoved) {
  dir->entityPtrIs(plain);
  dir->entityPtrIs(sub);
  Ptr<Entity> const removed = dir->entityPtrDel("p");
  EXPECT_EQ(removed, plain);
  auto at = dir->entityPtrIterator();
  EXPECT_EQ(dir->entityPtrDel(at), sub);
  EXPECT_EQ(dir->entityPtrDel(at), nullptr);
  EXPECT_EQ(dir->entityPtrDel("p"), nullptr);
}

TEST_F(DirTest, NullIsRefusedAndNothingChanges) {
  auto const watcher = newPtr<Support::DirWatcher>("w", events, dir);
  try {
    dir->entityPtrIs(nullptr);
    FAIL();
  } catch (Zon::RangeException const& exception) {
    EXPECT_EQ(exception.text(), "null ValidPtr");
  }
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(dir->entityPtrIterator());
}

TEST_F(DirTest, EntriesOfEntriesHaveFullNames) {
  dir->entityPtrIs(sub);
  sub->entityPtrIs(plain);
  EXPECT_EQ(plain->fullName(), "dir/s/p");
  EXPECT_EQ(plain->parentAttrId(), 266);
}

TEST_F(DirTest, AnEntryThatSomebodyAlreadyOwnsIsRefused) {
  auto const other = newPtr<Dir>("other");
  other->entityPtrIs(sub);
  EXPECT_THROW(dir->entityPtrIs(sub), Zon::RangeException);
  EXPECT_EQ(dir->entityPtr("s"), nullptr);
  EXPECT_EQ(sub->parent(), other);
  other->entityPtrDel("s");
  EXPECT_NO_THROW(dir->entityPtrIs(sub));
}

TEST_F(DirTest, TheChangeIsCompleteBeforeTheFirstWatcherHears) {
  auto const watcher = newPtr<Support::DirWatcher>("w", events, dir);
  watcher->act = [&](std::string const& event) {
    events.add(event + (dir->entityPtr("s") ? " present" : " absent") + (subdirs() == "s" ? " listed" : " unlisted") +
               (sub->parent() ? " owned" : " free"));
  };
  dir->entityPtrIs(sub);
  EXPECT_EQ(events.take(), "w:key(s) key(s) present listed owned");
  dir->entityPtrDel("s");
  EXPECT_EQ(events.take(), "w:key(s) key(s) absent unlisted free");
}

TEST_F(DirTest, ADirectoryReplacedByAPlainEntitySurvivesAWatcherThatRemovesTheEntry) {
  dir->entityPtrIs(sub);
  auto const breaker = Support::watchParent(sub, [&] { dir->entityPtrDel("s"); });
  auto const next = newPtr<Dir>("s");
  dir->entityPtrIs(next);
  EXPECT_EQ(dir->entityPtr("s"), nullptr);
  EXPECT_EQ(subdirs(), "");
  EXPECT_EQ(next->parent(), nullptr);
}

TEST_F(DirTest, NeverEndsUpInsideItself) {
  auto const refused = [](Ptr<Dir> const& into, Ptr<Entity> const& what) -> std::string {
    try {
      into->entityPtrIs(what);
    } catch (Zon::RangeException const& error) {
      return error.what();
    }
    return "accepted";
  };
  EXPECT_EQ(refused(dir, dir), "cannot contain itself: dir");
  dir->entityPtrIs(sub);
  EXPECT_EQ(refused(sub, dir), "cannot contain itself: dir");
  EXPECT_EQ(sub->entityPtr("dir"), nullptr);
  EXPECT_EQ(dir->parent(), nullptr);
  EXPECT_EQ(sub->fullName(), "dir/s");
}

TEST_F(DirTest, NamesItsAttribute) {
  EXPECT_EQ(dir->attributeString(266), "entityPtr");
  EXPECT_EQ(dir->attributeString(6), "isNondestructing");
  EXPECT_EQ(dir->attributeString(9999), "unknown");
}

TEST_F(DirTest, ADyingDirectoryLetsItsEntriesGo) {
  dir->entityPtrIs(sub);
  dir->entityPtrIs(plain);
  dir = nullptr;
  EXPECT_EQ(sub->parent(), nullptr);
  EXPECT_EQ(plain->parent(), nullptr);
  EXPECT_EQ(sub->zonReferences(), 1U);
}

}  // namespace
