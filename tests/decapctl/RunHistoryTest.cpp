#include "ReportScene.h"

#include <gtest/gtest.h>

namespace Ctl::Report {
namespace {

constexpr char const* one = "gre 10.1.0.0/16 vrf red";
constexpr char const* two = "gre 10.2.0.0/16 vrf red";
constexpr char const* three = "ipip 10.3.0.0/16 vrf red";

KeyStory const* storyOf(RunHistory const& run, std::string const& key) {
   for (KeyStory const& story : run.keys) {
      if (story.key == key) return &story;
   }
   return nullptr;
}

std::uint64_t marksOf(RunHistory const& run, Lane lane) {
   std::uint64_t count = 0;
   for (MarkCell const& cell : run.byTime.marks) {
      count += cell.marks[static_cast<std::size_t>(lane)].count;
   }
   return count;
}

TEST(RunHistory, OccupancyFollowsFromAnswers) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("1.0", one, "success")
                              .program("2.0", two, "exists")
                              .program("2.0", two, "exists")
                              .program("3.0", three, "unsupported")
                              .remove("4.0", one)
                              .run();
   EXPECT_EQ(run.table.greatest, 2u);
   EXPECT_EQ(run.greatestAt.time, 2.0);
   EXPECT_EQ(run.greatestAt.line, 9u);
   EXPECT_EQ(run.table.entries, 1u);
   EXPECT_EQ(run.duration, 4.0);
   EXPECT_EQ(run.calls, 5u);
   EXPECT_EQ(run.programs.at("success"), 1u);
   EXPECT_EQ(run.programs.at("exists"), 2u);
   EXPECT_EQ(run.programs.at("unsupported"), 1u);
   EXPECT_EQ(run.otherCalls.at("remove"), 1u);
   EXPECT_EQ(run.types.at("gre").greatest, 2u);
   EXPECT_EQ(run.types.at("ipip").greatest, 0u);
}

TEST(RunHistory, TimeCountsFromTheFirstLine) {
   RunHistory const run = ReportScene().machine("5000.5").program("5002.0", one, "success").run();
   EXPECT_EQ(run.startTime, 5000.5);
   EXPECT_EQ(run.duration, 1.5);
   EXPECT_EQ(run.greatestAt.time, 1.5);
}

TEST(RunHistory, FullTellsTheCapacityOfTheTableAndOfATunnelType) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("0.0", one, "success")
                              .program("0.0", two, "full")
                              .program("0.0", three, "success")
                              .program("0.0", "ipip 10.4.0.0/16 vrf red", "full")
                              .run();
   EXPECT_EQ(run.table.full, 2u);
   EXPECT_EQ(run.table.fullLeast, 1u);
   EXPECT_EQ(run.table.fullGreatest, 2u);
   EXPECT_EQ(run.types.at("gre").fullGreatest, 1u);
   EXPECT_EQ(run.types.at("ipip").fullLeast, 1u);
}

TEST(RunHistory, ARemovalThatFailedIsNone) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("0.0", one, "success")
                              .line(R"([1.0,"call","remove","gre 10.1.0.0/16 vrf red"])")
                              .line(R"([1.0,"answer","threw","no bus"])")
                              .run();
   EXPECT_EQ(run.table.entries, 1u);
   EXPECT_EQ(run.otherCalls.at("remove threw"), 1u);
   EXPECT_EQ(marksOf(run, Lane::faults), 1u);
}

TEST(RunHistory, EntriesOfBeforeAreSaidToBe) {
   RunHistory const run =
       ReportScene().machine().program("0.0", one, "exists").remove("0.0", two).run();
   EXPECT_EQ(run.olderEntries, 2u);
   EXPECT_EQ(ReportScene().program("0.0", one, "unsupported").remove("0.0", one).run().olderEntries,
             0u);
   EXPECT_EQ(run.table.entries, 1u);
}

