#include "support/FirstToHear.h"
#include "support/InterfaceFixture.h"

namespace {

/// What a hook may do while an interface comes out of an exclude set, or goes into one.
class ReentrantExclusion : public InterfaceFixture {
 protected:
   ReentrantExclusion() { givenGroup("red"); }

   void givenOneLeftOut(std::uint32_t family) {
      whenDecapIntfAdded("red", "", all, family);
      whenExcluded("red", {"Ethernet1"}, family);
      givenRunning();
      forgetSoFar();
   }
   void during(std::uint64_t call, Sim::SimHelper::Action action) {
      hardware->duringProgram(call, std::move(action));
   }
};

// What a status had that went in the meantime is not programmed, not even for a moment. The key
// that is being programmed is removed when its call has returned.

TEST_F(ReentrantExclusion, TheInterfaceGoes) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true);
   givenOneLeftOut(ipv4);
   during(1, [&] { whenInterfaceRemoved("Ethernet1"); });
   whenExcluded("red", {});
   thenCalls({programs("10.0.0.1/32"), removes("10.0.0.1/32")});
   thenCounts({});
}

TEST_F(ReentrantExclusion, TheInterfaceGivesWayToAnother) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   givenOneLeftOut(ipv4);
   during(1, [&] { givenInterface("Ethernet1", "10.0.0.3/24"); });
   whenExcluded("red", {});
   thenDestinations({"10.0.0.3/32"});
   thenCalls({programs("10.0.0.1/32"), programs("10.0.0.3/32"), removes("10.0.0.1/32")});
}

// What the old status had is not recorded as if it were the new one's, whose next change withdraws
// what is recorded.

TEST_F(ReentrantExclusion, TheInterfaceGivesWayToAnotherWithAVirtualAddress) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true);
   givenOneLeftOut(ipv4);
   IntfStatus other;
   during(2, [&] { other = givenInterfaceWith("Ethernet1", "10.0.0.3/24", {}, true); });
   whenExcluded("red", {});
   thenDestinations({"10.0.0.3/32"});
   other->virtualAddrIs(false);
   whenPrimaryIs(other, "10.0.0.4/24");
   thenDestinations({"10.0.0.4/32"});
}

// The other group has the primary address replaced that the machine has not heard of yet; in that
// call the interface gives way.
TEST_F(ReentrantExclusion, TheInterfaceGivesWayBeforeItsPrimaryAddressIsLookedAt) {
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   givenGroup("tan", {.port = 6081});
   whenDecapIntfAdded("tan", "Ethernet1");
   Support::FirstToHear watcher({ethernet1});
   givenOneLeftOut(ipv4);
   IntfStatus other;
   hardware->duringRemoval(1, [&] { other = givenInterface("Ethernet1", "10.0.0.3/24"); });
   watcher.nextIs([&] { whenExcluded("red", {}); });
   whenPrimaryIs(ethernet1, "10.0.0.2/24");
   thenHardware({entry("10.0.0.3/32"), entry("10.0.0.3/32", "default", 6081)});
   whenPrimaryIs(other, "10.0.0.4/24");
   thenHardware({entry("10.0.0.4/32"), entry("10.0.0.4/32", "default", 6081)});
}

TEST_F(ReentrantExclusion, TheIpv6InterfaceGoes) {
   givenInterface6("Ethernet1", {"2001:db8::1/64", "2001:db8::2/64"});
   givenOneLeftOut(ipv6);
   during(1, [&] { whenInterface6Removed("Ethernet1"); });
   whenExcluded("red", {}, ipv6);
   thenCalls({programs("2001:db8::1/128"), removes("2001:db8::1/128")});
   thenCounts({});
}

TEST_F(ReentrantExclusion, TheIpv6InterfaceGivesWayToAnother) {
   givenInterface6("Ethernet1", {"2001:db8::1/64", "2001:db8::2/64"});
   givenOneLeftOut(ipv6);
   during(1, [&] { whenAddress6Added(givenInterface6("Ethernet1", {}), "2001:db8::3/64"); });
   whenExcluded("red", {}, ipv6);
   thenDestinations({"2001:db8::3/128"});
   thenCalls(
       {programs("2001:db8::1/128"), programs("2001:db8::3/128"), removes("2001:db8::1/128")});
}

}  // namespace
