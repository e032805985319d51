#include "Zon/Ptr.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr int threads = 4;
constexpr int rounds = 20000;

class Thing final : public Zon::PtrInterface {
 public:
  explicit Thing(std::atomic<int>& deaths) : deaths_(&deaths) {}
  ~Thing() override { ++*deaths_; }

 private:
  std::atomic<int>* deaths_;
};

class PtrThreadTest : public testing::Test {
 protected:
  PtrThreadTest() { Zon::VFPtrInterface::enableThreadSafePointers = true; }
  ~PtrThreadTest() override { Zon::VFPtrInterface::enableThreadSafePointers = false; }

  std::atomic<int> deaths = 0;
};

/// Runs `work` in every thread at the same time.
template <class Work>
void inAllThreads(Work const& work) {
  std::vector<std::thread> all;
  for (int i = 0; i < threads; ++i)
    all.emplace_back(work, i);
  for (auto& thread : all)
    thread.join();
}

TEST_F(PtrThreadTest, LockedCountingLosesNothing) {
  auto const thing = Zon::newPtr<Thing>(deaths);
  inAllThreads([&](int) {
    for (int i = 0; i < rounds; ++i) {
      Zon::Ptr<Thing> const first = thing;
      Zon::Ptr<Thing const> const second = first;
    }
  });
  EXPECT_EQ(thing->zonWord(), 1U);
  EXPECT_EQ(deaths, 0);
}

TEST_F(PtrThreadTest, FlagsWrittenBesideLockedCountsDisturbNeither) {
  auto const thing = Zon::newPtr<Thing>(deaths);
  std::atomic<bool> stop = false;
  std::thread flags([&] {
    for (bool on = true; !stop; on = !on) {
      thing->hasNotificationActiveIs(on);
      thing->zonMarkedForDeletionIs(!on);
    }
    thing->hasNotificationActiveIs(true);
    thing->zonMarkedForDeletionIs(true);
  });
  inAllThreads([&](int) {
    for (int i = 0; i < rounds; ++i)
      Zon::Ptr<Thing> const copy = thing;
  });
  stop = true;
  flags.join();
  EXPECT_EQ(thing->zonWord(), 0xa0000001U);
  thing->zonMarkedForDeletionIs(false);
  EXPECT_EQ(deaths, 0);
}

TEST_F(PtrThreadTest, TheLastReleaseOfAnyThreadDestroysExactlyOnce) {
  for (int round = 0; round < 200; ++round) {
    auto thing = Zon::newPtr<Thing>(deaths);
    std::vector<Zon::Ptr<Thing>> held(threads, thing);
    thing = nullptr;
    std::atomic<int> ready = 0;
    inAllThreads([&](int i) {
      ++ready;
      while (ready != threads)
        std::this_thread::yield();
      held[static_cast<std::size_t>(i)] = nullptr;
    });
    ASSERT_EQ(deaths, round + 1);
  }
}

TEST_F(PtrThreadTest, WhatAThreadWroteIsSeenByTheDestructor) {
  struct Box : Zon::PtrInterface {
    explicit Box(int& sum) : sum_(&sum) {}
    ~Box() override {
      for (int const value : values)
        *sum_ += value;
    }
    int values[threads] = {};
    int* sum_;
  };
  int sum = 0;
  {
    auto box = Zon::newPtr<Box>(sum);
    std::vector<Zon::Ptr<Box>> held(threads, box);
    box = nullptr;
    inAllThreads([&](int i) {
      auto& mine = held[static_cast<std::size_t>(i)];
      mine->values[i] = i + 1;
      mine = nullptr;
    });
  }
  EXPECT_EQ(sum, threads * (threads + 1) / 2);
}

}  // namespace
