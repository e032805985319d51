// Every trace line of the interface directory module, to the character.

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "Zon/Trace.h"
#include "support/Intf.h"
#include "support/TraceLines.h"

namespace {

using namespace Support;
using Discovery = VaroIntf::AllIntfQueueCounterReactor;
using SliceReactor = VaroIntf::AllIntfQueueCounterSliceReactor;
using Leaf = VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor;
using Zon::Ptr;

/// A line of the module: "8 VaroIntf:LINE FUNCTION <unknown>: TEXT".
std::string line(int number, char const* function, std::string const& text) {
  return "8 VaroIntf:" + std::to_string(number) + " " + function + " <unknown>: " + text + "\n";
}

class IntfTraceLines : public SlicesTest {};

// First in this file: no other test of this process has used the facility yet when each test has a process of its own.
TEST(IntfTraceFacility, SwitchedOnBeforeItsFirstUseTakesEffect) {
  TraceLines lines("VaroIntf", {8});
  Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet1", nullptr, nullptr);
  EXPECT_EQ(lines.take(), "8 VaroIntf:44 handleQueueCounter <unknown>: "
                          "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter()\n");
}

TEST_F(IntfTraceLines, OfACounterThatComesAndGoes) {
  auto const counters = newCounters("Ethernet1");
  auto const leaf =
      Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet1", counters, Zon::newPtr<Slice>("a"));
  TraceLines lines("VaroIntf", {8});
  counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));
  EXPECT_EQ(lines.take(),
            "8 VaroIntf:53 handleQueueCounter <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String)\n"
            "8 VaroIntf:58 handleQueueCounter <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String) drops add\n");
  counters->intfQueueCounterDel("drops");
  EXPECT_EQ(
      lines.take(),
      "8 VaroIntf:53 handleQueueCounter <unknown>: "
      "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String)\n"
      "8 VaroIntf:55 handleQueueCounter <unknown>: "
      "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String) drops delete\n");
  leaf->handleQueueCounter("");
  EXPECT_EQ(lines.take(),
            "8 VaroIntf:53 handleQueueCounter <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String)\n"
            "8 VaroIntf:55 handleQueueCounter <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String)  delete\n");
}

TEST_F(IntfTraceLines, OfASliceReactor) {
  auto const slice = newSlice("a", {"Ethernet1"});
  TraceLines lines("VaroIntf", {8});
  auto const reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, slice);
  EXPECT_EQ(lines.take(),
            "8 VaroIntf:89 handleQueueCounterDir <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceReactor::handleQueueCounterDir()\n"
            "8 VaroIntf:106 handleQueueCounterDir <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceReactor::handleQueueCounterDir(Orvet::IntfId) Ethernet1 add\n"
            "8 VaroIntf:44 handleQueueCounter <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter()\n");
  reactor->doPrepareToDie();
  EXPECT_EQ(lines.take(), "8 VaroIntf:116 doPrepareToDie <unknown>: "
                          "void VaroIntf::AllIntfQueueCounterSliceReactor::doPrepareToDie()\n");
  slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(lines.take(),
            "8 VaroIntf:101 handleQueueCounterDir <unknown>: "
            "void VaroIntf::AllIntfQueueCounterSliceReactor::handleQueueCounterDir(Orvet::IntfId) Ethernet1 delete\n");
}

TEST_F(IntfTraceLines, OfSliceDiscovery) {
  slices->entityPtrIs(newSlice("a", {"Ethernet1"}));
  out->intfQueueCounterDirIs(newCounters("Ethernet9"));
  TraceLines lines("VaroIntf", {8});
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  std::string const keyed = "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir(Zon::String) ";
  std::string const sweep = "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir()";
  std::string const slice = "void VaroIntf::AllIntfQueueCounterSliceReactor::";
  auto const f = "handleQueueCounterDir";
  EXPECT_EQ(lines.take(), line(126, f, sweep) + line(146, f, sweep + " Ethernet9 delete") + line(159, f, keyed + "a") +
                              line(179, f, keyed + "a add") + line(89, f, slice + "handleQueueCounterDir()") +
                              line(106, f, slice + "handleQueueCounterDir(Orvet::IntfId) Ethernet1 add") +
                              line(44, "handleQueueCounter",
                                   "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter()"));
  // A slice that is served already is looked at again, no more.
  slices->entityPtrNotify("a");
  EXPECT_EQ(lines.take(), line(159, f, keyed + "a") + line(179, f, keyed + "a add"));
  slices->entityPtrDel("a");
  EXPECT_EQ(lines.take(), line(159, f, keyed + "a") + line(164, f, keyed + "a does not exist") +
                              line(172, f, keyed + "a delete") +
                              line(116, "doPrepareToDie", slice + "doPrepareToDie()"));
  slices->entityPtrNotify("a");
  EXPECT_EQ(lines.take(), line(159, f, keyed + "a") + line(164, f, keyed + "a does not exist"));
  slices->entityPtrIs(Zon::newPtr<Zon::Dir>("other"));
  EXPECT_EQ(lines.take(), line(159, f, keyed + "other") + line(164, f, keyed + "other does not exist"));
}

