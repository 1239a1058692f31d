#include "support/BacklogFixture.h"

namespace {

/// What a hook may do while a review asks it.
class ReviewReentrancy : public BacklogFixture {
 protected:
   ReviewReentrancy() { givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"}); }

   /// Inside the n-th call of the review.
   void during(std::uint64_t call, Sim::SimHelper::Action action) {
      hardware->duringProgram(hardware->programCalls() + call, std::move(action));
   }
   void thenOnly(std::initializer_list<std::string_view> destinations) const {
      Texts counts;
      Texts entries;
      Texts owners;
      for (auto const text : destinations) {
         counts.push_back(udp(text) + " x1");
         entries.push_back(udp(text));
         owners.push_back("udp " + std::string(text) + " -> default");
      }
      thenHardware(entries);
      thenCounts(counts);
      thenOwners(owners);
      thenBacklog({});
      thenBooksAgree();
   }
};

TEST_F(ReviewReentrancy, AKeyThatIsReleasedBeforeItsTurnIsNotTried) {
   during(1, [&] { whenDecapIpRemoved("red", "10.2.0.0/16"); });
   sm->doReview();
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success",
              "program " + udp("10.3.0.0/16") + " -> success"});
   thenOnly({"10.1.0.0/16", "10.3.0.0/16"});
}

TEST_F(ReviewReentrancy, TheKeyUnderReviewIsReleased) {
   during(2, [&] { whenDecapIpRemoved("red", "10.2.0.0/16"); });
   sm->doReview();
   thenOnly({"10.1.0.0/16", "10.3.0.0/16"});
}

TEST_F(ReviewReentrancy, TheKeyUnderReviewIsReleasedAndRefused) {
   givenAnswer(Fwd::dgRcHwFull);
   during(1, [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   sm->doReview();
   whenTimePasses(1.0);
   thenOnly({"10.2.0.0/16", "10.3.0.0/16"});
   thenHwResourceFull(false);
}

TEST_F(ReviewReentrancy, TheKeyUnderReviewIsReleasedAndComesBack) {
   during(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   });
   sm->doReview();
   whenTimePasses(1.0);
   thenOnly({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
}

TEST_F(ReviewReentrancy, AllKeysAreReleased) {
   during(1, [&] { whenGroupRemoved("red"); });
   sm->doReview();
   thenOnly({});
   EXPECT_EQ(hardware->journal().calls().size(), 2U);
}

TEST_F(ReviewReentrancy, AKeyThatStartsToWaitMeanwhileIsLeftToTheNextPass) {
   during(3, [&] {
      givenAnswer(Fwd::dgRcNotReady);
      whenDecapIpAdded("red", "10.4.0.0/16");
   });
   sm->doReview();
   thenBacklog({udp("10.4.0.0/16")});
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
   whenTimePasses(0.125);
   thenOnly({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.4.0.0/16"});
}

TEST_F(ReviewReentrancy, AReviewInsideAReviewTriesTheOtherKeysOnce) {
   during(1, [&] { sm->doReview(); });
   sm->doReview();
   whenTimePasses(1.0);
   thenOnly({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
   EXPECT_EQ(hardware->journal().calls().size(), 3U);
}

// Whose destination it is comes first, before the call around the review is looked at.
TEST_F(ReviewReentrancy, AReviewInsideAKeysCallSaysThatAnotherVrfTookTheDestination) {
   givenTraceLevels({2});
   givenGroup("blue", {.vrf = "blue"});
   auto const waiting = key("10.1.0.0/16");
   Texts inner;
   during(1, [&] {
      whenDecapIpAdded("blue", "10.1.0.0/16");
      auto const before = traces.size();
      sm->doReview();
      for (auto i = before; i < traces.size(); ++i) inner.push_back(traces[i].text);
   });
   sm->doReview();
   ASSERT_GE(inner.size(), 2U);
   EXPECT_EQ(inner[0], "doReview");
   EXPECT_EQ(inner[1], " mapping exists for " + Support::rep(pairOf(waiting)) +
                           " to vrf blue so cannot program with new vrf default");
}

TEST_F(ReviewReentrancy, TheVrfThatOwnsADestinationLeavesBeforeAKeysTurn) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("blue", "10.9.0.0/16");
   whenDecapIpAdded("red", "10.9.0.0/16");
   during(1, [&] { whenDecapIpRemoved("blue", "10.9.0.0/16"); });
   sm->doReview();
   thenOnly({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16", "10.9.0.0/16"});
}

TEST_F(ReviewReentrancy, AnExceptionReachesWhoeverMovedTheClock) {
   hardware->script().next(Sim::Answer::fault());
   EXPECT_THROW(whenTimePasses(0.125), Sim::HardwareFault);
   thenBacklog({udp("10.1.0.0/16"), udp("10.2.0.0/16"), udp("10.3.0.0/16")});
   thenCounts({udp("10.1.0.0/16") + " x1", udp("10.2.0.0/16") + " x1", udp("10.3.0.0/16") + " x1"});
}

// "Not programmed, retry later" is what an exception counts as.
TEST_F(ReviewReentrancy, AfterAnExceptionTheReviewComesBack) {
   hardware->script().next(Sim::Answer::fault());
   EXPECT_THROW(whenTimePasses(0.125), Sim::HardwareFault);
   whenTimePasses(0.125);
   thenOnly({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
}

TEST_F(ReviewReentrancy, TheKeyUnderReviewIsReleasedAndComesBackAndIsRefused) {
   givenAnswer(Fwd::dgRcNotReady);
   during(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   });
   sm->doReview();
   whenTimePasses(1.0);
   whenTimePasses(1.0);
   thenOnly({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
}

}  // namespace
