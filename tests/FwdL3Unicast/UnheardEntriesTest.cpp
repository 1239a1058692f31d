#include "support/FirstToHear.h"
#include "support/InterfaceFixture.h"

#include <functional>
#include <stdexcept>
#include <utility>

namespace {

/// Somebody hears of a change of the group first, makes others that the group hears of at once, and
/// takes the first one back: the group has followed the others by what it had not heard of.
class UnheardEntries : public InterfaceFixture {
 protected:
   UnheardEntries() : watcher_({givenGroup("red"), ip, config}) {}

   void meanwhile(std::function<void()> act) { watcher_.nextIs(std::move(act)); }

 private:
   Support::FirstToHear watcher_;
};

TEST_F(UnheardEntries, WhatTheEntryForAllPassedOverAsExcludedIsTaken) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", "10.0.0.2/24");
   givenRunning();
   meanwhile([&] {
      whenDecapIntfAdded("red", "");
      thenDestinations({"10.0.0.2/32"});
      whenExcluded("red", {});
   });
   whenExcluded("red", {"Ethernet1"});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(UnheardEntries, WhatTheIpv6EntryForAllPassedOverAsExcludedIsTaken) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   givenInterface6("Ethernet2", {"2001:db8::2/64"});
   givenRunning();
   meanwhile([&] {
      whenDecapIntfAdded("red", "", all, ipv6);
      thenDestinations({"2001:db8::2/128"});
      whenExcluded("red", {}, ipv6);
   });
   whenExcluded("red", {"Ethernet1"}, ipv6);
   thenDestinations({"2001:db8::1/128", "2001:db8::2/128"});
}

TEST_F(UnheardEntries, WhatTheEntryForAllLeftToAnEntryOfItsOwnIsTaken) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenRunning();
   meanwhile([&] {
      whenDecapIntfAdded("red", "");
      whenDecapIntfRemoved("red", "Ethernet1");
   });
   whenDecapIntfAdded("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(UnheardEntries, WhatTheExcludeSetLeftToAnEntryOfItsOwnIsTaken) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "");
   whenExcluded("red", {"Ethernet1"});
   givenRunning();
   meanwhile([&] {
      whenExcluded("red", {});
      whenDecapIntfRemoved("red", "Ethernet1");
   });
   whenDecapIntfAdded("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32"});
}

// Another status of the interface has the address too, but was excluded when it came.
TEST_F(UnheardEntries, WhatAnotherStatusHasTooIsTakenAgain) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "", all, ipv6);
   givenRunning();
   meanwhile([&] {
      givenInterface6("Ethernet1", {"2001:db8::1/64"});
      thenDestinations({});
      whenExcluded("red", {}, ipv6);
   });
   whenExcluded("red", {"Ethernet1"}, ipv6);
   thenDestinations({"2001:db8::1/128"});
}