TEST_F(IntfTraceLines, WithoutInputTheDiscoverySweepSaysOnlyThatItRuns) {
  out->intfQueueCounterDirIs(newCounters("Ethernet9"));
  TraceLines lines("VaroIntf", {8});
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, nullptr);
  EXPECT_EQ(lines.take(),
            line(126, "handleQueueCounterDir", "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir()"));
  EXPECT_EQ(idsOf(*out), "Ethernet9");
}

TEST_F(IntfTraceLines, WithoutOutputTheLinesAreAsUsual) {
  slices->entityPtrIs(newSlice("a", {"Ethernet1"}));
  TraceLines lines("VaroIntf", {8});
  auto const with = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  auto const expected = lines.take();
  auto const without = Discovery::AllIntfQueueCounterReactorIs(nullptr, nullptr, slices);
  EXPECT_EQ(lines.take(), expected);
}

TEST_F(IntfTraceLines, WithoutOutputTheLinesOfRemovalsAreAsUsual) {
  auto const slice = newSlice("a", {"Ethernet1", "Ethernet2"});
  TraceLines lines("VaroIntf", {8});
  auto const linesOf = [&](Ptr<PtrDir> const& output) {
    auto const ethernet = slice->intfQueueCounterDir("Ethernet1");
    slices->entityPtrIs(slice);
    auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, output, slices);
    lines.take();
    slice->intfQueueCounterDirDel("Ethernet1");
    slices->entityPtrDel("a");
    slice->intfQueueCounterDirIs(ethernet);
    return lines.take();
  };
  std::string const keyed = "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir(Zon::String) a";
  std::string const sliceReactor = "void VaroIntf::AllIntfQueueCounterSliceReactor::";
  auto const f = "handleQueueCounterDir";
  auto const expected = line(101, f, sliceReactor + "handleQueueCounterDir(Orvet::IntfId) Ethernet1 delete") +
                        line(159, f, keyed) + line(164, f, keyed + " does not exist") +
                        line(172, f, keyed + " delete") +
                        line(116, "doPrepareToDie", sliceReactor + "doPrepareToDie()");
  EXPECT_EQ(linesOf(out), expected);
  EXPECT_EQ(linesOf(nullptr), expected);
}

TEST_F(IntfTraceLines, TheSweepSaysOfWhatIsNoSliceThatItDoesNotExist) {
  slices->entityPtrIs(Zon::newPtr<Zon::Dir>("plain"));
  TraceLines lines("VaroIntf", {8});
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  std::string const discovery = "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir(";
  auto const f = "handleQueueCounterDir";
  EXPECT_EQ(lines.take(), line(126, f, discovery + ")") + line(159, f, discovery + "Zon::String) plain") +
                              line(164, f, discovery + "Zon::String) plain does not exist"));
}

TEST_F(IntfTraceLines, KeysAppearAsTheyAreBytes) {
  std::string const name("a b\0\n/\xff", 7);
  auto const counters = newCounters("Ethernet1", {name});
  auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet1", counters, nullptr);
  TraceLines lines("VaroIntf", {8});
  leaf->handleQueueCounter(name);
  std::string const signature =
      "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String)";
  EXPECT_EQ(lines.take(), line(53, "handleQueueCounter", signature) +
                              line(58, "handleQueueCounter", signature + " " + name + " add"));
}

TEST_F(IntfTraceLines, LinesComeBeforeTheWorkTheyAnnounce) {
  auto const slice = newSlice("a", {"Ethernet1"});
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  std::string order;
  TraceLines lines("VaroIntf", {8});
  watcher->act = [&](std::string const&) { order += lines.take() + "changed\n"; };
  auto const reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, slice);
  std::string const prefix = "void VaroIntf::AllIntfQueueCounterSliceReactor::handleQueueCounterDir(";
  EXPECT_EQ(order, line(89, "handleQueueCounterDir", prefix + ")") +
                       line(106, "handleQueueCounterDir", prefix + "Orvet::IntfId) Ethernet1 add") + "changed\n");
  order.clear();
  lines.take();
  reactor->doPrepareToDie();
  EXPECT_EQ(order, line(116, "doPrepareToDie", "void VaroIntf::AllIntfQueueCounterSliceReactor::doPrepareToDie()") +
                       "changed\n");
  slice->intfQueueCounterDirNotify("Ethernet1");
  order.clear();
  lines.take();
  slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(order, line(101, "handleQueueCounterDir", prefix + "Orvet::IntfId) Ethernet1 delete") + "changed\n");
}

