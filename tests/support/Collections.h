#pragma once

/// \file
/// Every collection of the platform's types behind one shape, so that one test covers them all.
///
/// A kind names its `Owner`, `Watcher`, id and operations. `set` stores under a key the value or member of a variant;
/// `shown` is what the collection holds under a key: the variant, or -1.

#include <map>
#include <string>
#include <utility>

#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "platform/Interface/IntfStatus.h"
#include "support/Events.h"

namespace Support {

/// Makes each member of a collection of entities once.
template <class M>
class Members {
 public:
  Zon::Ptr<M> const& operator()(std::string const& key, int variant) {
    auto& member = made_[{key, variant}];
    if (!member) member = Zon::newPtr<M>(key);
    return member;
  }
  template <class P>
  int variantOf(std::string const& key, P const& pointer) const {
    for (auto const& [name, member] : made_)
      if (name.first == key && member == pointer) return name.second;
    return -1;
  }

 private:
  std::map<std::pair<std::string, int>, Zon::Ptr<M>> made_;
};

/// A watcher of an entity's parent. Every entity type has its own class of watchers.
template <class X>
class ParentWatcher : public Recorder<typename X::NotifieeConst> {
 public:
  ParentWatcher(std::function<void()> run, Zon::Ptr<X> const& entity)
    : Recorder<typename X::NotifieeConst>("parent", events_, entity) {
    this->act = [run](std::string const&) { run(); };
  }

 private:
  Events events_;
};

template <class X>
Zon::Ptr<ParentWatcher<X>> watchParent(Zon::Ptr<X> const& entity, std::function<void()> run) {
  return Zon::newPtr<ParentWatcher<X>>(std::move(run), entity);
}
/// An entity whose type is known at run time only: a directory.
inline Zon::Ptr<ParentWatcher<Zon::Dir>> watchParent(Zon::Ptr<Zon::Entity> const& entity, std::function<void()> run) {
  return watchParent(Zon::ptrCast<Zon::Dir>(entity), std::move(run));
}

struct ConfigDirKind {
  using Owner = Interface::AllIntfConfigDir;
  using Watcher = ConfigDirWatcher;
  using Key = Orvet::IntfId;
  static constexpr Zon::AttributeId id = 258;
  static constexpr bool owns = false;
  Members<Interface::IntfConfig> members;

  void set(Owner& o, char const* key, int variant) { o.intfConfigIs(members(key, variant)); }
  int shown(Owner& o, char const* key) { return members.variantOf(key, o.intfConfig(key)); }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.intfConfig(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.intfConfigDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.intfConfigDel(at));
  }
  static void delAll(Owner& o) { o.intfConfigDelAll(); }
  static void notify(Owner& o, char const* key) { o.intfConfigNotify(key); }
  static void notify(Owner& o) { o.intfConfigNotify(); }
  static auto iterator(Owner& o) { return o.intfConfigIterator(); }
  static auto iteratorConst(Owner const& o) { return o.intfConfigIteratorConst(); }
};

class StatusDirWatcher : public Recorder<Interface::AllIntfStatusDir::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onIntfStatus(Orvet::IntfId id) override { heard("key(" + text(id) + ")"); }
  void onIntfStatuszonImmediate() override { heard("immediate"); }
  void onIntfStatus() override { heard("all"); }
};

struct StatusDirKind {
  using Owner = Interface::AllIntfStatusDir;
  using Watcher = StatusDirWatcher;
  using Key = Orvet::IntfId;
  static constexpr Zon::AttributeId id = 258;
  static constexpr bool owns = false;
  Members<Interface::IntfStatus> members;

  void set(Owner& o, char const* key, int variant) { o.intfStatusIs(members(key, variant)); }
  int shown(Owner& o, char const* key) { return members.variantOf(key, o.intfStatus(key)); }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.intfStatus(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.intfStatusDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.intfStatusDel(at));
  }
  static void delAll(Owner& o) { o.intfStatusDelAll(); }
  static void notify(Owner& o, char const* key) { o.intfStatusNotify(key); }
  static void notify(Owner& o) { o.intfStatusNotify(); }
  static auto iterator(Owner& o) { return o.intfStatusIterator(); }
  static auto iteratorConst(Owner const& o) { return o.intfStatusIteratorConst(); }
};

