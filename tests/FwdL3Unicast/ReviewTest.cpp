#include "support/BacklogFixture.h"

#include <ostream>

namespace {

using Support::rep;

/// One pass over the keys that wait, step by step.
class Review : public BacklogFixture {
 protected:
   Review() { givenTraceLevels({2, 7}); }

   std::string conflict(Fwd::DecapKey const& waiting, std::string_view owner) const {
      return " mapping exists for " + rep(pairOf(waiting)) + " to vrf " + std::string(owner) +
             " so cannot program with new vrf " + waiting.forwardingVrf().name().stdString();
   }

   Fwd::DecapKey const one = key("10.1.0.0/16");
   Fwd::DecapKey const two = key("10.2.0.0/16");
};

TEST_F(Review, OfNoKeysOnlyTracesAndCancelsTheWakeUp) {
   sm->mdlClock()->timeMinIs(7.0);
   sm->doReview();
   thenTraces({"doReview"});
   thenCalls({});
   thenLogs({});
   EXPECT_EQ(wakeUp(), Mdl::never);
}

TEST_F(Review, ProgramsEveryKeyInTheOrderOfArrival) {
   givenWaiting({"10.3.0.0/16", "10.1.0.0/16", "10.2.0.0/16"});
   sm->doReview();
   thenCalls({"program " + udp("10.3.0.0/16") + " -> success",
              "program " + udp("10.1.0.0/16") + " -> success",
              "program " + udp("10.2.0.0/16") + " -> success"});
   thenTraces({"doReview", " unprogrammed rc dgRcSuccess", " unprogrammed rc dgRcSuccess",
               " unprogrammed rc dgRcSuccess"});
   thenBacklog({});
   thenOwners(
       {"udp 10.1.0.0/16 -> default", "udp 10.2.0.0/16 -> default", "udp 10.3.0.0/16 -> default"});
   EXPECT_EQ(wakeUp(), Mdl::never);
   thenBooksAgree();
}

TEST_F(Review, TracesCodesAndStopsAtLevelSeven) {
   givenWaiting({"10.1.0.0/16"});
   givenAnswer(Fwd::dgRcNotReady);
   sm->doReview();
   std::vector<unsigned> levels;
   for (auto const& record : traces) levels.push_back(record.level);
   thenTraces({"doReview", " unprogrammed rc dgRcNotReady",
               " program unprogrammed " + rep(one) + " failed"});
   EXPECT_EQ(levels, (std::vector<unsigned>{2, 7, 7}));
}

/// How the first of two keys is answered, and what stands after the pass.
struct Answered {
   Fwd::dgRetCode code;
   bool goesOn;
   bool scheduled;
   bool full;

   friend void PrintTo(Answered const& answered, std::ostream* out) { *out << answered.code; }
};

class ReviewAnswered : public Review, public ::testing::WithParamInterface<Answered> {};

TEST_P(ReviewAnswered, GoesByTheCode) {
   Answered const answered = GetParam();
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   time.advanceTo(0.05);
   givenAnswer(answered.code);
   sm->doReview();

   std::string const name = Fwd::stringValue(answered.code).stdString();
   std::string const first =
       "program " + udp("10.1.0.0/16") + " -> " + Sim::answerText(answered.code);
   if (answered.goesOn) {
      thenTraces({"doReview", " unprogrammed rc " + name, " unprogrammed rc dgRcSuccess"});
      thenCalls({first, "program " + udp("10.2.0.0/16") + " -> success"});
      thenBacklog({});
      thenOwners({"udp 10.1.0.0/16 -> default", "udp 10.2.0.0/16 -> default"});
   } else {
      thenTraces({"doReview", " unprogrammed rc " + name,
                  " program unprogrammed " + rep(one) + " failed"});
      thenCalls({first});
      thenBacklog({udp("10.1.0.0/16"), udp("10.2.0.0/16")});
      thenOwners({});
   }
   thenCounts({udp("10.1.0.0/16") + " x1", udp("10.2.0.0/16") + " x1"});
   thenHwResourceFull(answered.full);
   thenLogs(answered.full ? Texts{"TUNNEL_HW_RESOURCE_FULL"} : Texts{});
   if (answered.scheduled) {
      EXPECT_DOUBLE_EQ(wakeUp(), 0.15);
   } else {
      EXPECT_EQ(wakeUp(), Mdl::never);
   }
}

INSTANTIATE_TEST_SUITE_P(
    EveryCode, ReviewAnswered,
    ::testing::Values(Answered{Fwd::dgRcSuccess, true, false, false},
                      Answered{Fwd::dgRcNotReady, false, true, false},
                      Answered{Fwd::dgRcAlreadyExists, true, false, false},
                      Answered{Fwd::dgRcUnSupported, false, false, false},
                      Answered{Fwd::dgRcHwFull, false, true, true},
                      Answered{Fwd::dgRcMax, false, false, false},
                      Answered{Fwd::dgRcPending, false, true, false},
                      Answered{static_cast<Fwd::dgRetCode>(200), false, false, false}),
    [](auto const& tested) { return "Code" + std::to_string(tested.param.code); });

TEST_F(Review, CancelsTheWakeUpBeforeItAsksTheHook) {
   givenWaiting({"10.1.0.0/16"});
   Mdl::Seconds inside = 99.0;
   hardware->duringProgram(2, [&] { inside = wakeUp(); });
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
   sm->doReview();
   EXPECT_EQ(inside, Mdl::never);
}

TEST_F(Review, StopsAtALaterKeyAndKeepsWhatItProgrammed) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
   hardware->table().capacityIs(1);
   sm->doReview();
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success",
              "program " + udp("10.2.0.0/16") + " -> full"});
   thenBacklog({udp("10.2.0.0/16"), udp("10.3.0.0/16")});
   thenHardware({udp("10.1.0.0/16")});
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
}

