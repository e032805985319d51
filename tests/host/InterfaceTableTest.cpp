#include "host/InterfaceTable.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "host/Device.h"

namespace {

using namespace VaroHost;

std::string tableOf(Device const& device, bool isColoured) {
  int const descriptor = ::memfd_create("table", 0);
  {
    Output out(descriptor);
    InterfaceTable(InterfaceList(device), isColoured).print(out);
  }
  std::string text(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
  EXPECT_EQ(::pread(descriptor, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  ::close(descriptor);
  return text;
}

void add(Device& device, char const* name) {
  auto const config = Zon::newPtr<Interface::IntfConfig>(name);
  config->adminEnabledStateLocalIs(Interface::IntfEnabledState::enabled);
  device.configIs(config);
}

TEST(InterfaceTable, NoLineEndsInBlanksWhateverReasonsHold) {
  Device device;
  add(device, "a");
  add(device, "b");
  device.errdisable()->errdisabledIntfIs("a", "udld   ");
  device.errdisable()->errdisabledIntfIs("b", "   ");
  for (bool const isColoured : {false, true}) {
    std::istringstream lines(tableOf(device, isColoured));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_FALSE(line.ends_with(' ')) << '"' << line << '"';
    }
  }
}

TEST(InterfaceTable, AValueThatIsNoStateIsCountedApart) {
  Device device;
  add(device, "a");
  add(device, "b");
  for (int const number : {3, 2147483647, -1}) {
    device.config("a")->enabledStateLocalIs(static_cast<Interface::IntfEnabledState>(number));
    std::string const table = tableOf(device, true);
    EXPECT_NE(table.find("2 interfaces: 1 enabled, 0 disabled, 1 of no known state\n"), std::string::npos) << table;
  }
}

}  // namespace
