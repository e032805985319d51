#include <array>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VaroIntf/AllIntfDir.h"
#include "Zon/Trace.h"
#include "faults/FailingAllocations.h"
#include "faults/World.h"
#include "support/Reflected.h"
#include "support/SampleReactor.h"

namespace Faults {
namespace {

using Which = FailingAllocations::Which;

/// One operation of the runtime on objects of its own. It may be repeated after it failed.
class Life {
 public:
  virtual ~Life() = default;
  virtual void act() = 0;
  /// What can be seen, a fact a line.
  virtual std::string seen() = 0;
  /// Whether the operation promises to get by without memory.
  virtual bool neverThrows() const { return false; }
};

/// Concatenation, formatting and keeping of names.
class Names final : public Life {
 public:
  void act() override {
    kept_ = Zon::format("%s has %lld blocks", Zon::String8::concat({"Ethernet1", "-", "drops"}), 19);
  }
  std::string seen() override { return kept_.stdString(); }

 private:
  Zon::String8 kept_ = "nothing yet";
};

/// A map that grows: members come in, buckets double or do not.
class Growing final : public Life {
 public:
  void act() override {
    for (char const* const intf : interfaceNames)
      if (!directory_->intfConfig(intf)) directory_->intfConfigIs(Zon::newPtr<Interface::IntfConfig>(intf));
  }
  std::string seen() override {
    std::string text;
    for (auto config = directory_->intfConfigIterator(); config; config.advance())
      text += config.key().stringValue().stdString() + "\n";
    return text;
  }

 private:
  Zon::Ptr<Interface::AllIntfConfigDir> const directory_ = Zon::newPtr<Interface::AllIntfConfigDir>("config");
};

/// A map that is walked while it is emptied.
class Emptying final : public Life {
 public:
  Emptying() {
    for (char const* const intf : interfaceNames)
      list_->errdisabledIntfIs(intf, "bpduguard");
  }
  void act() override { list_->errdisabledIntfDelAll(); }
  std::string seen() override {
    std::string text;
    for (auto entry = list_->errdisabledIntfIterator(); entry; entry.advance())
      text += entry.key().stringValue().stdString() + "\n";
    return text;
  }
  bool neverThrows() const override { return true; }

 private:
  Zon::Ptr<Errdisable::Status> const list_ = Zon::newPtr<Errdisable::Status>("errdisable");
};

/// Directories within directories, one of them replaced.
class Directories final : public Life {
 public:
  Directories() { outer_->entityPtrIs(Zon::newPtr<Zon::Dir>("inner")); }
  void act() override {
    auto const inner = Zon::newPtr<Zon::Dir>("inner");
    inner->entityPtrIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));
    outer_->entityPtrIs(inner);
  }
  std::string seen() override {
    auto const inner = Zon::ptrCast<Zon::Dir>(outer_->entityPtr("inner"));
    auto const counter = inner->entityPtr("drops");
    return inner->fullName().stdString() + " holds " + (counter ? counter->fullName().stdString() : "nothing");
  }

 private:
  Zon::Ptr<Zon::Dir> const outer_ = Zon::newPtr<Zon::Dir>("outer");
};

/// Several watchers that all throw: everybody hears of the change, and of its own exception.
class Throwing final : public Life {
 public:
  class Watcher final : public Interface::IntfConfig::NotifieeConst {
   public:
    void onEnabledStateReason() override {
      ++heard;
      throw Zon::RangeException("no");
    }
    void onNotificationException(Zon::AttributeId) override { ++failed; }
    int heard = 0;
    int failed = 0;
  };

  Throwing() {
    for (auto& watcher : watchers_) {
      watcher = Zon::newPtr<Watcher>();
      watcher->notifierIs(config_);
      watcher->hasNotificationActiveIs(true);
      watcher->isRegisteredNotifieeIs(true);
    }
    Zon::TraceHandle const facility("Zon", false);
    facility.enabledIs(true);
    facility.levelIs(1, true);
    Zon::traceSinkIs([](Zon::TraceRecord const&) {});
  }
  ~Throwing() override {
    Zon::TraceHandle("Zon", false).enabledIs(false);
    Zon::traceSinkIs({});
  }
  void act() override { config_->enabledStateReasonIs(reason_); }
  std::string seen() override {
    std::string text = config_->enabledStateReason().stdString();
    for (auto const& watcher : watchers_)
      text += " " + std::to_string(watcher->heard) + std::to_string(watcher->failed);
    return text;
  }
  bool neverThrows() const override { return true; }

 private:
  Zon::String8 const reason_ = "loopguard";
  Zon::Ptr<Interface::IntfConfig> const config_ = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  std::array<Zon::Ptr<Watcher>, 3> watchers_;
};