template <class N>
class QueueCounterDirWatcher : public Recorder<N> {
 public:
  using Recorder<N>::Recorder;
  void onIntfQueueCounterDir(Orvet::IntfId id) override { this->heard("key(" + this->text(id) + ")"); }
  void onIntfQueueCounterDirzonImmediate() override { this->heard("immediate"); }
  void onIntfQueueCounterDir() override { this->heard("all"); }
};

template <class O, Zon::AttributeId attributeId, bool isOwning>
struct QueueCounterDirKind {
  using Owner = O;
  using Watcher = QueueCounterDirWatcher<typename O::NotifieeConst>;
  using Key = Orvet::IntfId;
  static constexpr Zon::AttributeId id = attributeId;
  static constexpr bool owns = isOwning;
  Members<Interface::IntfQueueCounterDir> members;

  void set(Owner& o, char const* key, int variant) { o.intfQueueCounterDirIs(members(key, variant)); }
  int shown(Owner& o, char const* key) { return members.variantOf(key, o.intfQueueCounterDir(key)); }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.intfQueueCounterDir(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.intfQueueCounterDirDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.intfQueueCounterDirDel(at));
  }
  static void delAll(Owner& o) { o.intfQueueCounterDirDelAll(); }
  static void notify(Owner& o, char const* key) { o.intfQueueCounterDirNotify(key); }
  static void notify(Owner& o) { o.intfQueueCounterDirNotify(); }
  static auto iterator(Owner& o) { return o.intfQueueCounterDirIterator(); }
  static auto iteratorConst(Owner const& o) { return o.intfQueueCounterDirIteratorConst(); }
};

using PtrDirKind = QueueCounterDirKind<Interface::AllIntfQueueCounterPtrDir, 258, false>;
using SliceKind = QueueCounterDirKind<Interface::AllIntfQueueCounterDir, 386, true>;

class CounterDirWatcher : public Recorder<Interface::IntfQueueCounterDir::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onIntfQueueCounter(Zon::Name name) override { heard("key(" + text(name) + ")"); }
  void onIntfQueueCounterzonImmediate() override { heard("immediate"); }
  void onIntfQueueCounter() override { heard("all"); }
};

struct CounterDirKind {
  using Owner = Interface::IntfQueueCounterDir;
  using Watcher = CounterDirWatcher;
  using Key = Zon::Name;
  static constexpr Zon::AttributeId id = 259;
  static constexpr bool owns = true;
  Members<Interface::IntfQueueCounter> members;

  void set(Owner& o, char const* key, int variant) { o.intfQueueCounterIs(members(key, variant)); }
  int shown(Owner& o, char const* key) { return members.variantOf(key, o.intfQueueCounter(key)); }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.intfQueueCounter(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.intfQueueCounterDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.intfQueueCounterDel(at));
  }
  static void delAll(Owner& o) { o.intfQueueCounterDelAll(); }
  static void notify(Owner& o, char const* key) { o.intfQueueCounterNotify(key); }
  static void notify(Owner& o) { o.intfQueueCounterNotify(); }
  static auto iterator(Owner& o) { return o.intfQueueCounterIterator(); }
  static auto iteratorConst(Owner const& o) { return o.intfQueueCounterIteratorConst(); }
};

class DirWatcher : public Recorder<Zon::Dir::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onEntityPtr(Zon::Name name) override { heard("key(" + text(name) + ")"); }
  void onEntityPtrzonImmediate() override { heard("immediate"); }
  void onEntityPtr() override { heard("all"); }
};

/// Variant 0 is a plain entity, any other a directory.
struct DirKind {
  using Owner = Zon::Dir;
  using Watcher = DirWatcher;
  using Key = Zon::Name;
  static constexpr Zon::AttributeId id = 266;
  static constexpr bool owns = true;

