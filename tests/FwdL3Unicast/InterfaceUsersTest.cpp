#include "FwdL3Unicast/InterfaceUsers.h"

#include "FwdL3Unicast/MdlDgConfig.h"
#include "support/FailingNew.h"
#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

#include <string>

// Which groups an address change looks at: those that say something of the interface, in the order
// of the configuration.

namespace {

class InterfaceUsers : public InterfaceFixture {
 protected:
   /// The groups that are looked at for an interface; "all" where nothing is narrowed.
   Texts users(std::string_view name, std::uint32_t family = ipv4) const {
      auto const found = sm->mdlDgConfig()->interfaceUsers().of({intf(name), family}, *config);
      if (!found) return {"all"};
      Texts names;
      for (auto const& group : *found) names.push_back(group.stdString());
      return names;
   }
};

TEST_F(InterfaceUsers, AreThoseThatNameTheInterfaceOrAll) {
   for (auto const name : {"one", "two", "three", "four"}) givenGroup(name);
   givenMachine();
   whenDecapIntfAdded("four", "Ethernet1");
   whenDecapIntfAdded("two", "");
   whenDecapIntfAdded("one", "Ethernet2");
   whenDecapIntfAdded("three", "Ethernet1", AddressType::all, ipv6);
   EXPECT_EQ(users("Ethernet1"), Texts({"two", "four"}));
   EXPECT_EQ(users("Ethernet2"), Texts({"one", "two"}));
   EXPECT_EQ(users("Ethernet3"), Texts({"two"}));
   EXPECT_EQ(users("Ethernet1", ipv6), Texts({"three"}));
   EXPECT_EQ(users("Ethernet2", ipv6), Texts());
}

TEST_F(InterfaceUsers, AreNamedOnceThoughTheyHaveBothEntries) {
   givenGroup("one");
   givenMachine();
   whenDecapIntfAdded("one", "Ethernet1");
   whenDecapIntfAdded("one", "");
   EXPECT_EQ(users("Ethernet1"), Texts({"one"}));
}

TEST_F(InterfaceUsers, AreKnownWhenTheGroupArrivesPopulated) {
   givenGroup("one");
   whenDecapIntfAdded("one", "Ethernet1");
   givenMachine();
   EXPECT_EQ(users("Ethernet1"), Texts({"one"}));
}

TEST_F(InterfaceUsers, AreNoneOnceTheEntryHasGone) {
   givenGroup("one");
   givenMachine();
   whenDecapIntfAdded("one", "Ethernet1");
   whenDecapIntfAdded("one", "Ethernet2");
   groupNamed("one").decapIntfDel({intf("Ethernet1"), ipv4});
   EXPECT_EQ(users("Ethernet1"), Texts());
   EXPECT_EQ(users("Ethernet2"), Texts({"one"}));
}

TEST_F(InterfaceUsers, AreNoneOnceTheGroupHasGone) {
   givenGroup("one");
   givenMachine();
   whenDecapIntfAdded("one", "Ethernet1");
   auto const kept = sm->mdlDecapGroup(Mdl::String("one"));
   config->decapGroupDel(Mdl::String("one"));
   EXPECT_EQ(users("Ethernet1"), Texts());
   // It comes back with nothing: what it named before is forgotten.
   givenGroup("one");
   EXPECT_EQ(users("Ethernet1"), Texts());
}

TEST_F(InterfaceUsers, AreThoseOfTheGroupThatTookItsPlace) {
   givenGroup("one");
   givenMachine();
   whenDecapIntfAdded("one", "Ethernet1");
   auto const next = Mdl::allocate<Tunnel::Decap::DecapGroup>(Mdl::String("one"));
   next->decapIntfIs(Tunnel::Decap::DecapIntf({intf("Ethernet2"), ipv4}));
   config->decapGroupIs(next);
   EXPECT_EQ(users("Ethernet1"), Texts());
   EXPECT_EQ(users("Ethernet2"), Texts({"one"}));
}

// A reactor that is switched off hears nothing; switched on it looks.
TEST_F(InterfaceUsers, AreLookedUpWhenAReactorIsSwitchedOn) {
   givenGroup("one");
   givenMachine();
   whenDecapIntfAdded("one", "Ethernet1");
   sm->hasNotificationActiveIs(false);
   groupNamed("one").decapIntfDel({intf("Ethernet1"), ipv4});
   whenDecapIntfAdded("one", "Ethernet2");
   sm->hasNotificationActiveIs(true);
   EXPECT_EQ(users("Ethernet1"), Texts());
   EXPECT_EQ(users("Ethernet2"), Texts({"one"}));
}

TEST_F(InterfaceUsers, AreNotNarrowedOnceMemoryWasLacking) {
   givenGroup("one");
   givenGroup("two");
   whenDecapIntfAdded("two", "Ethernet1");
   auto const ethernet1 = givenInterface("Ethernet1", "10.0.0.1/24");
   givenRunning();
   Tunnel::Decap::DecapIntfKey const ethernet9(intf("Ethernet9"), ipv4);
   {
      Support::FailingNew const fromTheFirst(0);
      sm->mdlDgConfig()->interfaceUsers().add(ethernet9, Mdl::String());
   }
   EXPECT_EQ(users("Ethernet1"), Texts({"all"}));
   whenPrimaryIs(ethernet1, "10.0.0.2/24");
   thenDestinations({"10.0.0.2/32"});
}

TEST_F(InterfaceUsers, AreThoseThatStillHoldWhatTheyNoLongerName) {
   auto const interface = givenInterface6("Ethernet1", {"2001:db8::1/64"});
   givenGroup("one");
   whenDecapIntfAdded("one", "Ethernet1", all, ipv6);
   givenRunning();
   reactor("one")->hasNotificationActiveIs(false);
   whenDecapIntfRemoved("one", "Ethernet1", ipv6);
   reactor("one")->hasNotificationActiveIs(true);
   EXPECT_EQ(users("Ethernet1", ipv6), Texts({"one"}));
   whenAddress6Removed(interface, "2001:db8::1/64");
   thenDestinations({});
   EXPECT_EQ(users("Ethernet1", ipv6), Texts());
}

// Its IPv4 entry would pass for applied when it comes back.
TEST_F(InterfaceUsers, AreThoseThatHaveNotHeardThatTheirEntryWent) {
   auto const interface = givenInterface("Ethernet1", "10.0.0.1/24");
   givenGroup("one");
   whenDecapIntfAdded("one", "Ethernet1");
   givenRunning();
   reactor("one")->hasNotificationActiveIs(false);
   whenDecapIntfRemoved("one", "Ethernet1");
   reactor("one")->hasNotificationActiveIs(true);
   whenPrimaryIs(interface, "10.0.0.2/24");
   thenDestinations({});
   EXPECT_EQ(users("Ethernet1"), Texts({"one"}));
   whenDecapIntfAdded("one", "Ethernet1");
   thenDestinations({"10.0.0.2/32"});
   whenDecapIntfRemoved("one", "Ethernet1");
   EXPECT_EQ(users("Ethernet1"), Texts());
}

TEST_F(InterfaceUsers, AreNotThoseThatHeldNothingWhenTheirEntryWent) {
   givenGroup("one");
   givenRunning();
   whenDecapIntfAdded("one", "Ethernet1");
   EXPECT_EQ(users("Ethernet1"), Texts({"one"}));
   whenDecapIntfRemoved("one", "Ethernet1");
   EXPECT_EQ(users("Ethernet1"), Texts());
}

TEST_F(InterfaceUsers, AreNotThoseWhoseEntryOfTheOtherFamilyStays) {
   givenGroup("one");
   givenRunning();
   whenDecapIntfAdded("one", "Ethernet1");
   whenDecapIntfAdded("one", "Ethernet1", all, ipv6);
   EXPECT_EQ(users("Ethernet1", ipv6), Texts({"one"}));
   whenDecapIntfRemoved("one", "Ethernet1", ipv6);
   EXPECT_EQ(users("Ethernet1", ipv6), Texts());
   EXPECT_EQ(users("Ethernet1"), Texts({"one"}));
}

}  // namespace
