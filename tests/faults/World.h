#pragma once

/// \file
/// A host with both modules wired, for tests that make things fail: what a host does, one operation a member function, and
/// all that can be seen afterwards, as text.
///
/// Guarantees
///   A  Every operation may be repeated after it failed: what it got done already is found and not done again.
///   B  `sweep()` is what the documents ask of a host after an event was lost; it changes nothing where none was.
///   C  Facts tell entities apart by name, so worlds that went the same way show the same facts.
///
/// Use
///
///     Faults::World world(Faults::World::Activity::immediate);
///     world.wire();
///     world.addConfig("Ethernet1");
///     EXPECT_EQ(world.facts().at("config Ethernet1 state"), "enabled");

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "VaroErrdisable/Root.h"
#include "VaroIntf/Agent.h"

namespace Faults {

/// All interfaces and slices a world may have.
inline constexpr std::array<char const*, 8> interfaceNames{"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4",
                                                           "Ethernet5", "Ethernet6", "Ethernet7", "Ethernet8/1"};
inline constexpr std::array<char const*, 2> sliceNames{"linecard1", "linecard2"};

/// What can be seen, by what it is about. What is not there has no fact.
using Facts = std::map<std::string, std::string>;

/// A line each: "-" only in the first, "+" only in the second; empty when they are equal.
std::string difference(Facts const& expected, Facts const& found);

/// Makes what a host makes itself; a test of foreign code makes something else, or watches it.
class Makers {
 public:
  virtual ~Makers() = default;
  virtual Zon::Ptr<Interface::AllIntfConfigDir> configs() { return Zon::newPtr<Interface::AllIntfConfigDir>("config"); }
  virtual Zon::Ptr<Interface::AllIntfStatusDir> statuses() {
    return Zon::newPtr<Interface::AllIntfStatusDir>("status");
  }
  virtual Zon::Ptr<Errdisable::Status> errdisabled() { return Zon::newPtr<Errdisable::Status>("errdisable"); }
  virtual Zon::Ptr<Zon::Dir> slices() { return Zon::newPtr<Zon::Dir>("slices"); }
  virtual Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> counters() {
    return Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>("counters");
  }
  virtual Zon::Ptr<Interface::IntfConfig> config(Orvet::IntfId const& intf) {
    return Zon::newPtr<Interface::IntfConfig>(intf);
  }
  virtual Zon::Ptr<Interface::IntfStatus> status(Orvet::IntfId const& intf) {
    return Zon::newPtr<Interface::IntfStatus>(intf);
  }
  virtual Zon::Ptr<Interface::AllIntfQueueCounterDir> slice(Zon::Name const& name) {
    return Zon::newPtr<Interface::AllIntfQueueCounterDir>(name);
  }
  virtual Zon::Ptr<Interface::IntfQueueCounterDir> countersOf(Orvet::IntfId const& intf) {
    return Zon::newPtr<Interface::IntfQueueCounterDir>(intf);
  }
  /// The producers' directories were made, with an agent.
  virtual void produced(VaroIntf::Agent&) {}
};

class World {
 public:
  enum class Activity { null, immediate, deferring };

  /// The host's directories, and the agent with its aggregate directory; no module watches yet.
  explicit World(Activity activity, std::shared_ptr<Makers> makers = std::make_shared<Makers>());
  /// Takes the modules down, and the names of its shared memory away.
  ~World();
  World(World const&) = delete;
  World& operator=(World const&) = delete;

  // Wiring, in the order of the documents; `wire()` does all of it.
  void wireMirror();
  void wireForwarding();
  void wireCounters();
  void wireErrdisable();
  void wire();
  // And off again.
  void unwireMirror();
  void unwireForwarding();
  void unwireCounters();
  void unwireErrdisable();
  /// Lets go of agent and root, with whatever they own. Without agent there are no producers: what they did before throws.
  void dropModules() noexcept;
  void dropAgent() noexcept { agent_ = nullptr; }
  void dropRoot() noexcept { root_ = nullptr; }
  /// Another agent and root where they were dropped, the aggregate directory filled from the host's, all modules wired.
  void renewModules();
  /// A world with the inputs of this one, filled before its modules were wired: what these must come to.
  std::unique_ptr<World> anew() const;

