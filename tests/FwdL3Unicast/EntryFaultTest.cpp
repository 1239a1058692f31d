#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

// Interface entries whose application a fault of the hook interrupts: what they have taken by then
// is theirs to give back.

namespace {

class EntryFault : public InterfaceFixture {
 protected:
   EntryFault() {
      givenGroup("g");
      givenRunning();
      givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, false);
   }

   void givenFaultAt(std::uint64_t programCall) {
      hardware->script().atCall(programCall, Sim::Answer::fault());
   }
   template <class Event>
   static void whenItThrows(Event const& event) {
      EXPECT_THROW(event(), Sim::HardwareFault);
   }
   void thenNothingIsLeft() const {
      thenOrigins("g", {});
      thenHardware({});
      thenCounts({});
      thenBacklog({});
   }
};

TEST_F(EntryFault, AnOwnEntryThatGoesGivesBackWhatItTook) {
   givenFaultAt(1);
   whenItThrows([&] { whenDecapIntfAdded("g", "Ethernet1", all); });
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 secondary 10.0.0.2/24"});
   whenDecapIntfRemoved("g", "Ethernet1");
   thenNothingIsLeft();
}

TEST_F(EntryFault, AnEntryForAllInterfacesThatGoesGivesBackWhatItTook) {
   givenFaultAt(1);
   whenItThrows([&] { whenDecapIntfAdded("g", "", all); });
   whenDecapIntfRemoved("g", "");
   thenNothingIsLeft();
}

TEST_F(EntryFault, AnEntryForAllInterfacesThatChangesGivesBackTheOtherRoles) {
   givenFaultAt(1);
   whenItThrows([&] { whenDecapIntfAdded("g", "", all); });
   whenDecapIntfAdded("g", "", primaryOnly);
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32"});
   whenDecapIntfRemoved("g", "");
   thenNothingIsLeft();
}

TEST_F(EntryFault, AnEntryThatGoesAfterAFaultInItsChangeGivesBackEverything) {
   whenDecapIntfAdded("g", "", primaryOnly);
   givenFaultAt(2);
   whenItThrows([&] { whenDecapIntfAdded("g", "", all); });
   thenOrigins("g", {"Ethernet1 primary 10.0.0.1/32", "Ethernet1 secondary 10.0.0.2/24"});
   whenDecapIntfRemoved("g", "");
   thenNothingIsLeft();
}

TEST_F(EntryFault, AnEntryThatIsAppliedAgainIsNoRepetitionAndTakesNoSecondReference) {
   givenFaultAt(1);
   whenItThrows([&] { whenDecapIntfAdded("g", "", all); });
   givenTraceLevels({2});
   whenEntryApplied("g", "");
   EXPECT_EQ(tracesOf("handleUpdateIntf").size(), 2U);
   thenCounts({counted("10.0.0.1/32", 1), counted("10.0.0.2/32", 1)});
   whenEntryApplied("g", "");
   EXPECT_EQ(
       tracesOf("handleUpdateIntf").back().substr(tracesOf("handleUpdateIntf").back().size() - 6),
       " No Op");
}

}  // namespace
