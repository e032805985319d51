#include "Zon/String8.h"

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <malloc.h>

namespace {

using Zon::String8;

std::string bytes(std::initializer_list<int> values) {
  std::string out;
  for (int value : values)
    out.push_back(static_cast<char>(value));
  return out;
}

static_assert(sizeof(String8) == sizeof(void*));
static_assert(std::is_same_v<Zon::Name, String8>);
static_assert(std::is_convertible_v<char const*, String8>);
static_assert(std::is_convertible_v<std::string, String8>);
static_assert(!std::is_convertible_v<std::nullptr_t, String8>);
static_assert(std::is_nothrow_copy_constructible_v<String8>);
static_assert(std::is_nothrow_move_constructible_v<String8>);
static_assert(std::random_access_iterator<String8::IteratorConst>);

TEST(String8, IsAPointerAndTheEmptyOneHasNoData) {
  String8 const none;
  EXPECT_EQ(none.data(), nullptr);
  EXPECT_EQ(String8("").data(), nullptr);
  EXPECT_EQ(String8(std::string()).data(), nullptr);
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(none.length(), 0U);
  EXPECT_STREQ(none.cStr(), "");
  EXPECT_EQ(none, String8(""));
}

TEST(String8, CopiesShareTheBytesAndCountThem) {
  String8 a = "Ethernet1";
  EXPECT_EQ(a.data()->count(), 1U);
  {
    String8 const b = a;
    EXPECT_EQ(b.data(), a.data());
    EXPECT_EQ(a.data()->count(), 2U);
    String8 c = b;
    String8 const d = std::move(c);
    EXPECT_EQ(c.data(), nullptr);
    EXPECT_EQ(d.data()->count(), 3U);
  }
  EXPECT_EQ(a.data()->count(), 1U);
  String8& alias = a;
  a = alias;
  EXPECT_EQ(a, "Ethernet1");
  a = std::move(alias);
  EXPECT_EQ(a, "Ethernet1");
  EXPECT_EQ(a.data()->count(), 1U);
}

TEST(String8, CountingFollowsTheProcessSwitchAtEveryOperation) {
  String8 const a = "x";
  {
    String8 const plain = a;
    Zon::VFPtrInterface::enableThreadSafePointers = true;
    String8 const locked = a;
    EXPECT_EQ(a.data()->count(), 3U);
  }
  EXPECT_EQ(a.data()->count(), 1U);
  Zon::VFPtrInterface::enableThreadSafePointers = false;
}

TEST(String8, KeepsZeroBytesAndEndsWithOneMore) {
  std::string const raw = bytes({'a', 0, 'b', 0xff});
  String8 const text = raw;
  EXPECT_EQ(text.length(), 4U);
  EXPECT_EQ(text.stdString(), raw);
  EXPECT_EQ(std::memcmp(text.cStr(), "a\0b\xff\0", 5), 0);
}

TEST(String8, OrdersByUnsignedBytesShorterPrefixFirst) {
  std::vector<std::string> const ascending = {"",   bytes({0}), bytes({0, 0}), "a",           bytes({'a', 0}),
                                              "aa", "b",        bytes({0x7f}), bytes({0x80}), bytes({0xff})};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      String8 const a = ascending[i];
      String8 const b = ascending[j];
      EXPECT_EQ(a < b, i < j) << i << ' ' << j;
      EXPECT_EQ(a == b, i == j) << i << ' ' << j;
      EXPECT_EQ(a != b, i != j) << i << ' ' << j;
      EXPECT_EQ((a <=> b) > 0, i > j) << i << ' ' << j;
      if (!a.empty() && !b.empty()) {
        EXPECT_EQ(*a.data() == *b.data(), i == j);
        EXPECT_EQ(*a.data() < *b.data(), i < j);
      }
    }
  }
}

TEST(String8, ComparesWithPlainTextInEitherOrder) {
  String8 const text = "abc";
  EXPECT_TRUE(text == "abc");
  EXPECT_TRUE("abc" == text);
  EXPECT_TRUE(text != "abd");
  EXPECT_TRUE(std::string("abc") == text);
  EXPECT_TRUE(text == std::string_view("abc"));
}

