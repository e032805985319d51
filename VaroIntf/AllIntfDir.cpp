#include "VaroIntf/AllIntfDir.h"

#include <utility>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/ChildEntity.h"
#include "Zon/Quietly.h"

namespace VaroIntf {

AllIntfDir::AllIntfDir(Zon::Name name) : Watched(name) {
  configIs(name);
  statusIs(std::move(name));
}

AllIntfDir::~AllIntfDir() {
  Zon::quietly([this] { configDel(); });
  Zon::quietly([this] { statusDel(); });
}

template <Zon::AttributeId id, auto callback, class Child, class Make>
Zon::Ptr<Child> AllIntfDir::childIs(Zon::Ptr<Child>& child, Zon::Name name, Make const& make) {
  if (child && child->name() == name) {
    return child;
  }
  Zon::Ptr<AllIntfDir> const self(this);
  // First: when it cannot be made, nothing has changed.
  Zon::Ptr<Child> const made = make(std::move(name));
  if (child) {
    child->parentIs(nullptr);
  }
  // Another one than was unparented above, if a watcher of that one set a name of its own. Gone before anybody is told.
  if (Zon::Ptr<Child> const replaced = std::exchange(child, made); replaced && replaced->zonIsChildOf(this)) {
    replaced->parentIs(nullptr);
  }
  zonTell<id>([](NotifieeConst& watcher) { (watcher.*callback)(); });
  return made;
}

template <Zon::AttributeId id, auto callback, class Child>
Zon::Ptr<Child> AllIntfDir::childDel(Zon::Ptr<Child>& child) {
  // Watchers of the child hear of its lost parent and may drop this directory.
  Zon::Ptr<AllIntfDir> const self(this);
  Zon::Ptr<Child> const removed = Zon::takeChild(child);
  if (removed) {
    zonTell<id>([](NotifieeConst& watcher) { (watcher.*callback)(); });
  }
  return removed;
}

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfDir::configIs(Zon::Name name) {
  return childIs<258, &NotifieeConst::onConfig>(config_, std::move(name),
                                                [this](Zon::Name own) { return newConfig(std::move(own)); });
}

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfDir::newConfig(Zon::Name name) {
  return Zon::newChild<Interface::AllIntfConfigDir>(*this, 258, std::move(name));
}

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfDir::configDel() {
  return childDel<258, &NotifieeConst::onConfig>(config_);
}

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfDir::statusIs(Zon::Name name) {
  return childIs<259, &NotifieeConst::onStatus>(status_, std::move(name),
                                                [this](Zon::Name own) { return newStatus(std::move(own)); });
}

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfDir::newStatus(Zon::Name name) {
  return Zon::newChild<Interface::AllIntfStatusDir>(*this, 259, std::move(name));
}

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfDir::statusDel() {
  return childDel<259, &NotifieeConst::onStatus>(status_);
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes =
    Zon::attributes(Zon::isNondestructingAttr(),
                    Zon::childAttr("config", 258, &AllIntfDir::config, &AllIntfDir::configIs, &AllIntfDir::configDel),
                    Zon::childAttr("status", 259, &AllIntfDir::status, &AllIntfDir::statusIs, &AllIntfDir::statusDel));
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfDir>(zonTypeModule, "VaroIntf::AllIntfDir", &Zon::Entity::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfDir::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfDir::fwkType() const { return slot.node(); }
bool AllIntfDir::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 AllIntfDir::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace VaroIntf
