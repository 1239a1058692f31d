#include "agent/Wording.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

TEST(Wording, SecondsHaveThreeDecimalsOrMore) {
   EXPECT_EQ(secondsText(0.0), "0.000");
   EXPECT_EQ(secondsText(0.1), "0.100");
   EXPECT_EQ(secondsText(0.1 + 0.2), "0.300");
   EXPECT_EQ(secondsText(12.00025), "12.00025");
   EXPECT_EQ(secondsText(Mdl::never), "inf");
}

TEST(Wording, CountsHaveTheirNoun) {
   EXPECT_EQ(counted(1, "key"), "1 key");
   EXPECT_EQ(counted(0, "key"), "0 keys");
   EXPECT_EQ(counted(2, "entry", "entries"), "2 entries");
   EXPECT_EQ(counted(1, "entry", "entries"), "1 entry");
}

TEST(Wording, LongListsOfNamesAreCut) {
   std::vector<Mdl::String> const names = {"a", "b", "c"};
   EXPECT_EQ(namesText(names, 3), "a, b, c");
   EXPECT_EQ(namesText(names, 2), "a, b and 1 more");
   EXPECT_EQ(namesText({}, 2), "");
}

}  // namespace
}  // namespace Agent
