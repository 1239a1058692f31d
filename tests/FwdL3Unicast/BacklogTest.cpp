#include "support/BacklogFixture.h"

namespace {

using Support::rep;

/// Keys that wait, and when they are looked at again.
class Backlog : public BacklogFixture {
 protected:
   Backlog() { givenTraceLevels({2}); }

   /// A reference that nobody's prefix stands for, so that a key can wait by hand.
   Fwd::DecapKey givenCounted(std::string_view destination) {
      auto const counted = key(destination);
      sm->refCountIs(counted, 1);
      return counted;
   }
};

TEST_F(Backlog, AKeyThatIsAddedIsTracedRecordedAndScheduled) {
   auto const one = givenCounted("10.1.0.0/16");
   time.advanceTo(3.0);
   sm->addKeyToUnprogrammed(one);
   thenTraces({"addKeyToUnprogrammed" + rep(one)});
   thenBacklog({udp("10.1.0.0/16")});
   EXPECT_TRUE(sm->unprogrammedKey(one));
   EXPECT_DOUBLE_EQ(wakeUp(), 3.1);
   thenCalls({});
}

TEST_F(Backlog, AKeyThatWaitsAlreadyIsNeitherTracedNorScheduled) {
   auto const one = givenCounted("10.1.0.0/16");
   sm->addKeyToUnprogrammed(one);
   sm->mdlClock()->timeMinIs(7.0);
   forgetSoFar();
   sm->addKeyToUnprogrammed(one);
   thenTraces({});
   thenBacklog({udp("10.1.0.0/16")});
   EXPECT_EQ(wakeUp(), 7.0);
}

TEST_F(Backlog, KeysWaitInTheOrderOfTheirArrival) {
   for (auto const text : {"10.3.0.0/16", "10.1.0.0/16", "10.2.0.0/16"}) {
      sm->addKeyToUnprogrammed(givenCounted(text));
   }
   thenBacklog({udp("10.3.0.0/16"), udp("10.1.0.0/16"), udp("10.2.0.0/16")});
}

TEST_F(Backlog, AKeyIsScheduledOnlyOnceItIsRecorded) {
   auto const one = givenCounted("10.1.0.0/16");
   class WakeUpAtChange final : public Mdl::PtrInterface::NotifieeConst {
    public:
      explicit WakeUpAtChange(Mdl::Ptr<Sm> const& machine)
          : NotifieeConst(machine), machine_(*machine) {
         hasNotificationActiveIs(true);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Mdl::AttributeId attribute, void const*) override {
         if (attribute == Sm::unprogrammedKeyAttributeId) {
            seen.push_back(machine_.mdlClock()->timeMin());
         }
      }
      std::vector<Mdl::Seconds> seen;

    private:
      ~WakeUpAtChange() override = default;
      Sm& machine_;
   };
   auto const watcher = Mdl::allocate<WakeUpAtChange>(sm);
   sm->addKeyToUnprogrammed(one);
   watcher->notifierIs(nullptr);
   EXPECT_EQ(watcher->seen, std::vector<Mdl::Seconds>{Mdl::never});
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
}

TEST_F(Backlog, WhileNoKeyWaitsSchedulingLeavesTheWakeUpAsItIs) {
   sm->doMaybeScheduleReview();
   EXPECT_EQ(wakeUp(), Mdl::never);
   sm->mdlClock()->timeMinIs(7.0);
   sm->doMaybeScheduleReview();
   EXPECT_EQ(wakeUp(), 7.0);
}

// A steady stream of refusals keeps pushing the review later: hardware that is being filled is
// left alone until it is quiet.
TEST_F(Backlog, EverySchedulingMovesTheWakeUp) {
   sm->unprogrammedKeyIs(givenCounted("10.1.0.0/16"), true);
   sm->doMaybeScheduleReview();
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
   time.advanceTo(0.0625);
   sm->doMaybeScheduleReview();
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1625);
   sm->mdlClock()->timeMinIs(0.03125);
   sm->doMaybeScheduleReview();
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1625);
}

TEST_F(Backlog, RefusalsThatKeepComingKeepTheReviewAway) {
   hardware->notReadyUntilIs(Mdl::never);
   for (int i = 0; i < 10; ++i) {
      whenDecapIpAdded("red", "10." + std::to_string(i) + ".0.0/16");
      whenTimePasses(0.09375);
   }
   EXPECT_EQ(hardware->programCalls(), 10U);
   whenTimePasses(0.09375);
   EXPECT_EQ(hardware->programCalls(), 11U);
}

