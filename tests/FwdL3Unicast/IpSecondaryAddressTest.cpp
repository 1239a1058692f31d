#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

// Secondary IPv4 addresses of an interface, as its reactor follows them.

namespace {

class IpSecondaryAddress : public InterfaceFixture {
 protected:
   /// A group with an entry for Ethernet1, running, and Ethernet1 without a primary address.
   void givenUsed(AddressType type = all) {
      givenGroup("g");
      whenDecapIntfAdded("g", "Ethernet1", type);
      givenRunning();
      ethernet = givenInterface("Ethernet1", "");
   }
   void givenTraced() {
      givenTraceLevels({2, 5, 7});
      forgetSoFar();
   }

   IntfStatus ethernet;
};

TEST_F(IpSecondaryAddress, IsDecapsulatedAsAHostFromItsNoticeOn) {
   givenUsed();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   thenDestinations({"10.0.0.2/32"});
   thenOrigins("g", {"Ethernet1 secondary 10.0.0.2/24"});
   thenRecord("Ethernet1", "0.0.0.0 0.0.0.0");
}

TEST_F(IpSecondaryAddress, IsWithdrawnAlthoughItIsNoLongerThereToRead) {
   givenUsed();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   whenSecondaryAdded(ethernet, "10.0.0.3/24");
   forgetSoFar();
   whenSecondaryRemoved(ethernet, "10.0.0.2/24");
   thenCalls({removes("10.0.0.2/32")});
   whenSecondaryRemoved(ethernet, "10.0.0.3/24");
   thenDestinations({});
   thenCounts({});
}

TEST_F(IpSecondaryAddress, IsNotUsedWhereOnlyPrimaryAddressesAre) {
   givenUsed(primaryOnly);
   givenTraced();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   whenSecondaryRemoved(ethernet, "10.0.0.2/24");
   EXPECT_EQ(tracesOf("handleIpIntfStatusChange"), Texts());
   thenCalls({});
}

TEST_F(IpSecondaryAddress, IsUsedByAnyAddressTypeOtherThanPrimary) {
   givenUsed(static_cast<AddressType>(2));
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   thenDestinations({"10.0.0.2/32"});
}

TEST_F(IpSecondaryAddress, IsUsedByAnEntryForAllInterfaces) {
   givenUsed(primaryOnly);
   givenGroup("wide", {.port = 2});
   whenDecapIntfAdded("wide", "", all);
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   thenHardware({"udp 10.0.0.2/32 port 2 payload ip vrf default"});
}

TEST_F(IpSecondaryAddress, AnOwnEntryForPrimaryAddressesKeepsItOutOfTheOneForAll) {
   givenUsed(primaryOnly);
   whenDecapIntfAdded("g", "", all);
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   thenDestinations({});
}

TEST_F(IpSecondaryAddress, AnOwnEntryForAllAddressesBringsItIntoTheOneForPrimaries) {
   givenUsed(all);
   whenDecapIntfAdded("g", "", primaryOnly);
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   thenDestinations({"10.0.0.2/32"});
}

TEST_F(IpSecondaryAddress, AZeroAddressGivesNoKey) {
   givenUsed();
   forgetSoFar();
   whenSecondaryAdded(ethernet, "0.0.0.0/24");
   thenCalls({});
   thenCounts({});
   EXPECT_TRUE(reactor("g")->decapKeyFromIntf().walk().begin() ==
               reactor("g")->decapKeyFromIntf().walk().end());
   whenSecondaryRemoved(ethernet, "0.0.0.0/24");
   thenCalls({});
}

TEST_F(IpSecondaryAddress, WithTwoMasksIsOneKeyUntilBothAreGone) {
   givenUsed();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   whenSecondaryAdded(ethernet, "10.0.0.2/25");
   thenCounts({counted("10.0.0.2/32", 1)});
   thenOrigins("g", {"Ethernet1 secondary 10.0.0.2/24", "Ethernet1 secondary 10.0.0.2/25"});
   forgetSoFar();
   whenSecondaryRemoved(ethernet, "10.0.0.2/24");
   thenCalls({});
   thenDestinations({"10.0.0.2/32"});
   whenSecondaryRemoved(ethernet, "10.0.0.2/25");
   thenCalls({removes("10.0.0.2/32")});
}

TEST_F(IpSecondaryAddress, ReportedTwiceTakesOneReference) {
   givenUsed();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   sm->mdlIpIntfStatus(intf("Ethernet1"))->handleSecondaryAddrWithMask(addr("10.0.0.2/24"));
   thenCounts({counted("10.0.0.2/32", 1)});
}

TEST_F(IpSecondaryAddress, ThatIsNotHeldWithdrawsNothingOfAnotherGroup) {
   givenUsed();
   givenGroup("other");
   whenDecapIpAdded("other", "10.0.0.2/32");
   forgetSoFar();
   sm->mdlIpIntfStatus(intf("Ethernet1"))->handleSecondaryAddrWithMask(addr("10.0.0.2/24"));
   thenCalls({});
   thenCounts({counted("10.0.0.2/32", 1)});
}

TEST_F(IpSecondaryAddress, IsTracedOnceAndThenForEachGroupThatUsesIt) {
   givenUsed();
   givenGroup("wide", {.port = 2});
   whenDecapIntfAdded("wide", "", all);
   givenGroup("none");
   givenTraced();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   auto const added = tracesOf("handleSecondaryAddrWithMask");
   ASSERT_EQ(added.size(), 5U);
   EXPECT_EQ(added[0], "handleSecondaryAddrWithMask secondaryIp: 10.0.0.2/24");
   for (std::size_t const group : {1U, 3U}) {
      EXPECT_EQ(added[group], " intf: Ethernet1");
      EXPECT_TRUE(added[group + 1].starts_with(" secondaryIp: ")) << added[group + 1];
   }
   forgetSoFar();
   whenSecondaryRemoved(ethernet, "10.0.0.2/24");
   EXPECT_EQ(tracesOf("handleSecondaryAddrWithMask"), added);
}

TEST_F(IpSecondaryAddress, IsNotFollowedBeforeTheMachineRuns) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1", all);
   givenMachine();
   ethernet = givenInterface("Ethernet1", "");
   givenTraced();
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   config->readyIs(true);
   whenSecondaryAdded(ethernet, "10.0.0.3/24");
   EXPECT_EQ(tracesOf("handleSecondaryAddrWithMask"), Texts());
   thenCalls({});
}

TEST_F(IpSecondaryAddress, OfInterfacesThatTakeNoPartIsNotFollowed) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   for (auto const name : {"Management1", "Internal7", "Ethernet2"}) {
      whenDecapIntfAdded("g", name, all);
   }
   givenRunning();
   givenTraced();
   for (auto const name : {"Management1", "Internal7"}) {
      whenSecondaryAdded(givenInterface(name, ""), "10.0.0.2/24");
   }
   whenSecondaryAdded(givenInterface("Ethernet2", "", "red"), "10.0.0.2/24");
   thenTraces({});
   thenCalls({});
}

TEST_F(IpSecondaryAddress, AReactorAtRestFollowsNothing) {
   givenUsed();
   auto const reactor = sm->mdlIpIntfStatus(intf("Ethernet1"));
   reactor->mdlDoZombieReactors(true);
   forgetSoFar();
   auto const key = addr("10.0.0.2/24");
   ethernet->hasNotificationActiveIs(false);
   whenSecondaryAdded(ethernet, "10.0.0.2/24");
   reactor->onAttribute(Ip::IpIntfStatus::activeSecondaryWithMaskAttributeId, &key);
   thenCalls({});
}

}  // namespace
