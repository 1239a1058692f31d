// What an interface's address is said to give to a group, and why nothing.

#include "agent/AddressRows.h"
#include "agent/Wording.h"
#include "agent/World.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace Agent {
namespace {

using Fwd::AddressRole;
using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::TunnelType;

constexpr std::size_t allRows = std::numeric_limits<std::size_t>::max();

class AddressRowsOfAWorld : public testing::Test {
 protected:
   void givenEntry(char const* group, Pkt::IntfId const& intfId, AddressType type,
                   std::uint32_t family = Pkt::familyIpv4) {
      auto const entity = world.groupFor(group);
      entity->tunnelTypeIs(TunnelType::gre);
      entity->decapIntfIs(DecapIntf({intfId, family}, type));
      world.groupIs(entity);
   }
   Interface givenInterface(char const* name, char const* primary, char const* vrf = "default") {
      Interface const interface = world.interfaceFor(Pkt::IntfId(name));
      world.vrfIs(interface, L3::VrfName(Mdl::String(vrf)));
      if (primary != nullptr) interface.ip->addrWithMaskIs(Pkt::IpAddrWithMask::fromText(primary));
      world.interfaceIs(interface);
      return interface;
   }
   /// "Ethernet1 primary 10.0.0.1/24 [core] inHardware"
   std::vector<std::string> rows() const {
      std::vector<std::string> texts;
      for (AddressRow const& row : AddressRows(world, allRows).rows) {
         texts.push_back(row.intfId.name().stdString() + ' ' +
                         (row.role ? roleName(*row.role) : "-") + ' ' + addressText(row.address) +
                         " [" + namesText(row.groups) + "] " + addressStateName(row.state));
      }
      return texts;
   }
   void thenRows(std::vector<std::string> const& expected) const { EXPECT_EQ(rows(), expected); }

   World world;
};

TEST_F(AddressRowsOfAWorld, AnAddressInHardware) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   givenInterface("Ethernet1", "10.0.0.1/24");
   world.start();
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] inHardware"});
}

TEST_F(AddressRowsOfAWorld, AnAddressThatWaits) {
   world.hardware().table().capacityIs(0);
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   givenInterface("Ethernet1", "10.0.0.1/24");
   world.start();
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] waiting"});
}

TEST_F(AddressRowsOfAWorld, AnAddressThatStandsBehindAUdpPort) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   world.group("core")->tunnelTypeIs(TunnelType::udp);
   givenInterface("Ethernet1", "10.0.0.1/24");
   world.start();
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] notProgrammed"});
}

TEST_F(AddressRowsOfAWorld, GroupsToWhichAnAddressIsTheSameShareARow) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   givenEntry("other", Pkt::IntfId("Ethernet2"), AddressType::primary);
   givenEntry("edge", Pkt::IntfId("Ethernet1"), AddressType::primary);
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", nullptr);
   world.start();
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core, edge] inHardware",
             "Ethernet1 primary 10.0.0.1/24 [other] noEntry", "Ethernet2 - - [] noAddress"});
}

TEST_F(AddressRowsOfAWorld, RolesStandInTheirOrder) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::all);
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary, Pkt::familyIpv6);
   Interface const interface = givenInterface("Ethernet1", "10.0.0.1/24");
   interface.ip6->addrIs(Pkt::Ip6AddrWithMask::fromText("2001:db8::1/64"), {});
   interface.ip->virtualAddrIs(true);
   interface.ip->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.2.1/24"));
   interface.ip->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.1.1/24"));
   world.start();
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] inHardware",
             "Ethernet1 secondary 10.0.1.1/24 [core] inHardware",
             "Ethernet1 secondary 10.0.2.1/24 [core] inHardware",
             "Ethernet1 virtual 10.0.0.1/24 [core] inHardware",
             "Ethernet1 ipv6 2001:db8::1/64 [core] inHardware"});
}

TEST_F(AddressRowsOfAWorld, WhatKeepsAnInterfaceOutOfEveryGroup) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary, Pkt::familyIpv6);
   givenInterface("Management1", "10.0.1.1/24");
   givenInterface("Internal1", "10.0.2.1/24");
   givenInterface("Ethernet1", "10.0.3.1/24", "red");
   Interface const interface = givenInterface("Ethernet2", nullptr);
   interface.ip6->addrIs(Pkt::Ip6AddrWithMask::fromText("fe80::1/64"), {});
   world.start();
   thenRows({"Management1 primary 10.0.1.1/24 [] management",
             "Internal1 primary 10.0.2.1/24 [] internal",
             "Ethernet1 primary 10.0.3.1/24 [] otherVrf",
             "Ethernet2 ipv6 fe80::1/64 [] linkLocal"});
}

