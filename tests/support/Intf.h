#pragma once

/// \file
/// What the tests of the interface directory module share: output directories that record how they are written, the
/// inputs of the module, and a fixture that has both for slices.
///
/// A write of a mirror is recorded as "out+Ethernet1" or "out-Ethernet1", whether or not it changes anything.

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "VaroIntf/Agent.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "support/Collections.h"
#include "support/Events.h"

namespace Support {

using ConfigDir = Interface::AllIntfConfigDir;
using StatusDir = Interface::AllIntfStatusDir;
using PtrDir = Interface::AllIntfQueueCounterPtrDir;
using Slice = Interface::AllIntfQueueCounterDir;
using Counters = Interface::IntfQueueCounterDir;

/// A watcher of the aggregate directory: "a:config" and "a:status".
template <class N>
class AllIntfDirRecorder : public Recorder<N> {
 public:
  using Recorder<N>::Recorder;
  void onConfig() override { this->heard("config"); }
  void onStatus() override { this->heard("status"); }
};
using AllIntfDirWatcher = AllIntfDirRecorder<VaroIntf::AllIntfDir::NotifieeConst>;

using PtrDirWatcher = QueueCounterDirWatcher<PtrDir::NotifieeConst>;

/// The entries of a directory by name.
template <class Iterator>
auto entriesOf(Iterator it) {
  std::map<std::string, decltype(it.ptr())> found;
  for (; it; it.advance())
    found[it.key().stringValue().stdString()] = it.ptr();
  return found;
}
inline auto contents(ConfigDir& dir) { return entriesOf(dir.intfConfigIterator()); }
inline auto contents(StatusDir& dir) { return entriesOf(dir.intfStatusIterator()); }
inline auto contents(PtrDir& dir) { return entriesOf(dir.intfQueueCounterDirIterator()); }
inline auto contents(Slice& dir) { return entriesOf(dir.intfQueueCounterDirIterator()); }

/// The interfaces of a directory, sorted, separated by blanks.
template <class Dir>
std::string idsOf(Dir& dir) {
  Events ids;
  for (auto const& [id, entity] : contents(dir))
    ids.add(id);
  return ids.take();
}

/// The keys of a walk, in the order of the walk.
template <class Iterator>
std::vector<std::string> keysOf(Iterator it) {
  std::vector<std::string> keys;
  for (; it; it.advance()) {
    if constexpr (requires { it.key().stringValue(); }) {
      keys.push_back(it.key().stringValue().stdString());
    } else {
      keys.push_back(it.key().stdString());
    }
  }
  return keys;
}
inline auto walkOf(ConfigDir& dir) { return keysOf(dir.intfConfigIterator()); }
inline auto walkOf(StatusDir& dir) { return keysOf(dir.intfStatusIterator()); }
inline auto walkOf(PtrDir& dir) { return keysOf(dir.intfQueueCounterDirIterator()); }
inline auto walkOf(Slice& dir) { return keysOf(dir.intfQueueCounterDirIterator()); }

/// "p+Ethernet1 p+Ethernet2": the prefix before every key of a walk.
inline std::string prefixed(std::string const& prefix, std::vector<std::string> const& keys) {
  Events all;
  for (auto const& key : keys)
    all.add(prefix + key);
  return all.take();
}

/// A configuration directory that records how it is written.
class RecordingConfigDir : public ConfigDir {
 public:
  RecordingConfigDir(std::string label, Events& events)
    : AllIntfConfigDir(label), label_(std::move(label)), events_(&events) {}

  /// Runs inside a write, after it was recorded and before it is made.
  std::function<void(std::string const& write)> before;

  using AllIntfConfigDir::intfConfigDel;
  void intfConfigIs(Zon::Ptr<Interface::IntfConfig> const& config) override {
    record("+" + config->intfId().stringValue().stdString());
    AllIntfConfigDir::intfConfigIs(config);
  }
  Zon::Ptr<Interface::IntfConfig> intfConfigDel(Orvet::IntfId id) override {
    record("-" + id.stringValue().stdString());
    return AllIntfConfigDir::intfConfigDel(id);
  }

 private:
  void record(std::string const& write) {
    events_->add(label_ + write);
    if (auto const act = before) act(write);
  }

  std::string label_;
  Events* events_;
};

/// The same of statuses.
class RecordingStatusDir : public StatusDir {
 public:
  RecordingStatusDir(std::string label, Events& events)
    : AllIntfStatusDir(label), label_(std::move(label)), events_(&events) {}

