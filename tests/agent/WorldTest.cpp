#include "agent/World.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>

namespace Agent {
namespace {

GroupConfiguration group(char const* name, char const* vrf, std::vector<char const*> prefixes) {
   GroupConfiguration group;
   group.name = name;
   group.tunnelType = Tunnel::Decap::TunnelType::gre;
   group.vrf = L3::VrfName(Mdl::String(vrf));
   for (char const* prefix : prefixes) {
      group.decapIps.push_back(Pkt::IpGenPrefix::fromText(prefix));
   }
   return group;
}

TEST(World, ProgramsNothingBeforeItIsStarted) {
   World world;
   Configuration configuration;
   configuration.groups.push_back(group("a", "red", {"10.1.0.0/16"}));
   world.configure(configuration);
   EXPECT_EQ(world.hardware().journal().begun(), 0u);
   world.start();
   EXPECT_EQ(world.hardware().table().size(), 1u);
}

TEST(World, AKeyIsProgrammedOnceWhenAWholeConfigurationStarts) {
   World world;
   Configuration configuration;
   configuration.groups.push_back(group("a", "red", {"10.1.0.0/16"}));
   world.configure(configuration);
   world.start();
   EXPECT_EQ(world.hardware().programCalls(), 1u);
   EXPECT_EQ(world.hardware().removeCalls(), 0u);
}

TEST(World, KeepsHardwareWhenToldTo) {
   World world;
   Configuration configuration;
   configuration.groups.push_back(group("a", "red", {"10.1.0.0/16"}));
   world.configure(configuration);
   world.start();
   world.stop(true);
   EXPECT_EQ(world.hardware().table().size(), 1u);
   world.start();
   world.stop();
   EXPECT_EQ(world.hardware().table().size(), 0u);
}

TEST(World, TheNextMachineRemovesWhatItDoesNotAskFor) {
   World world;
   Configuration configuration;
   configuration.groups.push_back(group("a", "red", {"10.1.0.0/16", "10.2.0.0/16"}));
   world.configure(configuration);
   world.start();
   world.stop(true);
   world.group("a")->decapIpDel(Pkt::IpGenPrefix::fromText("10.2.0.0/16"));
   world.build();
   EXPECT_EQ(world.takeOver().count(TakeOver::Fate::heldOver), 2u);
   EXPECT_EQ(world.hardware().table().size(), 2u) << "nothing happens before readiness";
   world.start();
   EXPECT_EQ(world.hardware().table().size(), 1u);
   EXPECT_EQ(world.takeOver().count(TakeOver::Fate::takenOver), 1u);
   EXPECT_EQ(world.takeOver().count(TakeOver::Fate::unclaimed), 1u);
   EXPECT_EQ(world.hardware().written(), 2u) << "by the first machine";
}

TEST(World, TheNextMachineBeginsWithItsAlarmOff) {
   World world;
   Configuration configuration;
   configuration.hardware.capacity = 1;
   configuration.groups.push_back(group("a", "red", {"10.1.0.0/16", "10.2.0.0/16"}));
   world.configure(configuration);
   world.start();
   world.stop(true);
   EXPECT_TRUE(world.status().hwResourceFull()) << "left as it stands";
   world.group("a")->decapIpDel(Pkt::IpGenPrefix::fromText("10.2.0.0/16"));
   world.start();
   EXPECT_FALSE(world.status().hwResourceFull());
}

TEST(World, AReplacedGroupHasNoSayAnyMore) {
   World world;
   world.start();
   auto const old = World::newGroup("a");
   world.groupIs(old);
   auto const next = World::newGroup("a");
   world.groupIs(next);
   EXPECT_EQ(world.group("a"), next);
   EXPECT_EQ(world.groups().size(), 1u);
   old->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
   old->decapIpIs(Pkt::IpGenPrefix::fromText("10.1.0.0/16"));
   EXPECT_EQ(world.hardware().table().size(), 0u);
   next->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
   next->decapIpIs(Pkt::IpGenPrefix::fromText("10.1.0.0/16"));
   EXPECT_EQ(world.hardware().table().size(), 1u);
}

TEST(WorldDeath, DiesInTheCallThatItIsTold) {
   World world;
   world.start();
   auto const programmed = [&](int prefixes) {
      auto const group = World::newGroup("a");
      group->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
      world.groupIs(group);
      for (int i = 0; i < prefixes; ++i) {
         group->decapIpIs(Pkt::IpGenPrefix::fromText("10." + std::to_string(i) + ".0.0/16"));
      }
   };
   auto const tell = [&] { std::cerr << world.hardware().table().size() << " written"; };
   world.killIn(3, tell);
   EXPECT_EXIT(programmed(5), testing::KilledBySignal(SIGKILL), "^3 written$");
   world.killIn(0, tell);
   programmed(5);
   EXPECT_EQ(world.hardware().table().size(), 5u);
}

TEST(World, AnInterfaceIsPartOfTheStatusOnceItIsEntered) {
   World world;
   world.start();
   Interface const made = world.interfaceFor(Pkt::IntfId("Ethernet1"));
   EXPECT_EQ(made.vrf(), L3::VrfName::defaultVrf());
   EXPECT_FALSE(world.machine()->mdlIpIntfStatusHas(made.name()));
   world.interfaceIs(made);
   EXPECT_EQ(world.machine()->ipIntfStatus(made.name()), made.ip);
   EXPECT_EQ(world.machine()->ip6IntfStatus(made.name()), made.ip6);
   EXPECT_EQ(world.interfaceFor(made.name()), made);
   world.interfaceDel(made.name());
   EXPECT_FALSE(world.machine()->mdlIpIntfStatusHas(made.name()));
   EXPECT_FALSE(world.machine()->mdlIp6IntfStatusHas(made.name()));
   EXPECT_TRUE(world.interfaces().empty());
}

TEST(World, IsQuietAtOnceWhenNothingWaits) {
   World world;
   world.start();
   Settled const settled = world.settle(10.0);
   EXPECT_TRUE(settled.quiet);
   EXPECT_EQ(settled.at, 0.0);
   EXPECT_TRUE(world.isAsleep());
}

TEST(World, TheJournalDoesNotGrowWithTheConfiguration) {
   World world;
   Configuration configuration;
   configuration.groups.push_back(group("a", "red", {}));
   for (std::uint32_t i = 0; i < 3000; ++i) {
      configuration.groups.back().decapIps.emplace_back(Pkt::IpAddr(0x0a000000 + i));
   }
   world.configure(configuration);
   world.start();
   EXPECT_EQ(world.hardware().table().size(), 3000u);
   EXPECT_EQ(world.hardware().journal().calls().size(), 1000u);
}

TEST(World, RemembersWhyHardwareRefusedAKeyUntilItTakesIt) {
   World world;
   world.hardware().table().capacityIs(0);
   Configuration configuration;
   configuration.groups.push_back(group("a", "red", {"10.1.0.0/16"}));
   configuration.hardware.capacity = 0;
   world.configure(configuration);
   world.start();
   Fwd::DecapKey const key = (*world.machine()->refCount().begin()).key;
   ASSERT_NE(world.refusals().find(key), nullptr);
   world.hardware().table().capacityIs(1);
   world.settle(1.0);
   EXPECT_EQ(world.refusals().find(key), nullptr);
   EXPECT_GE(world.refusals().timesBefore(key), 1u);
   world.groupDel("a");
   EXPECT_EQ(world.refusals().size(), 0u);
}

}  // namespace
}  // namespace Agent
