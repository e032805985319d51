#include "host/LiveLinks.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <linux/if.h>

#include "host/StateFollower.h"

using namespace VaroHost;

namespace {

using Strings = std::vector<std::string>;

/// Links, their switch and what they tell, as one list of texts.
class Bench : public LiveLinks::Events, public LinkSwitch {
 public:
  void changed() override {
    follower.flush([this](StateFollower::Transition const& transition) {
      std::string text =
          transition.intfId.stringValue().stdString() + "=" + std::to_string(static_cast<int>(transition.after.state));
      if (!transition.after.reason.empty()) {
        text += "," + transition.after.reason.stdString();
      }
      events.push_back(text);
    });
  }
  void note(std::string const& text) override { events.push_back(text); }
  void enforced(std::string const& text) override { events.push_back(text); }
  void failed(std::string const& text) override { events.push_back(text); }
  void synchronized() override { events.push_back("synchronized"); }
  void interfaceIs(std::string const&, LinkFacts const&) override {}
  void interfaceDel(LinkFacts const&) override {}

  std::optional<std::string> set(int index, bool up) override {
    if (!refusal.empty()) {
      return refusal;
    }
    events.push_back((up ? "up " : "down ") + std::to_string(index));
    return std::nullopt;
  }

  void link(int index, std::string name, bool isUp, std::uint8_t operState) {
    links.onLink({index, std::move(name), isUp, operState, 1});
  }
  void link(int index, std::string name, bool isUp) {
    link(index, std::move(name), isUp, isUp ? IF_OPER_UP : IF_OPER_DOWN);
  }
  void errdisable(std::map<std::string, std::string> const& entries) { links.errdisabledIs(entries); }
  Strings take() { return std::exchange(events, {}); }

  Strings events;
  std::string refusal;
  StateFollower follower;
  Device device{&follower};
  LiveLinks links{device, this, *this};
};

/// Link a is up.
struct UpA : Bench {
  UpA() {
    link(1, "a", true);
    links.onSynchronized();
  }
};

/// Link a was up when an entry came.
struct ErrdisabledA : UpA {
  ErrdisabledA() { errdisable({{"a", "udld"}}); }
};

}  // namespace

TEST(LiveLinks, FlagsAndOperationalStateBecomeConfigurationAndStatus) {
  Bench bench;
  bench.link(1, "up", true, IF_OPER_UP);
  bench.link(2, "down", false, IF_OPER_DOWN);
  bench.link(3, "unknown", true, IF_OPER_UNKNOWN);
  bench.link(4, "away", true, IF_OPER_NOTPRESENT);
  bench.link(5, "lower", true, IF_OPER_LOWERLAYERDOWN);
  bench.link(6, "merely-down", true, IF_OPER_DOWN);
  EXPECT_EQ(bench.take(),
            (Strings{"up=1", "down=2,admin", "unknown=1", "away=2,inactive", "lower=2,inactive", "merely-down=1"}));
}

TEST(LiveLinks, OnlyChangesAreTold) {
  Bench bench;
  bench.link(1, "a", true);
  bench.take();
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), Strings{});
  bench.link(1, "a", false);
  EXPECT_EQ(bench.take(), (Strings{"a=2,admin"}));
}

TEST(LiveLinks, AMessageWithoutOperationalStateKeepsTheOneKnown) {
  Bench bench;
  bench.link(1, "a", true, IF_OPER_LOWERLAYERDOWN);
  bench.take();
  bench.links.onLink({1, "a", true, std::nullopt, 1});
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, ARenamedLinkIsAnotherInterface) {
  UpA bench;
  bench.take();
  bench.link(1, "b", true);
  EXPECT_EQ(bench.take(), (Strings{"a: renamed to b", "b=1"}));
  EXPECT_FALSE(bench.device.configs()->intfConfig("a"));
  EXPECT_FALSE(bench.device.statuses()->intfStatus("a"));
  EXPECT_EQ(bench.links.facts("a"), nullptr);
  EXPECT_EQ(bench.links.facts("b")->index, 1);
}

TEST(LiveLinks, ANameMayBeReusedBeforeItsOldBearerIsHeardOf) {
  Bench bench;
  bench.link(1, "a", true);
  bench.link(2, "a", false);
  EXPECT_EQ(bench.links.facts("a")->index, 2);
  bench.links.onLinkGone(1);
  EXPECT_TRUE(bench.device.configs()->intfConfig("a"));
  bench.links.onLinkGone(2);
  EXPECT_FALSE(bench.device.configs()->intfConfig("a"));
  EXPECT_EQ(bench.take(), (Strings{"a=1", "a=2,admin"}));
}

