#include "Zon/Exception.h"

#include <cstdint>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace Zon;

static_assert(std::is_base_of_v<std::exception, Exception>);
static_assert(std::is_base_of_v<RangeException, ConversionException>);
static_assert(!std::is_base_of_v<RangeException, NameInUseException>);
static_assert(!std::is_base_of_v<RangeException, TypeException>);
static_assert(!std::is_base_of_v<TypeException, ConstException>);
static_assert(std::is_nothrow_copy_constructible_v<RangeException>);
static_assert(std::is_nothrow_copy_constructible_v<OpNotSupportedException>);

TEST(Exception, CarriesTextIdsAndFlag) {
  Exception::IdBitArray ids;
  ids.idIs(12);
  RangeException const exception(std::string("a\0b", 3), ids, true);
  EXPECT_EQ(exception.text(), std::string("a\0b", 3));
  EXPECT_STREQ(exception.what(), "a");
  EXPECT_TRUE(exception.ids().id(12));
  EXPECT_FALSE(exception.ids().id(11));
  EXPECT_TRUE(exception.flag());
}

TEST(Exception, EveryIdAloneMakesASetOfIds) {
  EXPECT_TRUE(Exception::IdBitArray().empty());
  for (unsigned id = 0; id != Exception::IdBitArray::capacity; ++id) {
    Exception::IdBitArray ids;
    ids.idIs(id);
    EXPECT_FALSE(ids.empty()) << id;
    EXPECT_TRUE(ids.id(id)) << id;
  }
}

TEST(Exception, IdsBehindTheLastAreInNoSetWhateverStandsBehindIt) {
  struct {
    Exception::IdBitArray ids;
    std::uint64_t behind = ~std::uint64_t{0};
  } const set;
  EXPECT_NE(set.behind, 0U);
  EXPECT_FALSE(set.ids.id(Exception::IdBitArray::capacity));
  EXPECT_FALSE(set.ids.id(~0U));
}

TEST(Exception, DefaultsToNoIdsAndNoFlag) {
  TypeException const exception("intfId");
  EXPECT_STREQ(exception.what(), "intfId");
  EXPECT_TRUE(exception.ids().empty());
  EXPECT_FALSE(exception.flag());
  EXPECT_STREQ(RangeException("").what(), "");
}

TEST(Exception, ThrowersThrowTheirKindWithTheirText) {
  try {
    throwRangeException("null ValidPtr");
    FAIL();
  } catch (NameInUseException const&) {
    FAIL();
  } catch (RangeException const& exception) {
    EXPECT_STREQ(exception.what(), "null ValidPtr");
  }
  try {
    throwNameInUseException("taken");
    FAIL();
  } catch (RangeException const&) {
    FAIL();
  } catch (NameInUseException const& exception) {
    EXPECT_STREQ(exception.what(), "taken");
  }
}

TEST(Exception, OpNotSupportedNamesAttributeAndOperation) {
  OpNotSupportedException const exception("configIn", 128, true);
  EXPECT_STREQ(exception.what(), "configIn: operation 128 not supported");
  EXPECT_EQ(exception.attribute(), "configIn");
  EXPECT_EQ(exception.opId(), 128U);
  EXPECT_TRUE(exception.flag());
  EXPECT_STREQ(OpNotSupportedException("x", 4294967295U, false).what(), "x: operation 4294967295 not supported");
}

TEST(ExceptionIdBitArray, KeepsEachIdByItself) {
  Exception::IdBitArray ids;
  EXPECT_TRUE(ids.empty());
  for (unsigned id : {0U, 12U, 63U, 64U, 255U})
    ids.idIs(id);
  for (unsigned id = 0; id < 300; ++id) {
    EXPECT_EQ(ids.id(id), id == 0 || id == 12 || id == 63 || id == 64 || id == 255) << id;
  }
  EXPECT_FALSE(ids.empty());
  Exception::IdBitArray const copy = ids;
  EXPECT_EQ(copy, ids);
}

TEST(ExceptionIdBitArrayDeathTest, AnIdBeyondTheCapacityIsAsserted) {
  Exception::IdBitArray ids;
  EXPECT_DEATH(ids.idIs(256), "assertion \"id < capacity\" failed");
}

TEST(Expect, RunsTheCallAndLeavesTheHandlerAlone) {
  std::string events;
  Expect(0).run([&] { events += "call "; }, [&](char const*) { events += "handler "; });
  EXPECT_EQ(events, "call ");
}

TEST(Expect, HandsTheTextOfWhateverIsThrownToTheHandler) {
  std::string events;
  auto const note = [&](char const* text) { events += std::string(text) + "|"; };
  Expect const guard(7);
  guard.run([] { throw std::runtime_error("boom"); }, note);
  guard.run([] { throwRangeException("range"); }, note);
  guard.run([] { throw 5; }, note);
  guard.run([] { throw std::string("no exception class"); }, note);
  EXPECT_EQ(events, "boom|range|unknown exception|unknown exception|");
  EXPECT_EQ(guard.exceptionId(), 7U);
}

TEST(Expect, LetsOutWhatTheHandlerThrows) {
  EXPECT_THROW(Expect(0).run([] { throw 1; }, [](char const*) { throw std::logic_error("second"); }), std::logic_error);
}

TEST(Expect, NestsWithoutMixingTexts) {
  std::string events;
  Expect(0).run([] { throw std::runtime_error("outer"); },
                [&](char const* outer) {
                  Expect(0).run([] { throw std::runtime_error("inner"); },
                                [&](char const* inner) { events += std::string(inner) + ' '; });
                  events += outer;
                });
  EXPECT_EQ(events, "inner outer");
}

}  // namespace