TEST(RunHistory, UnclaimedEntriesLeaveWithTheReplayedConfiguration) {
   ReportScene scene;
   scene.machine().program("0.0", one, "success").program("0.0", two, "success");
   scene.line(R"([1.0,"machine","drop"])").machine("1.0").program("1.0", one, "exists");
   EXPECT_EQ(ReportScene(scene).run().table.entries, 2u);
   scene.line(R"([1.0,"call","config-ready"])").line(R"([1.0,"answer","done"])");
   RunHistory const run = scene.run();
   EXPECT_EQ(run.table.entries, 1u);
   EXPECT_EQ(run.olderEntries, 0u);
   EXPECT_EQ(run.machines, 2u);
}

TEST(RunHistory, AnUnclaimedEntryOfAnotherVrfMakesRoom) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("0.0", one, "success")
                              .line(R"([1.0,"machine","drop"])")
                              .machine("1.0")
                              .program("1.0", "gre 10.1.0.0/16 vrf blue", "success")
                              .run();
   EXPECT_EQ(run.table.entries, 1u);
   EXPECT_EQ(run.rekeyed, 0u);
}

TEST(RunHistory, KeysWaitFromTheirRefusalToTheirAcceptance) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("1.0", one, "not-ready")
                              .program("1.0", two, "pending")
                              .clock("3.5")
                              .program("3.5", one, "success")
                              .program("3.5", two, "full")
                              .run();
   EXPECT_EQ(run.greatestBacklog, 2u);
   EXPECT_EQ(run.backlog, 1u);
   EXPECT_EQ(run.keysRefused, 2u);
   ASSERT_EQ(run.keys.size(), 2u);
   KeyStory const* const first = storyOf(run, one);
   ASSERT_NE(first, nullptr);
   EXPECT_EQ(first->longestWait, 2.5);
   EXPECT_EQ(first->notReady, 1u);
   EXPECT_FALSE(first->waiting);
   EXPECT_TRUE(first->present);
   KeyStory const* const second = storyOf(run, two);
   ASSERT_NE(second, nullptr);
   EXPECT_EQ(second->longestWait, 2.5);
   EXPECT_EQ(second->refusals(), 2u);
   EXPECT_TRUE(second->waiting);
}

TEST(RunHistory, RefusedForGoodDoesNotWait) {
   RunHistory const run =
       ReportScene().machine().program("0.0", one, "pending").program("1.0", one, "max").run();
   EXPECT_EQ(run.backlog, 0u);
   EXPECT_EQ(run.keys.at(0).refused, 1u);
   EXPECT_EQ(run.keys.at(0).longestWait, 1.0);
}

TEST(RunHistory, AFailedCallLeavesItsKeyWaiting) {
   RunHistory const run = ReportScene().machine().program("0.0", one, "threw").run();
   EXPECT_EQ(run.backlog, 1u);
   EXPECT_EQ(run.keys.at(0).threw, 1u);
   EXPECT_EQ(marksOf(run, Lane::faults), 1u);
}

TEST(RunHistory, APrefixThatGoesTakesItsKeyOutOfTheBacklog) {
   ReportScene scene;
   scene.machine().group("1", "core", "10.1.0.0/16").program("0.0", one, "full");
   scene.line(R"([1.0,"group",1,"decapIp","10.1.0.0/16",false])");
   RunHistory const run = scene.run();
   EXPECT_EQ(run.backlog, 0u);
   EXPECT_EQ(run.keys.at(0).longestWait, 1.0);
}

TEST(RunHistory, AKeyThatAnotherGroupCallsForGoesOnWaiting) {
   ReportScene scene;
   scene.machine().group("1", "core", "10.1.0.0/16").group("2", "edge", "10.1.0.0/16");
   scene.program("0.0", one, "full");
   scene.line(R"([1.0,"config",1,"decapGroup","core",null])");
   EXPECT_EQ(scene.run().backlog, 1u);
   scene.line(R"([2.0,"group",2,"forwardingVrf","blue"])");
   EXPECT_EQ(scene.run().backlog, 0u);
}

TEST(RunHistory, AGroupsTunnelTypeThatChangesTakesItsKeysAlong) {
   ReportScene scene;
   scene.machine().group("1", "core", "10.1.0.0/16").program("0.0", one, "full");
   scene.line(R"([1.0,"group",1,"tunnelType","ipip"])");
   EXPECT_EQ(scene.run().backlog, 0u);
}

