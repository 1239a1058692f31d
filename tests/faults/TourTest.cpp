// The tour without a fault: what the others are compared with.

#include "support/Tour.h"

#include <gtest/gtest.h>

namespace {

TEST(Tour, GoesThroughWithCleanBooksAfterEachEvent) {
   Support::Tour tour;
   unsigned events = 0;
   tour.play([&] {
      ++events;
      // After a restart, hardware is ahead of the books until the replay.
      if (!tour.machine() || !tour.machine()->initializedAndReady()) return;
      ASSERT_EQ(tour.findings(), std::vector<std::string>()) << "event " << events;
      ASSERT_EQ(tour.counts(), tour.countsCalledFor()) << "event " << events;
   });
   EXPECT_EQ(tour.exceptions(), 0U);
   EXPECT_GE(events, 90U);
   EXPECT_GE(tour.hook().calls(), 100U);
   EXPECT_GE(tour.hook().table().size(), 8U);
   tour.end();
   EXPECT_EQ(tour.hook().table().size(), 0U);
}

}  // namespace
