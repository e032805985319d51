#include "host/ErrdisableList.h"

#include <string>

#include <gtest/gtest.h>

using VaroHost::ErrdisableList;

namespace {

/// The entries as "name=reason;", or the complaints as "line:column: reason;".
std::string parsed(std::string_view text) {
  auto const list = ErrdisableList::parse(text);
  std::string result;
  for (auto const& [name, reason] : list.entries) {
    result += name + "=" + reason + ";";
  }
  for (auto const& complaint : list.complaints) {
    result += std::to_string(complaint.line) + ":" + std::to_string(complaint.column) + ": " + complaint.reason + ";";
  }
  return result;
}

}  // namespace

TEST(ErrdisableList, AnEmptyTextListsNothing) {
  EXPECT_EQ(parsed(""), "");
  EXPECT_EQ(parsed("\n  \n\t\n"), "");
}

TEST(ErrdisableList, TheReasonReachesToTheEndOfItsLine) {
  EXPECT_EQ(parsed("eth0 bpduguard\neth1\t \tstorm control  \r\neth2 x"), "eth0=bpduguard;eth1=storm control;eth2=x;");
  EXPECT_EQ(parsed("eth0 udld\t \t\n"), "eth0=udld;");
}

TEST(ErrdisableList, CommentsAreLeftOut) { EXPECT_EQ(parsed("# nothing here\neth0 why # not\n"), "eth0=why # not;"); }

TEST(ErrdisableList, CommentsHoldWhateverTheyLike) {
  EXPECT_EQ(parsed("# caf\xe9\neth0 why\n"), "eth0=why;") << "no UTF-8";
  EXPECT_EQ(parsed(std::string_view("#\x1b[31m \0 \r \x7f\t\neth0 why\n", 23)), "eth0=why;") << "control characters";
  EXPECT_EQ(parsed("# l\xc3"), "") << "cut off";
  EXPECT_EQ(parsed("#" + std::string(1U << 20U, 'x') + "\neth0 why\n"), "eth0=why;");
  // They are counted, and end with their line.
  EXPECT_EQ(parsed("#\xff\n#\x01\r\neth0\n"), "3:5: no reason after \"eth0\";");
  EXPECT_EQ(parsed("eth0 why\n # why\n"), "2:1: the line begins with a blank; write interface, blank, reason;");
}

TEST(ErrdisableList, OneBadLineLeavesNoEntries) {
  EXPECT_EQ(parsed("eth0 fine\neth1\n"), "2:5: no reason after \"eth1\";");
  EXPECT_EQ(parsed("eth0 fine\n eth1 blank\n"), "2:1: the line begins with a blank; write interface, blank, reason;");
}

TEST(ErrdisableList, EachBadLineIsNamed) {
  EXPECT_EQ(parsed("eth0\neth1 a\neth1 b\n"), "1:5: no reason after \"eth0\";3:1: \"eth1\" stands twice;");
}

TEST(ErrdisableList, ComplaintsEnd) {
  std::string text = "eth0 why\n";
  for (std::size_t at = 0; at < ErrdisableList::maxComplaints; ++at) {
    text += "x\n";
  }
  auto const all = ErrdisableList::parse(text + "eth1 why\n");
  EXPECT_EQ(all.complaints.size(), ErrdisableList::maxComplaints);
  EXPECT_FALSE(all.hasMoreBadLines);
  for (std::string const rest : {"x\n", "x\nx\nx\n", "eth1 why\nx", "eth0 again\n"}) {
    auto const some = ErrdisableList::parse(text + rest);
    EXPECT_EQ(some.complaints.size(), ErrdisableList::maxComplaints) << rest;
    EXPECT_EQ(some.complaints.back().line, ErrdisableList::maxComplaints + 1) << rest;
    EXPECT_TRUE(some.hasMoreBadLines) << rest;
    EXPECT_TRUE(some.entries.empty()) << rest;
  }
}

TEST(ErrdisableList, BinaryIsRefusedAtItsFirstByte) {
  EXPECT_EQ(parsed(std::string_view("eth0 a\0b\n", 9)), "1:7: control character \\x00;");
  EXPECT_EQ(parsed("eth0 a\xff\n"), "1:7: byte \\xff is not UTF-8;");
  EXPECT_EQ(parsed("eth0 \x1b[31m\n"), "1:6: control character \\x1b;");
}

TEST(ErrdisableList, AByteOrderMarkIsNoPartOfAName) {
  EXPECT_EQ(parsed("\xef\xbb\xbf"
                   "eth0 x\n"),
            "1:1: a byte-order mark has no place here;");
  EXPECT_EQ(parsed("eth0 x\n\xef\xbb\xbf"
                   "eth1 y\n"),
            "2:1: a byte-order mark has no place here;");
}

TEST(ErrdisableList, Utf8IsFine) { EXPECT_EQ(parsed("eth0 l\xc3\xa4rm\n"), "eth0=l\xc3\xa4rm;"); }

TEST(ErrdisableList, LongNamesAndReasonsAreRefused) {
  EXPECT_EQ(parsed(std::string(255, 'n') + " r"), std::string(255, 'n') + "=r;");
  EXPECT_EQ(parsed(std::string(1U << 20U, 'n') + " r"), "1:1: the name has 1048576 bytes, at most 255 are allowed;");
  EXPECT_EQ(parsed("eth0 " + std::string(1025, 'r')), "1:6: the reason has 1025 bytes, at most 1024 are allowed;");
}

TEST(ErrdisableList, ATruncatedLastLineWithoutItsReasonLeavesNoEntries) {
  EXPECT_EQ(parsed("eth0 why\neth1"), "2:5: no reason after \"eth1\";");
  EXPECT_EQ(parsed("eth0 why\neth1 "), "2:5: no reason after \"eth1\";");
  EXPECT_EQ(parsed("eth0 why\neth1 w"), "eth0=why;eth1=w;") << "only the line's end is missing";
}

TEST(ErrdisableList, ATruncatedLastCharacterIsRefused) {
  EXPECT_EQ(parsed("eth0 why\neth1 l\xc3"), "2:7: byte \\xc3 is not UTF-8;");
}

TEST(ErrdisableList, ADuplicateNameIsRefused) {
  EXPECT_EQ(parsed("eth0 why\neth1 x\neth0 why\n"), "3:1: \"eth0\" stands twice;");
}
