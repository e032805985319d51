#include "Zon/Entity.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Zon/Dir.h"
#include "Zon/ZonAttr.h"
#include "Zon/ZonType.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/IntfConfig.h"
#include "support/Events.h"

namespace {

using Zon::Entity;
using Zon::newPtr;
using Zon::Ptr;

TEST(Entity, KeepsItsName) {
  EXPECT_EQ(newPtr<Entity>("agent")->name(), "agent");
  EXPECT_EQ(newPtr<Entity>("")->name(), "");
}

TEST(Entity, IsBornWithoutParent) {
  auto const entity = newPtr<Entity>("a");
  EXPECT_EQ(entity->parent(), nullptr);
  EXPECT_EQ(entity->parentAttrId(), 0);
  EXPECT_EQ(entity->parentAttr(), nullptr);
}

TEST(Entity, ParentLinksAreNotCountedEitherWay) {
  auto const parent = newPtr<Entity>("p");
  auto const child = newPtr<Entity>("c");
  child->parentIs(parent);
  EXPECT_EQ(parent->zonWord(), 1U);
  EXPECT_EQ(child->zonWord(), 1U);
  EXPECT_EQ(child->parent(), parent);
  Ptr<Entity const> const seen = std::as_const(*child).parent();
  EXPECT_EQ(seen, parent);
  EXPECT_EQ(parent->zonWord(), 2U);
}

TEST(Entity, ADyingParentClearsTheLinkOfEveryChild) {
  auto parent = newPtr<Entity>("p");
  auto const first = newPtr<Entity>("1");
  auto const second = newPtr<Entity>("2");
  auto const moved = newPtr<Entity>("3");
  auto const elsewhere = newPtr<Entity>("e");
  first->parentIs(parent);
  second->parentIs(parent);
  moved->parentIs(parent);
  moved->parentIs(elsewhere);
  parent = nullptr;
  EXPECT_EQ(first->parent(), nullptr);
  EXPECT_EQ(second->parent(), nullptr);
  EXPECT_EQ(moved->parent(), elsewhere);
}

TEST(Entity, ADyingChildLeavesItsSiblingsInPlace) {
  // Whichever of the three goes first, the parent still reaches the others when it dies.
  for (std::size_t dead = 0; dead < 3; ++dead) {
    auto parent = newPtr<Entity>("p");
    Ptr<Entity> children[] = {newPtr<Entity>("0"), newPtr<Entity>("1"), newPtr<Entity>("2")};
    for (auto const& child : children)
      child->parentIs(parent);
    children[dead] = nullptr;
    parent = nullptr;
    for (std::size_t i = 0; i < 3; ++i) {
      if (i != dead) {
        EXPECT_EQ(children[i]->parent(), nullptr) << i;
      }
    }
  }
}

TEST(Entity, ParentIsNullLeavesTheAttributeIdAsItWas) {
  auto const parent = newPtr<Entity>("p");
  auto const child = newPtr<Entity>("c");
  child->parentAttrIdIs(258);
  child->parentIs(parent);
  child->parentIs(nullptr);
  EXPECT_EQ(child->parent(), nullptr);
  EXPECT_EQ(child->parentAttrId(), 258);
}

TEST(Entity, FullNameJoinsTheNamesFromTheRoot) {
  auto const root = newPtr<Entity>("agent");
  auto const middle = newPtr<Entity>("dir");
  auto const leaf = newPtr<Entity>("Ethernet1/1");
  EXPECT_EQ(root->fullName(), "agent");
  EXPECT_EQ(root->uriPath(), "/agent");
  middle->parentIs(root);
  leaf->parentIs(middle);
  EXPECT_EQ(leaf->fullName(), "agent/dir/Ethernet1/1");
  EXPECT_EQ(leaf->uriPath(), "/agent/dir/Ethernet1/1");
  middle->parentIs(nullptr);
  EXPECT_EQ(leaf->fullName(), "dir/Ethernet1/1");
}

TEST(Entity, FullNameKeepsEmptyNames) {
  auto const root = newPtr<Entity>("");
  auto const leaf = newPtr<Entity>("");
  leaf->parentIs(root);
  EXPECT_EQ(root->fullName(), "");
  EXPECT_EQ(leaf->fullName(), "/");
  EXPECT_EQ(leaf->uriPath(), "//");
}

TEST(Entity, NamesTheAttributesEveryEntityHas) {
  auto const entity = newPtr<Entity>("a");
  EXPECT_EQ(entity->attributeString(5), "zeroReferences");
  EXPECT_EQ(entity->attributeString(6), "isNondestructing");
  EXPECT_EQ(entity->attributeString(130), "name");
  EXPECT_EQ(entity->attributeString(131), "parent");
  for (Zon::AttributeId const id : {-2, -1, 0, 1, 4, 7, 129, 132, 258}) {
    EXPECT_EQ(entity->attributeString(id), "unknown") << id;
  }
}

TEST(Entity, ParentAttrIsTheParentsAttributeOfThatId) {
  auto const dir = newPtr<Zon::Dir>("dir");
  auto const child = newPtr<Zon::Dir>("child");
  dir->entityPtrIs(child);
  Ptr<Zon::ZonAttr> const attribute = child->parentAttr();
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute->attributeId(), 266);
  EXPECT_EQ(attribute->name(), "entityPtr");
  child->parentAttrIdIs(9999);
  EXPECT_EQ(child->parentAttr(), nullptr);
}

