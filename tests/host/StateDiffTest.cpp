#include "host/StateDiff.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "host/StateFile.h"
#include "host/Trouble.h"

namespace {

using namespace VaroHost;
using Json = nlohmann::json;

std::string difference(Json const& before, Json const& after, bool isJson = false) {
  int const descriptor = ::memfd_create("diff", 0);
  bool isSame = false;
  {
    Output out(descriptor);
    isSame = StateDiff(out, isJson).print(before, after);
  }
  std::string text(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
  EXPECT_EQ(::pread(descriptor, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  ::close(descriptor);
  EXPECT_EQ(isSame, text.empty());
  return text;
}

/// What parsing a text says, "fine" for a state.
std::string fault(std::string const& text) {
  try {
    StateFile::parse(text, "A");
    return "fine";
  } catch (Trouble const& trouble) {
    return trouble.what();
  }
}

TEST(StateDiff, TheSameGivesNothing) {
  Json const state = {{"a", {{"b", 1}}}, {"c", Json::object()}};
  EXPECT_EQ(difference(state, state), "");
  EXPECT_EQ(difference(Json::object(), Json::object()), "");
}

TEST(StateDiff, EveryLeafThatDiffersIsALineInTheOrderOfThePaths) {
  Json const before = Json::parse(R"({"a": {"x": 1, "y": "old"}, "b": {"gone": {"p": true, "q": null}}, "d": 1})");
  Json const after = Json::parse(R"({"a": {"x": 1, "y": "new", "z": {}}, "b": {}, "c": {"E/1": {"k": 7}}, "d": 1})");
  EXPECT_EQ(difference(before, after), "~ a.y: \"old\" -> \"new\"\n"
                                       "+ a.z: {}\n"
                                       "- b.gone.p: true\n"
                                       "- b.gone.q: null\n"
                                       "+ c[\"E/1\"].k: 7\n");
  EXPECT_EQ(difference(after, before), "~ a.y: \"new\" -> \"old\"\n"
                                       "- a.z: {}\n"
                                       "+ b.gone.p: true\n"
                                       "+ b.gone.q: null\n"
                                       "- c[\"E/1\"].k: 7\n");
}

TEST(StateDiff, AnEntryMayBecomeAnObject) {
  EXPECT_EQ(difference(Json::parse(R"({"a": "aggregate"})"), Json::parse(R"({"a": {"x": 1}})")), "- a: \"aggregate\"\n"
                                                                                                 "+ a.x: 1\n");
}

TEST(StateDiff, EachIsOneLineWhateverNamesHold) {
  Json const after = {{"a\nb", "c\x1b[31m\xe2\x80\xae"}, {"", 1}};
  EXPECT_EQ(difference(Json::object(), after), "+ [\"\"]: 1\n"
                                               "+ [\"a\\x0ab\"]: \"c\\x1b[31m\\u{202e}\"\n");
}

TEST(StateDiff, AsJsonEachIsADocument) {
  EXPECT_EQ(difference({{"a", {{"x", 1}, {"y", 2}}}}, {{"a", {{"y", 3}, {"z", "t"}}}}, true),
            "{\"before\":1,\"path\":[\"a\",\"x\"]}\n"
            "{\"after\":3,\"before\":2,\"path\":[\"a\",\"y\"]}\n"
            "{\"after\":\"t\",\"path\":[\"a\",\"z\"]}\n");
}

TEST(StateFile, TakesWhatIsMarkedAsAState) {
  EXPECT_EQ(fault(R"({"varo-state": 1})"), "fine");
  EXPECT_EQ(fault(R"( {"a": {"b": {"c": [1]}}})"), "A: no state: a list where none belongs");
  EXPECT_EQ(fault(R"({"a": 1})"), "A: no state: member \"varo-state\" is missing");
  EXPECT_EQ(fault(R"({"varo-state": 2})"), "A: a state of format 2; this program knows 1");
  EXPECT_EQ(fault(R"({"varo-state": {"a": "b"}})"), "A: a state of format {\"a\":\"b\"}; this program knows 1");
}

TEST(StateFile, WhatIsNoObjectIsNone) {
  for (std::string const text : {"1", "\"a\"", "null", "true"}) {
    EXPECT_EQ(fault(text), "A: no state: not an object") << text;
  }
  EXPECT_EQ(fault("[]"), "A: no state: a list where none belongs");
  EXPECT_EQ(fault(""), "A:1:1: no state: expected a value, found the end");
  EXPECT_EQ(fault("{\n  \"a\": oops}"), "A:2:8: no state: expected a value, found \"o\"");
}

TEST(StateFile, RepeatedKeysAndFractionsAreRefused) {
  EXPECT_EQ(fault(R"({"a": 1, "a": 1})"), "A: no state: member \"a\" stands twice");
  EXPECT_EQ(fault(R"({"a": 1.5})"), "A: no state: number 1.5 is not whole");
  EXPECT_EQ(fault(R"({"a": 1e2})"), "A: no state: number 1e2 is not whole");
}

TEST(StateFile, DeepNestingEndsEarly) {
  std::string deep;
  for (int at = 0; at < 1000000; ++at) {
    deep += "{\"a\":";
  }
  EXPECT_EQ(fault(deep), "A: no state: more than 8 objects within one another");
  EXPECT_EQ(fault(std::string(1000000, '[')), "A: no state: a list where none belongs");
}

TEST(StateFile, BinaryAndTruncatedTextIsRefusedAtItsByte) {
  std::string const whole = R"({"a": {"b": "c"}, "varo-state": 1})";
  ASSERT_EQ(fault(whole), "fine");
  for (std::size_t length = 1; length < whole.size(); ++length) {
    EXPECT_TRUE(fault(whole.substr(0, length)).starts_with("A:1:" + std::to_string(length + 1) + ": no state: "))
        << length;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = whole;
      changed[at] = static_cast<char>(byte);
      std::string const said = fault(changed);
      EXPECT_TRUE(said == "fine" || said.starts_with("A:")) << changed;
      EXPECT_EQ(said.find('\n'), std::string::npos) << changed;
    }
  }
}

}  // namespace
