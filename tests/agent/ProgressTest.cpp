#include "agent/Progress.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Agent {
namespace {

TEST(Progress, ShortWorkShowsNothing) {
   std::ostringstream out;
   {
      Progress progress(&out, "reading", 1000);
      for (std::uint64_t i = 0; i <= 1000; ++i) progress.at(i);
   }
   EXPECT_EQ(out.str(), "");
}

TEST(Progress, LongWorkShowsOneLineThatGoesInTheEnd) {
   std::ostringstream out;
   {
      Progress progress(&out, "reading", 2 * Progress::firstShown);
      progress.at(Progress::firstShown);
   }
   EXPECT_EQ(out.str(), "\rreading: 50 %\r             \r");
}

TEST(Progress, AMillionStepsWriteAFewTimesOnly) {
   std::ostringstream out;
   std::uint64_t const total = 10 * Progress::firstShown;
   Progress progress(&out, "x", total);
   for (std::uint64_t i = 0; i <= total; i += 10) progress.at(i);
   EXPECT_LT(out.str().size(), 2000u);
   EXPECT_GT(out.str().size(), 100u);
}

TEST(Progress, WithoutATerminalThereIsNothingToDo) {
   Progress progress(nullptr, "reading", 2 * Progress::firstShown);
   progress.at(2 * Progress::firstShown);
}

}  // namespace
}  // namespace Agent