// As the entry for all comes back before the exclude set is heard of, but after the interface was
// refused by both.
TEST_F(UnheardEntries, WhatIsStillToBeHeardOfIsWaitedFor) {
   auto const intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   meanwhile([&] {
      whenSecondaryAdded(intf1, "10.0.0.2/24");
      whenDecapIntfAdded("red", "");
      whenDecapIntfAdded("red", "", all);
      whenExcluded("red", {});
   });
   whenExcluded("red", {"Ethernet1"});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(UnheardEntries, AnEntryOfTheOtherFamilySettlesNothing) {
   auto const intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   givenTraceLevels({5});
   meanwhile([&] {
      whenSecondaryAdded(intf1, "10.0.0.2/24");
      forgetSoFar();
      whenDecapIntfAdded("red", "", all, ipv6);
      EXPECT_EQ(tracesOf("updateDecapKeyFromIntf"), Texts());
      whenExcluded("red", {});
   });
   whenExcluded("red", {"Ethernet1"});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

// The hook throws as the interface's own entry goes, which was the last that spoke for it just
// then.
TEST_F(UnheardEntries, WhatWasLeftWithAnExceptionIsTakenAgain) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIntfAdded("red", "");
   givenRunning();
   hardware->duringRemoval(1, [] { throw std::runtime_error("unplugged"); });
   meanwhile([&] {
      EXPECT_THROW(whenDecapIntfRemoved("red", "Ethernet1"), std::runtime_error);
      whenDecapIntfAdded("red", "");
   });
   whenDecapIntfRemoved("red", "");
   thenCounts({counted("10.0.0.1/32", 1)});
}

// An interface that was away and is back before the machine hears of it.

TEST_F(UnheardEntries, AManagementInterfaceThatReturnsIsLeftOut) {
   auto const management = givenInterface("Management1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "");
   givenRunning();
   meanwhile([&] { ip->ipIntfStatusIs(management); });
   whenInterfaceRemoved("Management1");
   thenDestinations({});
}

TEST_F(UnheardEntries, AnInterfaceThatReturnsWaitsUntilTheMachineIsInitialized) {
   auto const intf1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   sm->initializedIs(false);
   whenSecondaryAdded(intf1, "10.0.0.2/24");
   forgetSoFar();
   meanwhile([&] { ip->ipIntfStatusIs(intf1); });
   whenInterfaceRemoved("Ethernet1");
   thenCalls({});
   sm->initializedIs(true);
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

// It follows no entry then: that the interface's own one is not heard of yet counts.

TEST_F(UnheardEntries, AnInterfaceThatReturnedWithoutItsEntryIsTakenWithIt) {
   auto const intf1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      meanwhile([&] { ip->ipIntfStatusIs(intf1); });
      whenInterfaceRemoved("Ethernet1");
      thenDestinations({});
      whenDecapIntfAdded("red", "Ethernet1", all);
   });
   whenDecapIntfRemoved("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(UnheardEntries, AnInterfaceThatReturnedUnderAnotherTypeIsTakenWhole) {
   auto const intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      meanwhile([&] { ip->ipIntfStatusIs(intf1); });
      whenInterfaceRemoved("Ethernet1");
      whenDecapIntfAdded("red", "Ethernet1", all);
   });
   whenDecapIntfAdded("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

// So it is when a group, or the machine, makes up for what it missed.

TEST_F(UnheardEntries, AGroupThatReturnsMakesUpForWhatItsEntryOfNowLeavesOut) {
   auto const intf1 = givenInterface("Ethernet1", "10.0.0.1/24");
   auto const red = config->decapGroup(Mdl::String("red"));
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      meanwhile([&] {
         whenSecondaryAdded(intf1, "10.0.0.2/24");
         config->decapGroupIs(red);
      });
      config->decapGroupDel(red->name());
      whenDecapIntfAdded("red", "Ethernet1", all);
   });
   whenDecapIntfAdded("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(UnheardEntries, AMachineMakesUpForWhatTheEntryOfNowLeavesOut) {
   auto const intf1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      sm->initializedIs(false);
      whenSecondaryAdded(intf1, "10.0.0.2/24");
      sm->initializedIs(true);
      whenDecapIntfAdded("red", "Ethernet1", all);
   });
   whenDecapIntfAdded("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(UnheardEntries, AMachineMakesUpForWhatNoEntryAsksForNow) {
   auto const intf1 = givenInterface("Ethernet1", "");
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      sm->initializedIs(false);
      whenSecondaryAdded(intf1, "10.0.0.2/24");
      sm->initializedIs(true);
      whenDecapIntfAdded("red", "Ethernet1", all);
   });
   whenDecapIntfRemoved("red", "Ethernet1");
   thenDestinations({"10.0.0.2/32"});
}

TEST_F(UnheardEntries, AMachineMakesUpForIpv6AddressesThatAreExcludedNow) {
   auto const intf1 = givenInterface6("Ethernet1", {});
   whenDecapIntfAdded("red", "", all, ipv6);
   givenRunning();
   meanwhile([&] {
      sm->initializedIs(false);
      whenAddress6Added(intf1, "2001:db8::1/64");
      sm->initializedIs(true);
      whenExcluded("red", {}, ipv6);
   });
   whenExcluded("red", {"Ethernet1"}, ipv6);
   thenDestinations({"2001:db8::1/128"});
}

