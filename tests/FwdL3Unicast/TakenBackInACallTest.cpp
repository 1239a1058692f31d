#include "support/FirstToHear.h"
#include "support/InterfaceFixture.h"

namespace {

/// The hook takes a change back in the very call that the change leads to.
class TakenBackInACall : public InterfaceFixture {
 protected:
   TakenBackInACall() { givenGroup("red"); }

   void duringRemoval(Sim::SimHelper::Action action) {
      hardware->duringRemoval(1, std::move(action));
   }
};

TEST_F(TakenBackInACall, AnEntryThatGoes) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   duringRemoval([&] { whenDecapIntfAdded("red", "Ethernet1", all); });
   whenDecapIntfRemoved("red", "Ethernet1");
   thenDestinations({"10.0.0.1/32"});
   thenBooksAgree();
}

TEST_F(TakenBackInACall, AnEntryForAllThatGoes) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   duringRemoval([&] { whenDecapIntfAdded("red", "", all); });
   whenDecapIntfRemoved("red", "");
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(TakenBackInACall, AnIpv6EntryThatGoes) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1", all, ipv6);
   givenRunning();
   duringRemoval([&] { whenDecapIntfAdded("red", "Ethernet1", all, ipv6); });
   whenDecapIntfRemoved("red", "Ethernet1", ipv6);
   thenDestinations({"2001:db8::1/128"});
}

TEST_F(TakenBackInACall, AnEntryThatIsForThePrimaryOnly) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24", "10.0.0.3/24"});
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   duringRemoval([&] { whenDecapIntfAdded("red", "Ethernet1", all); });
   whenDecapIntfAdded("red", "Ethernet1", primaryOnly);
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "10.0.0.3/32"});
}

TEST_F(TakenBackInACall, AnExclusion) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "", all);
   givenRunning();
   duringRemoval([&] { whenExcluded("red", {}); });
   whenExcluded("red", {"Ethernet1"});
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(TakenBackInACall, AnIpv6Exclusion) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "", all, ipv6);
   givenRunning();
   duringRemoval([&] { whenExcluded("red", {}, ipv6); });
   whenExcluded("red", {"Ethernet1"}, ipv6);
   thenDestinations({"2001:db8::1/128"});
}

// The secondary address was not given back yet when the interface returned, and stays.
TEST_F(TakenBackInACall, AnInterfaceThatGoes) {
   auto const intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   duringRemoval([&] { ip->ipIntfStatusIs(intf1); });
   whenInterfaceRemoved("Ethernet1");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(TakenBackInACall, ASecondaryAddressThatGoes) {
   auto const intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   duringRemoval([&] { whenSecondaryAdded(intf1, "10.0.0.2/24"); });
   whenSecondaryRemoved(intf1, "10.0.0.2/24");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(TakenBackInACall, APrimaryAddressThatIsTheVirtualOneToo) {
   auto const intf1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {}, true);
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   duringRemoval([&] { whenPrimaryIs(intf1, "10.0.0.1/24"); });
   whenPrimaryIs(intf1, "");
   thenDestinations({"10.0.0.1/32"});
}

// While the first of two groups programs the new primary address, another status with the old one
// takes the interface over, and has both told.
TEST_F(TakenBackInACall, APrimaryAddressByAnotherStatus) {
   auto const intf1 = givenInterface("Ethernet1", "10.0.0.1/24");
   givenGroup("tan", {.port = 6081});
   whenDecapIntfAdded("red", "Ethernet1", all);
   whenDecapIntfAdded("tan", "Ethernet1", all);
   givenRunning();
   hardware->duringProgram(3, [&] { givenInterface("Ethernet1", "10.0.0.1/24"); });
   whenPrimaryIs(intf1, "10.0.0.2/24");
   thenHardware({entry("10.0.0.1/32"), entry("10.0.0.1/32", "default", 6081)});
}

// Somebody who hears of it first takes the interface's own entry away, too, so that nothing speaks
// for the interface while its key goes; the hook brings the entry for all back.
TEST_F(TakenBackInACall, AnEntryThatLeavesWhatAnotherHadTaken) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIntfAdded("red", "");
   Support::FirstToHear watcher({config->decapGroup(Mdl::String("red"))});
   givenRunning();
   duringRemoval([&] { whenDecapIntfAdded("red", ""); });
   watcher.nextIs([&] { whenDecapIntfRemoved("red", "Ethernet1"); });
   whenDecapIntfRemoved("red", "");
   thenDestinations({"10.0.0.1/32"});
}

// Another status, with less, has taken the interface over and goes before all is given back that it
// lacks; while the rest is, it returns with one of the addresses that are still to go.
TEST_F(TakenBackInACall, AnInterfaceThatHadMoreThanItsLastStatus) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24", "10.0.0.3/24", "10.0.0.4/24"});
   whenDecapIntfAdded("red", "Ethernet1", all);
   whenDecapIpAdded("red", "10.0.0.1/32");
   givenRunning();
   auto const other = makeInterface("Ethernet1", "10.0.0.1/24");
   duringRemoval([&] { whenInterfaceRemoved("Ethernet1"); });
   hardware->duringRemoval(2, [&] {
      ip->ipIntfStatusIs(other);
      whenSecondaryAdded(other, "10.0.0.4/24");
   });
   ip->ipIntfStatusIs(other);
   thenDestinations({"10.0.0.1/32", "10.0.0.4/32"});
}

TEST_F(TakenBackInACall, AnIpv6InterfaceThatHadMoreThanItsLastStatus) {
   givenInterface6("Ethernet1", {"2001:db8::2/64", "2001:db8::3/64", "2001:db8::4/64"});
   whenDecapIntfAdded("red", "Ethernet1", all, ipv6);
   givenRunning();
   auto const other = makeInterface6("Ethernet1", {});
   duringRemoval([&] { whenInterface6Removed("Ethernet1"); });
   hardware->duringRemoval(2, [&] {
      ip6->intfIs(other);
      whenAddress6Added(other, "2001:db8::4/64");
   });
   ip6->intfIs(other);
   thenDestinations({"2001:db8::4/128"});
}

}  // namespace
