#include "support/InterfaceFixture.h"

// What of interfaces and their entries can be seen in the traces alone, and handlers that are
// called with nothing to do.

namespace {

class InterfaceEntryTrace : public InterfaceFixture {
 protected:
   InterfaceEntryTrace() {
      givenGroup("g");
      givenRunning();
   }
};

TEST_F(InterfaceEntryTrace, AnAddressThatGoesIsTracedThoughAnotherKeepsTheKey) {
   auto const status1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("g", "", all);
   whenSecondaryAdded(status1, "10.0.0.1/32");
   givenTraceLevels({2});
   whenSecondaryRemoved(status1, "10.0.0.1/32");
   std::string const text = Mdl::valueToStrep(key("10.0.0.1/32")).stdString();
   EXPECT_EQ(tracesOf("deleteDecapEntry"),
             Texts{"deleteDecapEntry decapKey=" + text + " refCount=1"});
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(InterfaceEntryTrace, AnInterfaceThatHasLeftTheDefaultVrfGoesWithoutOne) {
   auto const status1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("g", "Ethernet1");
   givenTraceLevels({2});
   status1->vrfIs(vrf("other"));
   whenInterfaceRemoved("Ethernet1");
   EXPECT_EQ(tracesOf("doIntfCleanup"), Texts());
   thenDestinations({});
}

TEST_F(InterfaceEntryTrace, AnEntryForAllThatWasNeverAppliedIsNotEvenTraced) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   givenTraceLevels({2});
   reactor("g")->handleUpdateIntfAll({intf(""), ipv4}, false);
   EXPECT_EQ(tracesOf("handleUpdateIntfAll"), Texts());
   thenDestinations({});
}

TEST_F(InterfaceEntryTrace, AnEntryForAllOfAGroupWithoutATunnelTypeIsNotEvenTraced) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("g", "");
   auto const record = reactor("g")->intfAddressType(intf(""));
   groupNamed("g").tunnelTypeIs(TunnelType::unknown);
   reactor("g")->intfAddressTypeIs(intf(""))->addrTypeIs(record->addrType());
   givenTraceLevels({2});
   reactor("g")->handleUpdateIntfAll({intf(""), ipv4}, false);
   EXPECT_EQ(tracesOf("handleUpdateIntfAll"), Texts());
   thenDestinations({});
}

TEST_F(InterfaceEntryTrace, EachAddressThatAnEntryLooksAtIsTracedAtLevelFive) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   givenTraceLevels({5});
   whenDecapIntfAdded("g", "Ethernet1");
   EXPECT_EQ(tracesOf("updateDecapKeyFromIntf"),
             Texts{"updateDecapKeyFromIntf Intf: Ethernet1 address-family: 1 decapKey=" +
                   Mdl::valueToStrep(key("10.0.0.1/32")).stdString()});
}

TEST_F(InterfaceEntryTrace, AGroupThatHasLeftTheMachineTracesNoWithdrawal) {
   auto const left = reactor("g");
   auto const configured = Mdl::Ptr<DecapGroup>(&groupNamed("g"));
   whenGroupRemoved("g");
   givenTraceLevels({2});
   left->updateDecapKeyFromIntf({intf("Ethernet1"), ipv4}, key("10.0.0.1/32"));
   EXPECT_EQ(tracesOf("deleteDecapEntry"), Texts());
}

TEST_F(InterfaceEntryTrace, AnExclusionWithoutAnEntryForAllWithdrawsNothing) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIpAdded("g", "10.0.0.1/32");
   forgetSoFar();
   reactor("g")->handleExcludeIntfStatusChange({intf("Ethernet1"), ipv4}, true);
   thenCalls({});
   thenDestinations({"10.0.0.1/32"});
}

}  // namespace