TEST(RunHistory, AReviewThatPassesAKeySaysThatItIsGone) {
   ReportScene scene;
   scene.machine().program("0.0", one, "full").program("0.0", two, "full");
   scene.clock("0.1").program("0.1", two, "full");
   RunHistory const run = scene.run();
   EXPECT_EQ(run.backlog, 1u);
   EXPECT_FALSE(storyOf(run, one)->waiting);
}

TEST(RunHistory, AReviewEndsWithItsFirstRefusal) {
   ReportScene scene;
   scene.machine().program("0.0", one, "full").program("0.0", two, "full");
   scene.clock("0.1").program("0.1", one, "full").clock("0.2").program("0.2", one, "full");
   EXPECT_EQ(scene.run().backlog, 2u);
}

TEST(RunHistory, AReviewPassesOverAKeyWhoseDestinationIsTaken) {
   ReportScene scene;
   scene.machine().program("0.0", one, "full").program("0.0", two, "full");
   scene.program("0.0", "gre 10.1.0.0/16 vrf blue", "success");
   scene.clock("0.1").program("0.1", two, "full");
   EXPECT_EQ(scene.run().backlog, 2u);
}

TEST(RunHistory, AReviewThatAsksForNothingFindsNothing) {
   ReportScene scene;
   scene.machine().program("0.0", one, "full").clock("0.05");
   EXPECT_EQ(scene.run().backlog, 1u) << "no review is due";
   scene.clock("0.1");
   EXPECT_EQ(scene.run().backlog, 0u);
}

TEST(RunHistory, AMachineTakesItsBacklogAndAlarmAlong) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("0.0", one, "full")
                              .line(R"(["alarm",true])")
                              .line(R"([2.0,"machine","drop"])")
                              .line(R"([3.0,"config",1,"ready",false])")
                              .run();
   EXPECT_EQ(run.backlog, 0u);
   ASSERT_EQ(run.alarms.size(), 1u);
   EXPECT_TRUE(run.alarms[0].ended);
   EXPECT_EQ(run.alarms[0].seconds(), 2.0);
}

TEST(RunHistory, AlarmsLastFromOnToOff) {
   RunHistory const run = ReportScene()
                              .machine("1.0")
                              .line(R"(["alarm",true])")
                              .line(R"(["alarm",true])")
                              .clock("3.0")
                              .line(R"(["alarm",false])")
                              .clock("4.0")
                              .line(R"(["alarm",true])")
                              .clock("9.0")
                              .run();
   ASSERT_EQ(run.alarms.size(), 2u);
   EXPECT_EQ(run.alarms[0].seconds(), 2.0);
   EXPECT_EQ(run.alarms[0].begin.line, 6u);
   EXPECT_FALSE(run.alarms[1].ended);
   EXPECT_EQ(run.alarms[1].seconds(), 5.0);
}

TEST(RunHistory, LatencyIsTheTimeBetweenCallAndAnswer) {
   RunHistory const run = ReportScene()
                              .machine()
                              .program("1.0", one, "success", "1.25")
                              .program("2.0", two, "success")
                              .run();
   EXPECT_EQ(run.slowestCall, 0.25);
   EXPECT_EQ(run.slowestAt.time, 1.25);
   std::uint64_t none = 0;
   std::uint64_t some = 0;
   for (LatencyCell const& cell : run.byTime.latencies) {
      none += cell.calls[0];
      some += cell.calls[LatencyCell::classOf(0.25)];
   }
   EXPECT_EQ(none, 1u);
   EXPECT_EQ(some, 1u);
}

TEST(RunHistory, ACallWithinACallHasItsOwnAnswer) {
   RunHistory const run = ReportScene()
                              .machine()
                              .line(R"([1.0,"call","program","gre 10.1.0.0/16 vrf red"])")
                              .program("2.0", two, "full")
                              .line(R"([4.0,"answer","success"])")
                              .run();
   EXPECT_EQ(run.table.entries, 1u);
   EXPECT_EQ(run.backlog, 1u);
   EXPECT_EQ(run.slowestCall, 3.0);
   EXPECT_EQ(run.unanswered, 0u);
}

