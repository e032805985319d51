#include "Zon/Strep.h"

#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "Zon/Activity.h"
#include "Zon/Dir.h"
#include "Zon/StrepTable.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "support/Reflected.h"

using test::outcome;
using Zon::Dir;
using Zon::newPtr;
using Zon::Ptr;
using Zon::strepToValue;
using Zon::String8;
using Zon::valueToStrep;

namespace {

/// The serial in a text.
std::string serialIn(String8 const& text) {
  std::string const s = text.stdString();
  auto const from = s.find('#') + 1;
  return s.substr(from, s.find_first_of(" >", from) - from);
}

template <class X>
std::string parsed(String8 const& text) {
  return outcome([&]() -> test::If { return test::text(strepToValue<Ptr<X>>(text) ? "object" : "null"); });
}

/// What the platform operation answers, and how many bytes it consumed.
std::string consumed(String8 const& text) {
  auto begin = text.begin();
  auto const object = Zon::sequenceToValueOfPtr(begin, text.end(), static_cast<Zon::PtrInterface*>(nullptr));
  return (object ? "object " : "null ") + std::to_string(begin.position());
}

TEST(Strep, ReferencesReadBackAsTheSameObject) {
  auto const dir = newPtr<Dir>("x");
  auto const activity = newPtr<Zon::ActivityConfig>();
  EXPECT_EQ(strepToValue<Ptr<Dir>>(valueToStrep(dir)), dir);
  EXPECT_EQ(strepToValue<Ptr<Dir const>>(valueToStrep(dir)), dir);
  EXPECT_EQ(strepToValue<Ptr<Zon::Entity>>(valueToStrep(dir)), dir);
  EXPECT_EQ(strepToValue<Ptr<Zon::PtrInterface>>(valueToStrep(dir)), dir);
  EXPECT_EQ(strepToValue<Ptr<Zon::ActivityConfig>>(valueToStrep(activity)), activity);
  EXPECT_EQ(strepToValue<Ptr<Zon::PtrInterface>>(valueToStrep(activity)), activity);
}

TEST(Strep, TheFormNamesTypeSerialAndPath) {
  auto const dir = newPtr<Dir>("x");
  auto const sub = newPtr<Dir>("y z");
  dir->entityPtrIs(sub);
  auto const activity = newPtr<Zon::ActivityConfig>();
  EXPECT_EQ(valueToStrep(sub), "<Zon::Dir#" + serialIn(valueToStrep(sub)) + " x/y\\x20z>");
  EXPECT_EQ(valueToStrep(activity), "<Zon::ActivityConfig#" + serialIn(valueToStrep(activity)) + ">");
  EXPECT_EQ(valueToStrep(Ptr<Zon::PtrInterface const>(sub)), valueToStrep(sub)) << "one object has one text";
}

TEST(Strep, UnprintableBytesOfPathsAreEscaped) {
  auto const dir = newPtr<Dir>(String8(std::string("a<b>\\\"\x01\x7f\xff\0!~#", 13)));
  String8 const text = valueToStrep(dir);
  EXPECT_NE(text.view().find(" a\\x3cb\\x3e\\x5c\\x22\\x01\\x7f\\xff\\x00!~#>"), std::string_view::npos) << text.cStr();
  EXPECT_EQ(strepToValue<Ptr<Dir>>(text), dir);
}

TEST(Strep, AnEmptyPathReadsBack) {
  auto const dir = newPtr<Dir>("");
  EXPECT_EQ(strepToValue<Ptr<Dir>>(valueToStrep(dir)), dir);
}

TEST(Strep, NullAndTheEmptyTextAreNull) {
  EXPECT_EQ(valueToStrep(Ptr<Dir>()), "null");
  EXPECT_EQ(valueToStrep(static_cast<Dir*>(nullptr)), "null");
  EXPECT_EQ(parsed<Dir>("null"), "\"null\"");
  EXPECT_EQ(parsed<Dir>(""), "\"null\"");
  EXPECT_EQ(parsed<Zon::ActivityConfig>("null"), "\"null\"");
  EXPECT_EQ(parsed<Dir>("nullx"), "Range: junk at column 4 deserializing nullx");
  EXPECT_EQ(parsed<Dir>(" null"), "Range: junk at column 0 deserializing  null");
}

TEST(Strep, JunkBehindAReferenceFailsWithItsColumn) {
  auto const dir = newPtr<Dir>("x");
  String8 const text = valueToStrep(dir);
  String8 const more = text + String8(" ");
  try {
    strepToValue<Ptr<Dir>>(more);
    FAIL() << "accepted";
  } catch (Zon::RangeException const& e) {
    EXPECT_EQ(e.text(), "junk at column " + std::to_string(text.length()) + " deserializing " + more.stdString());
    EXPECT_TRUE(e.ids().id(12));
    EXPECT_FALSE(e.ids().id(11));
    EXPECT_TRUE(e.flag());
  }
  EXPECT_EQ(dir->zonReferences(), 1u) << "the partly parsed result is released";
}

TEST(Strep, SerialsAreNeverReused) {
  auto dir = newPtr<Dir>("x");
  String8 const text = valueToStrep(dir);
  EXPECT_EQ(valueToStrep(dir), text);
  dir = nullptr;
  EXPECT_EQ(parsed<Dir>(text), "\"null\"") << "a dead object reads as null";
  for (int i = 0; i != 100; ++i) {
    auto const next = newPtr<Dir>("x");
    EXPECT_GT(std::stoull(serialIn(valueToStrep(next))), std::stoull(serialIn(text)));
    EXPECT_EQ(parsed<Dir>(text), "\"null\"");
  }
}

TEST(Strep, TheTableHoldsNoReferencesAndForgetsTheDead) {
  std::size_t const before = Zon::strepObjects();
  {
    auto const dir = newPtr<Dir>("x");
    valueToStrep(dir);
    EXPECT_EQ(dir->zonReferences(), 1u);
    EXPECT_EQ(Zon::strepObjects(), before + 1);
    EXPECT_TRUE(Zon::strepTableInUse);
  }
  EXPECT_EQ(Zon::strepObjects(), before);
  EXPECT_EQ(Zon::strepTableInUse, before != 0);
}

TEST(Strep, EntitiesMayMove) {
  auto const parent = newPtr<Dir>("p");
  auto const dir = newPtr<Dir>("x");
  String8 const text = valueToStrep(dir);
  parent->entityPtrIs(dir);
  EXPECT_NE(valueToStrep(dir), text);
  EXPECT_EQ(strepToValue<Ptr<Dir>>(text), dir);
}

TEST(Strep, AnotherTypeNameReadsAsNull) {
  auto const dir = newPtr<Dir>("x");
  std::string const serial = serialIn(valueToStrep(dir));
  EXPECT_EQ(parsed<Dir>(String8("<Zon::Entity#" + serial + " x>")), "\"null\"");
  EXPECT_EQ(parsed<Dir>(String8("<Zon::Dir#" + serial + ">")), "\"object\"") << "the path is not compared";
  EXPECT_EQ(parsed<Dir>(String8("<Zon::Dir#" + serial + " other/path>")), "\"object\"");
  EXPECT_EQ(parsed<Dir>("<Zon::Dir#18446744073709551615 x>"), "\"null\"");
}

TEST(Strep, ObjectsOfAnotherTypeCannotBeConverted) {
  auto const dir = newPtr<Dir>("x");
  auto const activity = newPtr<Zon::ActivityConfig>();
  String8 const entity = valueToStrep(dir);
  String8 const other = valueToStrep(activity);
  EXPECT_EQ(parsed<Zon::ActivityConfig>(entity),
            "Conversion: cannot convert \"" + entity.stdString() + "\" to Zon::ActivityConfig");
  EXPECT_EQ(parsed<Dir>(other), "Conversion: cannot convert \"" + other.stdString() + "\" to Zon::Dir");
  EXPECT_EQ(parsed<Errdisable::Status>(entity),
            "Conversion: cannot convert \"" + entity.stdString() + "\" to Errdisable::Status");
  EXPECT_EQ(activity->zonReferences(), 1u);
  try {
    strepToValue<Ptr<Dir>>(other);
    FAIL() << "accepted";
  } catch (Zon::ConversionException const& e) {
    EXPECT_TRUE(e.ids().empty());
  }
}

TEST(Strep, TheEntityFormLeavesOtherObjectsAlone) {
  auto const activity = newPtr<Zon::ActivityConfig>();
  String8 const text = valueToStrep(activity);
  auto begin = text.begin();
  EXPECT_EQ(Zon::sequenceToValueOfPtr(begin, text.end(), static_cast<Zon::Entity*>(nullptr)), nullptr);
  EXPECT_EQ(begin.position(), 0);
}

TEST(Strep, SequencesAdvanceBehindWhatTheyConsumed) {
  auto const a = newPtr<Dir>("a");
  auto const b = newPtr<Dir>("b");
  String8 const text = valueToStrep(a) + valueToStrep(b) + String8("null,rest");
  auto begin = text.begin();
  auto const end = text.end();
  EXPECT_EQ((Zon::sequenceToValue<Ptr<Dir>, String8::IteratorConst>(begin, end)), a);
  EXPECT_EQ((Zon::sequenceToValue<Ptr<Dir>, String8::IteratorConst>(begin, end)), b);
  EXPECT_EQ((Zon::sequenceToValue<Ptr<Dir>, String8::IteratorConst>(begin, end)), nullptr);
  EXPECT_EQ(text.view().substr(static_cast<std::size_t>(begin.position())), ",rest");
}

TEST(Strep, NothingBeyondTheEndIsRead) {
  auto const dir = newPtr<Dir>("a");
  String8 const text = valueToStrep(dir);
  for (std::ptrdiff_t end = 0; end != static_cast<std::ptrdiff_t>(text.length()); ++end) {
    auto begin = text.begin();
    EXPECT_EQ(Zon::sequenceToValueOfPtr(begin, text.begin() + end, static_cast<Zon::PtrInterface*>(nullptr)), nullptr);
    EXPECT_EQ(begin.position(), 0) << end;
  }
}

TEST(Strep, MalformedTextReadsAsNullAndConsumesNothing) {
  auto const dir = newPtr<Dir>("x");
  std::string const serial = serialIn(valueToStrep(dir));
  for (std::string const& text : {std::string("<"),
                                  std::string(">"),
                                  std::string("<>"),
                                  std::string("<#>"),
                                  "<#" + serial + ">",
                                  std::string("<Zon::Dir>"),
                                  std::string("<Zon::Dir#>"),
                                  std::string("<Zon::Dir#0>"),
                                  "<Zon::Dir#0" + serial + ">",
                                  "<Zon::Dir#+" + serial + ">",
                                  "<Zon::Dir#-" + serial + ">",
                                  "<Zon::Dir# " + serial + ">",
                                  "<Zon::Dir#" + serial,
                                  "<Zon::Dir#" + serial + " x",
                                  "<Zon::Dir#" + serial + "  x>",
                                  "<Zon::Dir#" + serial + " x y>",
                                  "<Zon::Dir#" + serial + " <>",
                                  "<Zon::Dir#" + serial + " \">",
                                  "<Zon::Dir#" + serial + " \\x4>",
                                  "<Zon::Dir#" + serial + " \\x>",
                                  "<Zon::Dir#" + serial + " \\xgg>",
                                  "<Zon::Dir#" + serial + " \\>",
                                  "<Zon::Dir#" + serial + " \x80>",
                                  "<Zon::Dir#" + serial + "x>",
                                  "<Zon::Dir#" + serial + "." + serial + ">",
                                  "<Zon Dir#" + serial + ">",
                                  "<Zon::Dir " + serial + ">",
                                  "<#Zon::Dir#" + serial + ">",
                                  "<Zon::Dir#" + serial + " a x41>",
                                  " <Zon::Dir#" + serial + ">",
                                  std::string("<Zon::Dir#18446744073709551616>"),
                                  std::string("<Zon::Dir#99999999999999999999999999>"),
                                  std::string("NULL"),
                                  std::string("nul"),
                                  std::string("0"),
                                  std::string("\0null", 5)}) {
    EXPECT_EQ(consumed(String8(text)), "null 0") << text;
    EXPECT_EQ(parsed<Dir>(String8(text)), "Range: junk at column 0 deserializing " + std::string(text.c_str())) << text;
  }
}

TEST(Strep, RandomTextNeverHarms) {
  unsigned const seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  auto const dir = newPtr<Dir>("a/b");
  std::string const good = valueToStrep(dir).stdString();
  for (int round = 0; round != 20000; ++round) {
    std::string text = good;
    for (int change = 0; change != 2; ++change) {
      std::size_t const at = random() % text.size();
      switch (random() % 3) {
      case 0:
        text[at] = static_cast<char>(random());
        break;
      case 1:
        text.erase(at, 1);
        break;
      default:
        text.insert(at, 1, static_cast<char>(random()));
      }
    }
    auto const result = consumed(String8(text));
    ASSERT_TRUE(result.starts_with("null ") || result.starts_with("object ")) << text;
    ASSERT_EQ(dir->zonReferences(), 1u);
  }
}

TEST(Strep, LongTextIsRefusedInOnePass) {
  std::string const text = "<" + std::string(1 << 20, 'a');
  EXPECT_EQ(consumed(String8(text)), "null 0");
  EXPECT_EQ(consumed(String8("<T#1 " + std::string(1 << 20, 'a') + ">")), "null " + std::to_string((1 << 20) + 6));
}

/// Reads its own text while it is being destroyed.
class Mourner : public Zon::Entity {
 public:
  Mourner(std::string* out, bool viaZeroReferences) : Entity("m"), out_(out), viaZeroReferences_(viaZeroReferences) {}
  ~Mourner() override {
    if (!viaZeroReferences_) read();
  }
  void zeroReferencesIs(bool) override {
    if (viaZeroReferences_) read();
  }

