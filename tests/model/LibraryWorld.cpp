#include "model/LibraryWorld.h"

#include <algorithm>
#include <utility>

#include "model/LibraryHandlers.h"
#include "model/LibraryHost.h"
#include "model/LibraryWiring.h"

namespace Model {

namespace {

/// What is no name of the vocabulary.
constexpr int unknown = -2;

template <class Names>
int indexOf(Names const& names, Zon::String8 const& name) {
  auto const found = std::ranges::find_if(names, [&](char const* text) { return name == text; });
  return found == names.end() ? unknown : static_cast<int>(found - names.begin());
}
int interfaceOf(Orvet::IntfId const& id) { return indexOf(interfaceNames, id.stringValue()); }

// The numbers of objects; none for null. Every entity is the host's, so of its numbered class.
int numberOf(Interface::IntfConfig const* config) {
  return config == nullptr ? none : static_cast<Config const*>(config)->number();
}
int numberOf(Interface::IntfStatus const* status) {
  return status == nullptr ? none : static_cast<Status const*>(status)->number();
}
int numberOf(Interface::IntfQueueCounterDir const* counters) {
  return counters == nullptr ? none : static_cast<Counters const*>(counters)->number();
}
int numberOf(Interface::AllIntfQueueCounterDir const* slice) {
  return slice == nullptr ? none : static_cast<Slice const*>(slice)->number();
}
int numberOf(Zon::Entity const& entry) { return dynamic_cast<Number const&>(entry).number(); }
/// Directories have their number as their name.
template <class Directory>
int nameOf(Zon::Ptr<Directory> const& directory) {
  if (!directory) return none;
  int number = 0;
  for (char const digit : directory->name().view())
    number = 10 * number + (digit - '0');
  return number;
}

template <class Iterator>
std::vector<int> walk(Iterator it, auto const& names) {
  std::vector<int> order;
  for (; it; it.advance()) {
    if constexpr (requires { it.key().stringValue(); }) {
      order.push_back(indexOf(names, it.key().stringValue()));
    } else {
      order.push_back(indexOf(names, it.key()));
    }
  }
  return order;
}

/// Writes the facts down, in the order of the model's observer.
class Observer {
 public:
  explicit Observer(Library const& library) : library_(library) {}

  Observation observe() {
    for (auto const& slots : library_.configs)
      for (auto const& held : slots)
        config(held.ptr());
    for (auto const& slots : library_.statuses)
      for (auto const& held : slots)
        status(held.ptr());
    directories();
    for (auto const& list : library_.lists) {
      int const number = nameOf(list);
      for (auto entry = list->errdisabledIntfIteratorConst(); entry; entry.advance())
        fact(What::errdisabled, number, interfaceOf(entry.key()), indexOf(reasonTexts, entry.value()));
    }
    for (int agent = 0; agent != agentCount; ++agent)
      fact(What::agentDirectory, agent, 0, nameOf(library_.agents[at(agent)]->allIntfDir()));
    for (int activity = firstDeferring; activity != activityCount; ++activity)
      fact(What::pending, activity, 0, static_cast<int>(library_.activities[at(activity)]->zonPending()));
    for (int which = 0; which != reachableReactors; ++which) {
      mirror(which);
      statusMachine(which);
      discovery(which);
      machine(which);
    }
    chain();
    return std::move(facts_);
  }

 private:
  void fact(What what, int subject, int key, int value) { facts_.push_back({what, subject, key, value}); }

  void config(Interface::IntfConfig const* held) {
    fact(What::configState, numberOf(held), static_cast<int>(held->enabledStateLocal()),
         indexOf(reasonTexts, held->enabledStateReason()));
  }
  void status(Interface::IntfStatus const* held) {
    fact(What::statusModel, numberOf(held), held->active() ? 1 : 0, held->forwardingModel());
  }
  void entity(Interface::IntfConfig const* held) { config(held); }
  void entity(Interface::IntfStatus const* held) { status(held); }

  template <class Iterator>
  void table(What what, int subject, Iterator entry) {
    for (; entry; entry.advance())
      fact(what, subject, interfaceOf(entry.key()), numberOf(entry.ptr().ptr()));
  }

