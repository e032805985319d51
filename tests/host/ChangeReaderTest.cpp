#include "host/ChangeReader.h"

#include <string>

#include <gtest/gtest.h>

#include "host/Schema.h"

using namespace VaroHost;

namespace {

/// "COLUMN: reason", or "fine".
std::string fault(std::string_view line) {
  ChangeReader reader;
  try {
    reader.read(line);
  } catch (LineError const& error) {
    return std::to_string(error.column()) + ": " + error.what();
  }
  return "fine";
}

bool startsWith(std::string const& text, std::string_view start) { return text.starts_with(start); }

constexpr char config[] = R"({"time":0,"entity":"intfConfig","key":"E1",)";

}  // namespace

TEST(ChangeReader, ReadsAnAttribute) {
  ChangeReader reader;
  Change const& change = reader.read(
      R"({"time": 1.25, "entity": "intfConfig", "key": "E1", "attribute": "adminEnabledStateLocal", "value": "disabled"})");
  EXPECT_EQ(change.time, std::chrono::milliseconds(1250));
  EXPECT_EQ(change.entity->name, "intfConfig");
  EXPECT_EQ(change.operation, Operation::set);
  EXPECT_EQ(change.key(), "E1");
  EXPECT_EQ(change.attribute->name, "adminEnabledStateLocal");
  EXPECT_EQ(change.value.type, ValueType::state);
  EXPECT_EQ(change.value.state, Interface::IntfEnabledState::disabled);
}

TEST(ChangeReader, MembersMayStandInAnyOrder) {
  ChangeReader reader;
  Change const& change =
      reader.read(R"( { "value" : true , "key":"E1","op":"add","attribute":"active","entity":"intfStatus","time":7} )");
  EXPECT_EQ(change.operation, Operation::add);
  EXPECT_TRUE(change.value.boolean);
  EXPECT_EQ(change.columns[static_cast<std::size_t>(Member::value)], 14U);
  EXPECT_EQ(change.columns[static_cast<std::size_t>(Member::key)], 27U);
}

TEST(ChangeReader, ReadsEntriesWithListedKeysAndNumbers) {
  ChangeReader reader;
  auto const value = [&reader](std::string const& number) {
    return reader.read(R"({"time":0,"entity":"forwardingModelInputs","key":["E1","stp"],"value":)" + number + "}")
        .value.integer;
  };
  EXPECT_EQ(value("3"), 3);
  EXPECT_EQ(value("-2147483648"), -2147483647 - 1);
  EXPECT_EQ(value("2147483647"), 2147483647);
}

TEST(ChangeReader, NothingIsLeftOfTheLineBefore) {
  ChangeReader reader;
  reader.read(R"({"time":5,"entity":"intfStatus","key":"E1","op":"add","attribute":"active","value":true})");
  Change const& change = reader.read(R"({"time":6,"entity":"intfStatus","key":"E1","op":"del"})");
  EXPECT_EQ(change.attribute, nullptr);
  EXPECT_EQ(change.value.type, ValueType::none);
  EXPECT_EQ(change.columns[static_cast<std::size_t>(Member::value)], 0U);
}

TEST(ChangeReader, EscapesAndUtf8InNamesAreKept) {
  ChangeReader reader;
  Change const& change = reader.read(R"({"time":0,"entity":"errdisabledIntf","key":"a b/\u0000gr)"
                                     "\xc3\xbcn"
                                     R"(","value":""})");
  EXPECT_EQ(change.key(), std::string("a b/\0gr\xc3\xbcn", 10));
  EXPECT_EQ(change.value.text, "");
}

TEST(ChangeReader, BlankLinesAreBlank) {
  EXPECT_TRUE(ChangeReader::isBlank(""));
  EXPECT_TRUE(ChangeReader::isBlank(" \t\r"));
  EXPECT_FALSE(ChangeReader::isBlank("x"));
  EXPECT_FALSE(ChangeReader::isBlank("\f"));
  EXPECT_FALSE(ChangeReader::isBlank("\v"));
}

TEST(ChangeReader, MissingMembersAreNamedBehindTheLine) {
  EXPECT_EQ(fault("{}"), "3: member \"time\" is missing");
  EXPECT_EQ(fault(R"({"time":0})"), "11: member \"entity\" is missing");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig"})"), "33: member \"key\" is missing");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig","key":"E1"})"), "44: member \"attribute\" is missing");
  EXPECT_EQ(fault(config + std::string(R"("attribute":"defaultConfig"})")), "72: member \"value\" is missing");
}

