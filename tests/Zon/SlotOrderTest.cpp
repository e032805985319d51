// The order of virtual operations is part of the binary contract with other plug-ins: an operation added in the middle
// of a class breaks every one of them. Each list below is complete, the two destructors standing for two slots.

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "VaroErrdisable/AllIntfSM.h"
#include "VaroErrdisable/IntfSM.h"
#include "VaroErrdisable/Root.h"
#include "VaroIntf/Agent.h"
#include "Zon/Activity.h"
#include "Zon/Dir.h"
#include "Zon/Entity.h"
#include "Zon/HashMap.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "support/Slots.h"

#if VARO_TEST_SLOTS

namespace {

using Zon::ActivityConfig;
using Zon::AttributeId;
using Zon::Ptr;
using Zon::String8;

/// Operations in the order a test claims, each with the slot it really has.
class Order {
 public:
  /// `F` is the function type: it chooses among overloads.
  template <class F, class C>
  Order& add(char const* name, F C::*operation) {
    claimed_ += std::to_string(next_) + " " + name + "\n";
    found_ += std::to_string(Support::slotOf(operation)) + " " + name + "\n";
    ++next_;
    return *this;
  }
  Order& destructors() {
    next_ += 2;
    return *this;
  }

  /// Whether every operation has the slot of its place in the list.
  void expectExact() const { EXPECT_EQ(found_, claimed_); }
  std::size_t slots() const { return next_; }

 private:
  std::size_t next_ = 0;
  std::string claimed_;
  std::string found_;
};

/// The operations of every counted object.
template <class C>
Order objectOrder() {
  Order order;
  order.add<void(bool)>("hasNotificationActiveIs", &C::hasNotificationActiveIs)
      .template add<std::uint32_t(unsigned) const>("zonAuditErrors", &C::zonAuditErrors)
      .template add<std::uint32_t(unsigned) const>("auditErrors", &C::auditErrors)
      .template add<void(bool)>("isNondestructingIs", &C::isNondestructingIs)
      .template add<void(bool)>("zeroReferencesIs", &C::zeroReferencesIs)
      .template add<Zon::ZonType*() const>("fwkType", &C::fwkType)
      .destructors();
  return order;
}

template <class C>
Order entityOrder() {
  Order order = objectOrder<C>();
  order.add<Zon::Name() const>("name", &C::name)
      .template add<Ptr<Zon::Entity const>() const>("parent const", &C::parent)
      .template add<Ptr<Zon::Entity>()>("parent", &C::parent)
      .template add<void(Ptr<Zon::Entity> const&)>("parentIs", &C::parentIs)
      .template add<Ptr<Zon::ZonAttr>() const>("parentAttr", &C::parentAttr)
      .template add<AttributeId() const>("parentAttrId", &C::parentAttrId)
      .template add<void(AttributeId)>("parentAttrIdIs", &C::parentAttrIdIs)
      .template add<String8() const>("uriPath", &C::uriPath)
      .template add<String8() const>("fullName", &C::fullName)
      .template add<String8(AttributeId) const>("attributeString", &C::attributeString);
  return order;
}

/// A reactor that is no watcher itself.
template <class C>
Order reactorOrder() {
  Order order = objectOrder<C>();
  order.add<void(Ptr<ActivityConfig> const&)>("zonFwkActivityIs", &C::zonFwkActivityIs)
      .template add<void(bool)>("zonDoZombieReactors", &C::zonDoZombieReactors);
  return order;
}

/// The operations of every watcher, up to those of `PtrInterface::NotifieeConst`.
template <class C>
Order watcherOrder() {
  using B = Zon::PtrInterface::NotifieeConst;
  Order order = objectOrder<C>();
  order.add<Ptr<Zon::PtrInterface>() const>("zonReactor", &C::zonReactor)
      .template add<Zon::PtrInterface*() const>("zonRawReactor", &C::zonRawReactor)
      .template add<bool() const>("isStreamAdapter", &C::isStreamAdapter)
      .template add<void(bool) const>("isRegisteredNotifieeIs", &C::isRegisteredNotifieeIs)
      .template add<void(Zon::Zon_BitSet)>("zon_bitSetIs", &C::zon_bitSetIs)
      .template add<Zon::Name() const>("name", &C::name)
      .template add<void(Ptr<Zon::PtrInterface const> const&)>("notifierIs", &C::notifierIs)
      .template add<void(ActivityConfig*)>("handleNotification", &C::handleNotification)
      .template add<void(ActivityConfig*, AttributeId, bool)>("handleDefault", &C::handleDefault)
      .template add<void(AttributeId)>("onAttribute", &C::onAttribute)
      .template add<void()>("onNotification", &C::onNotification)
      .template add<void(String8)>("onCollectionNotification", &C::onCollectionNotification)
      .template add<void()>("onNotificationException()", &B::onNotificationException)
      .template add<void(AttributeId)>("onNotificationException(id)", &B::onNotificationException)
      .template add<void(AttributeId)>("handleNotificationException(id)", &B::handleNotificationException)
      .template add<void()>("handleNotificationException()", &B::handleNotificationException)
      .template add<void()>("onZeroReferences", &C::onZeroReferences)
      .template add<Ptr<ActivityConfig>() const>("activityPtr", &C::activityPtr)
      .template add<Ptr<ActivityConfig>()>("zonFwkActivity", &C::zonFwkActivity)
      .template add<Ptr<ActivityConfig>() const>("zonFwkActivity const", &C::zonFwkActivity)
      .template add<Ptr<Zon::ActivitySm>()>("actsm", &C::actsm);
  return order;
}

template <class C>
Order entityWatcherOrder() {
  Order order = watcherOrder<C>();
  order.add<void()>("onParent", &C::onParent)
      .template add<void()>("onVersion", &C::onVersion)
      .template add<void()>("onIsNondestructing", &C::onIsNondestructing);
  return order;
}

template <class C>
Order configDirWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void(Orvet::IntfId)>("onIntfConfig(key)", &C::onIntfConfig)
      .template add<void()>("onIntfConfigzonImmediate", &C::onIntfConfigzonImmediate)
      .template add<void()>("onIntfConfig()", &C::onIntfConfig);
  return order;
}