TEST_F(Backlog, TheWakeUpIsOneIntervalAway) {
   sm->reviewIntervalIs(2.5);
   sm->addKeyToUnprogrammed(givenCounted("10.1.0.0/16"));
   EXPECT_EQ(wakeUp(), 2.5);
}

TEST_F(Backlog, AnIntervalThatChangesAppliesFromTheNextSchedulingOn) {
   sm->addKeyToUnprogrammed(givenCounted("10.1.0.0/16"));
   sm->reviewIntervalIs(2.5);
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
   sm->doMaybeScheduleReview();
   EXPECT_EQ(wakeUp(), 2.5);
}

TEST_F(Backlog, TheWakeUpCountsFromTheCurrentTimeAndNotFromTheClock) {
   time.pass(0.5);
   ASSERT_EQ(time.clock()->time(), 0.0);
   sm->addKeyToUnprogrammed(givenCounted("10.1.0.0/16"));
   EXPECT_DOUBLE_EQ(wakeUp(), 0.6);
}

TEST_F(Backlog, MutatorsOfTheCollectionOnlyStore) {
   auto const one = givenCounted("10.1.0.0/16");
   auto const two = givenCounted("10.2.0.0/16");
   sm->unprogrammedKeyIs(one, true);
   sm->unprogrammedKeyIs(two, true);
   EXPECT_EQ(sm->unprogrammedKey().size(), 2U);
   sm->unprogrammedKeyDel(one);
   thenBacklog({udp("10.2.0.0/16")});
   sm->unprogrammedKeyDel(one);
   sm->unprogrammedKeyDelAll();
   thenBacklog({});
   EXPECT_EQ(wakeUp(), Mdl::never);
   thenTraces({});
   thenCalls({});
   thenLogs({});
}

TEST_F(Backlog, TheReviewRunsWhenTheClockReachesTheWakeUpAndOnce) {
   givenWaiting({"10.1.0.0/16"});
   sm->mdlClock()->timeMinIs(0.125);
   time.advanceTo(0.12);
   thenCalls({});
   time.advanceTo(0.125);
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success"});
   time.advanceTo(5.0);
   EXPECT_EQ(hardware->programCalls(), 2U);
}

TEST_F(Backlog, WithoutAClockKeysKeepWaiting) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, nullptr, hardware);
   auto const group = reactor("red");
   givenAnswer(Fwd::dgRcNotReady);
   group->createDecapEntry(key("10.1.0.0/16"));
   group->createDecapEntry(key("10.2.0.0/16"));
   whenTimePasses(10.0);
   thenBacklog({udp("10.1.0.0/16")});
   thenHardware({udp("10.2.0.0/16")});
   EXPECT_EQ(hardware->programCalls(), 2U);
   // Reachable from outside, and no reason to stop the process.
   sm->doMaybeScheduleReview();
   thenBacklog({udp("10.1.0.0/16")});
}

/// Another clock for the machine that runs.
class BacklogOnAnotherClock : public Backlog {
 protected:
   BacklogOnAnotherClock() {
      givenWaiting({"10.1.0.0/16"});
      sm->mdlClock()->timeMinIs(9.0);
   }
   Mdl::Ptr<Mdl::Clock> const other = Mdl::allocate<Mdl::Clock>();
};

TEST_F(BacklogOnAnotherClock, IsReviewedAtOnce) {
   sm->mdlClock()->notifierIs(other);
   EXPECT_EQ(sm->clock(), other);
   thenTraces({"doReview"});
   thenHardware({udp("10.1.0.0/16")});
   EXPECT_EQ(wakeUp(), Mdl::never);
}

TEST_F(BacklogOnAnotherClock, IsWokenByTheNewOneAndNotByTheOld) {
   givenAnswer(Fwd::dgRcNotReady);
   sm->mdlClock()->notifierIs(other);
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
   forgetSoFar();
   whenTimePasses(20.0);
   thenCalls({});
   other->timeIs(20.0);
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success"});
}

TEST_F(BacklogOnAnotherClock, IsNotReviewedWhenItIsTheSame) {
   sm->mdlClock()->notifierIs(time.clock());
   thenTraces({});
   EXPECT_EQ(wakeUp(), 9.0);
}

TEST_F(BacklogOnAnotherClock, IsNotReviewedWithoutAny) {
   sm->mdlClock()->notifierIs(nullptr);
   thenTraces({});
   EXPECT_EQ(sm->clock(), nullptr);
   whenTimePasses(20.0);
   thenBacklog({udp("10.1.0.0/16")});
}

}  // namespace
