#include "support/DecapFixture.h"

namespace {

/// A group whose port, payload type or VRF changed while nobody followed it: its keys keep the old
/// values, and what called for them can go all the same.
class MissedChanges : public DecapFixture {
 protected:
   MissedChanges() { givenGroup("red"); }

   void whenThePortChangesUnheard() {
      sm->initializedIs(false);
      groupNamed("red").destPortIs(6081);
      sm->initializedIs(true);
   }
   static std::string text(std::string_view destination, std::uint16_t port) {
      return Sim::keyText(key(destination, {.port = port}));
   }
};

TEST_F(MissedChanges, APrefixThatGoesTakesItsOldKeyAlong) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenThePortChangesUnheard();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({});
   thenCounts({});
   thenBooksAgree();
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

TEST_F(MissedChanges, AnAddressThatChangesTakesItsOldKeyAlong) {
   auto const intf = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   givenRunning();
   whenThePortChangesUnheard();
   intf->addrWithMaskIs(Pkt::IpAddrWithMask(Mdl::String("10.0.0.2/24")));
   thenHardware({text("10.0.0.2/32", 6081)});
   thenCounts({text("10.0.0.2/32", 6081) + " x1"});
   thenBooksAgree();
}

TEST_F(MissedChanges, AnIpv6AddressThatGoesTakesItsOldKeyAlong) {
   auto const intf = givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1", AddressType::primary, ipv6);
   givenRunning();
   whenThePortChangesUnheard();
   intf->addrDel(Pkt::Ip6AddrWithMask(Mdl::String("2001:db8::1/64")));
   thenHardware({});
   thenCounts({});
}

TEST_F(MissedChanges, AnEntryAppliedAgainTakesNoSecondReference) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1", AddressType::primary, ipv6);
   givenRunning();
   whenThePortChangesUnheard();
   reactor("red")->handleUpdateIntf({DecapFixture::intf("Ethernet1"), ipv6});
   thenCounts({text("2001:db8::1/128", 6080) + " x1"});
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
}

}  // namespace