TEST_F(AddressRowsOfAWorld, WhatKeepsAnAddressOutOfAGroup) {
   givenEntry("excluding", Pkt::emptyIntfId, AddressType::all);
   DecapExcludeIntfSet set({Pkt::emptyIntfId, Pkt::familyIpv4});
   set.excludeIntfIs(Pkt::IntfId("Ethernet1"));
   world.group("excluding")->decapExcludeIntfSetIs(set);
   givenEntry("primaryOnly", Pkt::emptyIntfId, AddressType::primary);
   givenEntry("elsewhere", Pkt::IntfId("Ethernet1"), AddressType::all, Pkt::familyIpv6);
   givenEntry("typeless", Pkt::emptyIntfId, AddressType::all);
   world.group("typeless")->tunnelTypeIs(TunnelType::unknown);
   Interface const interface = givenInterface("Ethernet1", nullptr);
   interface.ip->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.1.1/24"));
   world.start();
   thenRows({"Ethernet1 secondary 10.0.1.1/24 [excluding] excluded",
             "Ethernet1 secondary 10.0.1.1/24 [primaryOnly] addressType",
             "Ethernet1 secondary 10.0.1.1/24 [elsewhere] noEntry",
             "Ethernet1 secondary 10.0.1.1/24 [typeless] noTunnelType"});
}

TEST_F(AddressRowsOfAWorld, AMachineThatDoesNotRunTakesNothing) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] notRunning"});
   world.build();
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] notRunning"});
}

TEST_F(AddressRowsOfAWorld, AnAddressThatTheMachineWasNotToldOf) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::all);
   world.start();
   Interface const interface = world.interfaceFor(Pkt::IntfId("Ethernet1"));
   interface.ip->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.1.1/24"));
   world.interfaceIs(interface);
   thenRows({"Ethernet1 secondary 10.0.1.1/24 [core] notTaken"});
}

TEST_F(AddressRowsOfAWorld, WhatAnInterfaceLeftBehindWhenItMoved) {
   givenEntry("core", Pkt::emptyIntfId, AddressType::primary);
   Interface const interface = givenInterface("Ethernet1", "10.0.0.1/24");
   world.start();
   world.vrfIs(interface, L3::VrfName(Mdl::String("red")));
   thenRows({"Ethernet1 primary 10.0.0.1/24 [core] leftOver",
             "Ethernet1 primary 10.0.0.1/24 [] otherVrf"});
   interface.ip->addrWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.2/24"));
   thenRows({"Ethernet1 primary 10.0.0.2/24 [] otherVrf",
             "Ethernet1 primary 10.0.0.1/32 [core] leftOver"});
}

TEST_F(AddressRowsOfAWorld, AnEntryForAnInterfaceThatIsNotThere) {
   givenEntry("core", Pkt::IntfId("Ethernet9"), AddressType::primary);
   givenEntry("core", Pkt::IntfId("Ethernet9"), AddressType::primary, Pkt::familyIpv6);
   givenEntry("edge", Pkt::IntfId("Ethernet9"), AddressType::primary);
   thenRows({"Ethernet9 - - [core, edge] noInterface"});
}

TEST_F(AddressRowsOfAWorld, AnInterfaceIsShownThoughThereIsNoGroup) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenRows({"Ethernet1 primary 10.0.0.1/24 [] noEntry"});
}

TEST_F(AddressRowsOfAWorld, CountsWhatItDoesNotKeep) {
   givenEntry("core", Pkt::IntfId("Ethernet1"), AddressType::primary);
   givenInterface("Ethernet1", "10.0.1.1/24");
   givenInterface("Ethernet2", "10.0.2.1/24");
   givenInterface("Ethernet3", nullptr);
   world.start();
   AddressRows const rows(world, 1);
   EXPECT_EQ(rows.rows.size(), 1u);
   EXPECT_EQ(rows.total, 3u);
   EXPECT_EQ(rows.interfaces, 3u);
   EXPECT_EQ(rows.addresses, 2u);
   EXPECT_EQ(rows.contributed, 1u);
}

TEST(AddressState, EachHasItsOwnNameAndText) {
   std::set<std::string> names;
   std::set<std::string> texts;
   unsigned const count = static_cast<unsigned>(AddressState::noInterface) + 1;
   for (unsigned i = 0; i < count; ++i) {
      names.insert(addressStateName(static_cast<AddressState>(i)));
      texts.insert(addressStateText(static_cast<AddressState>(i)));
   }
   EXPECT_EQ(names.size(), count);
   EXPECT_EQ(texts.size(), count);
   EXPECT_FALSE(texts.contains(""));
}

TEST(AddressState, TellsWhetherTheGroupHasTheAddress) {
   EXPECT_TRUE(isContributed(AddressState::inHardware));
   EXPECT_TRUE(isContributed(AddressState::waiting));
   EXPECT_TRUE(isContributed(AddressState::notProgrammed));
   EXPECT_TRUE(isContributed(AddressState::leftOver));
   EXPECT_FALSE(isContributed(AddressState::management));
   EXPECT_FALSE(isContributed(AddressState::notTaken));
}

}  // namespace
}  // namespace Agent