/// A traced operation: the line may be lost, the operation may not.
class Tracing final : public Life {
 public:
  Tracing() {
    Zon::TraceHandle const facility("AllocationTest", false);
    facility.enabledIs(true);
    facility.levelIs(7, true);
    Zon::traceSinkIs([this](Zon::TraceRecord const& record) { lines_.push_back(record.text.stdString()); });
    Zon::coverageStreamIs(&coverage_);
  }
  ~Tracing() override {
    Zon::coverageStreamIs(nullptr);
    Zon::traceSinkIs({});
  }
  void act() override {
    Zon::trace(lazy_, 7, "file", 1, "act",
               [](std::ostream& line) { line << "a line of some length, not a short one"; });
    done_ = true;
  }
  std::string seen() override { return done_ ? "done" : "not done"; }
  bool neverThrows() const override { return true; }

 private:
  Zon::LazyTraceHandle const lazy_{"AllocationTest"};
  std::ostringstream coverage_;
  std::vector<std::string> lines_;
  bool done_ = false;
};

/// A reactor and its inputs move to an activity that nobody used yet: all of them, or none.
class Moving final : public Life {
 public:
  void act() override { reader_->zonFwkActivityIs(activity_); }
  std::string seen() override {
    auto const isThere = [this](auto const& input) { return input->zonFwkActivity() == activity_ ? "there " : "not "; };
    return std::string(reader_->zonFwkActivity() == activity_ ? "there " : "not ") + isThere(reader_->zonConfigs()) +
           isThere(reader_->zonConfig()) + isThere(reader_->zonStatuses());
  }

 private:
  Support::Events events_;
  Zon::Ptr<Zon::ActivityConfig> const activity_ = Zon::newPtr<Zon::ActivityConfig>();
  Zon::Ptr<Support::Reader> const reader_ = Zon::newPtr<Support::Reader>(
      nullptr, events_, Zon::newPtr<Interface::AllIntfConfigDir>("config"),
      Zon::newPtr<Interface::IntfConfig>("Ethernet1"), Zon::newPtr<Interface::AllIntfStatusDir>("status"));
};

/// Deferred changes of several inputs, dispatched.
class Deferring final : public Life {
 public:
  Deferring() { reader_->hasNotificationActiveIs(true); }
  void act() override {
    status_->intfStatusIs(Zon::newPtr<Interface::IntfStatus>("Ethernet1"));
    configs_->intfConfigIs(Zon::newPtr<Interface::IntfConfig>("Ethernet2"));
    config_->adminEnabledStateLocalIs(Interface::IntfEnabledState::enabled);
    // What a watcher throws that is told of an exception leaves the round; its rest waits for the next.
    activity_->zonDispatch();
    left_ = std::to_string(activity_->zonPending());
  }
  std::string seen() override {
    return "left by the round: " + left_ + "\n" + (configs_->intfConfig("Ethernet2") ? "Ethernet2\n" : "") +
           (status_->intfStatus("Ethernet1") ? "up\n" : "") +
           Zon::valueToStrep(config_->adminEnabledStateLocal()).stdString();
  }

 private:
  Support::Events events_;
  Zon::Ptr<Zon::ActivityConfig> const activity_ = Zon::newPtr<Zon::ActivityConfig>();
  Zon::Ptr<Interface::AllIntfConfigDir> const configs_ = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  Zon::Ptr<Interface::IntfConfig> const config_ = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  Zon::Ptr<Interface::AllIntfStatusDir> const status_ = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  Zon::Ptr<Support::Reader> const reader_ =
      Zon::newPtr<Support::Reader>(activity_, events_, configs_, config_, status_);
  std::string left_ = "not run";
};

/// The halves of an aggregate directory get another name: the old one stays in place until the new one is there.
class Renaming final : public Life {
 public:
  void act() override { directory_->configIs("other"); }
  std::string seen() override {
    auto const config = directory_->config();
    return config->name().stdString() + (config->parent() == directory_ ? " in place" : " without parent");
  }

 private:
  Zon::Ptr<VaroIntf::AllIntfDir> const directory_ = Zon::newPtr<VaroIntf::AllIntfDir>("interfaces");
};

/// The same of the agent's.
class RenamingOfAgent final : public Life {
 public:
  void act() override { agent_->allIntfDirIs("other"); }
  std::string seen() override {
    auto const directory = agent_->allIntfDir();
    return directory->name().stdString() + (directory->parent() == agent_ ? " in place" : " without parent");
  }

 private:
  Zon::Ptr<VaroIntf::Agent> const agent_ = VaroIntf::agentFactory("interfaces");
};

/// Text forms of references: printed, read, refused.
class TextForms final : public Life {
 public:
  void act() override {
    using Config = Zon::Ptr<Interface::IntfConfig>;
    Zon::String8 const text = Zon::valueToStrep(config_);
    bool const isSame = Zon::strepToValue<Config>(text) == config_;
    try {
      Zon::strepToValue<Zon::Ptr<Errdisable::Status>>(text);
    } catch (Zon::ConversionException const&) {
      refused_ = isSame;
    }
  }
  std::string seen() override { return refused_ ? "read and refused" : "nothing"; }

 private:
  Zon::Ptr<Interface::IntfConfig> const config_ = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  bool refused_ = false;
};

