#include "platform/netlink/AddressTable.h"

#include "platform/netlink/Listener.h"
#include "platform/netlink/Messages.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Netlink {
namespace {

class AddressTable : public testing::Test {
 protected:
   /// One after the other, each in a datagram of its own.
   template <class... Messages>
   void apply(Messages const&... messages) {
      (static_cast<void>(table.apply(Datagram(messages))), ...);
   }
   /// What these messages have told.
   template <class... Messages>
   Lines after(Messages const&... messages) {
      apply(messages...);
      table.tell(listener);
      return listener.heard();
   }

   Netlink::AddressTable table;
   Listener listener;
};

// ---- links --------------------------------------------------------------------------------------

TEST_F(AddressTable, TellsALinkByItsName) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"})), Lines{"eth0"});
}

TEST_F(AddressTable, TellsABurstOnce) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
                   ip4Gone(2, "10.0.0.1/24"), ip4(2, "10.0.0.2/24"), ip6(2, "2001:db8::1/64")),
             Lines{"eth0 10.0.0.2/24 v6 2001:db8::1/64"});
}

TEST_F(AddressTable, TellsNothingWhenNothingDiffers) {
   apply(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"), ip6(2, "2001:db8::1/64"));
   after();
   EXPECT_EQ(after(), Lines());
   EXPECT_EQ(
       after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"), ip6(2, "2001:db8::1/64")),
       Lines());
   EXPECT_EQ(after(ip4(2, "10.0.0.9/24"), ip4Gone(2, "10.0.0.9/24")), Lines());
   EXPECT_EQ(after(ip6Gone(2, "2001:db8::1/64"), ip6(2, "2001:db8::1/64")), Lines());
}

TEST_F(AddressTable, ALinkThatIsDownKeepsItsAddresses) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0", .up = false}), ip4(2, "10.0.0.1/24")),
             Lines{"eth0 10.0.0.1/24"});
   EXPECT_FALSE(table.isUp(Pkt::IntfId("eth0")));
   EXPECT_EQ(after(link({.index = 2, .name = "eth0", .up = true})), Lines());
   EXPECT_TRUE(table.isUp(Pkt::IntfId("eth0")));
   EXPECT_FALSE(table.isUp(Pkt::IntfId("eth1")));
}

TEST_F(AddressTable, ALinkThatGoesIsToldOnceAndTakesItsAddresses) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"));
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/24"), linkGone(2)), Lines{"no eth0"});
   EXPECT_EQ(after(linkGone(2)), Lines());
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"})), Lines{"eth0"});
}

TEST_F(AddressTable, ALinkThatCameAndWentIsNotMentioned) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"}), linkGone(2)), Lines());
}

TEST_F(AddressTable, ALinkThatWentAndCameBackIsOneThatDiffers) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"));
   EXPECT_EQ(after(linkGone(2), link({.index = 3, .name = "eth0"})), Lines{"eth0"});
}

TEST_F(AddressTable, ARenamedLinkGoesUnderItsOldNameAndComesUnderTheNewOne) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"));
   EXPECT_EQ(after(link({.index = 2, .name = "uplink"})), (Lines{"no eth0", "uplink 10.0.0.1/24"}));
   EXPECT_EQ(after(linkGone(2)), Lines{"no uplink"});
}

TEST_F(AddressTable, LinksThatSwapNamesBothDiffer) {
   after(link({.index = 2, .name = "a"}), ip4(2, "10.0.0.2/24"), link({.index = 3, .name = "b"}));
   EXPECT_EQ(after(link({.index = 2, .name = "c"}), link({.index = 3, .name = "a"}),
                   link({.index = 2, .name = "b"})),
             (Lines{"b 10.0.0.2/24", "a"}));
}

TEST_F(AddressTable, ANameIsTheLastOnesToClaimIt) {
   after(link({.index = 2, .name = "a"}), ip4(2, "10.0.0.2/24"));
   // The news that the first one has another name by now is late.
   EXPECT_EQ(after(link({.index = 3, .name = "a"})), Lines{"a"});
   EXPECT_EQ(after(link({.index = 2, .name = "b"})), Lines{"b 10.0.0.2/24"});
   EXPECT_EQ(after(linkGone(3)), Lines{"no a"});
}

TEST_F(AddressTable, ABridgesNewsOfItsPortsAreNotTheLinks) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"));
   EXPECT_EQ(after(linkGone(2, AF_BRIDGE)), Lines());
   EXPECT_EQ(after(link({.index = 2, .name = "eth0", .master = 7, .family = AF_BRIDGE})), Lines());
   EXPECT_EQ(table.malformed(), 0u);
}

