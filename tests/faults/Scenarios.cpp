#include "faults/Scenarios.h"

#include <utility>

namespace Faults {

namespace {

using Interface::IntfEnabledState;
using Steps = std::vector<Step>;

Step wire() {
  return {"wire", [](World& world) { world.wire(); }};
}

/// Interfaces of which one is admitted, one is down, and one has an entry in the platform's list.
Steps someInterfaces() {
  return {{"fill", [](World& world) {
             for (char const* const intf : {"Ethernet1", "Ethernet2", "Ethernet3"})
               world.addConfig(intf);
             world.addStatus("Ethernet1", true);
             world.addStatus("Ethernet2", false);
             world.errdisable("Ethernet3", "bpduguard");
             world.forwardingInput("Ethernet1", "routing", 3);
           }}};
}

Steps someSlices() {
  return {{"file slices", [](World& world) {
             world.addSlice("linecard1", {"Ethernet1", "Ethernet2"}, {"drops"});
             world.addSlice("linecard2", {"Ethernet3"}, {"drops", "pauses"});
           }}};
}

Steps operator+(Steps first, Steps const& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// Each module wired to what is there already.
Scenario wiring() {
  return {"Wiring",
          {},
          someInterfaces() + someSlices(),
          {{"wire the mirror", [](World& world) { world.wireMirror(); }},
           {"wire forwarding", [](World& world) { world.wireForwarding(); }},
           {"wire counters", [](World& world) { world.wireCounters(); }},
           {"wire errdisable", [](World& world) { world.wireErrdisable(); }}}};
}

/// Modules taken off and wired again.
Scenario rewiring() {
  return {"Rewiring",
          {},
          Steps{wire()} + someInterfaces() + someSlices(),
          {{"unwire errdisable", [](World& world) { world.unwireErrdisable(); }},
           {"unwire counters", [](World& world) { world.unwireCounters(); }},
           {"unwire forwarding", [](World& world) { world.unwireForwarding(); }},
           {"unwire the mirror", [](World& world) { world.unwireMirror(); }},
           wire(),
           {"wire again", [](World& world) { world.wire(); }},
           {"drop the modules", [](World& world) { world.dropModules(); }}}};
}

Scenario interfaces() {
  return {"Interfaces",
          {},
          Steps{wire()} + someInterfaces(),
          {{"add a configuration", [](World& world) { world.addConfig("Ethernet4"); }},
           {"add its status", [](World& world) { world.addStatus("Ethernet4", true); }},
           {"deactivate it", [](World& world) { world.active("Ethernet4", false); }},
           {"replace its status", [](World& world) { world.replaceStatus("Ethernet4", true); }},
           {"add a status first", [](World& world) { world.addStatus("Ethernet5", true); }},
           {"then its configuration", [](World& world) { world.addConfig("Ethernet5"); }},
           {"remove a status", [](World& world) { world.removeStatus("Ethernet2"); }},
           {"remove a configuration", [](World& world) { world.removeConfig("Ethernet1"); }},
           {"add it again", [](World& world) { world.addConfig("Ethernet1"); }},
           {"remove one that is errdisabled", [](World& world) { world.removeConfig("Ethernet3"); }}}};
}

/// Every row of the errdisable module's decision, one after the other.
Scenario decisions() {
  return {"Decisions",
          {},
          Steps{wire()} + someInterfaces(),
          {{"enable", [](World& world) { world.adminState("Ethernet1", IntfEnabledState::enabled); }},
           {"errdisable", [](World& world) { world.errdisable("Ethernet1", "loopguard"); }},
           {"another reason", [](World& world) { world.errdisable("Ethernet1", "uplinkfailure"); }},
           {"inactive", [](World& world) { world.active("Ethernet1", false); }},
           {"active", [](World& world) { world.active("Ethernet1", true); }},
           {"recover", [](World& world) { world.recover("Ethernet1"); }},
           {"shut down", [](World& world) { world.adminState("Ethernet1", IntfEnabledState::disabled); }},
           {"unset", [](World& world) { world.adminState("Ethernet1", IntfEnabledState::unset); }},
           {"default shut down", [](World& world) { world.defaultState("Ethernet1", IntfEnabledState::disabled); }},
           {"recover one without status", [](World& world) { world.recover("Ethernet3"); }},
           {"errdisable one that is down", [](World& world) { world.errdisable("Ethernet2", "bpduguard"); }},
           {"errdisable an unknown one", [](World& world) { world.errdisable("Ethernet6", "bpduguard"); }},
           {"configure it", [](World& world) { world.addConfig("Ethernet6"); }}}};
}

Scenario forwarding() {
  return {"Forwarding",
          {},
          Steps{wire()} + someInterfaces(),
          {{"a second source", [](World& world) { world.forwardingInput("Ethernet1", "lag", 1); }},
           {"asks for another", [](World& world) { world.forwardingInput("Ethernet1", "lag", 4); }},
           {"a third source", [](World& world) { world.forwardingInput("Ethernet1", "mirroring", 2); }},
           {"the third leaves", [](World& world) { world.removeForwardingInput("Ethernet1", "mirroring"); }},
           {"replace the status", [](World& world) { world.replaceStatus("Ethernet1", true); }},
           {"a source of the new one", [](World& world) { world.forwardingInput("Ethernet1", "routing", 3); }}}};
}

Scenario slices(World::Memory memory) {
  return {memory == World::Memory::named ? "SlicesInNamedMemory" : "Slices",
          {},
          {wire()},
          {{"add a slice",
            [memory](World& world) {
              world.addSlice("linecard1", {"Ethernet1", "Ethernet2"}, {"drops"}, memory);
            }},
           {"add an empty slice", [memory](World& world) { world.addSlice("linecard2", {}, {}, memory); }},
           {"add an interface to it",
            [](World& world) {
              world.addSliceIntf("linecard2", "Ethernet3", {"drops", "pauses"});
            }},
           {"add a counter", [](World& world) { world.addCounter("linecard1", "Ethernet1", "pauses"); }},
           {"remove a counter", [](World& world) { world.removeCounter("linecard1", "Ethernet1", "drops"); }},
           {"remove an interface", [](World& world) { world.removeSliceIntf("linecard1", "Ethernet2"); }},
           {"remove a slice", [](World& world) { world.removeSlice("linecard1"); }},
           {"add it again", [memory](World& world) { world.addSlice("linecard1", {"Ethernet1"}, {"drops"}, memory); }},
           {"remove the other", [](World& world) { world.removeSlice("linecard2"); }}}};
}

/// Maps that grow and shrink.
Scenario many() {
  Steps steps;
  for (char const* const intf : interfaceNames)
    steps.push_back({std::string("add ") + intf, [intf](World& world) {
                       world.addConfig(intf);
                       world.addStatus(intf, true);
                     }});
  for (char const* const intf : interfaceNames)
    steps.push_back({std::string("remove ") + intf, [intf](World& world) {
                       world.removeStatus(intf);
                       world.removeConfig(intf);
                     }});
  return {"Many", {}, {wire()}, std::move(steps)};
}

char const* nameOf(World::Activity activity) {
  switch (activity) {
  case World::Activity::null:
    return "OnNone";
  case World::Activity::immediate:
    return "Immediate";
  case World::Activity::deferring:
    return "Deferring";
  }
  return "";
}

}  // namespace

std::vector<Scenario> scenarios() {
  std::vector<Scenario> all;
  for (auto const activity : {World::Activity::null, World::Activity::immediate, World::Activity::deferring})
    for (auto const& make :
         {wiring, rewiring, interfaces, decisions, forwarding, many, +[] { return slices(World::Memory::ofItsOwn); }}) {
      Scenario scenario = make();
      scenario.name += nameOf(activity);
      scenario.activity = activity;
      all.push_back(std::move(scenario));
    }
  all.push_back(slices(World::Memory::named));
  return all;
}

}  // namespace Faults