template <class C>
Order statusDirWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void(Orvet::IntfId)>("onIntfStatus(key)", &C::onIntfStatus)
      .template add<void()>("onIntfStatuszonImmediate", &C::onIntfStatuszonImmediate)
      .template add<void()>("onIntfStatus()", &C::onIntfStatus);
  return order;
}

template <class C>
Order errdisableWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void(Orvet::IntfId)>("onErrdisabledIntf(key)", &C::onErrdisabledIntf)
      .template add<void()>("onErrdisabledIntfzonImmediate", &C::onErrdisabledIntfzonImmediate)
      .template add<void()>("onErrdisabledIntf()", &C::onErrdisabledIntf);
  return order;
}

template <class C>
Order configWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void()>("onDefaultConfig", &C::onDefaultConfig)
      .template add<void()>("onDescription", &C::onDescription)
      .template add<void()>("onLinkStatusLogging", &C::onLinkStatusLogging)
      .template add<void()>("onAdminEnabledStateLocal", &C::onAdminEnabledStateLocal)
      .template add<void()>("onEnabledStateLocal", &C::onEnabledStateLocal)
      .template add<void()>("onEnabledStateReason", &C::onEnabledStateReason)
      .template add<void()>("onLoadInterval", &C::onLoadInterval)
      .template add<void(String8)>("onRequestor(key)", &C::onRequestor)
      .template add<void()>("onRequestorzonImmediate", &C::onRequestorzonImmediate)
      .template add<void()>("onRequestor()", &C::onRequestor)
      .template add<void()>("onMtu", &C::onMtu);
  return order;
}

template <class C>
Order statusWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void()>("onIntfConfig", &C::onIntfConfig)
      .template add<void()>("onDeviceName", &C::onDeviceName)
      .template add<void()>("onForwardingModel", &C::onForwardingModel)
      .template add<void(String8)>("onForwardingModelInputs(key)", &C::onForwardingModelInputs)
      .template add<void()>("onForwardingModelInputszonImmediate", &C::onForwardingModelInputszonImmediate)
      .template add<void()>("onForwardingModelInputs()", &C::onForwardingModelInputs)
      .template add<void()>("onMtu", &C::onMtu)
      .template add<void()>("onMaxMtu", &C::onMaxMtu)
      .template add<void()>("onOperStatus", &C::onOperStatus)
      .template add<void()>("onOperStatusChange", &C::onOperStatusChange)
      .template add<void()>("onOperStatusUpdatedByAgent", &C::onOperStatusUpdatedByAgent)
      .template add<void()>("onActive", &C::onActive);
  return order;
}

template <class C>
Order dirWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void(Zon::Name)>("onEntityPtr(key)", &C::onEntityPtr)
      .template add<void()>("onEntityPtrzonImmediate", &C::onEntityPtrzonImmediate)
      .template add<void()>("onEntityPtr()", &C::onEntityPtr);
  return order;
}

template <class C>
Order& queueCounterDirCallbacks(Order& order) {
  return order.add<void(Orvet::IntfId)>("onIntfQueueCounterDir(key)", &C::onIntfQueueCounterDir)
      .template add<void()>("onIntfQueueCounterDirzonImmediate", &C::onIntfQueueCounterDirzonImmediate)
      .template add<void()>("onIntfQueueCounterDir()", &C::onIntfQueueCounterDir);
}