TEST_F(AddressTable, ARadiosNewsDoNotTakeALinkOutOfItsVrf) {
   apply(link({.index = 9, .name = "red", .kind = "vrf"}),
         link({.index = 2, .name = "wlan0", .master = 9}));
   after();
   EXPECT_EQ(after(link({.index = 2, .name = "wlan0", .wireless = true})), Lines());
}

TEST_F(AddressTable, AddressesWaitForTheirLink) {
   EXPECT_EQ(after(ip4(2, "10.0.0.1/24")), Lines());
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"})), Lines{"eth0 10.0.0.1/24"});
}

TEST_F(AddressTable, TakesAnyNameThatAKernelGives) {
   EXPECT_EQ(after(link({.index = 2, .name = "Ethernet1_1.100"}),
                   link({.index = 3, .name = "\xc3\xa9@-"})),
             (Lines{"Ethernet1_1.100", "\xc3\xa9@-"}));
}

// ---- VRFs ---------------------------------------------------------------------------------------

TEST_F(AddressTable, AMemberIsInItsVrfAndTheVrfsDeviceToo) {
   EXPECT_EQ(after(link({.index = 2, .name = "red", .kind = "vrf"}),
                   link({.index = 3, .name = "eth0", .master = 2})),
             (Lines{"red in red", "eth0 in red"}));
}

TEST_F(AddressTable, JoiningAndLeavingAVrfIsTold) {
   after(link({.index = 2, .name = "red", .kind = "vrf"}), link({.index = 3, .name = "eth0"}));
   EXPECT_EQ(after(link({.index = 3, .name = "eth0", .master = 2})), Lines{"eth0 in red"});
   EXPECT_EQ(after(link({.index = 3, .name = "eth0"})), Lines{"eth0"});
}

TEST_F(AddressTable, AMemberMayBeKnownBeforeItsVrf) {
   EXPECT_EQ(after(link({.index = 3, .name = "eth0", .master = 9}),
                   link({.index = 9, .name = "red", .kind = "vrf"})),
             (Lines{"eth0 in red", "red in red"}));
   after(linkGone(3), linkGone(9));
   EXPECT_EQ(after(link({.index = 3, .name = "eth0", .master = 9})), Lines{"eth0"});
   EXPECT_EQ(after(link({.index = 9, .name = "red", .kind = "vrf"})),
             (Lines{"eth0 in red", "red in red"}));
}

TEST_F(AddressTable, LeavingAVrfThatWasNeverKnownIsNothing) {
   EXPECT_EQ(after(link({.index = 3, .name = "eth0", .master = 9})), Lines{"eth0"});
   EXPECT_EQ(after(link({.index = 3, .name = "eth0"})), Lines());
}

TEST_F(AddressTable, ARenamedVrfIsAnotherOneForItsMembers) {
   after(link({.index = 2, .name = "red", .kind = "vrf"}),
         link({.index = 3, .name = "eth0", .master = 2}));
   EXPECT_EQ(after(link({.index = 2, .name = "blue", .kind = "vrf"})),
             (Lines{"no red", "blue in blue", "eth0 in blue"}));
}

TEST_F(AddressTable, MembersOfAVrfThatGoesAreInTheDefaultOne) {
   after(link({.index = 2, .name = "red", .kind = "vrf"}),
         link({.index = 3, .name = "eth0", .master = 2}));
   EXPECT_EQ(after(linkGone(2)), (Lines{"no red", "eth0"}));
}

TEST_F(AddressTable, AVrfWhoseNameIsTakenHasNoMembersUntilItHasAnother) {
   after(link({.index = 2, .name = "red", .kind = "vrf"}),
         link({.index = 3, .name = "eth0", .master = 2}));
   EXPECT_EQ(after(link({.index = 4, .name = "red"})), (Lines{"eth0", "red"}));
   EXPECT_EQ(after(link({.index = 2, .name = "blue", .kind = "vrf"})),
             (Lines{"blue in blue", "eth0 in blue"}));
}

TEST_F(AddressTable, OnlyADirectMasterMakesAMember) {
   EXPECT_EQ(after(link({.index = 2, .name = "red", .kind = "vrf"}),
                   link({.index = 3, .name = "br0", .kind = "bridge", .master = 2}),
                   link({.index = 4, .name = "eth0", .master = 3})),
             (Lines{"red in red", "br0 in red", "eth0"}));
}

// ---- IPv4 addresses -----------------------------------------------------------------------------

TEST_F(AddressTable, TheFirstAddressIsThePrimaryOneAndThoseOfOtherSubnetsAreSecondary) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
                   ip4(2, "10.0.0.2/24", IFA_F_SECONDARY), ip4(2, "192.168.0.1/16")),
             Lines{"eth0 10.0.0.1/24 2nd 192.168.0.1/16 2nd 10.0.0.2/24"});
}