TEST(String8, HashIsOfTheBytesAloneAndReversedHashMirrorsIt) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::string raw(random() % 40, '\0');
    for (char& c : raw)
      c = static_cast<char>(random());
    String8 const a = raw;
    String8 const b = raw;
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_EQ(a.hash(), a.hash());
    EXPECT_EQ(a.reversedHash(), Zon::bitReverse(a.hash()));
    EXPECT_EQ(String8::hashOf(raw), a.hash());
  }
}

TEST(String8, EveryByteOfAShortStringChangesTheHash) {
  for (std::size_t size = 1; size != 20; ++size) {
    std::string const plain(size, 'a');
    for (std::size_t at = 0; at != size; ++at) {
      std::string changed = plain;
      changed[at] = 'b';
      EXPECT_NE(String8(changed).hash(), String8(plain).hash()) << changed;
    }
  }
}

TEST(String8, ZeroBytesAtTheEndChangeTheHash) {
  std::set<std::uint32_t> seen;
  for (std::size_t length = 0; length < 64; ++length)
    seen.insert(String8(std::string(length, '\0')).hash());
  EXPECT_EQ(seen.size(), 64U);
}

// Buckets use the low bits of the hash first: names of interfaces must fill them evenly.
TEST(String8, LowHashBitsOfInterfaceNamesFillBucketsEvenly) {
  constexpr unsigned buckets = 1024;
  std::vector<int> load(buckets);
  std::set<std::uint32_t> distinct;
  for (int slot = 1; slot <= 16; ++slot) {
    for (int port = 1; port <= 64; ++port) {
      for (int lane = 1; lane <= 4; ++lane) {
        String8 const name =
            "Ethernet" + std::to_string(slot) + "/" + std::to_string(port) + "/" + std::to_string(lane);
        ++load[name.hash() % buckets];
        distinct.insert(name.hash());
      }
    }
  }
  // 4096 names: 4 a bucket on average; a Poisson spread leaves about 2 % empty and none above 16.
  EXPECT_GE(distinct.size(), 4094U);
  EXPECT_LT(std::count(load.begin(), load.end(), 0), 45);
  EXPECT_LT(*std::max_element(load.begin(), load.end()), 17);
}

TEST(String8, EveryInputBitChangesAboutHalfTheHash) {
  std::mt19937 random(2);
  for (std::size_t length : {1U, 3U, 8U, 9U, 17U, 31U}) {
    double changed = 0;
    int flips = 0;
    for (int round = 0; round < 50; ++round) {
      std::string raw(length, '\0');
      for (char& c : raw)
        c = static_cast<char>(random());
      for (std::size_t bit = 0; bit < length * 8; ++bit) {
        std::string other = raw;
        other[bit / 8] = static_cast<char>(other[bit / 8] ^ (1 << (bit % 8)));
        changed += __builtin_popcount(String8::hashOf(raw) ^ String8::hashOf(other));
        ++flips;
      }
    }
    EXPECT_NEAR(changed / flips, 16.0, 0.5) << "length " << length;
  }
}

