#include "host/JsonText.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using VaroHost::jsonFault;
using VaroHost::jsonText;

std::string fault(std::string const& text) {
  try {
    return "fine: " + nlohmann::json::parse(text).dump();
  } catch (nlohmann::json::exception const& error) {
    return jsonFault(error);
  }
}

TEST(JsonText, IsOneLineOfUtf8) {
  EXPECT_EQ(jsonText({{"b", "x\xff\n"}, {"a", 1}}), "{\"b\":\"x\xef\xbf\xbd\\n\",\"a\":1}");
}

TEST(JsonFault, TellsWhatWasExpectedAndWhatIsThere) {
  EXPECT_EQ(fault(""), "expected a value, found the end");
  EXPECT_EQ(fault("oops"), "expected a value, found \"o\"");
  EXPECT_EQ(fault("trux"), "expected a value, found \"x\"");
  EXPECT_EQ(fault("{1:2}"), "expected a string, found a number");
  EXPECT_EQ(fault("{\"a\" 1}"), "expected \":\", found a number");
  EXPECT_EQ(fault("{\"a\":}"), "expected a value, found \"}\"");
  EXPECT_EQ(fault("{\"a\":1 \"b\":2}"), "expected \",\" or \"}\", found a string");
  EXPECT_EQ(fault("{\"a\":1"), "expected \",\" or \"}\", found the end");
  EXPECT_EQ(fault("{\"a\":1,}"), "expected a string, found \"}\"");
  EXPECT_EQ(fault("[1 true]"), "expected \",\" or \"]\", found true");
  EXPECT_EQ(fault("{} {}"), "expected nothing more, found \"{\"");
  EXPECT_EQ(fault("{\"a\":1 x}"), "expected \",\" or \"}\", found \"x\"");
  EXPECT_EQ(fault("{} x"), "expected nothing more, found \"x\"");
}

TEST(JsonFault, TellsWhatIsWrongWithinATextOrNumber) {
  EXPECT_EQ(fault("\"abc"), "a string that is none: missing closing quote");
  EXPECT_EQ(fault("\"a\xff\""), "a string with a byte that is not UTF-8");
  EXPECT_EQ(fault("\"a\tb\""),
            "a string that is none: control character U+0009 (HT) must be escaped to \\u0009 or \\t");
  EXPECT_EQ(fault("\"\\q\""), "a string that is none: forbidden character after backslash");
  EXPECT_EQ(fault("-x"), "a number that is none: expected digit after '-'");
  EXPECT_EQ(fault("1.x"), "a number that is none: expected digit after '.'");
  EXPECT_EQ(fault("1e999"), "the number 1e999 is too large");
}

TEST(JsonFault, IsPrintableAndShortWhateverWasRead) {
  EXPECT_EQ(fault("\x1b[31m"), "expected a value, found \"<U+001B>\"");
  EXPECT_LT(fault(std::string("1") + std::string(100000, '0') + "e999").size(), 120U);
  EXPECT_LT(fault('"' + std::string(100000, 'x')).size(), 120U);
  EXPECT_EQ(fault("{} '; expected x"), "expected nothing more, found \"'\"");
}

TEST(JsonFault, WhatWasReadIsNotTakenForTheLibrarysOwnWords) {
  EXPECT_EQ(fault("{\"'; expected \":\xfe"), "expected a value, found \"\\xfe\"");
  EXPECT_EQ(fault("{\"'; expected '}\":\x1b"), "expected a value, found \"<U+001B>\"");
  EXPECT_EQ(fault("{\"unexpected x; expected \":\xfe"), "expected a value, found \"\\xfe\"");
}

}  // namespace
