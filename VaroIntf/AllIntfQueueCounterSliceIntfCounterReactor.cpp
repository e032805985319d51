#include "VaroIntf/AllIntfQueueCounterSliceIntfCounterReactor.h"

#include <charconv>
#include <iterator>
#include <ostream>
#include <string_view>
#include <utility>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/ZombieWatch.h"

namespace VaroIntf {

namespace {

void ensureBlock(Pelto::ShmemMan& manager, Zon::String8 name) {
  if (!manager.counterBlock(name)) {
    manager.newCounterBlock(std::move(name));
  }
}

}  // namespace

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor>
AllIntfQueueCounterSliceIntfCounterReactor::AllIntfQueueCounterSliceIntfCounterReactorIs(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
    Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir) {
  auto reactor = Zon::validPtr(Zon::newPtr<AllIntfQueueCounterSliceIntfCounterReactor>(
      activity, std::move(intfId), intfQueueCounterDir, allIntfQueueCounterDir));
  reactor->handleQueueCounter();
  reactor->hasNotificationActiveIs(true);
  return reactor;
}

AllIntfQueueCounterSliceIntfCounterReactor::AllIntfQueueCounterSliceIntfCounterReactor(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
    Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir)
  : ReactorOf(activity), intfId_(std::move(intfId)), allIntfQueueCounterDir_(allIntfQueueCounterDir) {
  if (intfQueueCounterDir) {
    intfQueueCounterDir_ = newIntfQueueCounterDir(intfQueueCounterDir);
  }
}

AllIntfQueueCounterSliceIntfCounterReactor::~AllIntfQueueCounterSliceIntfCounterReactor() {
  zonTearDown();
  // The input goes first, like in every reactor, though the slice is declared behind it.
  intfQueueCounterDir_ = nullptr;
}

Zon::Ptr<Interface::IntfQueueCounterDir const> AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDir() const {
  return zonNotifier(intfQueueCounterDir_);
}

void AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDirIs(
    Zon::Ptr<Interface::IntfQueueCounterDir const> const& counters) {
  zonInputIs(&AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDir_, counters,
             [this](auto const& dir) { return newIntfQueueCounterDir(dir); });
}

Zon::Ptr<Interface::IntfQueueCounterDir const> AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDirDel() {
  return zonInputDel(&AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDir_);
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor::ZonIntfQueueCounterDir>
AllIntfQueueCounterSliceIntfCounterReactor::newIntfQueueCounterDir(
    Zon::Ptr<Interface::IntfQueueCounterDir const> const& counters) {
  return zonNewInput<ZonIntfQueueCounterDir>(counters);
}

void AllIntfQueueCounterSliceIntfCounterReactor::ZonIntfQueueCounterDir::onIntfQueueCounter(Zon::Name name) {
  zonGate(std::move(name), [](AllIntfQueueCounterSliceIntfCounterReactor& reactor, Zon::Name const& key) {
    reactor.handleQueueCounter(key);
  });
}

void AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String8 name) {
  static constexpr char const* signature =
      "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter(Zon::String)";
  auto const traced = [&name](int line, char const* what) {
    Zon::trace(traceFacility, 8, traceFile, line, "handleQueueCounter",
               [&](std::ostream& text) { text << signature << " " << name << what; });
  };
  Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor> const self(this);
  Zon::trace(traceFacility, 8, traceFile, 53, "handleQueueCounter", [](std::ostream& text) { text << signature; });
  Zon::Ptr<Interface::IntfQueueCounterDir const> const counters = intfQueueCounterDir();
  if (!counters || !counters->intfQueueCounter(name)) {
    traced(55, " delete");
    return;
  }
  traced(58, " add");
  makeBlocks(name);
}

void AllIntfQueueCounterSliceIntfCounterReactor::makeBlocks(Zon::String8 const& name) const {
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const slice = allIntfQueueCounterDir_;
  if (!slice) {
    return;
  }
  Zon::Ptr<Pelto::ShmemMan> const perInterface = slice->counterShmemMan();
  Zon::Ptr<Pelto::ShmemMan> const perQueue = slice->statisticsShmemMan();
  std::string_view const intf = intfId_.stringValue().view();
  ensureBlock(*perInterface, Zon::String8::concat({intf, "-", name.view()}));
  for (unsigned queue = 0; queue != queues; ++queue) {
    char digits[2];
    std::string_view const number(digits, std::to_chars(std::begin(digits), std::end(digits), queue).ptr);
    ensureBlock(*perQueue, Zon::String8::concat({intf, "-", number, "-", name.view()}));
  }
}

void AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter() {
  Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor> const self(this);
  Zon::trace(traceFacility, 8, traceFile, 44, "handleQueueCounter", [](std::ostream& text) {
    text << "void VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter()";
  });
  if (Zon::Ptr<Interface::IntfQueueCounterDir const> const counters = intfQueueCounterDir()) {
    Zon::ZombieWatch const alive(*this);
    for (auto counter = counters->intfQueueCounterIteratorConst(); counter && alive.goesOn(); counter.advance()) {
      handleQueueCounter(counter->name());
    }
  }
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::activityAttr<AllIntfQueueCounterSliceIntfCounterReactor>(),
    Zon::valueAttr("intfId", 130, &AllIntfQueueCounterSliceIntfCounterReactor::intfId),
    Zon::inputAttr("intfQueueCounterDir", 131, &AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDir,
                   &AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDirIs,
                   &AllIntfQueueCounterSliceIntfCounterReactor::intfQueueCounterDirDel),
    Zon::valueAttr("allIntfQueueCounterDir", 132, &AllIntfQueueCounterSliceIntfCounterReactor::allIntfQueueCounterDir),
    Zon::functionAttr("handleQueueCounter", 133, "name",
                      &AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter,
                      &AllIntfQueueCounterSliceIntfCounterReactor::handleQueueCounter),
    Zon::keyAttr<AllIntfQueueCounterSliceIntfCounterReactor>(),
    Zon::activeSwitchAttr<AllIntfQueueCounterSliceIntfCounterReactor>(),
    Zon::zombieSwitchAttr<AllIntfQueueCounterSliceIntfCounterReactor>());
constexpr auto creation =
    Zon::creator(&AllIntfQueueCounterSliceIntfCounterReactor::AllIntfQueueCounterSliceIntfCounterReactorIs,
                 "zonFwkActivity", "intfId", "intfQueueCounterDir", "allIntfQueueCounterDir");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfQueueCounterSliceIntfCounterReactor>(
        zonTypeModule, "VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor", &Zon::PtrInterface::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfQueueCounterSliceIntfCounterReactor::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfQueueCounterSliceIntfCounterReactor::fwkType() const { return slot.node(); }
bool AllIntfQueueCounterSliceIntfCounterReactor::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroIntf
