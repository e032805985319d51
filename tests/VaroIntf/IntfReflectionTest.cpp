// Every attribute of the interface directory module's types with every operation: by name, by id, and on a const
// instance.

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/ZonAttr.h"
#include "support/Intf.h"
#include "support/Reflected.h"

namespace {

using namespace Support;
using namespace test;
using Zon::newPtr;
using Zon::Ptr;

/// What an attribute is tried with: the key of a collection's member, and what it is set to or called with.
struct Tried {
  char const* name;
  If key;
  If value;
};

struct Type {
  char const* name;
  /// An object whose every attribute has something to show.
  Ptr<Zon::PtrInterface> (*make)();
  std::vector<Tried> (*attributes)();
  char const* expected;
};

void PrintTo(Type const& type, std::ostream* out) { *out << type.name; }

class IntfReflection : public testing::TestWithParam<Type> {};

/// "-" for an operation the attribute does not have, "refused" for a write to a const instance, else the answer.
std::string told(std::string const& answer, std::string const& attribute, unsigned opId) {
  if (answer == "Op: " + attribute + ": operation " + std::to_string(opId) + " not supported") return "-";
  return answer == "Const: attempting to modify a const instance" ? "refused" : answer;
}

/// One line an attribute and operation that somebody has: the answer, " | ", the answer of a const instance.
std::string answersOf(Type const& type) {
  constexpr std::pair<unsigned, char const*> operations[] = {
      {Op::get, "get"}, {Op::iterate, "iterate"}, {Op::size, "size"}, {Op::set, "set"},
      {Op::del, "del"}, {Op::delAll, "delAll"},   {Op::call, "call"}};
  auto const node = Zon::ZonType::typeNode(type.name);
  auto const tried = type.attributes();
  EXPECT_EQ(tried.size(), node->attributeQs());
  std::string lines;
  for (auto const& one : tried) {
    char const* const name = one.name;
    auto const attribute = node->attributeQIdx(name);
    if (!attribute) {
      ADD_FAILURE() << name;
      continue;
    }
    for (auto const& operation : operations) {
      unsigned const opId = operation.first;
      If const wanted = opId == Op::set || opId == Op::call ? one.value : nullptr;
      // Removing and reading need the key, setting a collection's member does not.
      If const where = opId == Op::get || opId == Op::del ? one.key : nullptr;
      auto const answer = [&](bool isConst, bool isById) {
        // A new one for every question.
        auto const object = type.make();
        auto const on = isConst ? node->genericIfConst(object) : node->genericIf(object);
        auto const answered =
            isById ? op(on, attribute->attributeId(), opId, where, wanted) : byName(on, name, opId, where, wanted);
        // What was set is what is read.
        if (auto const given = Zon::ptrCast<Zon::GenericIfAnyRef>(wanted); given && answered == "null") {
          auto const read = Zon::ptrCast<Zon::GenericIfAnyRef>(on->attributeOpByName(name, Op::get));
          EXPECT_EQ(read->zonObject(), given->zonObject()) << name;
        }
        return told(answered, name, opId);
      };
      std::string const line = answer(false, false) + " | " + answer(true, false);
      if (attribute->attributeId() != 0) {
        EXPECT_EQ(answer(false, true) + " | " + answer(true, true), line) << name << " " << operation.second;
      }
      if (line != "- | -" && line != "- | refused")
        lines += std::string(name) + " " + operation.second + ": " + line + "\n";
    }
  }
  return lines;
}

TEST_P(IntfReflection, AnswersEveryOperationOnEveryAttribute) { EXPECT_EQ(answersOf(GetParam()), GetParam().expected); }

If onOrOff() { return list(value(true)); }
If activity() { return ref(immediate()); }

Ptr<StatusDir> oneStatus() {
  auto const dir = newPtr<StatusDir>("s");
  dir->intfStatusIs(newStatus("E1"));
  return dir;
}

Ptr<VaroIntf::Agent> wiredAgent() {
  auto const agent = VaroIntf::agentFactory("a");
  agent->allIntfReactorIs(immediate(), newPtr<ConfigDir>("c"), newPtr<StatusDir>("s"));
  agent->allIntfStatusDirSmIs(immediate(), oneStatus());
  agent->allIntfQueueCounterReactorIs(immediate(), newPtr<PtrDir>("o"), newPtr<Zon::Dir>("i"));
  return agent;
}

Type const types[] = {
    {"VaroIntf::Agent", [] { return Ptr<Zon::PtrInterface>(wiredAgent()); },
     [] {
       return std::vector<Tried>{
           {"isNondestructing", {}, value(false)},
           {"allIntfDir", {}, list(text("b"))},
           {"allIntfReactor", {}, list(activity(), ref(newPtr<ConfigDir>("c")), ref(newPtr<StatusDir>("s")))},
           {"allIntfStatusDirSm", {}, list(activity(), ref(newPtr<StatusDir>("s")))},
           {"allIntfQueueCounterReactor", {}, list(activity(), ref(newPtr<PtrDir>("o")), ref(newPtr<Zon::Dir>("i")))},
       };
     },
     R"(isNondestructing get: false | false
isNondestructing set: null | refused
allIntfDir get: if AllIntfDir | const if AllIntfDir
allIntfDir set: if AllIntfDir | refused
allIntfDir del: if AllIntfDir | refused
allIntfReactor get: if AllIntfReactor | const if AllIntfReactor
allIntfReactor set: if AllIntfReactor | refused
allIntfReactor del: if AllIntfReactor | refused
allIntfStatusDirSm get: if AllIntfStatusDirSm | const if AllIntfStatusDirSm
allIntfStatusDirSm set: if AllIntfStatusDirSm | refused
allIntfStatusDirSm del: if AllIntfStatusDirSm | refused
allIntfQueueCounterReactor get: if AllIntfQueueCounterReactor | const if AllIntfQueueCounterReactor
allIntfQueueCounterReactor set: if AllIntfQueueCounterReactor | refused
allIntfQueueCounterReactor del: if AllIntfQueueCounterReactor | refused
)"},
    {"VaroIntf::AllIntfDir", [] { return Ptr<Zon::PtrInterface>(newPtr<VaroIntf::AllIntfDir>("d")); },
     [] {
       return std::vector<Tried>{
           {"isNondestructing", {}, value(false)}, {"config", {}, list(text("c"))}, {"status", {}, list(text("s"))}};
     },
     R"(isNondestructing get: false | false
isNondestructing set: null | refused
config get: if AllIntfConfigDir | const if AllIntfConfigDir
config set: if AllIntfConfigDir | refused
config del: if AllIntfConfigDir | refused
status get: if AllIntfStatusDir | const if AllIntfStatusDir
status set: if AllIntfStatusDir | refused
status del: if AllIntfStatusDir | refused
)"},
    {"VaroIntf::AllIntfReactor",
     [] {
       return Ptr<Zon::PtrInterface>(newPtr<VaroIntf::AllIntfReactor>(immediate(), newPtr<ConfigDir>("c"),
                                                                      newPtr<StatusDir>("s"), newPtr<ConfigDir>("i"),
                                                                      newPtr<StatusDir>("j")));
     },
     [] {
       return std::vector<Tried>{{"zonFwkActivity", {}, activity()},
                                 {"configOut", {}, ref(newPtr<ConfigDir>("d"))},
                                 {"statusOut", {}, ref(newPtr<StatusDir>("d"))},
                                 {"configIn", {}, ref(newPtr<ConfigDir>("d"))},
                                 {"statusIn", {}, ref(newPtr<StatusDir>("d"))},
                                 {"hasNotificationActiveIs", {}, onOrOff()},
                                 {"zonDoZombieReactors", {}, onOrOff()}};
     },
     R"(zonFwkActivity get: ref ActivityConfig | ref ActivityConfig
zonFwkActivity set: null | refused
configOut get: ref AllIntfConfigDir | ref AllIntfConfigDir
statusOut get: ref AllIntfStatusDir | ref AllIntfStatusDir
configIn get: ref AllIntfConfigDir | ref AllIntfConfigDir
configIn set: null | refused
configIn del: ref AllIntfConfigDir | refused
statusIn get: ref AllIntfStatusDir | ref AllIntfStatusDir
statusIn set: null | refused
statusIn del: ref AllIntfStatusDir | refused
hasNotificationActiveIs call: null | refused
zonDoZombieReactors call: null | refused
)"},
    {"VaroIntf::AllIntfStatusDirSm",
     [] {
       return Ptr<Zon::PtrInterface>(VaroIntf::AllIntfStatusDirSm::AllIntfStatusDirSmIs(immediate(), oneStatus()));
     },
     [] {
       return std::vector<Tried>{{"zonFwkActivity", {}, activity()},
                                 {"allIntfStatusDir", {}, ref(newPtr<StatusDir>("d"))},
                                 {"intfStatusReactor", intf("E1"), list(ref(newStatus("E2")))},
                                 {"handleIntfStatus", {}, list(intf("E1"))},
                                 {"hasNotificationActiveIs", {}, onOrOff()},
                                 {"zonDoZombieReactors", {}, onOrOff()}};
     },
     R"(zonFwkActivity get: ref ActivityConfig | ref ActivityConfig
zonFwkActivity set: null | refused
allIntfStatusDir get: ref AllIntfStatusDir | ref AllIntfStatusDir
allIntfStatusDir set: null | refused
allIntfStatusDir del: ref AllIntfStatusDir | refused
intfStatusReactor get: if IntfStatusReactor | const if IntfStatusReactor
intfStatusReactor iterate: iterator | const iterator
intfStatusReactor size: u1 | u1
intfStatusReactor set: if IntfStatusReactor | refused
intfStatusReactor del: if IntfStatusReactor | refused
intfStatusReactor delAll: null | refused
handleIntfStatus call: null | refused
hasNotificationActiveIs call: null | refused
zonDoZombieReactors call: null | refused
)"},
    {"VaroIntf::IntfStatusReactor",
     [] { return Ptr<Zon::PtrInterface>(newPtr<VaroIntf::IntfStatusReactor>(newStatus("E1"))); },
     [] {
       return std::vector<Tried>{{"zonFwkActivity", {}, activity()},
                                 {"intfStatus", {}, ref(newStatus("E2"))},
                                 {"intfId", {}, intf("E2")},
                                 {"handleForwardingModelInputs", {}, list()},
                                 {"fwkKey", {}, intf("E2")},
                                 {"hasNotificationActiveIs", {}, onOrOff()},
                                 {"zonDoZombieReactors", {}, onOrOff()}};
     },
     R"(zonFwkActivity get: ref null | ref null
intfStatus get: ref IntfStatus | ref IntfStatus
intfStatus set: null | refused
intfId get: id E1 | id E1
handleForwardingModelInputs call: null | refused
fwkKey get: id E1 | id E1
hasNotificationActiveIs call: null | refused
zonDoZombieReactors call: null | refused
)"},
    {"VaroIntf::AllIntfQueueCounterReactor",
     [] {
       auto const slices = newPtr<Zon::Dir>("i");
       slices->entityPtrIs(newSlice("a", {"E1"}));
       return Ptr<Zon::PtrInterface>(VaroIntf::AllIntfQueueCounterReactor::AllIntfQueueCounterReactorIs(
           immediate(), newPtr<PtrDir>("o"), slices));
     },
     [] {
       return std::vector<Tried>{
           {"zonFwkActivity", {}, activity()},
           {"counterOut", {}, ref(newPtr<PtrDir>("p"))},
           {"counterIn", {}, ref(newPtr<Zon::Dir>("d"))},
           {"sliceSm", text("a"), list(activity(), text("b"), ref(newPtr<PtrDir>("p")), ref(newPtr<Slice>("b")))},
           {"handleQueueCounterDir", {}, list(text("a"))},
           {"hasNotificationActiveIs", {}, onOrOff()},
           {"zonDoZombieReactors", {}, onOrOff()}};
     },
     R"(zonFwkActivity get: ref ActivityConfig | ref ActivityConfig
zonFwkActivity set: null | refused
counterOut get: ref AllIntfQueueCounterPtrDir | ref AllIntfQueueCounterPtrDir
counterIn get: ref Dir | ref Dir
counterIn set: null | refused
counterIn del: ref Dir | refused
sliceSm get: if AllIntfQueueCounterSliceReactor | const if AllIntfQueueCounterSliceReactor
sliceSm iterate: iterator | const iterator
sliceSm size: u1 | u1
sliceSm set: if AllIntfQueueCounterSliceReactor | refused
sliceSm del: if AllIntfQueueCounterSliceReactor | refused
sliceSm delAll: null | refused
handleQueueCounterDir call: null | refused
hasNotificationActiveIs call: null | refused
zonDoZombieReactors call: null | refused
)"},
    {"VaroIntf::AllIntfQueueCounterSliceReactor",
     [] {
       return Ptr<Zon::PtrInterface>(VaroIntf::AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactorIs(
           immediate(), "a", newPtr<PtrDir>("o"), newSlice("a", {"E1"})));
     },
     [] {
       return std::vector<Tried>{{"zonFwkActivity", {}, activity()},
                                 {"sliceName", {}, text("b")},
                                 {"counterOut", {}, ref(newPtr<PtrDir>("p"))},
                                 {"counterIn", {}, ref(newPtr<Slice>("b"))},
                                 {"intfQueueCounterSm", intf("E1"),
                                  list(activity(), intf("E2"), ref(newCounters("E2")), ref(newPtr<Slice>("b")))},
                                 {"handleQueueCounterDir", {}, list(intf("E1"))},
                                 {"doPrepareToDie", {}, list()},
                                 {"fwkKey", {}, text("b")},
                                 {"hasNotificationActiveIs", {}, onOrOff()},
                                 {"zonDoZombieReactors", {}, onOrOff()}};
     },
     R"(zonFwkActivity get: ref ActivityConfig | ref ActivityConfig
zonFwkActivity set: null | refused
sliceName get: "a" | "a"
counterOut get: ref AllIntfQueueCounterPtrDir | ref AllIntfQueueCounterPtrDir
counterIn get: ref AllIntfQueueCounterDir | ref AllIntfQueueCounterDir
counterIn set: null | refused
counterIn del: ref AllIntfQueueCounterDir | refused
intfQueueCounterSm get: if AllIntfQueueCounterSliceIntfCounterReactor | const if AllIntfQueueCounterSliceIntfCounterReactor
intfQueueCounterSm iterate: iterator | const iterator
intfQueueCounterSm size: u1 | u1
intfQueueCounterSm set: if AllIntfQueueCounterSliceIntfCounterReactor | refused
intfQueueCounterSm del: if AllIntfQueueCounterSliceIntfCounterReactor | refused
intfQueueCounterSm delAll: null | refused
handleQueueCounterDir call: null | refused
doPrepareToDie call: null | refused
fwkKey get: "a" | "a"
hasNotificationActiveIs call: null | refused
zonDoZombieReactors call: null | refused
)"},
    {"VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor",
     [] {
       return Ptr<Zon::PtrInterface>(
           VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::AllIntfQueueCounterSliceIntfCounterReactorIs(
               immediate(), "E1", newCounters("E1", {"c"}), newPtr<Slice>("a")));
     },
     [] {
       return std::vector<Tried>{{"zonFwkActivity", {}, activity()},
                                 {"intfId", {}, intf("E2")},
                                 {"intfQueueCounterDir", {}, ref(newCounters("E2"))},
                                 {"allIntfQueueCounterDir", {}, ref(newPtr<Slice>("b"))},
                                 {"handleQueueCounter", {}, list(text("c"))},
                                 {"fwkKey", {}, intf("E2")},
                                 {"hasNotificationActiveIs", {}, onOrOff()},
                                 {"zonDoZombieReactors", {}, onOrOff()}};
     },
     R"(zonFwkActivity get: ref ActivityConfig | ref ActivityConfig
zonFwkActivity set: null | refused
intfId get: id E1 | id E1
intfQueueCounterDir get: const ref IntfQueueCounterDir | const ref IntfQueueCounterDir
intfQueueCounterDir set: null | refused
intfQueueCounterDir del: const ref IntfQueueCounterDir | refused
allIntfQueueCounterDir get: ref AllIntfQueueCounterDir | ref AllIntfQueueCounterDir
handleQueueCounter call: null | refused
fwkKey get: id E1 | id E1
hasNotificationActiveIs call: null | refused
zonDoZombieReactors call: null | refused
)"},
};

INSTANTIATE_TEST_SUITE_P(Of, IntfReflection, testing::ValuesIn(types),
                         [](auto const& type) { return std::string(type.param.name).substr(sizeof "VaroIntf:"); });

}  // namespace
