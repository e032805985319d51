// Interfaces that stand for no type's table: the base, and those of any object and any entity.

#include <gtest/gtest.h>

#include "Zon/Dir.h"
#include "Zon/GenericIfPtrInterface.h"
#include "support/Reflected.h"

namespace {

using test::outcome;
using test::text;
using Zon::newPtr;
using Zon::Ptr;

TEST(GenericIf, AValueHasNoIterators) {
  auto const value = text("a");
  std::string const refused = "Op: unknown: operation " + std::to_string(test::Op::iterate) + " not supported";
  EXPECT_EQ(outcome([&] { return value->attributeIterator(258); }), refused);
  EXPECT_EQ(outcome([&] { return value->attributeIteratorConst(258); }), refused);
  EXPECT_EQ(outcome([&] { return value->attributeIteratorKey(258, text("k")); }), refused);
}

TEST(GenericIf, OfAnyObjectIsConstWhenTheObjectIs) {
  auto const dir = newPtr<Zon::Dir>("d");
  EXPECT_FALSE(newPtr<Zon::GenericIfPtrInterface>(Ptr<Zon::PtrInterface>(dir))->isConst());
  EXPECT_TRUE(newPtr<Zon::GenericIfPtrInterface>(Ptr<Zon::PtrInterface const>(dir))->isConst());
  EXPECT_FALSE(newPtr<Zon::GenericIfEntity>(Ptr<Zon::Entity>(dir))->isConst());
  EXPECT_TRUE(newPtr<Zon::GenericIfEntity>(Ptr<Zon::Entity const>(dir))->isConst());
}

}  // namespace
