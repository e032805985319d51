// What reflection calls, factories and the types of a module at its registration, throws, once each.

#include <utility>

#include <gtest/gtest.h>

#include "Zon/AttrTable.h"
#include "faults/CallOuts.h"
#include "support/Reflected.h"

namespace Faults {

extern Zon::TypeModule madeModule;
extern Zon::TypeModule brokenModule;

/// What a factory makes that calls out before, while and after it does.
class Made final : public Zon::PtrInterface {
 public:
  explicit Made(Zon::Name name) : name_(std::move(name)) { call("constructor"); }
  Zon::ZonType* fwkType() const override { return _fwkType(); }
  static Zon::ZonType* _fwkType();
  using GenericIf_ = Zon::TableGenericIf<Made>;

  static Zon::Ptr<Made> make(Zon::Name name) {
    call("before");
    auto const made = Zon::newPtr<Made>(std::move(name));
    call("after");
    return made;
  }

  Zon::Name const& name() const { return name_; }

  inline static CallOuts* calls = nullptr;
  inline static int alive = 0;

 private:
  /// Counts whatever was constructed, wholly or in part.
  struct Census {
    Census() { ++alive; }
    ~Census() { --alive; }
    Census(Census const&) = delete;
    Census& operator=(Census const&) = delete;
  };
  static void call(char const* what) {
    if (calls != nullptr) (*calls)(what);
  }

  Census const census_;
  Zon::Name const name_;
};

namespace {
constexpr auto creation = Zon::creator(&Made::make, "name");
constinit Zon::TypeSlot madeSlot =
    Zon::typeSlot<Made>(madeModule, "Faults::Made", &Zon::PtrInterface::_fwkType).constructible<creation>();
constinit Zon::TypeSlot brokenSlot = Zon::valueTypeSlot(brokenModule, "Faults::BesideAThrowingOne");
Zon::ZonType* besideThrowing() { return brokenSlot.node(); }
Zon::ZonType* throwing() { throw Plain{7}; }
constexpr Zon::TypeModule::Type madeTypes[] = {&Made::_fwkType};
constexpr Zon::TypeModule::Type brokenTypes[] = {&besideThrowing, &throwing};

}  // namespace

constinit Zon::TypeModule madeModule(madeTypes);
constinit Zon::TypeModule brokenModule(brokenTypes);
Zon::ZonType* Made::_fwkType() { return madeSlot.node(); }

namespace {

using Zon::Ptr;

TEST(ReflectionFaults, WhatAFactoryThrowsPassesAndTheNextInstanceIsMade) {
  auto const make = [](Ptr<Zon::GenericIf> const& arguments) {
    return Zon::ptrCast<Made>(Made::_fwkType()->genericFactory()(arguments));
  };
  int thrown = 0;
  for (Throwing const& throwing : throwings) {
    for (int position = 0; position != 3; ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      Made::calls = &calls;
      auto const name = test::text("made");
      auto const arguments = test::list(name);
      auto const references = name->zonReferences();
      EXPECT_EQ(thrownBy([&] { make(arguments); }), throwing.name);
      EXPECT_EQ(Made::alive, 0) << calls.struck();
      EXPECT_EQ(name->zonReferences(), references);
      auto const made = make(arguments);
      ASSERT_TRUE(made);
      EXPECT_EQ(made->name(), "made");
      EXPECT_EQ(Made::alive, 1);
      EXPECT_EQ(made->zonReferences(), 1U);
      Made::calls = nullptr;
      ++thrown;
    }
  }
  EXPECT_EQ(thrown, 6);
}

TEST(ReflectionFaults, ATypeThatThrowsLeavesItsModuleUnregisteredAndTheNextOneRegisters) {
  EXPECT_FALSE(brokenModule.registerTypes());
  EXPECT_FALSE(brokenModule.registered());
  EXPECT_EQ(Zon::ZonType::typeNode("Faults::BesideAThrowingOne"), nullptr);
  EXPECT_TRUE(madeModule.registerTypes());
  auto const type = Zon::ZonType::typeNode("Faults::Made");
  EXPECT_EQ(type, Made::_fwkType());
  EXPECT_EQ(type->baseType(), Zon::PtrInterface::_fwkType());
}

}  // namespace
}  // namespace Faults