  struct Entries {
    Members<Interface::IntfConfig> plain;
    Members<Zon::Dir> dirs;
    Zon::Ptr<Zon::Entity> operator()(std::string const& key, int variant) {
      if (variant == 0) return plain(key, variant);
      return dirs(key, variant);
    }
  } members;

  void set(Owner& o, char const* key, int variant) { o.entityPtrIs(members(key, variant)); }
  int shown(Owner& o, char const* key) {
    auto const found = o.entityPtr(key);
    int const plain = members.plain.variantOf(key, found);
    return plain >= 0 ? plain : members.dirs.variantOf(key, found);
  }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.entityPtr(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.entityPtrDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.entityPtrDel(at));
  }
  static void delAll(Owner& o) { o.entityPtrDelAll(); }
  static void notify(Owner& o, char const* key) { o.entityPtrNotify(key); }
  static void notify(Owner& o) { o.entityPtrNotify(); }
  static auto iterator(Owner& o) { return o.entityPtrIterator(); }
  static auto iteratorConst(Owner const& o) { return o.entityPtrIteratorConst(); }
};

class ErrdisableWatcher : public Recorder<Errdisable::Status::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onErrdisabledIntf(Orvet::IntfId id) override { heard("key(" + text(id) + ")"); }
  void onErrdisabledIntfzonImmediate() override { heard("immediate"); }
  void onErrdisabledIntf() override { heard("all"); }
};

struct ErrdisableKind {
  using Owner = Errdisable::Status;
  using Watcher = ErrdisableWatcher;
  using Key = Orvet::IntfId;
  static constexpr Zon::AttributeId id = 258;

  static void set(Owner& o, char const* key, int variant) { o.errdisabledIntfIs(key, std::to_string(variant)); }
  static int shown(Owner& o, char const* key) {
    auto const entry = o.errdisabledIntf(key);
    return entry ? std::stoi(entry->value().stdString()) : -1;
  }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.errdisabledIntf(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.errdisabledIntfDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.errdisabledIntfDel(at));
  }
  static void delAll(Owner& o) { o.errdisabledIntfDelAll(); }
  static void notify(Owner& o, char const* key) { o.errdisabledIntfNotify(key); }
  static void notify(Owner& o) { o.errdisabledIntfNotify(); }
  static auto iterator(Owner& o) { return o.errdisabledIntfIterator(); }
  static auto iteratorConst(Owner const& o) { return o.errdisabledIntfIteratorConst(); }
};

class StatusWatcher : public Recorder<Interface::IntfStatus::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onForwardingModel() override { heard("forwardingModel"); }
  void onForwardingModelInputs(Zon::String8 key) override { heard("key(" + text(key) + ")"); }
  void onForwardingModelInputszonImmediate() override { heard("immediate"); }
  void onForwardingModelInputs() override { heard("all"); }
  void onActive() override { heard("active"); }
};

struct ForwardingModelInputsKind {
  using Owner = Interface::IntfStatus;
  using Watcher = StatusWatcher;
  using Key = Zon::String8;
  static constexpr Zon::AttributeId id = 266;

  static void set(Owner& o, char const* key, int variant) { o.forwardingModelInputsIs(key, variant); }
  static int shown(Owner& o, char const* key) {
    auto const entry = o.forwardingModelInputs(key);
    return entry ? entry->value() : -1;
  }
  static bool has(Owner const& o, char const* key) { return static_cast<bool>(o.forwardingModelInputs(key)); }
  static bool del(Owner& o, char const* key) { return static_cast<bool>(o.forwardingModelInputsDel(key)); }
  template <class It>
  static bool delAt(Owner& o, It& at) {
    return static_cast<bool>(o.forwardingModelInputsDel(at));
  }
  static void delAll(Owner& o) { o.forwardingModelInputsDelAll(); }
  static void notify(Owner& o, char const* key) { o.forwardingModelInputsNotify(key); }
  static void notify(Owner& o) { o.forwardingModelInputsNotify(); }
  static auto iterator(Owner& o) { return o.forwardingModelInputsIterator(); }
  static auto iteratorConst(Owner const& o) { return o.forwardingModelInputsIteratorConst(); }
};

}  // namespace Support