  using AllIntfStatusDir::intfStatusDel;
  void intfStatusIs(Zon::Ptr<Interface::IntfStatus> const& status) override {
    events_->add(label_ + "+" + status->intfId().stringValue().stdString());
    AllIntfStatusDir::intfStatusIs(status);
  }
  Zon::Ptr<Interface::IntfStatus> intfStatusDel(Orvet::IntfId id) override {
    events_->add(label_ + "-" + id.stringValue().stdString());
    return AllIntfStatusDir::intfStatusDel(id);
  }

 private:
  std::string label_;
  Events* events_;
};

/// A status that records every forwarding model written to it: "Ethernet1=5".
class RecordingStatus : public Interface::IntfStatus {
 public:
  RecordingStatus(Orvet::IntfId const& id, Events& events) : IntfStatus(id), events_(&events) {}

  std::function<void()> before;

  void forwardingModelIs(std::int32_t model) override {
    events_->add(intfId().stringValue().stdString() + "=" + std::to_string(model));
    if (auto const act = before) act();
    IntfStatus::forwardingModelIs(model);
  }

 private:
  Events* events_;
};

/// A manager that records the blocks it is asked to make, and may refuse.
class RecordingShmemMan : public Pelto::ShmemMan {
 public:
  RecordingShmemMan(std::string label, Events& events, std::uint64_t capacity = 1 << 20)
    : ShmemMan("", capacity), label_(std::move(label)), events_(&events) {}

  /// Runs before a block is made.
  std::function<void()> before;

  Zon::Ptr<Pelto::CounterBlock> newCounterBlock(Zon::String8 name) override {
    events_->add(label_ + "*" + name.stdString());
    if (auto const act = before) act();
    return ShmemMan::newCounterBlock(std::move(name));
  }
  Zon::Ptr<Pelto::CounterBlock> counterBlock(Zon::String8 name) const override {
    if (recordsQuestions) events_->add(label_ + "?" + name.stdString());
    return ShmemMan::counterBlock(std::move(name));
  }
  bool recordsQuestions = false;

 private:
  std::string label_;
  Events* events_;
};

inline Zon::Ptr<Interface::IntfConfig> newConfig(char const* id) { return Zon::newPtr<Interface::IntfConfig>(id); }
inline Zon::Ptr<Interface::IntfStatus> newStatus(char const* id) { return Zon::newPtr<Interface::IntfStatus>(id); }

/// The counters of an interface, of the given names.
inline Zon::Ptr<Counters> newCounters(Orvet::IntfId const& id, std::vector<Zon::Name> const& names = {}) {
  auto const counters = Zon::newPtr<Counters>(id);
  for (auto const& name : names)
    counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(name));
  return counters;
}

/// A slice of interfaces, each with counters of the given names.
inline Zon::Ptr<Slice> newSlice(Zon::Name const& name, std::vector<Orvet::IntfId> const& ids,
                                std::vector<Zon::Name> const& counters = {}) {
  auto const slice = Zon::newPtr<Slice>(name);
  for (auto const& id : ids)
    slice->intfQueueCounterDirIs(newCounters(id, counters));
  return slice;
}

/// The capacity of a manager with room for that many blocks of short names.
constexpr std::uint64_t room(unsigned blocks) { return 64 + std::uint64_t{blocks} * 128; }

/// The names of a manager's blocks in order of creation.
inline std::vector<std::string> blocksOf(Pelto::ShmemMan const& manager) {
  std::vector<std::string> names;
  for (auto it = manager.counterBlockIterator(); it; it.advance())
    names.push_back(it.key().stdString());
  return names;
}

/// The names of the 18 blocks of one counter.
inline std::vector<std::string> queueBlocks(std::string const& intf, std::string const& counter) {
  std::vector<std::string> names;
  for (int queue = 0; queue != 18; ++queue)
    names.push_back(intf + "-" + std::to_string(queue) + "-" + counter);
  return names;
}

/// The input of slice discovery, and an output.
class SlicesTest : public testing::Test {
 protected:
  Events events;
  Zon::Ptr<Zon::Dir> slices = Zon::newPtr<Zon::Dir>("slices");
  Zon::Ptr<PtrDir> out = Zon::newPtr<PtrDir>("out");
};

}  // namespace Support