  template <class Directory, class Iterator>
  void directory(Half half, int reach, Zon::Ptr<Directory> const& held, Iterator const& iterator) {
    int const number = nameOf(held);
    fact(What::directory, half, reach, number);
    if (!held) return;
    table(What::directoryEntry, number, iterator(*held));
    for (auto entry = iterator(*held); entry; entry.advance())
      entity(entry.ptr().ptr());
  }

  void directories() {
    for (int reach = 0; reach != reachableDirectories; ++reach)
      directory(configHalf, reach, library_.configDirectory(reach),
                [](auto& dir) { return dir.intfConfigIteratorConst(); });
    for (int reach = 0; reach != reachableDirectories; ++reach)
      directory(statusHalf, reach, library_.statusDirectory(reach),
                [](auto& dir) { return dir.intfStatusIteratorConst(); });
  }

  /// What every reactor shows.
  void reactor(int type, int which) {
    library_.withReactor(type, which, [&](auto const& held) {
      int same = 0;
      if (held) {
        auto const isOther = [&](int other) {
          bool differs = false;
          library_.withReactor(type, other,
                               [&](auto const& o) { differs = static_cast<void*>(o.ptr()) != held.ptr(); });
          return differs;
        };
        while (isOther(same))
          ++same;
      }
      fact(What::reactor, type, which, held ? same : none);
      if (!held) return;
      fact(What::reactorSwitch, type, which, switchOf(*held));
      auto const activity = std::ranges::find(library_.activities, held->zonFwkActivity());
      fact(What::reactorActivity, type, which, static_cast<int>(activity - library_.activities.begin()));
    });
  }
  static int switchOf(Zon::PtrInterface const& object) {
    return marks(object.hasNotificationActive(), object.zonMarkedForDeletion());
  }

  void mirror(int which) {
    reactor(mirrorType, which);
    auto const held = library_.mirror(which);
    if (!held) return;
    fact(What::mirrorOutput, which, configHalf, nameOf(held->configOut()));
    fact(What::mirrorInput, which, configHalf, nameOf(held->configIn()));
    fact(What::mirrorOutput, which, statusHalf, nameOf(held->statusOut()));
    fact(What::mirrorInput, which, statusHalf, nameOf(held->statusIn()));
  }

  void statusMachine(int which) {
    reactor(statusMachineType, which);
    auto const held = library_.statusMachine(which);
    if (!held) return;
    fact(What::statusInput, which, 0, nameOf(held->allIntfStatusDir()));
    for (auto child = held->intfStatusReactorIterator(); child; child.advance()) {
      int const interface = interfaceOf(child.key());
      auto const watched = child->intfStatus();
      fact(What::statusReactor, which, interface, numberOf(watched.ptr()));
      fact(What::statusReactorSwitch, which, interface, switchOf(*child));
      if (watched) status(watched.ptr());
    }
  }

  void discovery(int which) {
    reactor(discoveryType, which);
    auto const held = library_.discovery(which);
    if (!held) return;
    fact(What::discoveryInput, which, 0, nameOf(held->counterIn()));
    fact(What::discoveryOutput, which, 0, nameOf(held->counterOut()));
    for (auto child = held->sliceSmIterator(); child; child.advance()) {
      int const slice = indexOf(sliceNames, child.key());
      auto const watched = child->counterIn();
      fact(What::sliceReactor, which, slice, numberOf(watched.ptr()));
      fact(What::sliceReactorSwitch, which, slice, switchOf(*child));
      if (watched) table(What::sliceEntry, numberOf(watched.ptr()), watched->intfQueueCounterDirIteratorConst());
      for (auto leaf = child->intfQueueCounterSmIterator(); leaf; leaf.advance()) {
        int const interface = interfaceOf(leaf.key());
        fact(What::leaf, which * 10 + slice, interface, numberOf(leaf->intfQueueCounterDir().ptr()));
        fact(What::leafSwitch, which * 10 + slice, interface, switchOf(*leaf));
      }
    }
  }