/// Attributes and operations by name, a factory, an iterator, refusals.
class Reflection final : public Life {
 public:
  void act() override {
    auto const type = Zon::ZonType::typeNode("VaroErrdisable::Root");
    auto const root = type->genericIf(type->genericFactory()(test::list(test::text("demo"))));
    auto const machine =
        root->attributeOpByName("allIntfSM", test::Op::set, {},
                                test::list(test::ref(Zon::Ptr<Zon::ActivityConfig>()), test::ref(configs_),
                                           test::ref(statuses_), test::ref(list_)));
    Zon::AttributeId const children = machine->attributeId("intfSM");
    int found = 0;
    for (auto at = machine->attributeIterator(children); machine->attributeIterator_nonNull(at);
         machine->attributeIterator_iterInc(at))
      ++found;
    std::string refusal;
    try {
      type->genericIfConst(nullptr)->attributeOpByName("allIntfSM", test::Op::del);
    } catch (Zon::ConstException const& exception) {
      refusal = exception.what();
    }
    shown_ = std::to_string(found) + " " + refusal;
  }
  std::string seen() override {
    return "machine: " + shown_ +
           "\nstate: " + Zon::valueToStrep(configs_->intfConfig("Ethernet1")->enabledStateLocal()).stdString();
  }
  Reflection() {
    configs_->intfConfigIs(Zon::newPtr<Interface::IntfConfig>("Ethernet1"));
    statuses_->intfStatusIs(Zon::newPtr<Interface::IntfStatus>("Ethernet1"));
  }

 private:
  Zon::Ptr<Interface::AllIntfConfigDir> const configs_ = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  Zon::Ptr<Interface::AllIntfStatusDir> const statuses_ = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  Zon::Ptr<Errdisable::Status> const list_ = Zon::newPtr<Errdisable::Status>("errdisable");
  std::string shown_;
};

struct Kind {
  char const* name;
  std::function<std::unique_ptr<Life>()> make;

  friend void PrintTo(Kind const& kind, std::ostream* out) { *out << kind.name; }
};

template <class L>
Kind kind(char const* name) {
  return {name, [] { return std::make_unique<L>(); }};
}

std::set<std::string> linesOf(std::string const& text) {
  std::istringstream in(text);
  std::set<std::string> lines;
  for (std::string line; std::getline(in, line);)
    lines.insert(line);
  return lines;
}

/// Each fact is as before or as after.
bool isBetween(std::string const& before, std::string const& after, std::string const& found) {
  auto const old = linesOf(before);
  auto const wanted = linesOf(after);
  auto const lines = linesOf(found);
  for (auto const& line : lines)
    if (!old.contains(line) && !wanted.contains(line)) return false;
  for (auto const& line : old)
    if (wanted.contains(line) && !lines.contains(line)) return false;
  return true;
}

class AllocationOfTheRuntime : public testing::TestWithParam<Kind> {
 protected:
  void expectSurvival(Which which) {
    // Also brings into being what is made once, as the facility that tells of exceptions.
    Zon::TraceHandle const facility("Zon", false);
    auto undisturbed = GetParam().make();
    std::string const before = undisturbed->seen();
    undisturbed->act();
    std::string const after = undisturbed->seen();
    ASSERT_NE(before, after);
    undisturbed.reset();

    std::size_t nth = 0;
    for (std::size_t failures = 1; failures != 0 && !HasFailure();) {
      SCOPED_TRACE("allocation " + std::to_string(++nth));
      std::size_t const live = liveAllocations();
      run(nth, which, before, after, failures);
      EXPECT_EQ(liveAllocations(), live);
    }
    RecordProperty("failed", static_cast<int>(nth) - 1);
  }

 private:
  static void run(std::size_t nth, Which which, std::string const& before, std::string const& after,
                  std::size_t& failures) {
    auto const life = GetParam().make();
    bool threw = false;
    FailingAllocations faults(nth, which);
    try {
      life->act();
    } catch (std::bad_alloc const&) {
      threw = true;
    }
    faults.end();
    failures = faults.failures();
    EXPECT_FALSE(threw && life->neverThrows());
    if (failures == 0 || life->neverThrows()) {
      EXPECT_EQ(life->seen(), after);
      return;
    }
    EXPECT_PRED3(isBetween, before, after, life->seen());
    life->act();
    EXPECT_EQ(life->seen(), after);
  }
};

TEST_P(AllocationOfTheRuntime, EachMayFail) { expectSurvival(Which::thatOne); }

TEST_P(AllocationOfTheRuntime, EachMayFailWithAllThatFollowIt) { expectSurvival(Which::thatAndAllLater); }

INSTANTIATE_TEST_SUITE_P(Lives, AllocationOfTheRuntime,
                         testing::Values(kind<Names>("Names"), kind<Growing>("Growing"), kind<Emptying>("Emptying"),
                                         kind<Directories>("Directories"), kind<Throwing>("Throwing"),
                                         kind<Tracing>("Tracing"), kind<Moving>("Moving"), kind<Deferring>("Deferring"),
                                         kind<Renaming>("Renaming"), kind<RenamingOfAgent>("RenamingOfAgent"),
                                         kind<TextForms>("TextForms"), kind<Reflection>("Reflection")),
                         [](auto const& life) { return life.param.name; });

}  // namespace
}  // namespace Faults
