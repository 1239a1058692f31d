#include "agent/TimeScale.h"

#include <gtest/gtest.h>

#include <limits>

namespace Agent {
namespace {

TimeScale newYear() { return TimeScale(TimeScale::WallTime(std::chrono::seconds(1767225600))); }

TEST(TimeScale, TellsSecondsWhereNobodyKnowsTheWallsTime) {
   EXPECT_EQ(TimeScale().text(12.345), "12.345 s");
   EXPECT_FALSE(TimeScale().hasWallTime());
}

TEST(TimeScale, TellsTheWallsTimeInUtc) {
   EXPECT_EQ(newYear().text(0.0), "2026-01-01 00:00:00.000Z");
   EXPECT_EQ(newYear().text(86400.0 * 31 + 3661.25), "2026-02-01 01:01:01.250Z");
   EXPECT_TRUE(newYear().hasWallTime());
}

TEST(TimeScale, TellsWhatIsFarAwayInSeconds) {
   EXPECT_EQ(newYear().text(1e12), "1000000000000.000 s");
   for (double const time : {1e300, std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()}) {
      EXPECT_TRUE(newYear().text(time).ends_with(" s")) << time;
   }
}

}  // namespace
}  // namespace Agent
