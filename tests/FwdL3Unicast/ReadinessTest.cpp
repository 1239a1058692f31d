#include "support/DecapFixture.h"

#include <algorithm>

namespace {

/// The gate between a machine that exists and one that programs hardware.
class Readiness : public DecapFixture {
 protected:
   Readiness() {
      givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
      givenMachine();
      givenTraceLevels({2});
   }

   long traced(std::string_view text) const {
      return std::ranges::count(traces, text, &Traced::text);
   }

   static constexpr char programmed[] =
       "program udp 10.1.0.0/16 port 6080 payload ip vrf default -> success";
};

TEST_F(Readiness, NeedsBothConditionsInEitherOrder) {
   config->readyIs(true);
   thenCalls({});
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   sm->initializedIs(true);
   thenCalls({programmed, "configuration ready"});
   EXPECT_TRUE(sm->dgConfigReadyHandled());
}

TEST_F(Readiness, ComesWithTheConfigurationOnceInitialized) {
   sm->initializedIs(true);
   thenCalls({});
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   config->readyIs(true);
   thenCalls({programmed, "configuration ready"});
   EXPECT_TRUE(sm->dgConfigReadyHandled());
}

TEST_F(Readiness, InitializedAndReadyReadsBothConditions) {
   EXPECT_FALSE(sm->initializedAndReady());
   sm->initializedIs(true);
   EXPECT_FALSE(sm->initializedAndReady());
   config->readyIs(true);
   EXPECT_TRUE(sm->initializedAndReady());
   sm->initializedIs(false);
   EXPECT_FALSE(sm->initializedAndReady());
}

TEST_F(Readiness, InitializedTwiceIsHandledOnce) {
   sm->initializedIs(true);
   sm->initializedIs(true);
   EXPECT_EQ(traced("handleInitialized"), 1);
}

TEST_F(Readiness, InitializedAsItWasIsNotHandled) {
   sm->initializedIs(false);
   thenTraces({});
}

TEST_F(Readiness, BothTransitionsOfInitializedAreHandled) {
   sm->initializedIs(true);
   sm->initializedIs(false);
   EXPECT_FALSE(sm->initialized());
   thenTraces({"handleInitialized", "handleInitialized"});
   EXPECT_EQ(traces[0].level, 2U);
   EXPECT_EQ(traces[0].function, "handleInitialized");
}

TEST_F(Readiness, InitializedDisarmsTheReviewWhileTheConfigurationIsNotReady) {
   sm->mdlClock()->timeMinIs(5.0);
   sm->initializedIs(true);
   EXPECT_EQ(sm->mdlClock()->timeMin(), Mdl::never);
   EXPECT_EQ(traced("handleDecapGroupConfigReady"), 0);
}

TEST_F(Readiness, InitializedDisarmsTheReviewWhenTheConfigurationIsReady) {
   config->readyIs(true);
   sm->mdlClock()->timeMinIs(5.0);
   sm->initializedIs(true);
   EXPECT_EQ(sm->mdlClock()->timeMin(), Mdl::never);
   EXPECT_EQ(traced("handleDecapGroupConfigReady"), 2);
}

TEST_F(Readiness, NoLongerInitializedLeavesTheReviewArmed) {
   givenRunning();
   sm->mdlClock()->timeMinIs(5.0);
   sm->initializedIs(false);
   EXPECT_EQ(sm->mdlClock()->timeMin(), 5.0);
}

TEST_F(Readiness, NoLongerInitializedDoesNotLeaveTheRunningState) {
   givenRunning();
   forgetSoFar();
   sm->initializedIs(false);
   thenTraces({"handleInitialized"});
   thenCalls({});
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   whenDecapIpAdded("red", "10.2.0.0/16");
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf default",
                 "udp 10.2.0.0/16 port 6080 payload ip vrf default"});
}

TEST_F(Readiness, ReadyBeforeInitializedIsHandledAndStopsThere) {
   config->readyIs(true);
   thenTraces({"handleDecapGroupConfigReady"});
   EXPECT_EQ(traces[0].level, 2U);
   EXPECT_EQ(traces[0].function, "handleDecapGroupConfigReady");
   thenCalls({});
}

TEST_F(Readiness, ReadyAgainAfterTheReplayReplaysNothing) {
   givenRunning();
   forgetSoFar();
   sm->mdlDgConfig()->onAttribute(Tunnel::Decap::Config::readyAttributeId, nullptr);
   thenTraces({"handleDecapGroupConfigReady"});
   sm->handleDecapGroupConfigReady();
   thenTraces({"handleDecapGroupConfigReady", "handleDecapGroupConfigReady"});
   thenCalls({});
}

