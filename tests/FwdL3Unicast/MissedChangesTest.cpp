#include "support/InterfaceFixture.h"

namespace {

/// A running machine that is not initialized for a while. What changes meanwhile is followed in
/// part at most; what goes is given back under the values that it was taken with; and once the
/// machine is initialized again, everything is as it would be without the pause.
class MissedChanges : public InterfaceFixture {
 protected:
   MissedChanges() { givenGroup("red"); }

   void whenNotInitialized() {
      sm->initializedIs(false);
      forgetSoFar();
   }
   void whenThePortChangesUnheard() {
      whenNotInitialized();
      groupNamed("red").destPortIs(6081);
   }
   void whenInitializedAgain() {
      forgetSoFar();
      sm->initializedIs(true);
      thenBooksAgree();
   }
   static std::string text(std::string_view destination, std::uint16_t port) {
      return Sim::keyText(key(destination, {.port = port}));
   }
};

// Meanwhile.

TEST_F(MissedChanges, APrefixThatGoesTakesItsOldKeyAlong) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenThePortChangesUnheard();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({});
   thenCounts({});
   whenInitializedAgain();
   thenCalls({});
}

TEST_F(MissedChanges, APrefixOfAGroupThatCameLaterTakesItsOldKeyAlong) {
   givenRunning();
   givenGroup("red");
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenThePortChangesUnheard();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({});
   thenCounts({});
}

TEST_F(MissedChanges, OnlyAddressesThatGaveAKeyAreFound) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   whenThePortChangesUnheard();
   EXPECT_TRUE(reactor("red")->hasKeyOf(prefix("10.0.0.1/32")));
   EXPECT_FALSE(reactor("red")->hasKeyOf(prefix("10.0.0.2/32")));
   reactor("red")->notifierIs(nullptr);
   EXPECT_FALSE(reactor("red")->hasKeyOf(prefix("10.0.0.1/32")));
}

TEST_F(MissedChanges, APrefixThatComesHasTheNewValues) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenThePortChangesUnheard();
   whenDecapIpAdded("red", "10.2.0.0/16");
   thenHardware({text("10.1.0.0/16", 6080), text("10.2.0.0/16", 6081)});
}

TEST_F(MissedChanges, APrefixDerivedAgainTakesNoSecondReference) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenThePortChangesUnheard();
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenCounts({text("10.1.0.0/16", 6080) + " x1"});
}

TEST_F(MissedChanges, APrefixDerivedAgainTakesNoSecondReferenceThoughAPortBeforeWasHeard) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   groupNamed("red").destPortIs(6090);
   whenThePortChangesUnheard();
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenCounts({text("10.1.0.0/16", 6090) + " x1"});
}

// Another group's exclude set has the interface looked at: the address that has gone is given back
// by whoever holds it.
TEST_F(MissedChanges, AnAddressThatWentUnheardIsGivenBackWhenAnotherGroupTakesTheInterfaceBack) {
   auto const status1 = givenInterface("Ethernet1", "10.0.0.1/24");
   givenGroup("green");
   whenDecapIntfAdded("red", "");
   whenDecapIntfAdded("green", "");
   whenExcluded("green", {"Ethernet1"});
   givenRunning();
   auto const unheard = sm->mdlIpIntfStatus(intf("Ethernet1"));
   unheard->hasNotificationActiveIs(false);
   status1->addrWithMaskIs(Pkt::IpAddrWithMask(Mdl::String("10.0.0.2/24")));
   unheard->hasNotificationActiveIs(true);
   whenExcluded("green", {});
   ip->ipIntfStatusDel(intf("Ethernet1"));
   thenHardware({});
   thenCounts({});
}

// The same for a virtual address.
TEST_F(MissedChanges, AVirtualAddressThatWentUnheardIsGivenBackToo) {
   auto const status1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {}, true);
   givenGroup("green");
   whenDecapIntfAdded("red", "", AddressType::all);
   whenDecapIntfAdded("green", "", AddressType::all);
   whenExcluded("green", {"Ethernet1"});
   givenRunning();
   auto const unheard = sm->mdlIpIntfStatus(intf("Ethernet1"));
   unheard->hasNotificationActiveIs(false);
   whenVirtualIs(status1, false);
   unheard->hasNotificationActiveIs(true);
   whenExcluded("green", {});
   thenOrigins("red", {"Ethernet1 primary 10.0.0.1/32"});
   ip->ipIntfStatusDel(intf("Ethernet1"));
   thenHardware({});
   thenCounts({});
}

// A status that gives way while the machine is not initialized takes what it gave along later.
TEST_F(MissedChanges, AStatusThatGaveWayUnheardLeavesNothingBehind) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIntfAdded("red", "Ethernet1", AddressType::all);
   givenRunning();
   whenNotInitialized();
   givenInterface("Ethernet1", "10.0.0.3/24");
   whenInitializedAgain();
   thenDestinations({"10.0.0.3/32"});
   whenInterfaceRemoved("Ethernet1");
   thenHardware({});
   thenCounts({});
}