TEST_F(AddressTable, AnAddressOfNarrowerScopeStandsFirst) {
   EXPECT_EQ(after(link({.index = 2, .name = "lo"}), ip4(2, "10.0.0.1/32"),
                   ip4(2, "127.0.0.1/8", 0, {}, RT_SCOPE_HOST), ip4(2, "10.0.0.2/32")),
             Lines{"lo 127.0.0.1/8 2nd 10.0.0.1/32 2nd 10.0.0.2/32"});
}

TEST_F(AddressTable, WithoutPromotionSecondaryAddressesGoFirst) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
         ip4(2, "10.0.0.2/24", IFA_F_SECONDARY), ip4(2, "192.168.0.1/16"));
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.2/24"), ip4Gone(2, "10.0.0.1/24")),
             Lines{"eth0 192.168.0.1/16"});
}

TEST_F(AddressTable, WithPromotionASecondaryAddressTakesThePrimarysPlace) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
         ip4(2, "10.0.0.2/24", IFA_F_SECONDARY), ip4(2, "10.0.0.3/24", IFA_F_SECONDARY));
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/24"), ip4(2, "10.0.0.2/24")),
             Lines{"eth0 10.0.0.2/24 2nd 10.0.0.3/24"});
}

TEST_F(AddressTable, APromotedAddressStandsBehindItsNewPeers) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
         ip4(2, "10.0.0.2/24", IFA_F_SECONDARY), ip4(2, "192.168.0.1/16"));
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/24"), ip4(2, "10.0.0.2/24")),
             Lines{"eth0 192.168.0.1/16 2nd 10.0.0.2/24"});
}

TEST_F(AddressTable, WithoutAnUnflaggedAddressThereIsNoPrimaryOne) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.2/24", IFA_F_SECONDARY)),
             Lines{"eth0 2nd 10.0.0.2/24"});
}

TEST_F(AddressTable, CountsWhatTakesAnAddressFromItsPlace) {
   apply(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
         ip4(2, "10.0.0.2/24", IFA_F_SECONDARY), ip4(2, "10.0.0.1/24"));
   EXPECT_EQ(table.moves(), 0u);
   apply(ip4Gone(2, "10.0.0.1/24"), ip4Gone(2, "10.0.0.1/24"));
   EXPECT_EQ(table.moves(), 1u);
   apply(ip4(2, "10.0.0.2/24"), ip4(2, "10.0.0.2/24"));
   EXPECT_EQ(table.moves(), 2u);
}

TEST_F(AddressTable, APointToPointLinksOwnAddressIsTold) {
   EXPECT_EQ(after(link({.index = 2, .name = "ppp0"}), ip4(2, "10.0.0.1/32", 0, "10.9.9.9")),
             Lines{"ppp0 10.0.0.1/32"});
}

TEST_F(AddressTable, AnAddressTowardsSeveralOtherEndsIsToldOnceAndStaysToTheLast) {
   EXPECT_EQ(after(link({.index = 2, .name = "ppp0"}), ip4(2, "10.0.0.1/32", 0, "10.9.9.9"),
                   ip4(2, "10.0.0.1/32", 0, "10.8.8.8")),
             Lines{"ppp0 10.0.0.1/32"});
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/32", "10.9.9.9")), Lines());
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/32", "10.8.8.8")), Lines{"ppp0"});
}

TEST_F(AddressTable, OneAddressWithTwoLengthsIsTwo) {
   EXPECT_EQ(
       after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"), ip4(2, "10.0.0.1/16")),
       Lines{"eth0 10.0.0.1/24 2nd 10.0.0.1/16"});
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/24")), Lines{"eth0 10.0.0.1/16"});
}

TEST_F(AddressTable, WhatIsNotThereCannotGo) {
   after(link({.index = 2, .name = "eth0"}));
   EXPECT_EQ(after(ip4Gone(2, "10.0.0.1/24"), ip6Gone(2, "2001:db8::1/64"),
                   ip4Gone(7, "10.0.0.1/24"), ip6Gone(7, "2001:db8::1/64"), linkGone(7)),
             Lines());
}

// ---- IPv6 addresses -----------------------------------------------------------------------------

TEST_F(AddressTable, AnIpv6AddressIsToldOnceItIsUsable) {
   after(link({.index = 2, .name = "eth0"}));
   EXPECT_EQ(after(ip6(2, "2001:db8::1/64", IFA_F_TENTATIVE)), Lines());
   EXPECT_EQ(after(ip6(2, "2001:db8::1/64", IFA_F_PERMANENT)), Lines{"eth0 v6 2001:db8::1/64"});
}

