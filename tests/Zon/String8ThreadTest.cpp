#include "Zon/String8.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(String8Thread, LockedCountingKeepsSharedBytesAliveUntilTheLastHolderGoes) {
  Zon::VFPtrInterface::enableThreadSafePointers = true;
  {
    Zon::String8 const shared = "a string all threads copy, hash and drop";
    std::uint32_t const hash = Zon::String8::hashOf(shared.view());
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([copy = shared, hash] {
        for (int round = 0; round < 20000; ++round) {
          Zon::String8 const mine = copy;
          Zon::String8 other = mine;
          other = Zon::String8();
          if (mine.hash() != hash) FAIL() << "hash differs";
        }
      });
    }
    threads.clear();
    EXPECT_EQ(shared.data()->count(), 1U);
  }
  Zon::VFPtrInterface::enableThreadSafePointers = false;
}

}  // namespace