TEST_F(Review, TriesTheRefusedKeyFirstNextTime) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   givenAnswer(Fwd::dgRcPending);
   whenTimePasses(0.125);
   forgetSoFar();
   whenTimePasses(0.125);
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success",
              "program " + udp("10.2.0.0/16") + " -> success"});
}

// One key that hardware will never take keeps all later ones waiting, and the review does not come
// back to them by itself: only the next scheduling by someone else does.
TEST_F(Review, StoppedForGoodWaitsForSomeoneElseToScheduleIt) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   givenAnswer(Fwd::dgRcUnSupported);
   whenTimePasses(0.125);
   forgetSoFar();
   whenTimePasses(100.0);
   thenTraces({});
   thenBacklog({udp("10.1.0.0/16"), udp("10.2.0.0/16")});

   whenDecapIpAdded("red", "10.9.0.0/16");
   forgetSoFar();
   whenTimePasses(0.125);
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success",
              "program " + udp("10.2.0.0/16") + " -> success"});
}

TEST_F(Review, AKeyForAnotherVrfIsPassedOverAndTheNextIsTried) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   givenWaiting({"10.2.0.0/16"});
   sm->doReview();
   auto const blue = key("10.1.0.0/16", {.vrf = "blue"});
   thenTraces({"doReview", conflict(blue, "default"), " unprogrammed rc dgRcSuccess"});
   thenCalls({"program " + udp("10.2.0.0/16") + " -> success"});
   thenBacklog({udp("10.1.0.0/16", "blue")});
   thenOwners({"udp 10.1.0.0/16 -> default", "udp 10.2.0.0/16 -> default"});
}

TEST_F(Review, AConflictIsTracedAtLevelTwo) {
   givenWaiting({"10.1.0.0/16"});
   sm->tunnelTypeDecapIpToVrfIs(pairOf(one), vrf("green"));
   sm->doReview();
   ASSERT_EQ(traces.size(), 2U);
   EXPECT_EQ(traces[1].text, conflict(one, "green"));
   EXPECT_EQ(traces[1].level, 2U);
   EXPECT_EQ(traces[1].function, "doReview");
}

// Retrying by the clock would spend a pass on it every interval for nothing: the release of the
// destination's owner schedules the review.
TEST_F(Review, WithOnlyKeysForAnotherVrfLeftIsNotScheduledAgain) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   forgetSoFar();
   whenTimePasses(0.125);
   thenCalls({});
   thenBacklog({udp("10.1.0.0/16", "blue")});
   EXPECT_EQ(wakeUp(), Mdl::never);

   whenDecapIpRemoved("red", "10.1.0.0/16");
   EXPECT_DOUBLE_EQ(wakeUp(), 0.225);
   whenTimePasses(0.125);
   thenHardware({udp("10.1.0.0/16", "blue")});
   thenOwners({"udp 10.1.0.0/16 -> blue"});
   thenBooksAgree();
}

TEST_F(Review, ARefusalBehindAConflictStillSchedules) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   givenWaiting({"10.2.0.0/16"});
   givenAnswer(Fwd::dgRcNotReady);
   sm->doReview();
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
}

TEST_F(Review, AKeyOfTheVrfThatOwnsTheDestinationIsTried) {
   auto const other = key("10.1.0.0/16", {.port = 6081});
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenAnswer(Fwd::dgRcNotReady);
   reactor("red")->createDecapEntry(other);
   forgetSoFar();
   sm->doReview();
   thenBacklog({});
   thenHardware({udp("10.1.0.0/16"), Sim::keyText(other)});
}

// The owner is recorded key by key, so that two VRFs that wait for one destination never both get
// it in one pass.
TEST_F(Review, TheFirstOfTwoVrfsThatWaitGetsTheDestination) {
   givenGroup("blue", {.vrf = "blue"});
   givenWaiting({"10.1.0.0/16"}, "blue");
   givenWaiting({"10.1.0.0/16"}, "red");
   thenOwners({});
   sm->doReview();
   thenHardware({udp("10.1.0.0/16", "blue")});
   thenOwners({"udp 10.1.0.0/16 -> blue"});
   thenBacklog({udp("10.1.0.0/16")});
   thenTraces({"doReview", " unprogrammed rc dgRcSuccess", conflict(one, "blue")});
}

TEST_F(Review, AKeyThatIsReleasedWaitsNoMore) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   forgetSoFar();
   whenTimePasses(0.125);
   thenCalls({"program " + udp("10.2.0.0/16") + " -> success"});
   thenCounts({udp("10.2.0.0/16") + " x1"});
}

TEST_F(Review, AReferenceThatJoinsAWaitingKeyDoesNotAskTheHook) {
   givenGroup("green");
   givenWaiting({"10.1.0.0/16"});
   whenDecapIpAdded("green", "10.1.0.0/16");
   thenCalls({});
   thenBacklog({udp("10.1.0.0/16")});
   sm->doReview();
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success"});
   thenCounts({udp("10.1.0.0/16") + " x2"});
}

}  // namespace