TEST_F(IntfTraceLines, TheDeletionOfAStaleEntryIsAnnouncedBeforeIt) {
  out->intfQueueCounterDirIs(newCounters("Ethernet9"));
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  std::string order;
  TraceLines lines("VaroIntf", {8});
  watcher->act = [&](std::string const&) { order += lines.take() + "deleted\n"; };
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  std::string const sweep = "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir()";
  EXPECT_EQ(order, line(126, "handleQueueCounterDir", sweep) +
                       line(146, "handleQueueCounterDir", sweep + " Ethernet9 delete") + "deleted\n");
}

TEST_F(IntfTraceLines, MirrorsAndForwardingModelsTraceNothing) {
  TraceLines lines("VaroIntf", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  auto const agent = VaroIntf::agentFactory("x");
  auto const configs = Zon::newPtr<ConfigDir>("c");
  auto const statuses = Zon::newPtr<StatusDir>("s");
  agent->allIntfReactorIs(nullptr, configs, statuses);
  agent->allIntfStatusDirSmIs(nullptr, statuses);
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  agent->allIntfDir()->status()->intfStatusIs(newStatus("Ethernet1"));
  statuses->intfStatus("Ethernet1")->forwardingModelInputsIs("a", 2);
  agent->allIntfDir()->config()->intfConfigDelAll();
  EXPECT_EQ(statuses->intfStatus("Ethernet1")->forwardingModel(), 2);
  EXPECT_EQ(lines.take(), "");
}

TEST_F(IntfTraceLines, OtherLevelsAndASwitchedOffFacilityShowNothing) {
  {
    TraceLines lines("VaroIntf", {7, 9});
    Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
    EXPECT_EQ(lines.take(), "");
  }
  TraceLines lines("VaroIntf", {8});
  Zon::TraceHandle("VaroIntf", false).enabledIs(false);
  Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  EXPECT_EQ(lines.take(), "");
}

TEST_F(IntfTraceLines, ACoverageStreamGetsEveryLineThoughTheFacilityIsOff) {
  std::ostringstream coverage;
  Zon::coverageStreamIs(&coverage);
  Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  Zon::coverageStreamIs(nullptr);
  EXPECT_EQ(coverage.str(), "VaroIntf/8 VaroIntf:126 handleQueueCounterDir: "
                            "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir()\n");
}

TEST_F(IntfTraceLines, ASinkMayDropTheReactorThatSpeaks) {
  auto const slice = newSlice("a", {"Ethernet1"}, {"tx"});
  slices->entityPtrIs(slice);
  TraceLines const lines("VaroIntf", {8});
  auto const dropsAt = [](int line, auto& held) {
    Zon::traceSinkIs([line, &held](Zon::TraceRecord const& record) {
      if (record.line == line) held = nullptr;
    });
  };
  auto discovery = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  dropsAt(126, discovery);
  Discovery& rawDiscovery = *discovery;
  rawDiscovery.handleQueueCounterDir();
  EXPECT_EQ(discovery, nullptr);

  auto reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, slice);
  dropsAt(89, reactor);
  SliceReactor& rawReactor = *reactor;
  rawReactor.handleQueueCounterDir();
  EXPECT_EQ(reactor, nullptr);

  reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, slice);
  dropsAt(116, reactor);
  SliceReactor& rawDying = *reactor;
  rawDying.doPrepareToDie();
  EXPECT_EQ(reactor, nullptr);
  EXPECT_EQ(idsOf(*out), "");

  auto leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet1",
                                                                 slice->intfQueueCounterDir("Ethernet1"), slice);
  dropsAt(44, leaf);
  Leaf& rawLeaf = *leaf;
  rawLeaf.handleQueueCounter();
  EXPECT_EQ(leaf, nullptr);
  EXPECT_EQ(slice->zonReferences(), 3U);  // ours, the directory's two
}

TEST_F(IntfTraceLines, ASinkThatThrowsChangesNothing) {
  slices->entityPtrIs(newSlice("a", {"Ethernet1"}, {"tx"}));
  TraceLines lines("VaroIntf", {8});
  Zon::traceSinkIs([](Zon::TraceRecord const&) { throw 7; });
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  EXPECT_EQ(idsOf(*out), "Ethernet1");
}

}  // namespace