TEST(String8, GivesItsMemoryBack) {
  auto const before = mallinfo2().uordblks;
  for (int i = 0; i != 100'000; ++i)
    String8(std::string(100, 'a'));
  EXPECT_LT(mallinfo2().uordblks, before + 1'000'000);
}

TEST(String8, ConcatenatesAllPartsOnce) {
  String8 const name = "Ethernet1";
  EXPECT_EQ(String8::concat({name.view(), "-", "17", "-", "drops"}), "Ethernet1-17-drops");
  EXPECT_EQ(String8::concat({}).data(), nullptr);
  EXPECT_EQ(String8::concat({"", ""}).data(), nullptr);
  EXPECT_EQ(name + "-" + String8("a"), "Ethernet1-a");
  EXPECT_EQ("<" + name + ">", "<Ethernet1>");
  EXPECT_EQ(name + std::string(1, '\0'), std::string("Ethernet1\0", 10));
  EXPECT_EQ((name + String8()).data(), name.data());
  EXPECT_EQ((String8() + name).data(), name.data());
  String8 sum = "a";
  sum += sum;
  EXPECT_EQ(sum, "aa");
}

TEST(String8, PrintsAllBytesAndLeavesWidthAndFlagsAlone) {
  std::ostringstream out;
  out << std::setw(10) << std::left << std::setfill('*') << std::hex << String8(std::string("a\0b", 3));
  EXPECT_EQ(out.str(), std::string("a\0b", 3));
  EXPECT_EQ(out.width(), 10);
  out << 255;
  EXPECT_EQ(out.str(), std::string("a\0bff********", 13));
}

TEST(String8Iterator, WalksBytesWithPositionsFromZero) {
  String8 const text = bytes({'a', 0, 0xff});
  std::string seen;
  for (auto it = text.begin(); it != text.end(); ++it) {
    seen += std::to_string(it.position()) + '=' + std::to_string(*it) + ' ';
  }
  EXPECT_EQ(seen, "0=97 1=0 2=255 ");
  EXPECT_EQ(text.end().position(), 3);
  EXPECT_TRUE(text.end().atEnd());
  EXPECT_EQ(String8().begin(), String8().end());
}

TEST(String8Iterator, OffersRandomAccess) {
  String8 const text = "abcdef";
  auto it = text.begin() + 2;
  EXPECT_EQ(*it, 'c');
  EXPECT_EQ(it[-1], 'b');
  EXPECT_EQ(*(it += 3), 'f');
  EXPECT_EQ(*(it -= 1), 'e');
  EXPECT_EQ(*it--, 'e');
  EXPECT_EQ(*it++, 'd');
  EXPECT_EQ(it - text.begin(), 4);
  EXPECT_EQ(text.end() - it, 2);
  EXPECT_LT(text.begin(), it);
  EXPECT_GE(text.end(), 1 + it);
  EXPECT_EQ(std::string(text.begin(), text.end()), "abcdef");
}

TEST(String8Iterator, OutlivesTheStringItCameFrom) {
  String8::IteratorConst it;
  String8::IteratorConst end;
  {
    String8 const text = "gone";
    it = text.begin();
    end = text.end();
  }
  EXPECT_EQ(std::string(it, end), "gone");
}

TEST(String8IteratorDeathTest, ReadingOutsideTheStringIsAsserted) {
  String8 const text = "ab";
  EXPECT_DEATH((void)*text.end(), "assertion \"position inside the string\" failed: Zon/String8:");
  EXPECT_DEATH((void)text.begin()[-1], "assertion");
  EXPECT_DEATH((void)*String8::IteratorConst(), "assertion");
}

TEST(String8DeathTest, NullTextIsAsserted) {
  char const* volatile null = nullptr;
  EXPECT_DEATH(String8{null}, "assertion \"text != 0\" failed");
}

TEST(Format, FillsTextsAndIntegers) {
  EXPECT_EQ(Zon::format("junk at column %lld deserializing %s", 3, String8("abc")),
            "junk at column 3 deserializing abc");
  EXPECT_EQ(Zon::format("%s-%hhu-%s", "e", 17U, std::string("d")), "e-17-d");
  EXPECT_EQ(Zon::format("100%%"), "100%");
  EXPECT_EQ(Zon::format(""), "");
  EXPECT_EQ(Zon::format("%lld %lld", std::numeric_limits<long long>::min(), -1), "-9223372036854775808 -1");
  EXPECT_EQ(Zon::format("%hhu%hhu", 256, -1), "0255");
}

TEST(Format, KeepsZeroBytesOfAText) {
  EXPECT_EQ(Zon::format("<%s>", String8(std::string("a\0b", 3))), std::string("<a\0b>", 5));
}

TEST(Format, APercentSignInsideAnArgumentMeansNothing) { EXPECT_EQ(Zon::format("%s", "%lld%"), "%lld%"); }

TEST(FormatDeathTest, WhateverDoesNotFitIsAsserted) {
  EXPECT_DEATH(Zon::format("%d", 1), "a known conversion");
  EXPECT_DEATH(Zon::format("%"), "a known conversion");
  EXPECT_DEATH(Zon::format("%ll", 1), "a known conversion");
  EXPECT_DEATH(Zon::format("%s"), "an argument for every conversion");
  EXPECT_DEATH(Zon::format("%s", 1), "the argument fits its conversion");
  EXPECT_DEATH(Zon::format("%lld", "1"), "the argument fits its conversion");
  EXPECT_DEATH(Zon::format("x", 1), "a conversion for every argument");
}

TEST(BitReverse, MovesEveryBitToItsMirrorPlace) {
  for (unsigned bit = 0; bit < 32; ++bit)
    EXPECT_EQ(Zon::bitReverse(1U << bit), 1U << (31 - bit));
  EXPECT_EQ(Zon::bitReverse(0), 0U);
  EXPECT_EQ(Zon::bitReverse(0x12345678U), 0x1e6a2c48U);
}

}  // namespace
