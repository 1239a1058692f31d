#include "support/DecapFixture.h"

namespace {

/// A group holds one reference on a key for each of its two sets, however often it is derived.
class OneReference : public DecapFixture {
 protected:
   OneReference() {
      givenGroup("red");
      givenGroup("blue");
      givenRunning();
      forgetSoFar();
   }

   void whenDerived(std::string_view group, std::string_view destination) {
      reactor(group)->handleUpdateIp(prefix(destination));
   }
   void whenReported(std::string_view group, std::string_view address, bool deletion) {
      reactor(group)->handleIpIntfStatusChange(prefix(address), deletion);
   }

   std::string const text = "udp 10.9.0.1/32 port 6080 payload ip vrf default";
   std::string const stopped = "udp 10.9.0.1/32 port 0 payload ip vrf default";
};

TEST_F(OneReference, APrefixDerivedAgainTakesNoSecond) {
   whenDecapIpAdded("red", "10.9.0.1/32");
   whenDerived("red", "10.9.0.1/32");
   whenDerived("red", "10.9.0.1/32");
   thenCounts({text + " x1"});
   EXPECT_EQ(hardware->programCalls(), 1U);
   whenDecapIpRemoved("red", "10.9.0.1/32");
   thenCounts({});
   thenHardware({});
}

TEST_F(OneReference, AnAddressReportedAgainTakesNoSecond) {
   whenReported("red", "10.9.0.1/32", false);
   whenReported("red", "10.9.0.1/32", false);
   thenCounts({text + " x1"});
   EXPECT_EQ(hardware->programCalls(), 1U);
   whenReported("red", "10.9.0.1/32", true);
   thenCounts({});
   thenHardware({});
}

TEST_F(OneReference, TheTwoSetsHoldOneEach) {
   whenDecapIpAdded("red", "10.9.0.1/32");
   whenReported("red", "10.9.0.1/32", false);
   whenDerived("red", "10.9.0.1/32");
   whenReported("red", "10.9.0.1/32", false);
   thenCounts({text + " x2"});
}

TEST_F(OneReference, APrefixThatIsNotHeldWithdrawsNothingOfAnotherGroup) {
   whenDecapIpAdded("blue", "10.9.0.1/32");
   whenDerived("red", "10.9.0.1/32");
   thenCounts({text + " x1"});
   thenHardware({text});
}

TEST_F(OneReference, AnAddressThatIsNotHeldWithdrawsNothingOfAnotherGroup) {
   whenReported("blue", "10.9.0.1/32", false);
   whenReported("red", "10.9.0.1/32", true);
   thenCounts({text + " x1"});
   thenHardware({text});
}

TEST_F(OneReference, AnAddressThatIsNotHeldWithdrawsNothingOfTheOtherSet) {
   whenDecapIpAdded("red", "10.9.0.1/32");
   whenReported("red", "10.9.0.1/32", true);
   thenCounts({text + " x1"});
   thenHardware({text});
}

TEST_F(OneReference, AStoppedPrefixIsTakenWhenItIsProducedAgainAndNoLongerStopped) {
   groupNamed("red").destPortIs(0);
   whenDecapIpAdded("red", "10.9.0.1/32");
   auto const waiting = key("10.9.0.1/32", {.port = 0});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(waiting));
   thenCounts({});
   hardware->waitForUdpIs(false);
   whenDerived("red", "10.9.0.1/32");
   thenCounts({stopped + " x1"});
   whenDerived("red", "10.9.0.1/32");
   thenCounts({stopped + " x1"});
   whenDecapIpRemoved("red", "10.9.0.1/32");
   thenCounts({});
   thenHardware({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(waiting));
}

TEST_F(OneReference, AStoppedAddressIsTakenWhenItIsProducedAgainAndNoLongerStopped) {
   groupNamed("red").destPortIs(0);
   whenReported("red", "10.9.0.1/32", false);
   thenCounts({});
   hardware->waitForUdpIs(false);
   whenReported("red", "10.9.0.1/32", false);
   thenCounts({stopped + " x1"});
   whenReported("red", "10.9.0.1/32", true);
   thenCounts({});
}

TEST_F(OneReference, AStoppedKeyWithdrawsNothingOfAnotherGroup) {
   hardware->waitForUdpIs(false);
   groupNamed("red").destPortIs(0);
   whenDecapIpAdded("red", "10.9.0.1/32");
   hardware->waitForUdpIs(true);
   groupNamed("blue").destPortIs(0);
   whenDecapIpAdded("blue", "10.9.0.1/32");
   thenCounts({stopped + " x1"});
   whenDecapIpRemoved("blue", "10.9.0.1/32");
   thenCounts({stopped + " x1"});
   thenHardware({stopped});
}

TEST_F(OneReference, AStoppedKeyRekeyedToARunningOneIsTakenOnce) {
   groupNamed("red").destPortIs(0);
   whenDecapIpAdded("red", "10.9.0.1/32");
   whenReported("red", "10.9.0.1/32", false);
   groupNamed("red").destPortIs(6080);
   thenCounts({text + " x2"});
   groupNamed("red").destPortIs(0);
   thenCounts({});
   thenHardware({});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(key("10.9.0.1/32", {.port = 0})));
}

TEST_F(OneReference, AKeyTakenWhileHeldIsNotStoppedAfterwards) {
   hardware->waitForUdpIs(false);
   groupNamed("red").destPortIs(0);
   whenDecapIpAdded("red", "10.9.0.1/32");
   hardware->waitForUdpIs(true);
   whenDecapIpRemoved("red", "10.9.0.1/32");
   thenCounts({});
   thenHardware({});
}

TEST_F(OneReference, AGroupThatGoesGivesBackWhatItHoldsAndNothingElse) {
   whenDecapIpAdded("red", "10.9.0.1/32");
   whenReported("red", "10.9.0.1/32", false);
   whenDecapIpAdded("blue", "10.9.0.1/32");
   whenGroupRemoved("red");
   thenCounts({text + " x1"});
   thenHardware({text});
   whenGroupRemoved("blue");
   thenCounts({});
   thenHardware({});
}

}  // namespace
