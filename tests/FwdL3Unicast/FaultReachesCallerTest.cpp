#include "support/InterfaceFixture.h"

// An exception of the hook reaches whoever caused the call, by whatever road: nobody on the way may
// keep it to himself. What stands afterwards is for HookFaultTest and EntryFaultTest.

namespace {

class FaultReachesCaller : public InterfaceFixture {
 protected:
   FaultReachesCaller() {
      givenGroup("g");
      intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
      intf6 = givenInterface6("Ethernet1", {"2001:db8::1/64"});
      givenRunning();
   }

   void givenEntry(std::string_view name) {
      whenDecapIntfAdded("g", name, all);
      whenDecapIntfAdded("g", name, primaryOnly, ipv6);
   }
   template <class Event>
   void thenAFaultInProgrammingReaches(Event const& event) {
      hardware->script().atCall(hardware->programCalls() + 1, Sim::Answer::fault());
      EXPECT_THROW(event(), Sim::HardwareFault);
   }
   template <class Event>
   void thenAFaultInRemovalReaches(Event const& event) {
      whenTimePasses(1.0);  // what waits after the last fault is programmed
      hardware->faultInRemoval(hardware->removeCalls() + 1);
      EXPECT_THROW(event(), Sim::HardwareFault);
   }

   IntfStatus intf1;
   Intf6Status intf6;
};

TEST_F(FaultReachesCaller, OfAnEntryForAnInterface) {
   thenAFaultInProgrammingReaches([&] { whenDecapIntfAdded("g", "Ethernet1"); });
   thenAFaultInRemovalReaches([&] { whenDecapIntfRemoved("g", "Ethernet1"); });
   thenAFaultInProgrammingReaches([&] { whenDecapIntfAdded("g", "Ethernet1", primaryOnly, ipv6); });
   thenAFaultInRemovalReaches([&] { whenDecapIntfRemoved("g", "Ethernet1", ipv6); });
}

TEST_F(FaultReachesCaller, OfAnEntryForAllInterfaces) {
   thenAFaultInProgrammingReaches([&] { whenDecapIntfAdded("g", ""); });
   thenAFaultInRemovalReaches([&] { whenDecapIntfRemoved("g", ""); });
   thenAFaultInProgrammingReaches([&] { whenDecapIntfAdded("g", "", primaryOnly, ipv6); });
   thenAFaultInRemovalReaches([&] { whenDecapIntfRemoved("g", "", ipv6); });
}

TEST_F(FaultReachesCaller, OfAnExcludeSet) {
   givenEntry("");
   thenAFaultInRemovalReaches([&] { whenExcluded("g", {"Ethernet1"}); });
   thenAFaultInProgrammingReaches([&] { whenExcluded("g", {}); });
   thenAFaultInRemovalReaches([&] { whenExcluded("g", {"Ethernet1"}, ipv6); });
   thenAFaultInProgrammingReaches([&] { whenExcluded("g", {}, ipv6); });
}

TEST_F(FaultReachesCaller, OfAnAddress) {
   givenEntry("");
   thenAFaultInRemovalReaches([&] { whenPrimaryIs(intf1, "10.0.0.3/24"); });
   thenAFaultInProgrammingReaches([&] { whenPrimaryIs(intf1, "10.0.0.4/24"); });
   thenAFaultInRemovalReaches([&] { whenSecondaryRemoved(intf1, "10.0.0.2/24"); });
   thenAFaultInProgrammingReaches([&] { whenSecondaryAdded(intf1, "10.0.0.2/24"); });
   thenAFaultInRemovalReaches([&] { whenAddress6Removed(intf6, "2001:db8::1/64"); });
   thenAFaultInProgrammingReaches([&] { whenAddress6Added(intf6, "2001:db8::1/64"); });
}

TEST_F(FaultReachesCaller, OfAVirtualAddressThatIsLeftBehind) {
   givenEntry("");
   whenVirtualIs(intf1, true);
   whenDecapIntfRemoved("g", "");
   whenDecapIntfAdded("g", "", all);
   thenAFaultInRemovalReaches([&] { whenPrimaryIs(intf1, "10.0.0.3/24"); });
}

TEST_F(FaultReachesCaller, OfAnInterface) {
   givenEntry("");
   thenAFaultInProgrammingReaches([&] { givenInterface("Ethernet2", "10.0.1.1/24"); });
   thenAFaultInRemovalReaches([&] { whenInterfaceRemoved("Ethernet2"); });
   thenAFaultInRemovalReaches([&] { whenInterface6Removed("Ethernet1"); });
}

TEST_F(FaultReachesCaller, OfAnotherStatusOfAnInterface) {
   givenEntry("");
   thenAFaultInRemovalReaches([&] { givenInterfaceWith("Ethernet1", "10.0.0.1/24", {}); });
   thenAFaultInProgrammingReaches([&] { givenInterfaceWith("Ethernet1", "10.0.0.7/24", {}); });
   thenAFaultInRemovalReaches([&] { givenInterface6("Ethernet1", {}); });
}

TEST_F(FaultReachesCaller, OfAnInterfaceThatHasLeftTheDefaultVrf) {
   givenEntry("");
   intf1->vrfIs(vrf("other"));
   intf6->vrfIs(vrf("other"));
   thenAFaultInRemovalReaches([&] { whenInterfaceRemoved("Ethernet1"); });
   thenAFaultInRemovalReaches([&] { whenInterface6Removed("Ethernet1"); });
}

// Another group's entry finds the address gone that the first one holds, and has it given back.
TEST_F(FaultReachesCaller, OfAnAddressThatChangedUnheard) {
   givenEntry("");
   auto const deaf = sm->mdlIpIntfStatus(intf("Ethernet1"));
   deaf->hasNotificationActiveIs(false);
   whenPrimaryIs(intf1, "10.0.0.3/24");
   deaf->hasNotificationActiveIs(true);
   givenGroup("h", {.vrf = "default"});
   thenAFaultInRemovalReaches([&] { whenDecapIntfAdded("h", "Ethernet1"); });
}

TEST_F(FaultReachesCaller, OfWhatIsMadeUpFor) {
   givenEntry("");
   sm->initializedIs(false);
   whenPrimaryIs(intf1, "10.0.0.3/24");
   thenAFaultInRemovalReaches([&] { sm->initializedIs(true); });
   sm->mdlDgConfig()->notifierIs(nullptr);
   whenPrimaryIs(intf1, "10.0.0.4/24");
   thenAFaultInRemovalReaches([&] { sm->mdlDgConfig()->notifierIs(config); });
}

TEST_F(FaultReachesCaller, OfAValueOfTheGroup) {
   whenDecapIpAdded("g", "10.1.0.0/16");
   thenAFaultInRemovalReaches([&] { groupNamed("g").destPortIs(6081); });
   thenAFaultInProgrammingReaches([&] { groupNamed("g").payloadTypeIs(PayloadType::mpls); });
   thenAFaultInRemovalReaches([&] { groupNamed("g").forwardingVrfIs(vrf("red")); });
   thenAFaultInRemovalReaches([&] { groupNamed("g").tunnelTypeIs(TunnelType::gre); });
   thenAFaultInProgrammingReaches([&] { groupNamed("g").tunnelTypeIs(TunnelType::ipip); });
}

TEST_F(FaultReachesCaller, OfTheGroup) {
   whenDecapIpAdded("g", "10.1.0.0/16");
   auto const populated = makeGroup("h", Group());
   populated->decapIpIs(prefix("10.2.0.0/16"));
   thenAFaultInProgrammingReaches([&] { config->decapGroupIs(populated); });
   thenAFaultInRemovalReaches([&] { whenGroupRemoved("g"); });
}

TEST_F(FaultReachesCaller, OfTheMachinesRest) {
   whenDecapIpAdded("g", "10.1.0.0/16");
   thenAFaultInRemovalReaches([&] { sm->mdlDoZombieReactors(true); });
}

TEST_F(FaultReachesCaller, OfAReview) {
   hardware->notReadyUntilIs(Mdl::never);
   whenDecapIpAdded("g", "10.1.0.0/16");
   hardware->notReadyUntilIs(0.0);
   thenAFaultInProgrammingReaches([&] { whenTimePasses(1.0); });
}

TEST_F(FaultReachesCaller, OfAKeyThatIsReleasedWhileItIsProgrammed) {
   hardware->duringProgram(hardware->programCalls() + 1,
                           [&] { whenDecapIpRemoved("g", "10.1.0.0/16"); });
   thenAFaultInRemovalReaches([&] { whenDecapIpAdded("g", "10.1.0.0/16"); });
}

}  // namespace