// Prefixes of length zero share one key.
TEST_F(MissedChanges, APrefixThatGoesLeavesTheOldKeyToAnother) {
   whenDecapIpAdded("red", "0.0.0.0/0");
   whenDecapIpAdded("red", "::/0");
   givenRunning();
   whenThePortChangesUnheard();
   whenDecapIpRemoved("red", "0.0.0.0/0");
   EXPECT_EQ(hardware->table().size(), 1U);
   whenDecapIpRemoved("red", "::/0");
   thenHardware({});
   thenCounts({});
}

TEST_F(MissedChanges, AnEntryAppliedAgainTakesNoSecondReference) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1", AddressType::primary, ipv6);
   givenRunning();
   whenThePortChangesUnheard();
   whenEntryApplied("red", "Ethernet1", ipv6);
   thenCounts({text("2001:db8::1/128", 6080) + " x1"});
}

TEST_F(MissedChanges, AnEntryThatGoesTakesItsOldKeysAlong) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   whenThePortChangesUnheard();
   whenDecapIntfRemoved("red", "Ethernet1");
   thenHardware({});
   thenCounts({});
}

TEST_F(MissedChanges, ARebuiltGroupHasMissedNothing) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenThePortChangesUnheard();
   groupNamed("red").tunnelTypeIs(TunnelType::unknown);
   groupNamed("red").tunnelTypeIs(TunnelType::udp);
   thenHardware({text("10.0.0.1/32", 6081), text("10.1.0.0/16", 6081)});
   whenInitializedAgain();
   thenCalls({});
}

// Afterwards.

TEST_F(MissedChanges, WhatDidNotChangeStaysUntouched) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", AddressType::all);
   whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenSecondaryAdded(ethernet1, "10.0.0.2/24");
   whenNotInitialized();
   whenInitializedAgain();
   thenCalls({});
}

TEST_F(MissedChanges, AValueThatCameBackTouchesNothing) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenThePortChangesUnheard();
   groupNamed("red").destPortIs(6080);
   whenInitializedAgain();
   thenCalls({});
}

TEST_F(MissedChanges, ValuesOfTheGroupAreFollowed) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenGroup("blue")->decapIpIs(prefix("10.2.0.0/16"));
   givenRunning();
   whenThePortChangesUnheard();
   groupNamed("red").payloadTypeIs(PayloadType::mpls);
   groupNamed("red").forwardingVrfIs(vrf("blue"));
   whenInitializedAgain();
   Group const after{.port = 6081, .payload = PayloadType::mpls, .vrf = "blue"};
   thenHardware({Sim::keyText(key("10.0.0.1/32", after)), Sim::keyText(key("10.1.0.0/16", after)),
                 text("10.2.0.0/16", 6080)});
   EXPECT_EQ(hardware->journal().calls().size(), 4U) << "the other group has nothing to do with it";
}

TEST_F(MissedChanges, AKeyThatWaitedForItsPortIsProgrammed) {
   givenGroup("green", {.port = 0})->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   thenHardware({});
   whenNotInitialized();
   groupNamed("green").destPortIs(6081);
   whenInitializedAgain();
   thenHardware({text("10.1.0.0/16", 6081)});
}

TEST_F(MissedChanges, ANewPrimaryAddressTakesThePlaceOfTheOldOne) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   whenThePortChangesUnheard();
   whenPrimaryIs(ethernet1, "10.0.0.2/24");
   whenInitializedAgain();
   thenHardware({text("10.0.0.2/32", 6081)});
   thenCounts({text("10.0.0.2/32", 6081) + " x1"});
   thenRecord("Ethernet1", "10.0.0.2 0.0.0.0");
}

// What the machine recorded of an address is not what the group holds when the entry came
// meanwhile.
TEST_F(MissedChanges, AnAddressThatAnEntryCameForIsHeldOnce) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   givenGroup("blue");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   whenNotInitialized();
   whenPrimaryIs(ethernet1, "10.0.0.2/24");
   whenDecapIntfAdded("blue", "Ethernet1");
   whenInitializedAgain();
   thenDestinations({"10.0.0.2/32"});
   thenCounts({udp("10.0.0.2/32") + " x2"});
}

TEST_F(MissedChanges, SecondaryAndVirtualAddressesAreFollowed) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", AddressType::all);
   givenRunning();
   whenSecondaryAdded(ethernet1, "10.0.0.2/24");
   whenNotInitialized();
   whenSecondaryRemoved(ethernet1, "10.0.0.2/24");
   whenSecondaryAdded(ethernet1, "10.0.0.3/24");
   whenVirtualIs(ethernet1, true);
   whenInitializedAgain();
   thenOrigins("red", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 secondary 10.0.0.3/24",
                       "Ethernet1 virtual 10.0.0.1/32"});
   whenNotInitialized();
   whenVirtualIs(ethernet1, false);
   whenInitializedAgain();
   thenOrigins("red", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 secondary 10.0.0.3/24"});
   thenCalls({});
}