// The new status takes the virtual address back that the last one had, though the group, which has
// the key from another interface, no longer holds it.
TEST_F(UnheardEntries, AnInterfaceThatReturnsWithoutItsVirtualAddressIsTaken) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {}, true);
   givenInterface("Ethernet2", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   whenDecapIntfAdded("red", "Ethernet2", all);
   givenRunning();
   whenInterfaceRemoved("Ethernet1");
   meanwhile([&] {
      givenInterface("Ethernet1", "10.0.0.5/24");
      whenDecapIntfAdded("red", "Ethernet1", all);
   });
   whenDecapIntfRemoved("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32", "10.0.0.5/32"});
}

// What the group holds of the last status it gives up before the next one is heard of.
TEST_F(UnheardEntries, AnInterfaceThatIsExcludedBeforeItsNextStatusIsHeardOfIsTaken) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   meanwhile([&] {
      meanwhile([&] { whenExcluded("red", {"Ethernet1"}); });
      givenInterface("Ethernet1", "10.0.0.2/24");
      whenDecapIntfAdded("red", "Ethernet1");
   });
   whenDecapIntfRemoved("red", "Ethernet1");
   thenDestinations({"10.0.0.2/32"});
}

// The entry comes back before its next status, and nothing is unheard in between.
TEST_F(UnheardEntries, AnInterfaceThatIsExcludedWhileItsEntryIsAwayIsTaken) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   meanwhile([&] {
      whenExcluded("red", {"Ethernet1"});
      meanwhile([&] {
         meanwhile([&] { whenExcluded("red", {}); });
         givenInterface("Ethernet1", "10.0.0.2/24");
      });
      whenDecapIntfAdded("red", "Ethernet1");
   });
   whenDecapIntfRemoved("red", "Ethernet1");
   thenDestinations({"10.0.0.2/32"});
}

// What has been heard of is followed once.

TEST_F(UnheardEntries, WhatWasHeardOfAtTheReplayIsNotDerivedAgain) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   givenTraceLevels({5});
   forgetSoFar();
   whenExcluded("red", {"Ethernet2"});
   EXPECT_EQ(tracesOf("updateDecapKeyFromIntf"), Texts());
}

TEST_F(UnheardEntries, WhatAnIpv6EntryRefusedIsNotDerivedAgain) {
   auto const intf1 = givenInterface6("Ethernet1", {});
   whenDecapIntfAdded("red", "", all, ipv6);
   whenExcluded("red", {"Ethernet1"}, ipv6);
   givenRunning();
   givenTraceLevels({5});
   whenAddress6Added(intf1, "2001:db8::1/64");
   forgetSoFar();
   whenExcluded("red", {"Ethernet1", "Ethernet2"}, ipv6);
   EXPECT_EQ(tracesOf("updateDecapKeyFromIntf"), Texts());
}

// The record of an interface of another VRF outlives its entry, which has been heard of.
TEST_F(UnheardEntries, AnEntryThatWentInAnotherVrfIsNotFollowedAgain) {
   givenInterface("Ethernet1", "10.0.0.1/24", "blue");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   whenDecapIntfRemoved("red", "Ethernet1");
   givenInterface("Ethernet1", "10.0.0.2/24");
   givenTraceLevels({5});
   forgetSoFar();
   whenExcluded("red", {"Ethernet2"});
   EXPECT_EQ(tracesOf("updateDecapKeyFromIntf"), Texts());
}

TEST_F(UnheardEntries, AnEntryThatGoesIsFollowedOnce) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   givenTraceLevels({5});
   forgetSoFar();
   whenDecapIntfRemoved("red", "Ethernet1");
   EXPECT_EQ(tracesOf("updateDecapKeyFromIntf").size(), 1U);
}

TEST_F(UnheardEntries, WhatIsExcludedIsGivenBackOnce) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "");
   givenRunning();
   givenTraceLevels({5});
   forgetSoFar();
   whenExcluded("red", {"Ethernet1"});
   EXPECT_EQ(tracesOf("updateDecapKeyFromIntf"), Texts());
   thenDestinations({});
}

}  // namespace
