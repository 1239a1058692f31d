#include "mdl/System.h"
#include "support/BacklogFixture.h"

namespace {

using Support::rep;

/// The time that one pass may take. Every call of the hook costs an eighth of a second, a pass has
/// a quarter: powers of two, so that times compare exactly.
class ReviewDeadline : public BacklogFixture {
 protected:
   ReviewDeadline() {
      sm->reviewQuantaIs(0.25);
      sm->reviewIntervalIs(1.0);
   }

   /// From here on the hook takes its time.
   void givenCost(Mdl::Seconds each) { hardware->callCostIs(each, &time); }

   static constexpr char remaining[] = " unprorammed remaining ";
   static constexpr Mdl::Seconds cost = 0.125;
};

// Later than the deadline ends the pass, the deadline itself does not: two calls end at it, so that
// a third one is made.
TEST_F(ReviewDeadline, EndsAPassOnceItIsPast) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16", "10.5.0.0/16"});
   givenCost(cost);
   sm->doReview();
   EXPECT_EQ(time.now(), 0.375);
   thenHardware({udp("10.1.0.0/16"), udp("10.2.0.0/16"), udp("10.3.0.0/16")});
   thenBacklog({udp("10.4.0.0/16"), udp("10.5.0.0/16")});
}

// The misspelt word is what those who search the traces know.
TEST_F(ReviewDeadline, IsTracedWithWhatRemains) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16", "10.5.0.0/16"});
   givenCost(cost);
   givenTraceLevels({7});
   sm->doReview();
   thenTraces({" unprogrammed rc dgRcSuccess", " unprogrammed rc dgRcSuccess",
               " unprogrammed rc dgRcSuccess", " unprorammed remaining 2"});
   ASSERT_FALSE(traces.empty());
   EXPECT_EQ(traces.back().function, "doReview");
}

TEST_F(ReviewDeadline, PastItThePassIsScheduledAgainFromTheTimeWhenItEnded) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16"});
   givenCost(cost);
   sm->doReview();
   EXPECT_EQ(wakeUp(), 1.375);
}

TEST_F(ReviewDeadline, TheNextPassGoesOnWhereTheLastOneStopped) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16", "10.5.0.0/16"});
   givenCost(cost);
   sm->doReview();
   forgetSoFar();
   time.advanceTo(1.375);
   thenCalls({"program " + udp("10.4.0.0/16") + " -> success",
              "program " + udp("10.5.0.0/16") + " -> success"});
   EXPECT_EQ(wakeUp(), Mdl::never);
}

TEST_F(ReviewDeadline, WithoutABudgetAPassStillTriesOneKey) {
   sm->reviewQuantaIs(0.0);
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   givenCost(cost);
   sm->doReview();
   thenHardware({udp("10.1.0.0/16")});
   EXPECT_EQ(wakeUp(), 1.125);
}

TEST_F(ReviewDeadline, WithABudgetThatIsSpentBeforehandAPassTriesNoneAndIsScheduledAgain) {
   sm->reviewQuantaIs(-1.0);
   givenTraceLevels({7});
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   sm->doReview();
   thenCalls({});
   thenTraces({std::string(remaining) + "2"});
   EXPECT_EQ(wakeUp(), 1.0);
}

TEST_F(ReviewDeadline, PastItAfterTheLastKeyNothingIsLeftToSchedule) {
   givenWaiting({"10.1.0.0/16"});
   givenCost(1.0);
   givenTraceLevels({7});
   sm->doReview();
   thenBacklog({});
   thenTraces({" unprogrammed rc dgRcSuccess"});
   EXPECT_EQ(wakeUp(), Mdl::never);
}

TEST_F(ReviewDeadline, PastItAKeyThatWasRefusedForGoodIsScheduledToo) {
   givenWaiting({"10.1.0.0/16"});
   givenAnswer(Fwd::dgRcUnSupported);
   givenCost(1.0);
   sm->doReview();
   thenBacklog({udp("10.1.0.0/16")});
   EXPECT_EQ(wakeUp(), 2.0);
}

TEST_F(ReviewDeadline, AtItAKeyThatWasRefusedForGoodIsNotScheduled) {
   givenWaiting({"10.1.0.0/16"});
   givenAnswer(Fwd::dgRcUnSupported);
   givenCost(0.25);
   sm->doReview();
   EXPECT_EQ(time.now(), 0.25);
   EXPECT_EQ(wakeUp(), Mdl::never);
}

TEST_F(ReviewDeadline, PastItKeysForAnotherVrfAreScheduledToo) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenWaiting({"10.2.0.0/16"});
   whenDecapIpAdded("blue", "10.1.0.0/16");
   givenCost(1.0);
   sm->doReview();
   thenBacklog({udp("10.1.0.0/16", "blue")});
   EXPECT_EQ(wakeUp(), 2.0);
}

TEST_F(ReviewDeadline, IsLookedAtBeforeAKeyForAnotherVrfAsWell) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenWaiting({"10.2.0.0/16"});
   whenDecapIpAdded("blue", "10.1.0.0/16");
   givenCost(1.0);
   givenTraceLevels({2, 7});
   sm->doReview();
   ASSERT_EQ(traces.size(), 3U);
   EXPECT_EQ(traces.back().text, std::string(remaining) + "1");
}

TEST_F(ReviewDeadline, CountsFromTheCurrentTimeAndNotFromTheClock) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   time.pass(100.0);
   ASSERT_EQ(time.clock()->time(), 0.0);
   sm->doReview();
   thenBacklog({});
}

// Whoever is woken late, as at the end of a long turn of the event loop, has the whole budget.
TEST_F(ReviewDeadline, CountsFromTheBeginningOfThePassAndNotFromTheWakeUp) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16"});
   givenCost(cost);
   time.advanceTo(50.0);
   thenBacklog({udp("10.4.0.0/16")});
   EXPECT_EQ(wakeUp(), 51.375);
}

TEST_F(ReviewDeadline, ABudgetThatChangesAppliesFromTheNextPassOn) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16", "10.5.0.0/16"});
   givenCost(cost);
   hardware->duringProgram(6, [&] { sm->reviewQuantaIs(0.0); });
   sm->doReview();
   thenBacklog({udp("10.4.0.0/16"), udp("10.5.0.0/16")});
   sm->doReview();
   thenBacklog({udp("10.5.0.0/16")});
}

TEST_F(ReviewDeadline, ABacklogIsWorkedOffPassByPass) {
   Texts all;
   hardware->notReadyUntilIs(Mdl::never);
   for (int i = 0; i < 10; ++i) {
      std::string const text = "10." + std::to_string(i) + ".0.0/16";
      whenDecapIpAdded("red", text);
      all.push_back(udp(text));
   }
   hardware->notReadyUntilIs(0.0);
   givenCost(cost);
   std::vector<std::size_t> left;
   for (int pass = 1; pass <= 4; ++pass) {
      time.advanceTo(time.now() + 1.0);
      left.push_back(sm->unprogrammedKey().size());
   }
   EXPECT_EQ(left, (std::vector<std::size_t>{7, 4, 1, 0}));
   thenHardware(all);
   EXPECT_EQ(wakeUp(), Mdl::never);
   thenBooksAgree();
}

}  // namespace
