// Messages of rtnetlink: datagrams of any bytes, told to links and their device.
//
// An input is a list of steps: a byte that chooses, and for a datagram the number of its 4-byte words. Wrong lengths in
// headers are the rule; so datagrams are copied to blocks of exactly their size.

#include <cstring>
#include <memory>

#include "Fuzz.h"
#include "Links.h"
#include "host/LinkMessages.h"
#include "host/Trouble.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::Input input(data, size);
  Fuzz::Links links;
  VaroHost::LinkMessages messages(links.links);
  std::uint32_t dumps = 0;
  messages.dumpIs(++dumps);
  try {
    while (!input.atEnd()) {
      switch (input.choice(8)) {
      case 0:
        messages.overrunIs();
        break;
      case 1:
        links.links.errdisabledIs({{"eth0", "flapping"}, {"eth1", "loop"}});
        break;
      case 2:
        links.links.errdisabledIs({});
        break;
      case 3:
        links.links.releaseAll();
        break;
      default: {
        std::string_view const bytes = input.bytes(std::size_t{4} * input.byte());
        std::unique_ptr<unsigned char[]> const datagram(new unsigned char[bytes.size()]);
        std::memcpy(datagram.get(), bytes.data(), bytes.size());
        messages.read(datagram.get(), static_cast<int>(bytes.size()));
      }
      }
      if (messages.takesDumpAgain()) messages.dumpIs(++dumps);
      if (messages.needsDump()) {
        links.links.onOverrun();
        messages.dumpIs(++dumps);
      }
      Fuzz::checkStates(links.device);
    }
  } catch (VaroHost::Trouble const&) {
    // The kernel refused for good: the program ends.
  }
  return 0;
}
