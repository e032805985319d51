#include "host/NaturalOrder.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using VaroHost::NaturalOrder;

TEST(NaturalOrder, NumbersCompareAsNumbers) {
  std::vector<std::string> names = {"Ethernet10", "Ethernet2", "Ethernet1"};
  std::sort(names.begin(), names.end(), NaturalOrder());
  EXPECT_EQ(names, (std::vector<std::string>{"Ethernet1", "Ethernet2", "Ethernet10"}));
}

TEST(NaturalOrder, EachPartOfAPathCounts) {
  std::vector<std::string> names = {"3/10/1", "3/1/10", "3/1/2", "3/1", "12/1/1"};
  std::sort(names.begin(), names.end(), NaturalOrder());
  EXPECT_EQ(names, (std::vector<std::string>{"3/1", "3/1/2", "3/1/10", "3/10/1", "12/1/1"}));
}

TEST(NaturalOrder, NumbersMayHaveAnyLength) {
  EXPECT_TRUE(NaturalOrder()("a99999999999999999999999998", "a99999999999999999999999999"));
  EXPECT_TRUE(NaturalOrder()("a9", "a" + std::string(300, '9')));
}

TEST(NaturalOrder, NamesThatDifferOnlyInLeadingZerosAreDifferent) {
  EXPECT_NE(NaturalOrder::compare("a01", "a1"), std::strong_ordering::equal);
  EXPECT_NE(NaturalOrder::compare("a0", "a"), std::strong_ordering::equal);
  EXPECT_EQ(NaturalOrder::compare("a01", "a01"), std::strong_ordering::equal);
}

TEST(NaturalOrder, APrefixComesFirst) {
  EXPECT_TRUE(NaturalOrder()("", "a"));
  EXPECT_TRUE(NaturalOrder()("eth", "eth0"));
  EXPECT_TRUE(NaturalOrder()("eth1", "eth1.100"));
}

TEST(NaturalOrder, IsAStrictTotalOrderOfRandomNames) {
  unsigned const seed = std::random_device{}();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  std::vector<std::string> names;
  for (int count = 0; count < 60; ++count) {
    std::string name;
    for (auto length = random() % 5; length > 0; --length) {
      name += "01a/"[random() % 4];
    }
    names.push_back(name);
  }
  for (auto const& a : names) {
    for (auto const& b : names) {
      EXPECT_EQ(NaturalOrder::compare(a, b) == 0, a == b) << a << " " << b;
      EXPECT_EQ(NaturalOrder::compare(a, b) < 0, NaturalOrder::compare(b, a) > 0) << a << " " << b;
      for (auto const& c : names) {
        if (NaturalOrder()(a, b) && NaturalOrder()(b, c)) {
          EXPECT_TRUE(NaturalOrder()(a, c)) << a << " " << b << " " << c;
        }
      }
    }
  }
}
