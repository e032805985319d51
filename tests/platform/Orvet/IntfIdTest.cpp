#include "platform/Orvet/IntfId.h"

#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using Orvet::IntfId;

static_assert(sizeof(IntfId) == sizeof(void*));
static_assert(std::is_convertible_v<char const*, IntfId>);
static_assert(std::is_convertible_v<std::string, IntfId>);
static_assert(std::is_convertible_v<Zon::String8, IntfId>);

TEST(IntfId, TheEmptyStringGivesTheEmptyIdentifier) {
  EXPECT_EQ(IntfId(), IntfId(""));
  EXPECT_TRUE(IntfId("").empty());
  EXPECT_FALSE(IntfId("Ethernet1").empty());
}

TEST(IntfId, ComparesAndOrdersByBytes) {
  EXPECT_EQ(IntfId("Ethernet1"), IntfId(std::string("Ethernet1")));
  EXPECT_NE(IntfId("Ethernet1"), IntfId("Ethernet2"));
  EXPECT_LT(IntfId("Ethernet1"), IntfId("Ethernet10"));
  EXPECT_LT(IntfId("a"), IntfId("\x80"));
  EXPECT_TRUE(IntfId("a") == "a");
}

TEST(IntfId, SharesBytesAndHashWithItsString) {
  Zon::String8 const name = "Ethernet1";
  IntfId const id = name;
  EXPECT_EQ(id.stringValue().data(), name.data());
  EXPECT_EQ(id.hash(), name.hash());
  EXPECT_EQ(id.reversedHash(), Zon::bitReverse(id.hash()));
}

TEST(IntfId, PrintsItsBytesWhateverWidthAndFlags) {
  std::ostringstream out;
  out << std::setw(20) << std::setfill('.') << IntfId(std::string("Et\0h", 4));
  EXPECT_EQ(out.str(), std::string("Et\0h", 4));
}

}  // namespace
