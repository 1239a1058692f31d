#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

// The primary IPv4 address of an interface, as its reactor follows it.

namespace {

class IpPrimaryAddress : public InterfaceFixture {
 protected:
   /// A group that uses Ethernet1, running.
   void givenUsed() {
      givenGroup("g");
      whenDecapIntfAdded("g", "Ethernet1");
      givenRunning();
   }
   void givenTraced() {
      givenTraceLevels({2, 5, 7});
      forgetSoFar();
   }
};

TEST_F(IpPrimaryAddress, IsDecapsulatedAsAHostWhateverItsMask) {
   givenUsed();
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenDestinations({"10.0.0.1/32"});
   thenCounts({counted("10.0.0.1/32", 1)});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32"});
   thenRecord("Ethernet1", "10.0.0.1 0.0.0.0");
}

TEST_F(IpPrimaryAddress, TheOldOneIsWithdrawnBeforeTheNewOneIsAddedInEveryGroup) {
   givenGroup("one", {.port = 1});
   givenGroup("two", {.port = 2});
   whenDecapIntfAdded("one", "Ethernet1");
   whenDecapIntfAdded("two", "");
   givenRunning();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   forgetSoFar();
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   thenCalls({"remove udp 10.0.0.1/32 port 1 payload ip vrf default -> removed",
              "program udp 10.0.0.2/32 port 1 payload ip vrf default -> success",
              "remove udp 10.0.0.1/32 port 2 payload ip vrf default -> removed",
              "program udp 10.0.0.2/32 port 2 payload ip vrf default -> success"});
   thenRecord("Ethernet1", "10.0.0.2 0.0.0.0");
}

// Deliberate: old and new address are not compared. A platform may count on seeing the entry
// written anew when the interface's address has been.
TEST_F(IpPrimaryAddress, AnUnchangedAddressIsWithdrawnAndAddedAgain) {
   givenUsed();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   forgetSoFar();
   whenPrimaryIs(ethernet, "10.0.0.1/25");
   thenCalls({removes("10.0.0.1/32"), programs("10.0.0.1/32")});
   thenCounts({counted("10.0.0.1/32", 1)});
}

TEST_F(IpPrimaryAddress, AnUnchangedAddressThatHasAnotherReasonStaysInHardware) {
   givenUsed();
   whenDecapIntfAdded("g", "Ethernet2");
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", "10.0.0.1/24");
   forgetSoFar();
   whenPrimaryIs(ethernet, "10.0.0.1/25");
   thenCalls({});
   thenCounts({counted("10.0.0.1/32", 1)});
}

TEST_F(IpPrimaryAddress, AnAddressThatGoesIsWithdrawnAndNoLongerRecorded) {
   givenUsed();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   forgetSoFar();
   whenPrimaryIs(ethernet, "");
   thenCalls({removes("10.0.0.1/32")});
   thenRecord("Ethernet1", "0.0.0.0 0.0.0.0");
   forgetSoFar();
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   thenCalls({programs("10.0.0.2/32")});
}

TEST_F(IpPrimaryAddress, AZeroAddressGivesNoKeyWhateverItsMask) {
   givenUsed();
   forgetSoFar();
   givenInterface("Ethernet1", "0.0.0.0/24");
   thenCalls({});
   thenCounts({});
   thenRecord("Ethernet1", "0.0.0.0 0.0.0.0");
}

TEST_F(IpPrimaryAddress, IsRecordedBeforeAnyGroupIsTold) {
   givenUsed();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   unsigned looked = 0;
   auto const look = [&] {
      ++looked;
      thenRecord("Ethernet1", "10.0.0.2 0.0.0.0");
   };
   hardware->duringRemoval(1, look);
   hardware->duringProgram(2, look);
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   EXPECT_EQ(looked, 2U);
}

TEST_F(IpPrimaryAddress, OnlyGroupsThatUseTheInterfaceAreTold) {
   givenGroup("other");
   whenDecapIntfAdded("other", "Ethernet2", all);
   givenGroup("only6", {.port = 6});
   whenDecapIntfAdded("only6", "Ethernet1", all, ipv6);
   whenDecapIntfAdded("only6", "", all, ipv6);
   givenGroup("none", {.port = 7});
   givenRunning();
   givenTraced();
   givenInterface("Ethernet1", "10.0.0.1/24");
   EXPECT_EQ(tracesOf("handleIpIntfStatusChange"), Texts());
   thenCalls({});
   // Recorded all the same: a group may use the interface later.
   thenRecord("Ethernet1", "10.0.0.1 0.0.0.0");
}

TEST_F(IpPrimaryAddress, IsUsedWhateverTheAddressType) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1", primaryOnly);
   whenDecapIntfAdded("g", "Ethernet2", all);
   givenRunning();
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", "10.0.0.2/24");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(IpPrimaryAddress, IsNotFollowedBeforeTheMachineIsInitialized) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1");
   givenMachine();
   config->readyIs(true);
   givenTraced();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   thenTraces({});
   thenCalls({});
   thenRecord("Ethernet1", "");
}

