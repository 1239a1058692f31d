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

/// An interface that is in another VRF for a while, without a notice: what it loses there is told
/// to nobody.
class MissedInAnotherVrf : public MissedChanges {
 protected:
   MissedInAnotherVrf() {
      ethernet1_ = givenInterface("Ethernet1", "10.0.0.1/24");
      ethernet2_ = givenInterface6("Ethernet2", {});
      whenDecapIntfAdded("red", "", AddressType::all);
      whenDecapIntfAdded("red", "", AddressType::all, ipv6);
      givenRunning();
      ethernet1_->activeSecondaryWithMaskIs(secondary_);
      ethernet2_->addrIs(ip6_, {});
      thenHardware(
          {text("10.0.0.1/32", 6080), text("10.0.0.2/32", 6080), text("2001:db8::1/128", 6080)});
   }
   void whenAddressesGoInAnotherVrf() {
      ethernet1_->vrfIs(vrf("blue"));
      ethernet2_->vrfIs(vrf("blue"));
      ethernet1_->activeSecondaryWithMaskDel(secondary_);
      ethernet2_->addrDel(ip6_);
      ethernet1_->vrfIs(vrf("default"));
      ethernet2_->vrfIs(vrf("default"));
   }

   Pkt::IpAddrWithMask const secondary_{Mdl::String("10.0.0.2/24")};
   Pkt::Ip6AddrWithMask const ip6_{Mdl::String("2001:db8::1/64")};
   Mdl::Ptr<Ip::IpIntfStatus> ethernet1_;
   Mdl::Ptr<Ip6::IntfStatus> ethernet2_;
};

TEST_F(MissedInAnotherVrf, AnInterfaceThatLeavesTakesEverythingAlong) {
   whenAddressesGoInAnotherVrf();
   ip->ipIntfStatusDel(intf("Ethernet1"));
   ip6->intfDel(intf("Ethernet2"));
   thenHardware({});
   thenCounts({});
}

TEST_F(MissedInAnotherVrf, AnInterfaceWithAnotherStatusGivesUpWhatItLost) {
   whenAddressesGoInAnotherVrf();
   givenInterface("Ethernet1", "10.0.0.3/24");
   givenInterface6("Ethernet2", {});
   thenHardware({text("10.0.0.3/32", 6080)});
   thenCounts({text("10.0.0.3/32", 6080) + " x1"});
}

// A status that is exchanged while nobody looks is a change that was missed as well.
TEST_F(MissedInAnotherVrf, NothingOfAStatusThatWasExchangedUnseenIsLeft) {
   sm->initializedIs(false);
   givenInterface("Ethernet1", "10.0.0.4/24");
   givenInterface6("Ethernet2", {});
   sm->initializedIs(true);
   ip->ipIntfStatusDel(intf("Ethernet1"));
   ip6->intfDel(intf("Ethernet2"));
   thenHardware({});
   thenCounts({});
}

}  // namespace
