#include "support/FirstToHear.h"
#include "support/InterfaceFixture.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

/// The machine stops being initialized, or catches up, while others make changes in the middle of
/// what it does. Once it is initialized and all is over, everything is as it would be otherwise.
class MissedInACall : public InterfaceFixture {
 protected:
   MissedInACall() { givenGroup("red"); }

   static std::string gre(std::string_view destination, std::uint16_t port) {
      return Sim::keyText(key(destination, {.type = TunnelType::gre, .port = port}));
   }
};

// The key that the hook has the group take is not among those that the new type is rebuilt from.
TEST_F(MissedInACall, APortThatChangesWhileARebuiltGroupTakesAnAddress) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   hardware->duringRemoval(1, [&] { whenSecondaryAdded(ethernet1, "10.0.0.2/24"); });
   hardware->duringProgram(2, [&] {
      sm->initializedIs(false);
      groupNamed("red").destPortIs(6081);
   });
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   sm->initializedIs(true);
   thenHardware({gre("10.0.0.1/32", 6081), gre("10.0.0.2/32", 6081)});
   thenBooksAgree();
}

TEST_F(MissedInACall, APortThatChangesWhileARebuiltGroupTakesAPrefix) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   hardware->duringRemoval(1, [&] { whenDecapIpAdded("red", "10.2.0.0/16"); });
   hardware->duringProgram(2, [&] {
      sm->initializedIs(false);
      groupNamed("red").destPortIs(6081);
   });
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   sm->initializedIs(true);
   thenHardware({gre("10.1.0.0/16", 6081), gre("10.2.0.0/16", 6081)});
   thenBooksAgree();
}

// The address is taken under the first new port, by the hook, and under the second, by the
// re-keying that it is called from. Both go with it.
TEST_F(MissedInACall, APortThatChangesAgainWhileTheGroupIsRekeyed) {
   auto const ethernet1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   hardware->duringRemoval(1, [&] {
      sm->initializedIs(false);
      whenDecapIntfAdded("red", "Ethernet1", all);
      groupNamed("red").destPortIs(6082);
   });
   groupNamed("red").destPortIs(6081);
   whenSecondaryRemoved(ethernet1, "10.0.0.2/24");
   whenPrimaryIs(ethernet1, "10.0.0.3/24");
   sm->initializedIs(true);
   thenHardware({entry("10.0.0.3/32", "default", 6082)});
   thenBooksAgree();
}

// Nobody tells the machine of a group that comes back before it heard that it went.

TEST_F(MissedInACall, PrefixesOfAGroupThatWasOutUnheard) {
   auto const red = config->decapGroup(Mdl::String("red"));
   whenDecapIpAdded("red", "10.1.0.0/16");
   Support::FirstToHear watcher({config});
   givenRunning();
   sm->initializedIs(false);
   watcher.nextIs([&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.2.0.0/16");
      config->decapGroupIs(red);
   });
   whenGroupRemoved("red");
   sm->initializedIs(true);
   thenDestinations({"10.2.0.0/16"});
   thenBooksAgree();
}

TEST_F(MissedInACall, AddressesOfAGroupThatWasOutUnheardWaitForTheMachine) {
   auto const red = config->decapGroup(Mdl::String("red"));
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   Support::FirstToHear watcher({config});
   givenRunning();
   sm->initializedIs(false);
   whenSecondaryAdded(ethernet1, "10.0.0.2/24");
   watcher.nextIs([&] { config->decapGroupIs(red); });
   whenGroupRemoved("red");
   thenDestinations({"10.0.0.1/32"});
   sm->initializedIs(true);
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

// Of two addresses that are no longer called for, the first one's removal does away with the group
// before the second is looked at.
TEST_F(MissedInACall, AGroupThatGivesWayAndGoesWhileTheMachineCatchesUp) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24", "10.0.0.3/24"});
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   sm->initializedIs(false);
   whenInterfaceRemoved("Ethernet1");
   auto const other = makeGroup("red", {});
   other->decapIntfIs(DecapIntf({intf("Ethernet1"), ipv4}, all));
   hardware->duringRemoval(1, [&] { config->decapGroupIs(other); });
   hardware->duringRemoval(2, [&] { whenGroupRemoved("red"); });
   sm->initializedIs(true);
   thenHardware({});
   thenCounts({});
}

}  // namespace