TEST_F(IpPrimaryAddress, IsNotFollowedBeforeTheConfigurationIsReady) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1");
   givenMachine();
   sm->initializedIs(true);
   givenTraced();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   thenTraces({});
   thenCalls({});
   thenRecord("Ethernet1", "");
}

TEST_F(IpPrimaryAddress, OfManagementAndInternalInterfacesIsNeitherUsedNorRecorded) {
   givenGroup("g");
   for (auto const name : {"", "Management1", "Internal7"}) whenDecapIntfAdded("g", name, all);
   givenRunning();
   givenTraced();
   for (auto const name : {"Management1", "Internal7"}) {
      auto const made = givenInterface(name, "10.0.0.1/24");
      whenPrimaryIs(made, "10.0.0.2/24");
      thenRecord(name, "");
   }
   thenTraces({});
   thenCalls({});
}

TEST_F(IpPrimaryAddress, OutsideTheDefaultVrfIsNeitherUsedNorRecorded) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   givenRunning();
   givenTraced();
   auto const red = givenInterface("Ethernet1", "10.0.0.1/24", "red");
   auto const none = givenInterface("Ethernet2", "10.0.0.2/24", "");
   whenPrimaryIs(red, "10.0.0.3/24");
   whenPrimaryIs(none, "10.0.0.4/24");
   thenTraces({});
   thenCalls({});
   thenRecord("Ethernet1", "");
   thenRecord("Ethernet2", "");
}

TEST_F(IpPrimaryAddress, ANewReactorLooksAtThePrimaryThenAtTheVirtualAddress) {
   givenUsed();
   givenTraced();
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true);
   EXPECT_EQ(tracesOf("handlePrimaryAddrWithMask"),
             Texts({"handlePrimaryAddrWithMask intf Ethernet1"}));
   auto const first = std::ranges::find(traces, "handlePrimaryAddrWithMask", &Traced::function);
   auto const second = std::ranges::find(traces, "handleVirtualAddrWithMask", &Traced::function);
   ASSERT_NE(second, traces.end());
   EXPECT_LT(first - traces.begin(), second - traces.begin());
   EXPECT_EQ(tracesOf("handleSecondaryAddrWithMask"), Texts());
}

TEST_F(IpPrimaryAddress, AReplacedStatusIsEvaluatedInTheSameWay) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1", all);
   givenRunning();
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenTraced();
   givenInterfaceWith("Ethernet1", "10.0.0.2/24", {}, true);
   EXPECT_EQ(tracesOf("handlePrimaryAddrWithMask").size(), 1U);
   EXPECT_EQ(tracesOf("handleVirtualAddrWithMask").size(), 1U);
   thenDestinations({"10.0.0.2/32"});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.2/32", "Ethernet1 virtual 10.0.0.2/32"});
   thenRecord("Ethernet1", "10.0.0.2 10.0.0.2");
}

TEST_F(IpPrimaryAddress, AReactorAtRestFollowsNothing) {
   givenUsed();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   auto const reactor = sm->mdlIpIntfStatus(intf("Ethernet1"));
   reactor->mdlDoZombieReactors(true);
   forgetSoFar();
   reactor->onAttribute(Ip::IpIntfStatus::addrWithMaskAttributeId, nullptr);
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   thenCalls({});
}

TEST_F(IpPrimaryAddress, AStatusThatIsSetWithoutBeingNewIsNotEvaluated) {
   givenUsed();
   auto const ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   givenTraced();
   sm->mdlIpIntfStatus(intf("Ethernet1"))->ipIntfStatusIs(ethernet);
   thenTraces({});
   thenCalls({});
}

}  // namespace