TEST(LiveLinks, NamesMayBeSwapped) {
  Bench bench;
  bench.link(1, "a", true);
  bench.link(2, "b", false);
  bench.take();
  bench.link(1, "b", true);
  bench.link(2, "a", false);
  EXPECT_EQ(bench.links.facts("b")->index, 1);
  EXPECT_EQ(bench.links.facts("a")->index, 2);
  EXPECT_EQ(bench.take(), (Strings{"b=1", "a=2,admin"}));
}

TEST(LiveLinks, AnUnknownLinkThatGoesIsNothing) {
  Bench bench;
  bench.links.onLinkGone(7);
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, AnErrdisabledLinkIsSetDownAndUpAgain) {
  UpA bench;
  bench.take();
  bench.errdisable({{"a", "udld"}});
  EXPECT_EQ(bench.take(), (Strings{"a=2,udld", "down 1", "a: set down (udld)"}));
  bench.link(1, "a", false);
  EXPECT_EQ(bench.take(), Strings{}) << "our own act is no administrative one";
  bench.errdisable({});
  EXPECT_EQ(bench.take(), (Strings{"a=1", "up 1", "a: set up again"}));
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, NothingIsTouchedBeforeTheFirstTable) {
  Bench bench;
  bench.errdisable({{"a", "udld"}});
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"a=2,udld"}));
  bench.links.onSynchronized();
  EXPECT_EQ(bench.take(), (Strings{"synchronized", "down 1", "a: set down (udld)"}));
}

TEST(LiveLinks, ALinkThatWasDownAlreadyIsNeverTouched) {
  Bench bench;
  bench.link(1, "a", false);
  bench.links.onSynchronized();
  bench.take();
  bench.errdisable({{"a", "udld"}});
  bench.errdisable({});
  EXPECT_EQ(bench.take(), (Strings{"a=2,udld", "a=2,admin"}));
}

TEST(LiveLinks, AnInactiveLinkIsSetDownWhenItBecomesActive) {
  Bench bench;
  bench.link(1, "a", true, IF_OPER_LOWERLAYERDOWN);
  bench.links.onSynchronized();
  bench.take();
  bench.errdisable({{"a", "udld"}});
  EXPECT_EQ(bench.take(), Strings{});
  bench.link(1, "a", true, IF_OPER_UP);
  EXPECT_EQ(bench.take(), (Strings{"a=2,udld", "down 1", "a: set down (udld)"}));
}

TEST(LiveLinks, SetUpBySomebodyElseItIsSetDownAgainAndSaid) {
  ErrdisabledA bench;
  bench.link(1, "a", false);
  bench.take();
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"down 1", "a: was set up by somebody else while error-disabled, set down again"}));
  bench.link(1, "a", false);
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, OldNewsAheadOfTheEchoIsNobodysAct) {
  ErrdisabledA bench;
  bench.take();
  // Queued by the kernel before it carried out our act.
  bench.link(1, "a", true);
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), Strings{});
  bench.link(1, "a", false);
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, EchoesOfQuickFlapsAreTakenInOrder) {
  UpA bench;
  bench.errdisable({{"a", "x"}});
  bench.errdisable({});
  bench.take();
  bench.errdisable({{"a", "y"}});
  EXPECT_EQ(bench.take(), (Strings{"a=2,y"})) << "waits for the echoes";
  bench.link(1, "a", false);
  EXPECT_EQ(bench.take(), Strings{});
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"down 1", "a: set down (y)"}));
}

TEST(LiveLinks, AfterAnOverrunWhatIsToldCounts) {
  ErrdisabledA bench;
  bench.take();
  bench.links.onOverrun();
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"down 1", "a: was set up by somebody else while error-disabled, set down again"}));
}

TEST(LiveLinks, ARefusalWhileHeldIsSaidOnceAndNothingIsClaimed) {
  ErrdisabledA bench;
  bench.link(1, "a", false);
  bench.take();
  bench.refusal = "Operation not permitted";
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"a: cannot set it down: Operation not permitted"}));
  bench.link(1, "a", true);
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), Strings{});
  bench.refusal.clear();
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"down 1", "a: was set up by somebody else while error-disabled, set down again"}));
}

TEST(LiveLinks, AfterAnOverrunOldFactsAreJudgedNoMore) {
  ErrdisabledA bench;
  bench.take();
  // The echo of the act is lost: by the old facts the link is up.
  bench.links.onOverrun();
  bench.errdisable({{"a", "storm"}});
  EXPECT_EQ(bench.take(), (Strings{"a=2,storm"}));
  bench.link(1, "a", false);
  bench.links.onSynchronized();
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, AnEntryThatComesDuringAnOverrunIsCarriedOutWhenTheLinkIsTold) {
  Bench bench;
  bench.link(1, "a", true);
  bench.link(2, "b", true);
  bench.links.onSynchronized();
  bench.links.onOverrun();
  bench.take();
  bench.errdisable({{"a", "udld"}, {"b", "udld"}});
  EXPECT_EQ(bench.take(), (Strings{"a=2,udld", "b=2,udld"}));
  bench.link(1, "a", true);
  bench.link(2, "b", false);
  bench.links.onSynchronized();
  EXPECT_EQ(bench.take(), (Strings{"down 1", "a: set down (udld)"}));
}