/// The nested inputs add one operation, the last.
template <class C>
void expectInput(Order order) {
  order.add<void(bool)>("zonDoZombieReactors", &C::zonDoZombieReactors);
  order.expectExact();
}

TEST(SlotOrder, OfEveryCountedObject) {
  Order const order = objectOrder<Zon::PtrInterface>();
  order.expectExact();
  EXPECT_EQ(order.slots(), 8U);
}

TEST(SlotOrder, OfEntities) {
  entityOrder<Zon::Entity>().expectExact();
  entityOrder<Zon::Dir>().expectExact();
  entityOrder<Interface::AllIntfConfigDir>().expectExact();
  entityOrder<Interface::AllIntfStatusDir>().expectExact();
  entityOrder<Interface::AllIntfQueueCounterDir>().expectExact();
  entityOrder<Interface::AllIntfQueueCounterPtrDir>().expectExact();
  entityOrder<Interface::IntfQueueCounterDir>().expectExact();
  entityOrder<Interface::IntfQueueCounter>().expectExact();
  entityOrder<Interface::IntfConfig>().expectExact();
  entityOrder<Interface::IntfStatus>().expectExact();
  entityOrder<Errdisable::Status>().expectExact();
}

TEST(SlotOrder, OfTheBaseOfWatchers) {
  Order const order = watcherOrder<Zon::PtrInterface::NotifieeConst>();
  order.expectExact();
  EXPECT_EQ(order.slots(), 29U);
}

TEST(SlotOrder, OfWatchersOfEntities) {
  Order const order = entityWatcherOrder<Zon::Entity::NotifieeConst>();
  order.expectExact();
  EXPECT_EQ(order.slots(), 32U);
}

TEST(SlotOrder, OfWatchersOfConfigurationDirectories) {
  configDirWatcherOrder<Interface::AllIntfConfigDir::NotifieeConst>().expectExact();
  configDirWatcherOrder<Interface::AllIntfConfigDir::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfStatusDirectories) {
  statusDirWatcherOrder<Interface::AllIntfStatusDir::NotifieeConst>().expectExact();
  statusDirWatcherOrder<Interface::AllIntfStatusDir::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfErrdisableStatuses) {
  errdisableWatcherOrder<Errdisable::Status::NotifieeConst>().expectExact();
  errdisableWatcherOrder<Errdisable::Status::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfConfigurations) {
  configWatcherOrder<Interface::IntfConfig::NotifieeConst>().expectExact();
  configWatcherOrder<Interface::IntfConfig::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfStatuses) {
  statusWatcherOrder<Interface::IntfStatus::NotifieeConst>().expectExact();
  statusWatcherOrder<Interface::IntfStatus::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfDirectories) {
  dirWatcherOrder<Zon::Dir::NotifieeConst>().expectExact();
  dirWatcherOrder<Zon::Dir::Notifiee>().expectExact();
}

template <class C>
Order sliceWatcherOrder() {
  Order order = dirWatcherOrder<C>();
  queueCounterDirCallbacks<C>(order)
      .template add<void()>("onCounterShmemMan", &C::onCounterShmemMan)
      .template add<void()>("onStatisticsShmemMan", &C::onStatisticsShmemMan);
  return order;
}

TEST(SlotOrder, OfWatchersOfSlicesBehindThoseOfDirectories) {
  sliceWatcherOrder<Interface::AllIntfQueueCounterDir::NotifieeConst>().expectExact();
  sliceWatcherOrder<Interface::AllIntfQueueCounterDir::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfQueueCounterOutputs) {
  Order constant = entityWatcherOrder<Interface::AllIntfQueueCounterPtrDir::NotifieeConst>();
  queueCounterDirCallbacks<Interface::AllIntfQueueCounterPtrDir::NotifieeConst>(constant).expectExact();
  Order mutant = entityWatcherOrder<Interface::AllIntfQueueCounterPtrDir::Notifiee>();
  queueCounterDirCallbacks<Interface::AllIntfQueueCounterPtrDir::Notifiee>(mutant).expectExact();
}

template <class C>
Order counterDirWatcherOrder() {
  Order order = entityWatcherOrder<C>();
  order.add<void(Zon::Name)>("onIntfQueueCounter(key)", &C::onIntfQueueCounter)
      .template add<void()>("onIntfQueueCounterzonImmediate", &C::onIntfQueueCounterzonImmediate)
      .template add<void()>("onIntfQueueCounter()", &C::onIntfQueueCounter);
  return order;
}

TEST(SlotOrder, OfWatchersOfQueueCounterDirectories) {
  counterDirWatcherOrder<Interface::IntfQueueCounterDir::NotifieeConst>().expectExact();
  counterDirWatcherOrder<Interface::IntfQueueCounterDir::Notifiee>().expectExact();
}