TEST(ChangeReader, UnknownAndRepeatedMembersAreRefusedWhereTheyStand) {
  EXPECT_EQ(fault(R"({"time":0,"tmie":0})"), "11: unknown member \"tmie\"");
  EXPECT_EQ(fault(R"({"time":0, "time":0})"), "12: member \"time\" stands twice");
  EXPECT_EQ(fault(R"({"key":[],"key":"E1"})"), "11: member \"key\" stands twice");
}

TEST(ChangeReader, NamesOutsideTheSchemaAreRefused) {
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfg","key":"E1"})"), "20: unknown entity \"intfConfg\"");
  EXPECT_EQ(fault(config + std::string(R"("attribute":"mtu","value":1})")), "56: intfConfig has no attribute \"mtu\"");
  EXPECT_EQ(fault(config + std::string(R"("op":"drop"})")),
            "49: unknown \"op\" \"drop\"; there are set, add, replace and del");
  EXPECT_EQ(fault(R"({"time":0,"entity":"errdisabledIntf","key":"E1","op":"add","value":"x"})"),
            "54: errdisabledIntf offers no \"add\"");
}

TEST(ChangeReader, WhatAnOperationDoesNotTakeIsRefused) {
  EXPECT_EQ(fault(config + std::string(R"("op":"del","value":1})")), "63: del of intfConfig takes no value");
  EXPECT_EQ(fault(config + std::string(R"("op":"add","value":1})")), "63: add of intfConfig takes no value");
  EXPECT_EQ(fault(config + std::string(R"("op":"del","attribute":"defaultConfig"})")),
            "67: del of intfConfig takes no attribute");
}

TEST(ChangeReader, WrongTypesAreRefused) {
  EXPECT_EQ(fault(R"({"time":"0"})"), "9: \"time\" must be a number of seconds, not a string");
  EXPECT_EQ(fault(R"({"time":null})"), "9: \"time\" must be a number of seconds, not null");
  EXPECT_EQ(fault(R"({"time":0,"entity":3})"), "20: \"entity\" must be a string, not a number");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig","key":1})"),
            "39: \"key\" must be a string or a list of strings, not a number");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig","key":["E1",2]})"), "45: a key must be a string");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfStatus","key":"E1","attribute":"active","value":1})"),
            "73: active must be true or false, not a number");
  EXPECT_EQ(fault(config + std::string(R"("attribute":"adminEnabledStateLocal","value":"on"})")),
            "89: adminEnabledStateLocal must be \"unset\", \"enabled\" or \"disabled\", not \"on\"");
}

TEST(ChangeReader, NumbersOutOfRangeAreRefused) {
  EXPECT_EQ(fault(R"({"time":-1})"), "9: \"time\" is negative");
  EXPECT_EQ(fault(R"({"time":9000000001})"), "9: \"time\" is above 9000000000 seconds");
  EXPECT_EQ(fault(R"({"time":18446744073709551616})"), "9: \"time\" is above 9000000000 seconds");
  EXPECT_EQ(fault(R"({"time":1e400})"), "9: the number 1e400 is too large");
  std::string const input = R"({"time":0,"entity":"forwardingModelInputs","key":["E1","stp"],"value":)";
  EXPECT_EQ(fault(input + "2147483648}"), "71: forwardingModelInputs is out of range: -2147483648 to 2147483647");
  EXPECT_EQ(fault(input + "-2147483649}"), "71: forwardingModelInputs is out of range: -2147483648 to 2147483647");
  EXPECT_EQ(fault(input + "1.5}"), "71: forwardingModelInputs must be a whole number from -2147483648 to 2147483647");
}

TEST(ChangeReader, NumberAndLengthOfKeysAreChecked) {
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig","key":""})"), "39: the name of the interface is empty");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig","key":["a","b"],"op":"add"})"),
            "39: intfConfig is found by 1 key, not by 2");
  EXPECT_EQ(fault(R"({"time":0,"entity":"forwardingModelInputs","key":"a","value":1})"),
            "50: forwardingModelInputs is found by 2 keys, not by 1");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfConfig","key":["a","b","c","d"]})"), "52: more than 3 keys");
  std::string const start = R"({"time":0,"entity":"intfConfig","op":"add","key":")";
  EXPECT_EQ(fault(start + std::string(255, 'x') + "\"}"), "fine");
  EXPECT_EQ(fault(start + std::string(256, 'x') + "\"}"),
            "50: the name of the interface has 256 bytes, at most 255 are allowed");
}

TEST(ChangeReader, TextsHaveALimit) {
  std::string const start = R"({"time":0,"entity":"errdisabledIntf","key":"E1","value":")";
  EXPECT_EQ(fault(start + std::string(1024, 'x') + "\"}"), "fine");
  EXPECT_EQ(fault(start + std::string(1025, 'x') + "\"}"),
            "57: errdisabledIntf has 1025 bytes, at most 1024 are allowed");
}

