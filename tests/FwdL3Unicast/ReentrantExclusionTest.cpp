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
