#pragma once

/// \file
/// Re-entrancy tests: a watcher of an output acts on the world at every single callback of something that begins in
/// several ways.
///
/// A world has `events`, `out` and `reactor`; of the counter chain also `firstOut`, what `out` was at first, and what
/// must be true at the end: `complete`, that everything is served; `published`, that the output says so too; `cutShort`,
/// that a sweep went no further than the sabotage.
///
/// Use
///
///     for (int position = 0; position != callbacks; ++position) {
///       World world;
///       Saboteur<PtrDirWatcher> const saboteur(world, sabotage, position);
///       beginning.begin(world);
///       EXPECT_GT(saboteur.heard(), position);
///     }

#include <string>
#include <tuple>
#include <vector>

#include "Zon/Ptr.h"

namespace Support {

/// What is done to the world at one callback; `key` is what the callback told.
template <class World>
struct Sabotage {
  char const* name;
  void (*act)(World& world, std::string const& key);
};

/// How what is sabotaged begins.
template <class World>
struct Beginning {
  char const* name;
  void (*begin)(World& world);
};

template <class World>
using SabotageCase = std::tuple<Beginning<World>, Sabotage<World>>;

/// The name of a case: "SweepDropTheReactor".
inline constexpr auto sabotageName = [](auto const& info) {
  return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
};

/// Watches `world.out` while it lives, and does the sabotage at callback number `position`.
template <class Watcher>
class Saboteur {
 public:
  template <class World>
  Saboteur(World& world, Sabotage<World> const& sabotage, int position)
    : watcher_(Zon::newPtr<Watcher>("w", world.events, world.out)) {
    // "key(ID)"
    watcher_->act = [this, &world, &sabotage, position](std::string const& event) {
      if (heard_++ == position) sabotage.act(world, event.substr(4, event.size() - 5));
    };
  }
  Saboteur(Saboteur const&) = delete;
  Saboteur& operator=(Saboteur const&) = delete;

  /// Callbacks until now.
  int heard() const { return heard_; }

 private:
  int heard_ = 0;
  Zon::Ptr<Watcher> const watcher_;
};

/// The keys of the callbacks that a saboteur recorded.
inline std::vector<std::string> keysHeard(std::string const& events) {
  std::vector<std::string> keys;
  std::string const prefix = "w:key(";
  for (auto at = events.find(prefix); at != std::string::npos; at = events.find(prefix, at)) {
    at += prefix.size();
    keys.push_back(events.substr(at, events.find(')', at) - at));
  }
  return keys;
}

/// What can be done to any reactor of the counter chain, and then `own`.
template <class World>
std::vector<Sabotage<World>> counterSabotages(std::vector<Sabotage<World>> const& own) {
  std::vector<Sabotage<World>> all = {
      {"Nothing", [](World&, std::string const&) {}},
      {"ClearTheOutput",
       [](World& world, std::string const&) {
         world.firstOut->intfQueueCounterDirDelAll();
         world.published = false;
       }},
      {"DropTheInput",
       [](World& world, std::string const&) {
         if (!world.reactor) return;
         world.reactor->counterInDel();
         world.complete = false;
         world.cutShort = true;
       }},
      {"SweepAgain",
       [](World& world, std::string const&) {
         if (world.reactor) world.reactor->handleQueueCounterDir();
       }},
      {"MakeItAZombie",
       [](World& world, std::string const&) {
         if (!world.reactor) return;
         world.reactor->zonDoZombieReactors(true);
         world.complete = false;
         world.cutShort = true;
       }},
      {"DropTheReactor",
       [](World& world, std::string const&) {
         if (world.reactor) world.complete = false;
         world.reactor = nullptr;
       }},
      {"DropEverything",
       [](World& world, std::string const&) {
         world.complete = false;
         world.dropAll();
       }},
      {"Throw", [](World&, std::string const&) { throw 7; }},
  };
  all.insert(all.end(), own.begin(), own.end());
  return all;
}

}  // namespace Support