  void machine(int which) {
    reactor(errdisableMachineType, which);
    auto const held = library_.machine(which);
    if (!held) return;
    fact(What::machineInput, which, 0, nameOf(held->intfConfigDir()));
    fact(What::machineInput, which, 1, nameOf(held->intfStatusDir()));
    fact(What::machineInput, which, 2, nameOf(held->errdisableStatus()));
    fact(What::machineInitialized, which, 0, held->initialized() ? 1 : 0);
    for (auto member = held->intfSMIterator(); member; member.advance()) {
      int const interface = interfaceOf(member.key());
      auto const watchedConfig = member->intfConfig();
      auto const watchedStatus = member->intfStatus();
      fact(What::member, which, interface, numberOf(watchedConfig.ptr()));
      fact(What::memberStatus, which, interface, numberOf(watchedStatus.ptr()));
      fact(What::memberList, which, interface, nameOf(member->errdisableStatus()));
      fact(What::memberSwitch, which, interface, switchOf(*member));
      if (watchedConfig) config(watchedConfig.ptr());
      if (watchedStatus) status(watchedStatus.ptr());
    }
  }

  void chain() {
    for (auto const& directory : library_.sliceDirectories)
      for (auto entry = directory->entityPtrIteratorConst(); entry; entry.advance())
        fact(What::slicesEntry, nameOf(directory), indexOf(sliceNames, entry.key()), numberOf(*entry));
    for (auto const& slots : library_.entries)
      for (int version = 0; version != versions; ++version)
        if (auto const* const slice = static_cast<Slice const*>(slots[at(version)].ptr()))
          table(What::sliceEntry, slice->number(), slice->intfQueueCounterDirIteratorConst());
    for (auto const& slots : library_.counters)
      for (auto const& held : slots)
        for (auto counter = held->intfQueueCounterIteratorConst(); counter; counter.advance())
          fact(What::countersEntry, numberOf(held.ptr()), indexOf(counterNames, counter.key()), 1);
    for (auto const& output : library_.outputs)
      table(What::output, nameOf(output), output->intfQueueCounterDirIteratorConst());
    for (auto const& [number, manager] : library_.managers)
      fact(What::blocks, number, 0, manager ? static_cast<int>(manager->counterBlocks()) : 0);
  }

  Library const& library_;
  Observation facts_;
};

}  // namespace

LibraryWorld::LibraryWorld() {
  LibraryHost(library_).start();
  LibraryWiring(library_).start();
}

WalkOrders LibraryWorld::walkOrders() {
  auto const interfaces = Zon::newPtr<Errdisable::Status>("all");
  for (char const* const name : interfaceNames)
    interfaces->errdisabledIntfIs(name, "");
  auto const slices = Zon::newPtr<Zon::Dir>("all");
  for (char const* const name : sliceNames)
    slices->entityPtrIs(Zon::newPtr<Zon::Dir>(name));
  auto const counters = Zon::newPtr<Interface::IntfQueueCounterDir>("all");
  for (char const* const name : counterNames)
    counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(name));
  return {walk(interfaces->errdisabledIntfIterator(), interfaceNames), walk(slices->subdirIterator(), sliceNames),
          walk(counters->intfQueueCounterIterator(), counterNames)};
}

Outcome LibraryWorld::apply(Operation const& operation, int step) {
  int const made = firstMade + step;
  try {
    switch (areaOf(operation.kind)) {
    case Area::host:
      LibraryHost(library_).apply(operation, made);
      break;
    case Area::wiring:
      LibraryWiring(library_).apply(operation, made);
      break;
    case Area::handlers:
      LibraryHandlers(library_).apply(operation);
      break;
    case Area::dispatch:
      library_.activities[at(firstDeferring + operation.argument[0])]->zonDispatch();
    }
  } catch (Zon::NameInUseException const&) {
    return Outcome::nameInUse;
  } catch (Zon::RangeException const&) {
    return Outcome::refused;
  }
  return Outcome::done;
}

Observation LibraryWorld::observe() const { return Observer(library_).observe(); }

std::map<int, std::set<std::string>> LibraryWorld::blocks() const {
  std::map<int, std::set<std::string>> names;
  for (auto const& [number, manager] : library_.managers) {
    auto& of = names[number];
    if (!manager) continue;
    for (auto block = manager->counterBlockIterator(); block; block.advance())
      of.insert(block.key().stdString());
  }
  return names;
}

}  // namespace Model
