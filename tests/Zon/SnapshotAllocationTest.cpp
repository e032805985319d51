// A delivery to as many watchers as its snapshot has room for takes nothing from the heap.

#include <vector>

#include <gtest/gtest.h>

#include "faults/FailingAllocations.h"
#include "support/Beacon.h"

namespace {

using Beacon = Support::Beacon<Zon::Deliver::always>;

class Silent : public Beacon::NotifieeConst {
 public:
  explicit Silent(Zon::Ptr<Beacon> const& beacon) {
    notifierIs(beacon);
    isRegisteredNotifieeIs(true);
  }
};

TEST(SnapshotAllocation, IsNoneForSixteenWatchersAndOneForMore) {
  auto const beacon = Zon::newPtr<Beacon>();
  std::vector<Zon::Ptr<Silent>> watchers;
  for (int count = 1; count != 20; ++count) {
    watchers.push_back(Zon::newPtr<Silent>(beacon));
    Faults::FailingAllocations counted(0, Faults::FailingAllocations::Which::thatOne);
    beacon->colourIs(count);
    counted.end();
    EXPECT_EQ(counted.asked(), count > 16 ? 1U : 0U) << count;
  }
}

}  // namespace
