// Text forms: any text read as every kind of value, and what was read printed and read again.

#include <string>

#include "Fuzz.h"
#include "VaroErrdisable/Root.h"
#include "Zon/Activity.h"
#include "Zon/Dir.h"
#include "Zon/Exception.h"
#include "Zon/Strep.h"
#include "platform/Interface/IntfConfig.h"
#include "platform/Interface/IntfEnabledState.h"
#include "platform/Orvet/IntfId.h"

using Fuzz::require;
using Zon::Ptr;
using Zon::String8;

namespace {

/// Objects that texts may name, printed at the start: their serials are 1 to 5.
struct Objects {
  Ptr<Zon::Dir> dir = Zon::newPtr<Zon::Dir>("dir");
  Ptr<Zon::Dir> inner = Zon::newPtr<Zon::Dir>("inner <dir>");
  Ptr<Interface::IntfConfig> config = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  Ptr<Zon::ActivityConfig> activity = Zon::newPtr<Zon::ActivityConfig>();
  Ptr<VaroErrdisable::Root> root = Zon::newPtr<VaroErrdisable::Root>("root");

  Objects() {
    dir->entityPtrIs(inner);
    inner->entityPtrIs(config);
    Zon::valueToStrep(dir);
    Zon::valueToStrep(inner);
    Zon::valueToStrep(config);
    Zon::valueToStrep(activity);
    Zon::valueToStrep(root);
  }
};

/// Reads the front of a text, then the whole, and what both agree on once more from its own text.
template <class T>
void read(String8 const& text) {
  auto const start = text.begin();
  auto const end = text.end();
  auto at = start;
  T front{};
  try {
    front = Zon::sequenceToValue<T>(at, end);
  } catch (Zon::ConversionException const&) {
    require(at == start, "a text that cannot be converted is not consumed");
  }
  auto const consumed = at - start;
  require(consumed >= 0 && consumed <= end - start, "what was consumed is part of the text");

  if (consumed > 0) {
    String8 const part(text.view().substr(0, static_cast<std::size_t>(consumed)));
    require(Zon::strepToValue<T>(part) == front, "what was consumed reads as the same");
  }
  try {
    T const whole = Zon::strepToValue<T>(text);
    require(consumed == end - start && whole == front, "a whole text is consumed whole");
    require(Zon::strepToValue<T>(Zon::valueToStrep(whole)) == whole, "what was printed reads as the same");
  } catch (Zon::ConversionException const&) {
    require(consumed == 0, "only what is not consumed cannot be converted");
  } catch (Zon::RangeException const& error) {
    require(consumed < end - start && error.flag() && error.ids().id(12), "junk is what follows");
  }
}

/// What has any name prints as plain text, and is found by it as long as it lives.
void nameObjects(std::string_view bytes) {
  Ptr<Zon::Dir> const outer = Zon::newPtr<Zon::Dir>("outer");
  Ptr<Zon::Dir> named = Zon::newPtr<Zon::Dir>(String8(bytes));
  outer->entityPtrIs(named);
  String8 const text = Zon::valueToStrep(named);
  for (char const byte : text.view())
    require(byte >= 0x20 && byte <= 0x7e, "a reference is plain text");
  require(Zon::strepToValue<Ptr<Zon::Dir>>(text) == named, "an entity is found by its text");
  require(Zon::strepToValue<Ptr<Zon::Entity const>>(text) == named, "also as its base");
  outer->entityPtrDelAll();
  require(Zon::strepToValue<Ptr<Zon::PtrInterface>>(text) == named, "also when it has moved");
  named = nullptr;
  require(!Zon::strepToValue<Ptr<Zon::Dir>>(text), "a dead object reads as null");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static Objects const objects;
  std::string_view const bytes = Fuzz::Input(data, size).rest();
  String8 const text(bytes);
  read<bool>(text);
  read<std::int32_t>(text);
  read<std::uint32_t>(text);
  read<String8>(text);
  read<Orvet::IntfId>(text);
  read<Interface::IntfEnabledState>(text);
  read<Ptr<Zon::PtrInterface>>(text);
  read<Ptr<Zon::Entity>>(text);
  read<Ptr<Zon::Dir>>(text);
  read<Ptr<Zon::ActivityConfig>>(text);
  read<Ptr<Interface::IntfConfig const>>(text);
  read<Ptr<VaroErrdisable::Root>>(text);
  nameObjects(bytes);
  return 0;
}
