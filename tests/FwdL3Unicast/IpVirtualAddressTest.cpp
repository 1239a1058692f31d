#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

// The primary IPv4 address in its second role, while it is flagged as a virtual one.

namespace {

class IpVirtualAddress : public InterfaceFixture {
 protected:
   void givenUsed(AddressType type = all) {
      givenGroup("g");
      whenDecapIntfAdded("g", "Ethernet1", type);
      givenRunning();
      ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
      forgetSoFar();
   }

   IntfStatus ethernet;
};

TEST_F(IpVirtualAddress, SharesTheKeyOfThePrimary) {
   givenUsed();
   whenVirtualIs(ethernet, true);
   thenCalls({});
   thenCounts({counted("10.0.0.1/32", 1)});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 virtual 10.0.0.1/32"});
   thenRecord("Ethernet1", "10.0.0.1 10.0.0.1");
}

TEST_F(IpVirtualAddress, LeavesThePrimarysKeyWhenTheFlagIsCleared) {
   givenUsed();
   whenVirtualIs(ethernet, true);
   whenVirtualIs(ethernet, false);
   thenCalls({});
   thenDestinations({"10.0.0.1/32"});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32"});
   thenRecord("Ethernet1", "10.0.0.1 0.0.0.0");
}

TEST_F(IpVirtualAddress, MovesWithThePrimaryAndLeavesNothingBehind) {
   givenUsed();
   whenVirtualIs(ethernet, true);
   whenPrimaryIs(ethernet, "10.0.0.2/24");
   thenDestinations({"10.0.0.2/32"});
   thenCounts({counted("10.0.0.2/32", 1)});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.2/32", "Ethernet1 virtual 10.0.0.2/32"});
   thenRecord("Ethernet1", "10.0.0.2 10.0.0.2");
   whenVirtualIs(ethernet, false);
   whenPrimaryIs(ethernet, "");
   thenDestinations({});
   thenOrigins("g", {});
}

TEST_F(IpVirtualAddress, GoesWithThePrimary) {
   givenUsed();
   whenVirtualIs(ethernet, true);
   whenPrimaryIs(ethernet, "");
   thenDestinations({});
   thenRecord("Ethernet1", "0.0.0.0 0.0.0.0");
}

TEST_F(IpVirtualAddress, ComesWithThePrimary) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1", all);
   givenRunning();
   ethernet = givenInterfaceWith("Ethernet1", "", {}, true);
   thenDestinations({});
   whenPrimaryIs(ethernet, "10.0.0.1/24");
   thenDestinations({"10.0.0.1/32"});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 virtual 10.0.0.1/32"});
}

TEST_F(IpVirtualAddress, IsNotUsedWhereOnlyPrimaryAddressesAre) {
   givenUsed(primaryOnly);
   whenVirtualIs(ethernet, true);
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32"});
   // Recorded all the same, as a change must find what it replaces.
   thenRecord("Ethernet1", "10.0.0.1 10.0.0.1");
}

TEST_F(IpVirtualAddress, AnOwnEntryDecidesAgainstTheOneForAllInterfaces) {
   givenUsed(primaryOnly);
   whenDecapIntfAdded("g", "", all);
   whenVirtualIs(ethernet, true);
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32"});
}

TEST_F(IpVirtualAddress, ReportedTwiceTakesOneReference) {
   givenUsed();
   whenVirtualIs(ethernet, true);
   sm->mdlIpIntfStatus(intf("Ethernet1"))->handleVirtualAddrWithMask();
   thenCounts({counted("10.0.0.1/32", 1)});
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 virtual 10.0.0.1/32"});
}

TEST_F(IpVirtualAddress, IsRecordedBeforeAnyGroupIsTold) {
   givenUsed();
   Texts seen;
   Mdl::Trace::sinkIs([&](Mdl::TraceRecord const& record) {
      if (record.function != "handleIpIntfStatusChange") return;
      seen.push_back(sm->decapIntfIp(intf("Ethernet1"))->virtualIp().stringValue().stdString());
   });
   givenTraceLevels({2});
   whenVirtualIs(ethernet, true);
   ASSERT_FALSE(seen.empty());
   for (auto const& text : seen) EXPECT_EQ(text, "10.0.0.1");
}

TEST_F(IpVirtualAddress, IsTraced) {
   givenUsed();
   givenTraceLevels({2});
   whenVirtualIs(ethernet, true);
   auto const found = tracesOf("handleVirtualAddrWithMask");
   ASSERT_FALSE(found.empty());
   EXPECT_TRUE(found[0].starts_with("handleVirtualAddrWithMask virtualIp: ")) << found[0];
}

TEST_F(IpVirtualAddress, IsNotFollowedBeforeTheMachineRuns) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1", all);
   givenMachine();
   config->readyIs(true);
   givenTraceLevels({2, 5, 7});
   ethernet = givenInterface("Ethernet1", "10.0.0.1/24");
   forgetSoFar();
   whenVirtualIs(ethernet, true);
   thenTraces({});
   thenRecord("Ethernet1", "");
}

TEST_F(IpVirtualAddress, OfInterfacesThatTakeNoPartIsNotFollowed) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   givenRunning();
   givenTraceLevels({2, 5, 7});
   forgetSoFar();
   for (auto const name : {"Management1", "Internal7"}) {
      whenVirtualIs(givenInterface(name, "10.0.0.1/24"), true);
      thenRecord(name, "");
   }
   whenVirtualIs(givenInterface("Ethernet2", "10.0.0.1/24", "red"), true);
   thenRecord("Ethernet2", "");
   thenTraces({});
   thenCalls({});
}

}  // namespace