TEST(RunHistory, WhatOneChangeRekeysIsABurst) {
   ReportScene scene;
   scene.machine().program("0.0", one, "success").program("0.0", two, "success");
   scene.line(R"([1.0,"group",1,"forwardingVrf","blue"])");
   scene.remove("1.0", one).program("1.25", "gre 10.1.0.0/16 vrf blue", "success");
   scene.remove("1.25", two).program("1.75", "gre 10.2.0.0/16 vrf blue", "success");
   scene.line(R"([2.0,"group",1,"forwardingVrf","red"])");
   scene.remove("2.0", "gre 10.1.0.0/16 vrf blue").program("2.0", one, "success");
   RunHistory const run = scene.run();
   EXPECT_EQ(run.rekeyed, 3u);
   EXPECT_EQ(run.longestGap, 0.5);
   ASSERT_EQ(run.bursts.size(), 2u);
   EXPECT_EQ(run.bursts[0].destinations, 2u);
   EXPECT_EQ(run.bursts[0].longestGap, 0.5);
   EXPECT_EQ(run.bursts[0].span.seconds(), 0.75);
   EXPECT_EQ(run.bursts[1].destinations, 1u);
}

TEST(RunHistory, WhatComesBackMuchLaterOrWithAnotherMachineIsNotRekeyed) {
   ReportScene scene;
   scene.machine().program("0.0", one, "success").program("0.0", two, "success");
   scene.remove("1.0", one).program("3.0", one, "success").remove("3.0", two);
   scene.line(R"([3.0,"machine","drop"])").machine("3.0").program("3.0", two, "success");
   EXPECT_EQ(scene.run().rekeyed, 0u);
}

TEST(RunHistory, EventsAreMarkedWhereTheyBelong) {
   RunHistory const run = ReportScene()
                              .machine()
                              .group("1", "core", "10.1.0.0/16")
                              .line(R"([1.0,"ipIntf",1,"virtualAddr",false])")
                              .line(R"(["log","TUNNEL_HW_RESOURCE_FULL"])")
                              .line(R"(["trace",2,"doReview"])")
                              .run();
   EXPECT_EQ(marksOf(run, Lane::machine), 4u);
   EXPECT_EQ(marksOf(run, Lane::configuration), 6u);
   EXPECT_EQ(marksOf(run, Lane::interfaces), 1u);
   EXPECT_EQ(marksOf(run, Lane::messages), 1u);
   EXPECT_EQ(run.traces, 1u);
   std::size_t const messages = static_cast<std::size_t>(Lane::messages);
   std::string text;
   for (MarkCell const& cell : run.byTime.marks) {
      if (cell.marks[messages].count != 0) text = cell.marks[messages].texts.at(0);
   }
   EXPECT_EQ(text, "TUNNEL_HW_RESOURCE_FULL");
}

TEST(RunHistory, ManyTypesAndAnswersAreBounded) {
   ReportScene scene;
   for (int i = 0; i < 200; ++i) {
      std::string const number = std::to_string(i);
      scene.program("0.0", "t" + number + " 10.1.0.0/16 vrf red", "a" + number);
   }
   RunHistory const run = scene.run();
   EXPECT_LE(run.types.size(), 17u);
   EXPECT_LE(run.programs.size(), 25u);
   EXPECT_EQ(run.programs.at("other"), 176u);
   EXPECT_LE(run.keys.size(), 36u);
   EXPECT_EQ(run.distinctKeys, 200u);
}

TEST(Buckets, HalveWhenTheAxisGrows) {
   struct Sum {
      int all = 0;
      void add(Sum const& later) { all += later.all; }
   };
   Buckets<Sum> buckets(4, 1.0);
   for (int i = 0; i < 21; ++i) ++buckets.at(i).all;
   EXPECT_EQ(buckets.width(), 8.0);
   ASSERT_EQ(buckets.size(), 3u);
   EXPECT_EQ(buckets[0].all, 8);
   EXPECT_EQ(buckets[1].all, 8);
   EXPECT_EQ(buckets[2].all, 5);
   ++buckets.at(1e300).all;
   EXPECT_EQ(buckets[0].all, 21);
   EXPECT_LE(buckets.size(), 4u);
}

}  // namespace
}  // namespace Ctl::Report
