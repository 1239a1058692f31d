#include "support/BacklogFixture.h"

namespace {

/// The alarm: when it is raised and cleared, and what is logged of it.
class HwResourceFull : public BacklogFixture {
 protected:
   using Changes = std::vector<Mdl::AttributeId>;

   /// The prefix joins the group while hardware is full.
   void givenRefused(std::string_view prefixText) {
      hardware->table().capacityIs(0);
      whenDecapIpAdded("red", prefixText);
      forgetSoFar();
   }
   /// The first key's review is answered so that no other review is scheduled.
   void givenNoReviewScheduled() {
      givenAnswer(Fwd::dgRcUnSupported);
      whenTimePasses(0.125);
      ASSERT_EQ(wakeUp(), Mdl::never);
      forgetSoFar();
   }

   static Texts full(std::size_t times) { return Texts(times, "TUNNEL_HW_RESOURCE_FULL"); }
   static Texts normal() { return {"TUNNEL_HW_RESOURCE_NORMAL"}; }
};

TEST_F(HwResourceFull, IsLoggedAtTheRefusalAndNotAgainByTheReview) {
   hardware->table().capacityIs(0);
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenLogs(full(1));
   thenHwResourceFull(true);
   whenTimePasses(0.125);
   whenTimePasses(0.125);
   EXPECT_EQ(hardware->programCalls(), 3U);
   thenLogs(full(1));
   thenHwResourceFull(true);

   forgetSoFar();
   hardware->table().capacityIs(1);
   whenTimePasses(0.125);
   thenLogs(normal());
   thenHwResourceFull(false);
   whenTimePasses(10.0);
   thenLogs(normal());
}

// A refusal is logged each time a key is added, whether the alarm stands or not: each is a prefix
// that somebody has just configured. The review logs the alarm's rise only.
TEST_F(HwResourceFull, IsLoggedForEachKeyThatIsAddedAndOnceByTheReview) {
   givenWaiting({"10.1.0.0/16", "10.2.0.0/16"});
   hardware->table().capacityIs(0);
   whenTimePasses(0.125);
   thenLogs(full(1));
   whenTimePasses(0.125);
   thenLogs(full(1));
   whenDecapIpAdded("red", "10.3.0.0/16");
   whenDecapIpAdded("red", "10.4.0.0/16");
   thenLogs(full(3));
}

TEST_F(HwResourceFull, RaisedByTheReviewIsLoggedAgainOnceItHasBeenCleared) {
   givenWaiting({"10.1.0.0/16"});
   hardware->table().capacityIs(0);
   whenTimePasses(0.125);
   hardware->table().capacityIs(1);
   whenTimePasses(0.125);
   hardware->notReadyUntilIs(Mdl::never);
   whenDecapIpAdded("red", "10.2.0.0/16");
   hardware->notReadyUntilIs(0.0);
   whenTimePasses(0.125);
   thenLogs({"TUNNEL_HW_RESOURCE_FULL", "TUNNEL_HW_RESOURCE_NORMAL", "TUNNEL_HW_RESOURCE_FULL"});
   thenHwResourceFull(true);
}

TEST_F(HwResourceFull, StandsWhileAnyKeyWaits) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   hardware->table().capacityIs(1);
   whenDecapIpAdded("red", "10.2.0.0/16");
   hardware->table().capacityIs(2);
   forgetSoFar();
   whenTimePasses(0.125);
   thenBacklog({udp("10.1.0.0/16", "blue")});
   thenHwResourceFull(true);
   thenLogs({});
}

TEST_F(HwResourceFull, ThatWasNotRaisedIsNotCleared) {
   givenWaiting({"10.1.0.0/16"});
   whenTimePasses(0.125);
   thenBacklog({});
   thenLogs({});
}

TEST_F(HwResourceFull, IsClearedByAReviewThatFindsNothingWaiting) {
   status->hwResourceFullIs(true);
   sm->doReview();
   thenHwResourceFull(false);
   thenLogs(normal());
}

TEST_F(HwResourceFull, IsClearedBeforeItIsLogged) {
   givenRefused("10.1.0.0/16");
   hardware->table().capacityIs(1);
   bool atLog = true;
   Mdl::Log::sinkIs([&](Mdl::LogHandle const&) { atLog = status->hwResourceFull(); });
   whenTimePasses(0.125);
   Mdl::Log::sinkIs({});
   EXPECT_FALSE(atLog);
}