TEST(Entity, ParentAttrMayBeAnAttributeOfTheParentsBase) {
  auto const slice = newPtr<Interface::AllIntfQueueCounterDir>("slice");
  auto const entry = newPtr<Zon::Dir>("entry");
  slice->entityPtrIs(entry);
  EXPECT_EQ(entry->parentAttr(), Zon::Dir::_fwkType()->attributeQIdx("entityPtr"));
  auto const counters = newPtr<Interface::IntfQueueCounterDir>("Ethernet1");
  slice->intfQueueCounterDirIs(counters);
  ASSERT_TRUE(counters->parentAttr());
  EXPECT_EQ(counters->parentAttr()->attributeId(), 386);
}

/// Hears of an entity's parent.
class ConfigRecorder : public Support::Recorder<Interface::IntfConfig::NotifieeConst> {
 public:
  using Recorder::Recorder;
};

TEST(Entity, OnlyARealChangeOfParentIsTold) {
  Support::Events events;
  auto const config = newPtr<Interface::IntfConfig>("Ethernet1");
  auto const watcher = newPtr<ConfigRecorder>("w", events, config);
  auto const parent = newPtr<Entity>("p");
  config->parentIs(nullptr);
  EXPECT_EQ(events.take(), "");
  config->parentIs(parent);
  EXPECT_EQ(events.take(), "w:parent");
  config->parentIs(parent);
  EXPECT_EQ(events.take(), "");
  config->parentIs(nullptr);
  EXPECT_EQ(events.take(), "w:parent");
}

TEST(Entity, ASilentMoveIsToldByTheNextParentIsOnce) {
  Support::Events events;
  auto const config = newPtr<Interface::IntfConfig>("Ethernet1");
  auto const watcher = newPtr<ConfigRecorder>("w", events, config);
  auto const parent = newPtr<Entity>("p");
  auto const other = newPtr<Entity>("o");
  config->zonMoveUnder(parent.ptr());
  EXPECT_EQ(config->fullName(), "p/Ethernet1");
  EXPECT_EQ(events.take(), "");
  config->parentIs(parent);
  EXPECT_EQ(events.take(), "w:parent");
  config->zonMoveUnder(parent.ptr());
  config->parentIs(parent);
  EXPECT_EQ(events.take(), "") << "nothing had changed";
  config->zonMoveUnder(nullptr);
  config->parentIs(other);
  EXPECT_EQ(events.take(), "w:parent");
  config->parentIs(other);
  EXPECT_EQ(events.take(), "");
}

TEST(Entity, WatchersOfAnEntityHearZeroReferencesAndMayKeepIt) {
  Support::Events events;
  Ptr<Interface::IntfConfig> rescued;
  auto config = newPtr<Interface::IntfConfig>("Ethernet1");
  auto* const raw = config.ptr();
  auto const watcher = newPtr<ConfigRecorder>("w", events);
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  watcher->notifierIs(config);
  EXPECT_EQ(config->zonWord(), 1U);
  watcher->act = [&](std::string const&) { rescued = raw; };
  config = nullptr;
  EXPECT_EQ(events.take(), "w:zeroReferences");
  ASSERT_TRUE(rescued);
  watcher->act = nullptr;
  rescued = nullptr;
  EXPECT_EQ(events.take(), "w:zeroReferences");
  EXPECT_EQ(watcher->notifier(), nullptr);
  EXPECT_TRUE(watcher->isRegisteredNotifiee());
}

}  // namespace