 private:
  void read() { *out_ = consumed(valueToStrep(static_cast<Zon::Entity*>(this))).substr(0, 4); }
  std::string* out_;
  bool viaZeroReferences_;
};

TEST(Strep, ObjectsBeingDestroyedReadAsNull) {
  std::string inDestructor;
  newPtr<Mourner>(&inDestructor, false);
  EXPECT_EQ(inDestructor, "null");
  std::size_t const before = Zon::strepObjects();
  std::string atZero;
  newPtr<Mourner>(&atZero, true);
  EXPECT_EQ(atZero, "null");
  EXPECT_EQ(Zon::strepObjects(), before);
}

TEST(Strep, ZombiesReadAsThemselves) {
  auto const dir = newPtr<Dir>("x");
  dir->zonMarkedForDeletionIs(true);
  EXPECT_EQ(strepToValue<Ptr<Dir>>(valueToStrep(dir)), dir);
}

TEST(Strep, ValuesReadBack) {
  EXPECT_EQ(valueToStrep(true), "true");
  EXPECT_EQ(valueToStrep(false), "false");
  EXPECT_EQ(valueToStrep("plain text"), "plain text") << "a pointer is no bool";
  EXPECT_EQ(strepToValue<bool>("true"), true);
  EXPECT_EQ(strepToValue<bool>("false"), false);
  for (std::int32_t const v :
       {0, -1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(strepToValue<std::int32_t>(valueToStrep(v)), v);
  }
  EXPECT_EQ(valueToStrep(std::uint32_t{4294967295U}), "4294967295");
  EXPECT_EQ(strepToValue<std::uint32_t>("4294967295"), 4294967295U);
  String8 const bytes(std::string("a\0<b> ", 6));
  EXPECT_EQ(valueToStrep(bytes), bytes);
  EXPECT_EQ(strepToValue<String8>(bytes), bytes);
  EXPECT_EQ(valueToStrep(Orvet::IntfId("Ethernet1/1")), "Ethernet1/1");
  EXPECT_EQ(strepToValue<Orvet::IntfId>("Ethernet1/1"), Orvet::IntfId("Ethernet1/1"));
  using State = Interface::IntfEnabledState;
  EXPECT_EQ(valueToStrep(State::disabled), "disabled");
  EXPECT_EQ(valueToStrep(static_cast<State>(7)), "7");
  for (State const s : {State::unset, State::enabled, State::disabled, static_cast<State>(-3)}) {
    EXPECT_EQ(strepToValue<State>(valueToStrep(s)), s);
  }
}

TEST(Strep, WhatTheSecondArgumentPointsToIsLeftAlone) {
  std::int32_t untouched = 5;
  EXPECT_EQ(strepToValue<std::int32_t>(String8("7"), &untouched), 7);
  EXPECT_EQ(untouched, 5);
}

TEST(Strep, TextThatIsNoValueIsRefused) {
  auto const read = [](auto type, char const* text) {
    using T = decltype(type);
    return outcome([&]() -> test::If { return strepToValue<T>(String8(text)), test::If(); });
  };
  EXPECT_EQ(read(bool(), "yes"), "Conversion: cannot convert \"yes\" to bool");
  EXPECT_EQ(read(bool(), "true "), "Range: junk at column 4 deserializing true ");
  EXPECT_EQ(read(std::int32_t(), "2147483648"), "Conversion: cannot convert \"2147483648\" to int");
  EXPECT_EQ(read(std::int32_t(), "1.5"), "Range: junk at column 1 deserializing 1.5");
  EXPECT_EQ(read(std::uint32_t(), "-1"), "Conversion: cannot convert \"-1\" to unsigned int");
  EXPECT_EQ(read(Interface::IntfEnabledState(), "on"),
            "Conversion: cannot convert \"on\" to Interface::IntfEnabledState");
}

}  // namespace