TEST_F(HwResourceFull, OfAMachineWithoutAHardwareStatusIsLoggedByNoReview) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, nullptr, ip, ip6, time.clock(), hardware);
   givenRunning();
   givenWaiting({"10.1.0.0/16"});
   hardware->table().capacityIs(0);
   whenTimePasses(0.125);
   thenBacklog({udp("10.1.0.0/16")});
   hardware->table().capacityIs(1);
   whenTimePasses(0.125);
   thenHardware({udp("10.1.0.0/16")});
}

// Releases: the flag never outlives the backlog.

TEST_F(HwResourceFull, IsLeftToTheReviewThatIsScheduledWhenTheLastKeyIsReleased) {
   givenRefused("10.1.0.0/16");
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHwResourceFull(true);
   thenLogs({});
   whenTimePasses(0.125);
   thenHwResourceFull(false);
   thenLogs(normal());
   thenCalls({});
}

TEST_F(HwResourceFull, IsClearedByTheReleaseOfTheLastKeyWhenNoReviewIsScheduled) {
   givenRefused("10.1.0.0/16");
   givenNoReviewScheduled();
   thenHwResourceFull(true);
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHwResourceFull(false);
   thenLogs(normal());
   whenTimePasses(10.0);
   thenLogs(normal());
}

TEST_F(HwResourceFull, IsNotClearedByAReleaseThatLeavesOthersWaiting) {
   givenRefused("10.1.0.0/16");
   givenRefused("10.2.0.0/16");
   givenNoReviewScheduled();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHwResourceFull(true);
   thenLogs({});
   whenDecapIpRemoved("red", "10.2.0.0/16");
   thenHwResourceFull(false);
   thenLogs(normal());
}

TEST_F(HwResourceFull, IsNotClearedWhileAnotherReferenceKeepsTheWaitingKey) {
   givenGroup("green");
   givenRefused("10.1.0.0/16");
   whenDecapIpAdded("green", "10.1.0.0/16");
   givenNoReviewScheduled();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHwResourceFull(true);
   whenDecapIpRemoved("green", "10.1.0.0/16");
   thenHwResourceFull(false);
}

TEST_F(HwResourceFull, ThatWasNotRaisedIsNotLoggedByARelease) {
   givenWaiting({"10.1.0.0/16"});
   givenNoReviewScheduled();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenLogs({});
}

TEST_F(HwResourceFull, WithoutAClockIsClearedByTheReleaseOfTheLastKey) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, nullptr, hardware);
   hardware->table().capacityIs(0);
   reactor("red")->createDecapEntry(key("10.1.0.0/16"));
   forgetSoFar();
   reactor("red")->deleteDecapEntry(key("10.1.0.0/16"));
   thenHwResourceFull(false);
   thenLogs(normal());
}

TEST_F(HwResourceFull, WithoutAHardwareStatusAReleaseLogsNothing) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, nullptr, ip, ip6, time.clock(), hardware);
   givenRunning();
   givenRefused("10.1.0.0/16");
   givenNoReviewScheduled();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenLogs({});
   thenBacklog({});
}

// Initialization disarms the review; whoever is past the replay has nothing else to arm it again.

TEST_F(HwResourceFull, AfterTheReplayInitializationSchedulesTheReviewAgainWhileKeysWait) {
   givenRefused("10.1.0.0/16");
   sm->mdlClock()->timeMinIs(50.0);
   sm->initializedIs(false);
   EXPECT_EQ(wakeUp(), 50.0);
   sm->initializedIs(true);
   EXPECT_DOUBLE_EQ(wakeUp(), 0.1);
   hardware->table().capacityIs(1);
   whenTimePasses(0.125);
   thenHwResourceFull(false);
   thenCalls({"program " + udp("10.1.0.0/16") + " -> success"});
}

TEST_F(HwResourceFull, AfterTheReplayInitializationSchedulesNoReviewWhenNoKeyWaits) {
   sm->mdlClock()->timeMinIs(50.0);
   sm->initializedIs(false);
   sm->initializedIs(true);
   EXPECT_EQ(wakeUp(), Mdl::never);
}

// The review that would have cleared the flag has been disarmed.
TEST_F(HwResourceFull, AfterTheReplayInitializationClearsTheFlagWhenNoKeyWaits) {
   givenRefused("10.1.0.0/16");
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHwResourceFull(true);
   sm->initializedIs(false);
   sm->initializedIs(true);
   thenHwResourceFull(false);
   thenLogs(normal());
   EXPECT_EQ(wakeUp(), Mdl::never);
}

}  // namespace
