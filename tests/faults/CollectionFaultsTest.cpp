// Every callback of every collection throws, hands back in vain, or does something hostile, once each.

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/ZonType.h"
#include "faults/CallOuts.h"
#include "support/Collections.h"

namespace {

using Faults::CallOuts;
using Faults::Figure;
using Faults::Throwing;
using Faults::throwings;
using Zon::newPtr;
using Zon::Ptr;

/// One collection that is changed in every way, with three watchers, and the parents of its members watched.
template <class Kind>
class World {
 public:
  using Owner = typename Kind::Owner;
  using Watcher = typename Kind::Watcher;

  static constexpr char const* keys[] = {"k1", "k2", "k3"};

  explicit World(CallOuts& calls) {
    for (char const* const label : {"a", "b", "c"}) {
      watchers.push_back(newPtr<Watcher>(label, events, owner));
      watchers.back()->act = [label, &calls](std::string const& event) { calls(std::string(label) + ":" + event); };
    }
    if constexpr (requires { Kind::owns; }) {
      if constexpr (Kind::owns) watchParents(calls);
    }
  }

  struct Step {
    char const* name;
    void (*act)(World& world);
  };
  // Each may be repeated when it was cut short: it asks for a state.
  static constexpr Step steps[] = {
      {"add", [](World& world) { world.set("k1", 0); }},
      {"add another", [](World& world) { world.set("k2", 1); }},
      {"replace", [](World& world) { world.set("k1", 1); }},
      {"announce a key", [](World& world) { Kind::notify(*world.owner, "k1"); }},
      {"announce all", [](World& world) { Kind::notify(*world.owner); }},
      {"remove", [](World& world) { Kind::del(*world.owner, "k2"); }},
      {"add again", [](World& world) { world.set("k2", 0); }},
      {"fill", [](World& world) { world.set("k3", 1); }},
      {"remove under an iterator",
       [](World& world) {
         // Held: an iterator must not outlive its collection.
         Ptr<Owner> const held = world.owner;
         for (auto at = Kind::iterator(*held); at; at.advance())
           if (at.key() == typename Kind::Key("k2")) Kind::delAt(*held, at);
       }},
      {"remove all", [](World& world) { Kind::delAll(*world.owner); }},
      {"begin anew", [](World& world) { world.set("k1", 0); }},
  };

  void set(char const* key, int variant) { kind.set(*owner, key, variant); }
  /// "k1=0 k3=1", found by look-up and by a walk.
  std::string state() {
    std::string text;
    int found = 0;
    for (char const* const key : keys) {
      int const variant = kind.shown(*owner, key);
      if (variant < 0) continue;
      text += std::string(key) + "=" + std::to_string(variant) + " ";
      ++found;
    }
    for (auto at = Kind::iterator(*owner); at; at.advance())
      --found;
    return found == 0 ? text : text + "but the walk differs";
  }

  Support::Events events;
  Kind kind;
  Ptr<Owner> owner = newPtr<Owner>("owner");
  std::vector<Ptr<Watcher>> watchers;

 private:
  void watchParents(CallOuts& calls) {
    for (char const* const key : keys)
      for (int const variant : {0, 1})
        if (auto watcher = Support::watchParent(kind.members(key, variant), [&calls] { calls("parent"); });
            watcher->notifier())
          parents_.push_back(watcher);
  }