TEST(SlotOrder, OfWatchersOfQueueCounters) {
  entityWatcherOrder<Interface::IntfQueueCounter::NotifieeConst>().expectExact();
  entityWatcherOrder<Interface::IntfQueueCounter::Notifiee>().expectExact();
}

TEST(SlotOrder, OfNestedInputs) {
  using VaroErrdisable::AllIntfSM;
  using VaroErrdisable::IntfSM;
  expectInput<AllIntfSM::ZonIntfConfigDir>(configDirWatcherOrder<AllIntfSM::ZonIntfConfigDir>());
  expectInput<AllIntfSM::ZonIntfStatusDir>(statusDirWatcherOrder<AllIntfSM::ZonIntfStatusDir>());
  expectInput<AllIntfSM::ZonErrdisableStatus>(errdisableWatcherOrder<AllIntfSM::ZonErrdisableStatus>());
  expectInput<IntfSM::ZonIntfConfig>(configWatcherOrder<IntfSM::ZonIntfConfig>());
  expectInput<IntfSM::ZonIntfStatus>(statusWatcherOrder<IntfSM::ZonIntfStatus>());
}

TEST(SlotOrder, OfTheInterfaceModulesInputs) {
  using VaroIntf::AllIntfReactor;
  using Machine = VaroIntf::AllIntfStatusDirSm::ZonAllIntfStatusDir;
  using Discovery = VaroIntf::AllIntfQueueCounterReactor::ZonCounterIn;
  using Slice = VaroIntf::AllIntfQueueCounterSliceReactor::ZonCounterIn;
  using Leaf = VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::ZonIntfQueueCounterDir;
  expectInput<AllIntfReactor::ZonConfigIn>(configDirWatcherOrder<AllIntfReactor::ZonConfigIn>());
  expectInput<AllIntfReactor::ZonStatusIn>(statusDirWatcherOrder<AllIntfReactor::ZonStatusIn>());
  expectInput<Machine>(statusDirWatcherOrder<Machine>());
  expectInput<Discovery>(dirWatcherOrder<Discovery>());
  expectInput<Slice>(sliceWatcherOrder<Slice>());
  expectInput<Leaf>(counterDirWatcherOrder<Leaf>());
}

TEST(SlotOrder, OfTheReactorThatIsItselfAWatcher) {
  expectInput<VaroIntf::IntfStatusReactor>(statusWatcherOrder<VaroIntf::IntfStatusReactor>());
}

TEST(SlotOrder, OfAnInputOnOneCollectionEndsInSlot36) {
  using VaroErrdisable::AllIntfSM;
  // Counted from 0.
  EXPECT_EQ(Support::slotOf(&AllIntfSM::ZonIntfConfigDir::zonDoZombieReactors), 35U);
}

TEST(SlotOrder, OfReactors) {
  reactorOrder<VaroErrdisable::AllIntfSM>().expectExact();
  reactorOrder<VaroErrdisable::IntfSM>().expectExact();
  reactorOrder<VaroIntf::AllIntfReactor>().expectExact();
  reactorOrder<VaroIntf::AllIntfStatusDirSm>().expectExact();
  reactorOrder<VaroIntf::AllIntfQueueCounterReactor>().expectExact();
  reactorOrder<VaroIntf::AllIntfQueueCounterSliceReactor>().expectExact();
  reactorOrder<VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor>().expectExact();
}

TEST(SlotOrder, OfTheErrdisableRoot) { entityOrder<VaroErrdisable::Root>().expectExact(); }

TEST(SlotOrder, OfTheAgentAndItsDirectory) {
  entityOrder<VaroIntf::Agent>().expectExact();
  entityOrder<VaroIntf::AllIntfDir>().expectExact();
}

TEST(SlotOrder, OfTheDirectorysWatchers) {
  using Watcher = VaroIntf::AllIntfDir::NotifieeConst;
  entityWatcherOrder<Watcher>()
      .add<void()>("onConfig", &Watcher::onConfig)
      .add<void()>("onStatus", &Watcher::onStatus)
      .expectExact();
}

TEST(SlotOrder, OfTheOperationsOfKeyedCollections) {
  using Operations = Zon::HashMapVTableGeneric;
  Order order;
  order.add<bool(void const*, Zon::PtrInterface const*) const>("keyEquals", &Operations::keyEquals)
      .add<bool(void const*, Zon::PtrInterface const*) const>("keyLessThan", &Operations::keyLessThan)
      .add<void(Zon::PtrInterface*, Zon::PtrInterface*) const>("setNext", &Operations::setNext)
      .add<std::uint32_t(Zon::PtrInterface const*) const>("hash", &Operations::hash)
      .expectExact();
}

}  // namespace

#endif