  // Producers: the aggregate directory.
  void addConfig(char const* intf);
  void removeConfig(char const* intf);
  void adminState(char const* intf, Interface::IntfEnabledState state);
  void defaultState(char const* intf, Interface::IntfEnabledState state);
  void addStatus(char const* intf, bool active);
  /// Another entity under the same interface.
  void replaceStatus(char const* intf, bool active);
  void removeStatus(char const* intf);
  void active(char const* intf, bool active);
  void forwardingInput(char const* intf, char const* source, std::int32_t model);
  void removeForwardingInput(char const* intf, char const* source);

  // The platform's list.
  void errdisable(char const* intf, char const* reason);
  void recover(char const* intf);

  // Slices. One that is added has its interfaces and counters already.
  enum class Memory { ofItsOwn, named };
  void addSlice(char const* slice, std::vector<char const*> const& intfs, std::vector<char const*> const& counters,
                Memory memory = Memory::ofItsOwn);
  void removeSlice(char const* slice);
  void addSliceIntf(char const* slice, char const* intf, std::vector<char const*> const& counters);
  void removeSliceIntf(char const* slice, char const* intf);
  void addCounter(char const* slice, char const* intf, char const* counter);
  void removeCounter(char const* slice, char const* intf, char const* counter);

  /// Dispatches until nothing is pending. Every operation above ends with it.
  void settle();
  /// Brings the modules in line with what is there, whatever they missed.
  void sweep();

  Facts facts() const;
  /// How many references every shared object has: worlds that went the same way hold the same.
  Facts references() const;

  Zon::Ptr<VaroIntf::Agent> const& agent() const { return agent_; }
  Zon::Ptr<VaroErrdisable::Root> const& root() const { return root_; }
  Zon::Ptr<Zon::ActivityConfig> const& activity() const { return activity_; }
  /// The host's directories, which the mirror fills.
  Zon::Ptr<Interface::AllIntfConfigDir> const& configs() const { return configs_; }
  Zon::Ptr<Interface::AllIntfStatusDir> const& statuses() const { return statuses_; }
  Zon::Ptr<Errdisable::Status> const& errdisabled() const { return errdisabled_; }
  Zon::Ptr<Zon::Dir> const& slices() const { return slices_; }
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counters() const { return counters_; }
  Zon::Ptr<Interface::AllIntfQueueCounterDir> slice(char const* slice) const;
  /// The slice that was filed under that name, null when it was removed.
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const& filed(std::string_view slice) const;
  /// The producers' halves of the aggregate directory.
  Zon::Ptr<Interface::AllIntfConfigDir> produced() const { return there(agent_).allIntfDir()->config(); }
  Zon::Ptr<Interface::AllIntfStatusDir> producedStatuses() const { return there(agent_).allIntfDir()->status(); }

 private:
  Zon::Ptr<Interface::IntfQueueCounterDir> newCounters(char const* intf, std::vector<char const*> const& names) const;
  Zon::Ptr<Pelto::ShmemMan> newManager(char const* slice, char const* manager);
  static std::size_t indexOf(std::string_view slice);

  /// Errors: `std::logic_error` for what was dropped.
  template <class T>
  static T& there(Zon::Ptr<T> const& object) {
    if (!object) throw std::logic_error("it was dropped");
    return *object;
  }

  int const number_;
  std::shared_ptr<Makers> const makers_;
  Zon::Ptr<Zon::ActivityConfig> const activity_;
  Zon::Ptr<Interface::AllIntfConfigDir> const configs_;
  Zon::Ptr<Interface::AllIntfStatusDir> const statuses_;
  Zon::Ptr<Errdisable::Status> const errdisabled_;
  Zon::Ptr<Zon::Dir> const slices_;
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const counters_;
  Zon::Ptr<VaroIntf::Agent> agent_;
  Zon::Ptr<VaroErrdisable::Root> root_;
  /// The names of its shared memory.
  std::set<Zon::Name> objects_;
  /// The slices that were filed, by name.
  std::array<Zon::Ptr<Interface::AllIntfQueueCounterDir>, sliceNames.size()> filed_;
};

}  // namespace Faults