  std::vector<Ptr<Zon::PtrInterface::NotifieeConst>> parents_;
};

/// What each step of an undisturbed life calls, and the state after it.
struct Course {
  std::vector<std::string> heard;
  std::vector<std::string> states;
  int callbacks = 0;
};

template <class Kind>
Course undisturbed() {
  CallOuts calls;
  World<Kind> world(calls);
  Course course;
  for (auto const& step : World<Kind>::steps) {
    step.act(world);
    course.heard.push_back(world.events.take());
    course.states.push_back(world.state());
  }
  course.callbacks = calls.made();
  return course;
}

/// What is heard when the callback `struck` throws: of the two callbacks that tell a watcher that everything changed, the
/// second is not made to whom the first one threw out of.
std::string heardBeside(std::string const& struck, std::string heard) {
  std::size_t const first = heard.find(struck);
  if (struck.ends_with(":immediate") && first != std::string::npos) {
    std::string const second = " " + struck.substr(0, 2) + "all";
    heard.erase(heard.find(second, first), second.size());
  }
  return heard;
}

struct Names {
  template <class Kind>
  static std::string GetName(int) {
    return newPtr<typename Kind::Owner>("owner")->fwkType()->name().stdString();
  }
};

template <class Kind>
class CollectionFaultsTest : public testing::Test {};

using EveryKind = testing::Types<Support::ConfigDirKind, Support::StatusDirKind, Support::PtrDirKind,
                                 Support::SliceKind, Support::CounterDirKind, Support::DirKind, Support::ErrdisableKind,
                                 Support::ForwardingModelInputsKind>;
TYPED_TEST_SUITE(CollectionFaultsTest, EveryKind, Names);

TYPED_TEST(CollectionFaultsTest, WhatAnyCallbackThrowsKeepsNothingFromTheOthers) {
  using World = ::World<TypeParam>;
  Course const course = undisturbed<TypeParam>();
  ASSERT_GT(course.callbacks, 30);
  Figure thrown("exceptions thrown out of callbacks");
  for (Throwing const& throwing : throwings) {
    for (int position = 0; position != course.callbacks; ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      World world(calls);
      int handbacks = 0;
      for (std::size_t step = 0; step != std::size(World::steps); ++step) {
        SCOPED_TRACE(testing::Message() << World::steps[step].name << ", " << throwing.name << " at callback "
                                        << position << " (" << calls.struck() << ")");
        EXPECT_EQ(Faults::thrownBy([&] { World::steps[step].act(world); }), "");
        EXPECT_EQ(Faults::withoutHandback(world.events.take(), handbacks),
                  heardBeside(calls.struck(), course.heard[step]));
        EXPECT_EQ(world.state(), course.states[step]);
      }
      // The parents' watchers keep their own record.
      EXPECT_EQ(handbacks, calls.struck() == "parent" ? 0 : 1) << throwing.name << " at callback " << position;
      EXPECT_EQ(calls.made(), course.callbacks - (calls.struck().ends_with(":immediate") ? 1 : 0));
      ++thrown;
    }
  }
}

TYPED_TEST(CollectionFaultsTest, WhatAnyHandbackThrowsLeavesTheOperationWhichCanBeRepeated) {
  using World = ::World<TypeParam>;
  Course const course = undisturbed<TypeParam>();
  Figure thrown("exceptions thrown out of onNotificationException");
  for (Throwing const& throwing : throwings) {
    for (int position = 0; position != course.callbacks; ++position) {
      CallOuts calls(position, [&](std::string const&) { throw Faults::Plain{1}; });
      World world(calls);
      for (auto const& watcher : world.watchers)
        watcher->actOnException = throwing.act;
      int escaped = 0;
      for (std::size_t step = 0; step != std::size(World::steps); ++step) {
        SCOPED_TRACE(testing::Message() << World::steps[step].name << ", " << throwing.name << " at callback "
                                        << position << " (" << calls.struck() << ")");
        std::string const out = Faults::thrownBy([&] { World::steps[step].act(world); });
        if (out.empty()) {
          EXPECT_EQ(world.state(), course.states[step]);
          continue;
        }
        ++escaped;
        EXPECT_EQ(out, throwing.name);
        EXPECT_EQ(Faults::thrownBy([&] { World::steps[step].act(world); }), "");
        EXPECT_EQ(world.state(), course.states[step]);
      }
      EXPECT_EQ(escaped, calls.struck() == "parent" ? 0 : 1) << throwing.name << " at callback " << position;
      ++thrown;
    }
  }
}

/// What a watcher does to the collection, told the key of a callback, empty if it told none.
template <class Kind>
struct Act {
  char const* name;
  /// Whether the collection then is what the steps ask for all the same.
  bool keepsState;
  void (*act)(World<Kind>& world, char const* key);
};

template <class Kind>
constexpr Act<Kind> acts[] = {
    {"remove and add again", true,
     [](World<Kind>& world, char const* key) {
       int const variant = world.kind.shown(*world.owner, key);
       if (variant < 0) return;
       Kind::del(*world.owner, key);
       world.set(key, variant);
     }},
    {"replace and put back", true,
     [](World<Kind>& world, char const* key) {
       int const variant = world.kind.shown(*world.owner, key);
       if (variant < 0) return;
       world.set(key, 1 - variant);
       world.set(key, variant);
     }},
    {"add and remove", true,
     [](World<Kind>& world, char const* key) {
       if (Kind::has(*world.owner, key)) return;
       world.set(key, 0);
       Kind::del(*world.owner, key);
     }},
    {"announce all", true, [](World<Kind>& world, char const*) { Kind::notify(*world.owner); }},
    {"walk to the end", true,
     [](World<Kind>& world, char const*) {
       for (auto at = Kind::iterator(*world.owner); at; at.advance())
         static_cast<void>(at.key());
     }},
    {"drop all watchers", true, [](World<Kind>& world, char const*) { world.watchers.clear(); }},
    {"unbind all watchers", true,
     [](World<Kind>& world, char const*) {
       for (auto const& watcher : world.watchers)
         watcher->notifierIs(nullptr);
     }},
    {"move all watchers", true,
     [](World<Kind>& world, char const*) {
       auto const other = newPtr<typename Kind::Owner>("other");
       for (auto const& watcher : world.watchers)
         watcher->notifierIs(other);
     }},
    {"reregister all watchers", true,
     [](World<Kind>& world, char const*) {
       for (auto const& watcher : world.watchers) {
         watcher->isRegisteredNotifieeIs(false);
         watcher->isRegisteredNotifieeIs(true);
       }
     }},
    {"remove all", false, [](World<Kind>& world, char const*) { Kind::delAll(*world.owner); }},
    // The steps go on with another one.
    {"drop the notifier", false,
     [](World<Kind>& world, char const*) {
       world.owner = newPtr<typename Kind::Owner>("next");
       for (auto const& watcher : world.watchers)
         watcher->notifierIs(nullptr);
     }},
};

TYPED_TEST(CollectionFaultsTest, AnyCallbackMayDoAnythingToItsCollection) {
  using World = ::World<TypeParam>;
  Course const course = undisturbed<TypeParam>();
  Figure done("hostile acts");
  for (Act<TypeParam> const& act : acts<TypeParam>) {
    for (int position = 0; position != course.callbacks; ++position) {
      World* acted = nullptr;
      CallOuts calls(position, [&](std::string const& event) {
        std::size_t const from = event.find("key(");
        // What tells no key is about the first.
        std::string const key = from == std::string::npos ? "k1" : event.substr(from + 4, 2);
        act.act(*acted, key.c_str());
      });
      World world(calls);
      acted = &world;
      for (std::size_t step = 0; step != std::size(World::steps); ++step) {
        SCOPED_TRACE(testing::Message() << World::steps[step].name << ", " << act.name << " at callback " << position
                                        << " (" << calls.struck() << ")");
        bool const before = calls.struck().empty();
        EXPECT_EQ(Faults::thrownBy([&] { World::steps[step].act(world); }), "");
        bool const during = before && !calls.struck().empty();
        if (act.keepsState) {
          EXPECT_EQ(world.state(), course.states[step]);
        } else if (during) {
          EXPECT_EQ(world.state(), "");
        }
      }
      world.set("k1", 0);
      EXPECT_EQ(world.state(), "k1=0 ") << act.name << " at callback " << position << ", then one more operation";
      EXPECT_NE(calls.struck(), "");
      ++done;
    }
  }
}

}  // namespace
