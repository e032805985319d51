#include "VaroIntf/AllIntfReactor.h"

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"

namespace VaroIntf {

AllIntfReactor::AllIntfReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                               Zon::Ptr<Interface::AllIntfConfigDir> const& configOut,
                               Zon::Ptr<Interface::AllIntfStatusDir> const& statusOut,
                               Zon::Ptr<Interface::AllIntfConfigDir> const& configIn,
                               Zon::Ptr<Interface::AllIntfStatusDir> const& statusIn)
  : ReactorOf(activity), configOut_(configOut), statusOut_(statusOut) {
  if (configIn) {
    configIn_ = newConfigIn(configIn);
  }
  if (statusIn) {
    statusIn_ = newStatusIn(statusIn);
  }
  if (configIn_) {
    configIn_->mirrorAll();
  }
  if (statusIn_) {
    statusIn_->mirrorAll();
  }
}

AllIntfReactor::~AllIntfReactor() { zonTearDown(); }

template <class In, class Directory>
Zon::Ptr<In> AllIntfReactor::newMirror(Zon::Ptr<Directory> const& directory) {
  auto input = zonNewInput<In>(directory);
  // A mirror listens from the start, whatever its reactor's switch.
  input->hasNotificationActiveIs(true);
  return input;
}

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfReactor::configIn() const { return zonNotifier(configIn_); }

void AllIntfReactor::configInIs(Zon::Ptr<Interface::AllIntfConfigDir> const& directory) {
  zonInputIs(&AllIntfReactor::configIn_, directory, [this](auto const& dir) { return newConfigIn(dir); });
}

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfReactor::configInDel() { return zonInputDel(&AllIntfReactor::configIn_); }

Zon::Ptr<AllIntfReactor::ZonConfigIn>
AllIntfReactor::newConfigIn(Zon::Ptr<Interface::AllIntfConfigDir> const& directory) {
  return newMirror<ZonConfigIn>(directory);
}

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfReactor::statusIn() const { return zonNotifier(statusIn_); }

void AllIntfReactor::statusInIs(Zon::Ptr<Interface::AllIntfStatusDir> const& directory) {
  zonInputIs(&AllIntfReactor::statusIn_, directory, [this](auto const& dir) { return newStatusIn(dir); });
}

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfReactor::statusInDel() { return zonInputDel(&AllIntfReactor::statusIn_); }

Zon::Ptr<AllIntfReactor::ZonStatusIn>
AllIntfReactor::newStatusIn(Zon::Ptr<Interface::AllIntfStatusDir> const& directory) {
  return newMirror<ZonStatusIn>(directory);
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes =
    Zon::attributes(Zon::activityAttr<AllIntfReactor>(), Zon::valueAttr("configOut", 130, &AllIntfReactor::configOut),
                    Zon::valueAttr("statusOut", 131, &AllIntfReactor::statusOut),
                    Zon::inputAttr("configIn", 132, &AllIntfReactor::configIn, &AllIntfReactor::configInIs,
                                   &AllIntfReactor::configInDel),
                    Zon::inputAttr("statusIn", 133, &AllIntfReactor::statusIn, &AllIntfReactor::statusInIs,
                                   &AllIntfReactor::statusInDel),
                    Zon::activeSwitchAttr<AllIntfReactor>(), Zon::zombieSwitchAttr<AllIntfReactor>());
constexpr auto creation = Zon::constructor<Zon::Ptr<Zon::ActivityConfig>, Zon::Ptr<Interface::AllIntfConfigDir>,
                                           Zon::Ptr<Interface::AllIntfStatusDir>, Zon::Ptr<Interface::AllIntfConfigDir>,
                                           Zon::Ptr<Interface::AllIntfStatusDir>>("zonFwkActivity", "configOut",
                                                                                  "statusOut", "configIn", "statusIn");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfReactor>(zonTypeModule, "VaroIntf::AllIntfReactor", &Zon::PtrInterface::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfReactor::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfReactor::fwkType() const { return slot.node(); }
bool AllIntfReactor::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroIntf
