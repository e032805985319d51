#include "host/Text.h"

#include <gtest/gtest.h>

using namespace VaroHost;

TEST(Text, PlainAsciiIsShownAsItIs) { EXPECT_EQ(printable("Ethernet3/1 uplink"), "Ethernet3/1 uplink"); }

TEST(Text, ControlBytesAndBackslashesAreEscaped) {
  EXPECT_EQ(printable(std::string_view("a\0b\n\x1b[31m\x7f\\", 11)), "a\\x00b\\x0a\\x1b[31m\\x7f\\\\");
}

TEST(Text, InvalidUtf8IsEscapedByteByByte) {
  EXPECT_EQ(printable("\xff"), "\\xff");
  EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf") << "overlong";
  EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "surrogate";
  EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond U+10FFFF";
  EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82") << "truncated";
}

TEST(Text, DirectionAndInvisibleCharactersAreEscaped) {
  EXPECT_EQ(printable("a\xe2\x80\xae"), "a\\u{202e}");
  EXPECT_EQ(printable("\xef\xbb\xbf"), "\\u{feff}");
  EXPECT_EQ(printable("\xc2\x85"), "\\u{0085}");
}

TEST(Text, FindInvalidUtf8TellsTheOffset) {
  EXPECT_EQ(findInvalidUtf8("gr\xc3\xbcn"), std::string_view::npos);
  EXPECT_EQ(findInvalidUtf8("gr\xc3\xbcn\xfe"), 5U);
  EXPECT_EQ(findInvalidUtf8(""), std::string_view::npos);
}

TEST(Text, WidthCountsColumnsNotBytes) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("gr\xc3\xbcn"), 4U);
  EXPECT_EQ(displayWidth("\xe5\x8f\xa3"), 2U) << "a wide character";
  EXPECT_EQ(displayWidth("e\xcc\x81"), 1U) << "a combining character";
}

TEST(Text, ExcerptCutsBetweenCharacters) {
  EXPECT_EQ(excerpt("short", 10), "short");
  EXPECT_EQ(excerpt("exactly ten", 11), "exactly ten");
  EXPECT_EQ(excerpt("0123456789", 8), "01234...");
  EXPECT_EQ(excerpt("\xe5\x8f\xa3\xe5\x8f\xa3\xe5\x8f\xa3\xe5\x8f\xa3", 6), "\xe5\x8f\xa3...");
}

TEST(Text, ExcerptOfAHugeTextIsShort) { EXPECT_EQ(excerpt(std::string(1U << 20U, 'x'), 9), "xxxxxx..."); }
