// A program outside the repository that uses all three libraries through the installed package.
#include "VaroErrdisable/Root.h"
#include "Zon/Ptr.h"
#include "platform/Interface/IntfConfig.h"

int main() {
  auto const config = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  auto const root = VaroErrdisable::rootFactory("errdisable");
  bool const asBorn =
      config->intfId() == Orvet::IntfId("Ethernet1") && root->name() == "errdisable" && !root->allIntfSM();
  return asBorn ? 0 : 1;
}