TEST_F(Readiness, InitializedAgainAfterTheReplayReplaysNothing) {
   givenRunning();
   sm->initializedIs(false);
   forgetSoFar();
   sm->initializedIs(true);
   thenTraces({"handleInitialized", "handleDecapGroupConfigReady"});
   thenCalls({});
   thenCounts({"udp 10.1.0.0/16 port 6080 payload ip vrf default x1"});
}

TEST_F(Readiness, HandledIsSetOnlyAfterTheHookWasTold) {
   std::vector<bool> handled;
   hardware->observerIs([&](Sim::Call const& call) {
      if (call.operation == Sim::Operation::configReady) {
         handled.push_back(sm->dgConfigReadyHandled());
      }
   });
   givenRunning();
   EXPECT_EQ(handled, std::vector<bool>{false});
   EXPECT_TRUE(sm->dgConfigReadyHandled());
}

TEST_F(Readiness, KeysThatWaitAlreadyAreScheduledBeforeTheHookIsTold) {
   auto const waiting = key("10.3.0.0/16");
   sm->updateRefCount(waiting, true);
   sm->unprogrammedKeyIs(waiting, true);
   groupNamed("red").decapIpDelAll();
   std::vector<Mdl::Seconds> wakeUps;
   hardware->observerIs([&](Sim::Call const&) { wakeUps.push_back(sm->mdlClock()->timeMin()); });
   time.advanceTo(3.0);
   givenRunning();
   thenCalls({"configuration ready"});
   ASSERT_EQ(wakeUps.size(), 1U);
   EXPECT_DOUBLE_EQ(wakeUps[0], 3.1);
   EXPECT_DOUBLE_EQ(sm->mdlClock()->timeMin(), 3.1);
}

TEST_F(Readiness, WithoutKeysThatWaitNoReviewIsScheduled) {
   givenRunning();
   EXPECT_EQ(sm->mdlClock()->timeMin(), Mdl::never);
}

TEST_F(Readiness, HandleInitializedWithoutAClockOnlyTracesWhileNotInitialized) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, nullptr, hardware);
   forgetSoFar();
   sm->handleInitialized();
   thenTraces({"handleInitialized"});
}

using ReadinessDeath = Readiness;

TEST_F(ReadinessDeath, InitializedWithoutAClockStopsTheProcess) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, nullptr, hardware);
   EXPECT_DEATH(sm->initializedIs(true),
                "Assertion failed: clock_, file FwdL3Unicast/FwdDecapGroup, function virtual void "
                "Fwd::FwdDecapGroupSm::handleInitialized\\(\\)\n");
}

TEST_F(ReadinessDeath, TheMissingClockIsNoticedAfterTheTrace) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, nullptr, hardware);
   Mdl::Trace::sinkIs({});
   EXPECT_DEATH(sm->initializedIs(true), "handleInitialized(.|\n)*Assertion failed: clock_");
}

TEST_F(ReadinessDeath, InitializedWithoutAConfigurationStopsTheProcess) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, nullptr, status, ip, ip6, time.clock(), hardware);
   EXPECT_DEATH(sm->initializedIs(true), "Assertion failed: ");
}

TEST_F(ReadinessDeath, ReadinessWithoutAHookStopsTheProcess) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), nullptr);
   groupNamed("red").decapIpDelAll();
   config->readyIs(true);
   EXPECT_DEATH(sm->initializedIs(true), "Assertion failed: ");
}

constexpr char notReady[] =
    "Assertion failed: dgConfig\\(\\)->ready\\(\\), file FwdL3Unicast/FwdDecapGroup, function void "
    "Fwd::FwdDecapGroupSm::handleDecapGroupConfigReady\\(\\)\n";

TEST_F(ReadinessDeath, HandlingAConfigurationThatIsNotReadyStopsTheProcess) {
   sm->initializedIs(true);
   EXPECT_DEATH(sm->handleDecapGroupConfigReady(), notReady);
}

TEST_F(ReadinessDeath, TheConfigurationIsLookedAtBeforeAnythingElse) {
   EXPECT_DEATH(sm->handleDecapGroupConfigReady(), notReady);
   givenRunning();
   config->hasNotificationActiveIs(false);
   config->readyIs(false);
   EXPECT_DEATH(sm->handleDecapGroupConfigReady(), notReady);
}

TEST_F(ReadinessDeath, AReadyFlagThatFallsBackStopsTheProcess) {
   givenRunning();
   EXPECT_DEATH(config->readyIs(false), notReady);
}

TEST_F(ReadinessDeath, AReadyFlagThatFallsBackBeforeInitializationStopsTheProcessToo) {
   config->readyIs(true);
   EXPECT_DEATH(config->readyIs(false), notReady);
}

}  // namespace