TEST_F(MissedChanges, Ipv6AddressesAreFollowed) {
   auto const ethernet1 = givenInterface6("Ethernet1", {"2001:db8::1/64", "2001:db8::2/64"});
   whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
   givenRunning();
   whenNotInitialized();
   whenAddress6Removed(ethernet1, "2001:db8::1/64");
   whenAddress6Added(ethernet1, "2001:db8::3/64");
   whenAddress6Added(ethernet1, "fe80::1/64");
   whenInitializedAgain();
   thenDestinations({"2001:db8::2/128", "2001:db8::3/128"});
   thenCalls({"remove " + udp("2001:db8::1/128") + " -> removed",
              "program " + udp("2001:db8::3/128") + " -> success"});
}

TEST_F(MissedChanges, InterfacesThatCameAndWentAreFollowed) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "");
   whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
   givenRunning();
   whenNotInitialized();
   whenInterfaceRemoved("Ethernet1");
   whenInterface6Removed("Ethernet1");
   givenInterface("Ethernet2", "10.0.0.2/24");
   givenInterface6("Ethernet2", {"2001:db8::2/64"});
   whenInitializedAgain();
   thenDestinations({"10.0.0.2/32", "2001:db8::2/128"});
}

TEST_F(MissedChanges, AStatusThatWasExchangedIsFollowed) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIntfAdded("red", "Ethernet1", AddressType::primary, ipv6);
   givenRunning();
   whenNotInitialized();
   givenInterface("Ethernet1", "10.0.0.2/24");
   givenInterface6("Ethernet1", {"2001:db8::2/64"});
   whenInitializedAgain();
   thenDestinations({"10.0.0.2/32", "2001:db8::2/128"});
   whenInterfaceRemoved("Ethernet1");
   whenInterface6Removed("Ethernet1");
   thenHardware({});
}

TEST_F(MissedChanges, ExcludeSetsAreFollowed) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", "10.0.0.2/24");
   whenDecapIntfAdded("red", "");
   whenExcluded("red", {"Ethernet1"});
   givenRunning();
   whenNotInitialized();
   whenExcluded("red", {"Ethernet2"});
   whenInitializedAgain();
   thenDestinations({"10.0.0.1/32"});
   whenExcluded("red", {});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(MissedChanges, WhatAnExcludeSetLeavesOutStaysUntilTheMachineIsInitialized) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "");
   givenRunning();
   whenNotInitialized();
   forgetSoFar();
   whenExcluded("red", {"Ethernet1"});
   thenCalls({});
   whenInitializedAgain();
   thenCalls({removes("10.0.0.1/32")});
}

TEST_F(MissedChanges, InterfacesThatTakeNoPartStayOut) {
   givenInterface("Management1", "10.0.0.1/24");
   givenInterface6("Management1", {"2001:db8::1/64"});
   givenInterface("Ethernet1", "10.0.0.2/24", "blue");
   givenInterface6("Ethernet1", {"2001:db8::2/64"}, "blue");
   whenDecapIntfAdded("red", "");
   whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
   givenRunning();
   whenNotInitialized();
   whenInitializedAgain();
   thenHardware({});
}

// An address without a role is there until the one who reported it takes it back.
TEST_F(MissedChanges, AnAddressReportedWithoutARoleStays) {
   givenRunning();
   reactor("red")->handleIpIntfStatusChange(prefix("10.0.0.9/32"), false);
   whenNotInitialized();
   whenInitializedAgain();
   thenDestinations({"10.0.0.9/32"});
   reactor("red")->handleIpIntfStatusChange(prefix("10.0.0.9/32"), true);
   thenHardware({});
}

TEST_F(MissedChanges, AHookThatThrowsStopsNothing) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   givenGroup("blue")->decapIpIs(prefix("10.2.0.0/16"));
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   whenNotInitialized();
   whenPrimaryIs(ethernet1, "10.0.0.2/24");
   groupNamed("blue").destPortIs(6081);
   hardware->faultInRemoval(hardware->removeCalls() + 1);
   EXPECT_THROW(sm->initializedIs(true), Sim::HardwareFault);
   thenCounts({udp("10.0.0.2/32") + " x1", text("10.2.0.0/16", 6081) + " x1"});
}

TEST_F(MissedChanges, AMachineThatGetsItsConfigurationBackCatchesUpToo) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   sm->mdlDgConfig()->notifierIs(nullptr);
   whenPrimaryIs(ethernet1, "10.0.0.2/24");
   groupNamed("red").destPortIs(6081);
   thenDestinations({"10.0.0.1/32"});
   sm->mdlDgConfig()->notifierIs(config);
   thenHardware({text("10.0.0.2/32", 6081)});
   thenBooksAgree();
}

}  // namespace