TEST(ChangeReader, LinesOfQueueCountersAreChecked) {
  EXPECT_EQ(fault(R"({"time":0,"entity":"slice","key":"s","op":"add"})"), "fine");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfQueueCounter","key":["s","E1","drops"],"op":"del"})"), "fine");
  EXPECT_EQ(fault(R"({"time":0,"entity":"slice","key":"s"})"), "38: member \"op\" is missing");
  EXPECT_EQ(fault(R"({"time":0,"entity":"slice","key":"s","op":"set"})"), "43: slice offers no \"set\"");
  EXPECT_EQ(fault(R"({"time":0,"entity":"slice","key":"s","op":"add","value":1})"), "57: add of slice takes no value");
  EXPECT_EQ(fault(R"({"time":0,"entity":"slice","key":"s","op":"add","attribute":"x"})"),
            "61: add of slice takes no attribute");
  EXPECT_EQ(fault(R"({"time":0,"entity":"slice","key":["s","E1"],"op":"add"})"),
            "34: slice is found by 1 key, not by 2");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfQueueCounterDir","key":"s","op":"add"})"),
            "48: intfQueueCounterDir is found by 2 keys, not by 1");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfQueueCounter","key":["s","E1"],"op":"add"})"),
            "45: intfQueueCounter is found by 3 keys, not by 2");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfQueueCounter","key":["s","","c"],"op":"add"})"),
            "50: the name of the interface is empty");
  EXPECT_EQ(fault(R"({"time":0,"entity":"intfQueueCounter","key":["s","E1","c"],"op":"replace"})"),
            "65: intfQueueCounter offers no \"replace\"");
}

TEST(ChangeReader, WhatIsNoObjectIsRefused) {
  EXPECT_EQ(fault("[]"), "1: a line must be an object");
  EXPECT_EQ(fault(" 7"), "2: a line must be an object");
  EXPECT_EQ(fault("null"), "1: a line must be an object");
  EXPECT_EQ(fault(R"({"time":{"time":0}})"), "9: an object within the object");
  EXPECT_EQ(fault(R"({"time":[0]})"), "9: a list where none belongs");
  EXPECT_EQ(fault(R"({"key":[[]]})"), "9: a list where none belongs");
}

TEST(ChangeReader, DeepNestingEndsAtItsSecondLevel) {
  EXPECT_EQ(fault(R"({"key":)" + std::string(500000, '[')), "9: a list where none belongs");
  std::string objects;
  for (int at = 0; at < 100000; ++at) {
    objects += R"({"key":)";
  }
  EXPECT_EQ(fault(objects), "8: an object within the object");
}

TEST(ChangeReader, MalformedTextIsRefusedAtItsPlace) {
  for (std::string const line : {"{", "{\"time\"", "{\"time\":0", "{\"time\":0,}", "{\"time\":0} x", "{'time':0}",
                                 "{\"time\":00}", "{\"time\":.5}", "{\"time\":NaN}", "{\"time\":0}{", "\x01\x02",
                                 "{\"key\":\"\\x\"}", "{\"key\":\"\\ud800\"}", "{\"key\":\"a", "\xef\xbb\xbf{}"}) {
    std::string const found = fault(line);
    EXPECT_NE(found, "fine") << line;
    std::size_t const column = std::stoul(found);
    EXPECT_GE(column, 1U) << line;
    EXPECT_LE(column, line.size() + 1) << line;
  }
}

TEST(ChangeReader, InvalidUtf8AndZeroBytesAreRefused) {
  EXPECT_TRUE(startsWith(fault("{\"key\":\"a\xff\"}"), "10: ")) << fault("{\"key\":\"a\xff\"}");
  EXPECT_TRUE(startsWith(fault(std::string_view("{\"key\":\"a\0b\"}", 13)), "10: "));
}

TEST(ChangeReader, EveryPrefixOfALineIsRefused) {
  std::string const line =
      R"({"time": 1.5, "entity": "intfConfig", "key": ["E\u00fc1"], "attribute": "defaultConfig", "value": null})";
  ASSERT_EQ(fault(line), "fine");
  for (std::size_t length = 0; length < line.size(); ++length) {
    EXPECT_NE(fault(line.substr(0, length)), "fine") << length;
  }
}

TEST(ChangeReader, EveryByteOfALineMayBeAnything) {
  std::string const line = R"({"time":1,"entity":"errdisabledIntf","key":"E1","value":"x"})";
  for (std::size_t at = 0; at < line.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = line;
      changed[at] = static_cast<char>(byte);
      std::string const found = fault(changed);
      EXPECT_TRUE(found == "fine" || std::stoul(found) <= line.size() + 1) << changed << " " << found;
    }
  }
}