TEST(LiveLinks, AnOverrunAfterTheReleaseIsWaitedForWithAllItsLinks) {
  ErrdisabledA bench;
  bench.link(1, "a", false);
  bench.links.releaseAll();
  bench.links.onOverrun();
  EXPECT_TRUE(bench.links.awaitsNews());
  bench.link(1, "a", true);
  EXPECT_TRUE(bench.links.awaitsNews()) << "other links are yet to be told";
  bench.links.onSynchronized();
  EXPECT_FALSE(bench.links.awaitsNews());
  EXPECT_TRUE(bench.links.facts("a")->isUp);
}

TEST(LiveLinks, WhatIsReleasedDuringAnOverrunIsWaitedForWhateverTheOldFactsWere) {
  ErrdisabledA bench;
  bench.links.onOverrun();
  bench.links.releaseAll();
  // Told as it was before the release, and then the echo.
  bench.link(1, "a", false);
  bench.links.onSynchronized();
  EXPECT_TRUE(bench.links.awaitsNews());
  bench.link(1, "a", true);
  EXPECT_FALSE(bench.links.awaitsNews());
}

TEST(LiveLinks, AHeldLinkThatIsRenamedIsReleased) {
  ErrdisabledA bench;
  bench.link(1, "a", false);
  bench.take();
  bench.link(1, "b", false);
  EXPECT_EQ(bench.take(), (Strings{"a: renamed to b", "b=1", "up 1", "b: set up again"}));
}

TEST(LiveLinks, AHeldLinkThatGoesIsForgotten) {
  ErrdisabledA bench;
  bench.link(1, "a", false);
  bench.take();
  bench.links.onLinkGone(1);
  bench.links.releaseAll();
  EXPECT_EQ(bench.take(), (Strings{"a: removed"}));
}

TEST(LiveLinks, ReleaseAllSetsUpWhatIsHeldAndNothingElse) {
  Bench bench;
  bench.link(1, "a", true);
  bench.link(2, "b", true);
  bench.link(3, "c", false);
  bench.links.onSynchronized();
  bench.errdisable({{"a", "udld"}, {"c", "udld"}});
  bench.take();
  bench.links.releaseAll();
  EXPECT_EQ(bench.take(), (Strings{"up 1", "a: set up again"}));
  bench.links.releaseAll();
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, WhatIsReleasedIsLeftAloneThoughItsEntryStands) {
  UpA bench;
  EXPECT_FALSE(bench.links.awaitsNews());
  bench.errdisable({{"a", "udld"}});
  bench.link(1, "a", false);
  bench.links.releaseAll();
  EXPECT_TRUE(bench.links.awaitsNews());
  bench.take();
  bench.link(1, "a", true);
  EXPECT_FALSE(bench.links.awaitsNews());
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), Strings{});
}

TEST(LiveLinks, ARefusalOfTheKernelIsSaidOnceAndTriedAgain) {
  UpA bench;
  bench.take();
  bench.refusal = "Operation not permitted";
  bench.errdisable({{"a", "udld"}});
  EXPECT_EQ(bench.take(), (Strings{"a=2,udld", "a: cannot set it down: Operation not permitted"}));
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), Strings{});
  bench.refusal.clear();
  bench.link(1, "a", true);
  EXPECT_EQ(bench.take(), (Strings{"down 1", "a: set down (udld)"}));
}

TEST(LiveLinks, AnActThatChangesNothingHasNoEcho) {
  ErrdisabledA bench;
  bench.link(1, "a", false);
  bench.refusal = "lower layer is down";
  bench.errdisable({});
  bench.refusal.clear();
  // Somebody else sets it up before it can be released: what is told after that is no echo.
  bench.link(1, "a", true);
  bench.take();
  bench.link(1, "a", false);
  EXPECT_EQ(bench.take(), (Strings{"a=2,admin"}));
}

TEST(LiveLinks, AnotherReasonIsToldAndChangesNothingElse) {
  UpA bench;
  bench.errdisable({{"a", "x"}, {"nobody", "x"}});
  bench.take();
  bench.errdisable({{"a", "y"}, {"nobody", "z"}});
  EXPECT_EQ(bench.take(), (Strings{"a=2,y"}));
}

TEST(LiveLinks, WithoutASwitchNothingIsSet) {
  Bench bench;
  LiveLinks links(bench.device, nullptr, bench);
  links.onLink({1, "a", true, IF_OPER_UP, 1});
  links.onSynchronized();
  links.errdisabledIs({{"a", "udld"}});
  links.releaseAll();
  EXPECT_EQ(bench.take(), (Strings{"a=1", "synchronized", "a=2,udld"}));
}