TEST_F(AddressTable, AnOptimisticAddressIsInUseAlready) {
   after(link({.index = 2, .name = "eth0"}));
   EXPECT_EQ(after(ip6(2, "2001:db8::1/64", IFA_F_TENTATIVE | IFA_F_OPTIMISTIC)),
             Lines{"eth0 v6 2001:db8::1/64"});
}

TEST_F(AddressTable, AnAddressThatSomebodyElseHasIsNotTold) {
   after(link({.index = 2, .name = "eth0"}), ip6(2, "2001:db8::1/64"));
   EXPECT_EQ(after(ip6(2, "2001:db8::1/64", IFA_F_TENTATIVE | IFA_F_DADFAILED)), Lines{"eth0"});
   EXPECT_EQ(after(ip6(2, "2001:db8::1/64", IFA_F_TENTATIVE | IFA_F_OPTIMISTIC | IFA_F_DADFAILED)),
             Lines());
}

TEST_F(AddressTable, DeprecatedTemporaryAndLinkLocalAddressesAreTold) {
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"}), ip6(2, "2001:db8::2/64", IFA_F_TEMPORARY),
                   ip6(2, "2001:db8::1/64", IFA_F_DEPRECATED), ip6(2, "fe80::1/64")),
             Lines{"eth0 v6 2001:db8::1/64 v6 2001:db8::2/64 v6 fe80::1/64"});
}

TEST_F(AddressTable, AnIpv6AddressHasOneLength) {
   after(link({.index = 2, .name = "eth0"}), ip6(2, "2001:db8::1/64"));
   EXPECT_EQ(after(ip6(2, "2001:db8::1/128")), Lines{"eth0 v6 2001:db8::1/128"});
   EXPECT_EQ(after(ip6Gone(2, "2001:db8::1/128")), Lines{"eth0"});
}

// ---- filled anew --------------------------------------------------------------------------------

TEST_F(AddressTable, FilledAnewItTellsTheDifference) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
         link({.index = 3, .name = "eth1"}), link({.index = 4, .name = "eth2"}),
         ip6(4, "2001:db8::1/64"));
   table.clear();
   EXPECT_EQ(after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"),
                   link({.index = 4, .name = "eth2"}), link({.index = 5, .name = "eth3"})),
             (Lines{"no eth1", "eth2", "eth3"}));
}

TEST_F(AddressTable, ForgetsOneFamily) {
   after(link({.index = 2, .name = "eth0"}), ip4(2, "10.0.0.1/24"), ip6(2, "2001:db8::1/64"));
   table.clearIp4();
   EXPECT_EQ(after(), Lines{"eth0 v6 2001:db8::1/64"});
   table.clearIp6();
   EXPECT_EQ(after(), Lines{"eth0"});
   table.clearIp4();
   table.clearIp6();
   EXPECT_EQ(after(), Lines());
}

// ---- what an observer may do --------------------------------------------------------------------

class Failing final : public InterfaceObserver {
 public:
   void interfaceIs(InterfaceState const&) override { fail(); }
   void interfaceDel(Pkt::IntfId const&) override { fail(); }
   void synchronised() override {}
   int calls = 0;

 private:
   void fail() {
      ++calls;
      throw std::runtime_error("enough");
   }
};

TEST_F(AddressTable, WhatAnExceptionKeptFromBeingToldIsToldLater) {
   after(link({.index = 2, .name = "a"}), link({.index = 3, .name = "b"}));
   apply(linkGone(2), link({.index = 4, .name = "c"}), link({.index = 5, .name = "d"}));
   Failing failing;
   EXPECT_THROW(table.tell(failing), std::runtime_error);
   EXPECT_THROW(table.tell(failing), std::runtime_error);
   EXPECT_EQ(failing.calls, 2);
   EXPECT_EQ(after(), Lines{"d"});
}

class Meddling final : public InterfaceObserver {
 public:
   Meddling(Netlink::AddressTable& table, Listener& next) : table_(table), next_(next) {}
   void interfaceIs(InterfaceState const& state) override {
      next_.interfaceIs(state);
      table_.clear();
      table_.tell(*this);
   }
   void interfaceDel(Pkt::IntfId const& name) override { next_.interfaceDel(name); }
   void synchronised() override {}

 private:
   Netlink::AddressTable& table_;
   Listener& next_;
};

TEST_F(AddressTable, ChangesUnderAnObserverThatTouchesIt) {
   apply(link({.index = 2, .name = "a"}), link({.index = 3, .name = "b"}));
   Meddling meddling(table, listener);
   table.tell(meddling);
   EXPECT_EQ(listener.heard(), (Lines{"a", "no a"}));
}

}  // namespace
}  // namespace Netlink
