#include "agent/ConfigFile.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapIntfKey;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

Configuration read(std::string const& text) { return configurationFromText("test.json", text); }

TEST(ConfigFile, ReadsAGroupWithAllItsFields) {
   auto const configuration = read(R"({"groups": [{
      "name": "core", "tunnelType": "udp", "destPort": 6635, "payloadType": "mpls",
      "vrf": "red", "decapIps": ["10.1.0.0/16", "2001:db8::/32"]}]})");
   ASSERT_EQ(configuration.groups.size(), 1u);
   auto const& group = configuration.groups.front();
   EXPECT_EQ(group.name, Mdl::String("core"));
   EXPECT_EQ(group.tunnelType, TunnelType::udp);
   EXPECT_EQ(group.destPort, 6635);
   EXPECT_EQ(group.payloadType, PayloadType::mpls);
   EXPECT_EQ(group.vrf, L3::VrfName(Mdl::String("red")));
   ASSERT_EQ(group.decapIps.size(), 2u);
   EXPECT_EQ(group.decapIps[0], Pkt::IpGenPrefix::fromText("10.1.0.0/16"));
   EXPECT_EQ(group.decapIps[1], Pkt::IpGenPrefix::fromText("2001:db8::/32"));
}

TEST(ConfigFile, WhatIsLeftOutIsNotSet) {
   auto const group = read(R"({"groups": [{"name": "core"}]})").groups.at(0);
   EXPECT_EQ(group.tunnelType, TunnelType::unknown);
   EXPECT_EQ(group.destPort, 0);
   EXPECT_EQ(group.payloadType, PayloadType::unset);
   EXPECT_EQ(group.vrf, L3::VrfName::defaultVrf());
   EXPECT_TRUE(group.decapIps.empty());
}

TEST(ConfigFile, FieldsOfOneGroupDoNotReachTheNext) {
   auto const groups = read(R"({"groups": [
      {"name": "a", "tunnelType": "gre", "vrf": "red", "decapIps": ["10.1.0.0/16"]},
      {"name": "b"}]})")
                           .groups;
   EXPECT_EQ(groups.at(1).tunnelType, TunnelType::unknown);
   EXPECT_EQ(groups.at(1).vrf, L3::VrfName::defaultVrf());
   EXPECT_TRUE(groups.at(1).decapIps.empty());
}

TEST(ConfigFile, AnAddressAloneIsItsHostPrefix) {
   auto const group =
       read(R"({"groups": [{"name": "a", "decapIps": ["10.0.0.1", "::1"]}]})").groups.at(0);
   EXPECT_EQ(group.decapIps[0], Pkt::IpGenPrefix::fromText("10.0.0.1/32"));
   EXPECT_EQ(group.decapIps[1], Pkt::IpGenPrefix::fromText("::1/128"));
}

TEST(ConfigFile, ReadsTheInterfacesOfAGroup) {
   auto const group = read(R"({"groups": [{"name": "a",
      "decapInterfaces": [{"interface": "all", "family": "ipv4", "addressType": "all"},
                          {"addressType": "primary", "family": "ipv6", "interface": "Ethernet1"}],
      "excludeInterfaces": {"ipv6": ["Ethernet3"], "ipv4": ["Ethernet2", "Vlan5", "Vlan5"]}}]})")
                          .groups.at(0);
   ASSERT_EQ(group.decapInterfaces.size(), 2u);
   EXPECT_EQ(group.decapInterfaces[0].key(), DecapIntfKey(Pkt::emptyIntfId, Pkt::familyIpv4));
   EXPECT_EQ(group.decapInterfaces[0].addressType(), AddressType::all);
   EXPECT_EQ(group.decapInterfaces[1].key(),
             DecapIntfKey(Pkt::IntfId("Ethernet1"), Pkt::familyIpv6));
   EXPECT_EQ(group.decapInterfaces[1].addressType(), AddressType::primary);
   ASSERT_EQ(group.excludeInterfaces.size(), 2u);
   EXPECT_EQ(group.excludeInterfaces[0].key(), DecapIntfKey(Pkt::emptyIntfId, Pkt::familyIpv6));
   EXPECT_EQ(group.excludeInterfaces[0].size(), 1u);
   EXPECT_EQ(group.excludeInterfaces[1].key(), DecapIntfKey(Pkt::emptyIntfId, Pkt::familyIpv4));
   EXPECT_EQ(group.excludeInterfaces[1].size(), 2u);
   EXPECT_TRUE(group.excludeInterfaces[1].excludeIntf(Pkt::IntfId("Vlan5")));
}

TEST(ConfigFile, AnEntryIsForPrimaryAddressesUnlessItSaysMore) {
   auto const group = read(R"({"groups": [{"name": "a", "decapInterfaces": [
      {"interface": "Ethernet1", "family": "ipv4", "addressType": "all"},
      {"interface": "Ethernet2", "family": "ipv4"}]}]})")
                          .groups.at(0);
   EXPECT_EQ(group.decapInterfaces.at(1).addressType(), AddressType::primary);
}

TEST(ConfigFile, AnEmptyExcludeListIsNoSet) {
   auto const group =
       read(R"({"groups": [{"name": "a", "excludeInterfaces": {"ipv4": []}}]})").groups.at(0);
   EXPECT_TRUE(group.excludeInterfaces.empty());
}

TEST(ConfigFile, ReadsAnInterfaceWithAllItsFields) {
   auto const interfaces = read(R"({"groups": [], "interfaces": [{
      "name": "Ethernet1", "vrf": "red", "primary": "10.0.0.1/24", "virtual": true,
      "secondary": ["10.0.1.1/24", "10.0.2.1"], "ipv6": ["2001:db8::1/64", "fe80::1"]}]})")
                               .interfaces;
   ASSERT_EQ(interfaces.size(), 1u);
   auto const& interface = interfaces.front();
   EXPECT_EQ(interface.name, Pkt::IntfId("Ethernet1"));
   EXPECT_EQ(interface.vrf, L3::VrfName(Mdl::String("red")));
   EXPECT_EQ(interface.primary, Pkt::IpAddrWithMask::fromText("10.0.0.1/24"));
   EXPECT_TRUE(interface.isVirtual);
   ASSERT_EQ(interface.secondary.size(), 2u);
   EXPECT_EQ(interface.secondary[0], Pkt::IpAddrWithMask::fromText("10.0.1.1/24"));
   EXPECT_EQ(interface.secondary[1], Pkt::IpAddrWithMask::fromText("10.0.2.1/32"));
   ASSERT_EQ(interface.ipv6.size(), 2u);
   EXPECT_EQ(interface.ipv6[0], Pkt::Ip6AddrWithMask::fromText("2001:db8::1/64"));
   EXPECT_EQ(interface.ipv6[1], Pkt::Ip6AddrWithMask::fromText("fe80::1/128"));
}

TEST(ConfigFile, AnInterfaceMayHaveNothingButItsName) {
   auto const interface =
       read(R"({"groups": [], "interfaces": [{"name": "Ethernet1"}]})").interfaces.at(0);
   EXPECT_EQ(interface.vrf, L3::VrfName::defaultVrf());
   EXPECT_TRUE(interface.primary.isZero());
   EXPECT_FALSE(interface.isVirtual);
   EXPECT_TRUE(interface.secondary.empty());
   EXPECT_TRUE(interface.ipv6.empty());
}

TEST(ConfigFile, SkipsComments) {
   auto const groups = read(R"(// groups
      {"groups": [ /* none
      yet */ ]})")
                           .groups;
   EXPECT_TRUE(groups.empty());
}

TEST(ConfigFile, ReadsTheHardware) {
   auto const hardware = read(R"({"groups": [], "hardware": {
      "capacity": 5, "capacityByType": {"udp": 2, "gre": 1}, "latency": 0.25,
      "notReadyUntil": 2, "callCost": 1e-3,
      "answers": [{"prefix": "10.1.0.0/16", "answer": "unsupported", "times": 3}]}})")
                             .hardware;
   EXPECT_EQ(hardware.capacity, 5u);
   ASSERT_EQ(hardware.capacityByType.size(), 2u);
   EXPECT_EQ(hardware.capacityByType[0], std::pair(TunnelType::udp, std::size_t{2}));
   EXPECT_EQ(hardware.capacityByType[1], std::pair(TunnelType::gre, std::size_t{1}));
   EXPECT_EQ(hardware.latency, 0.25);
   EXPECT_EQ(hardware.notReadyUntil, 2.0);
   EXPECT_EQ(hardware.callCost, 0.001);
   ASSERT_EQ(hardware.answers.size(), 1u);
   EXPECT_EQ(hardware.answers[0].destination, Pkt::IpGenPrefix::fromText("10.1.0.0/16"));
   EXPECT_EQ(hardware.answers[0].answer, Sim::Answer::of(Fwd::dgRcUnSupported));
   EXPECT_EQ(hardware.answers[0].times, 3u);
}

TEST(ConfigFile, HardwareHasNoLimitsByDefault) {
   auto const hardware = read(R"({"groups": []})").hardware;
   EXPECT_EQ(hardware.capacity, Sim::HardwareTable::unlimited);
   EXPECT_TRUE(hardware.capacityByType.empty());
   EXPECT_EQ(hardware.latency, 0.0);
}

TEST(ConfigFile, ReadsTheReviewSettings) {
   auto const review = read(R"({"groups": [], "review": {"interval": 1, "budget": 0.5}})").review;
   EXPECT_EQ(review.interval, 1.0);
   EXPECT_EQ(review.budget, 0.5);
}

TEST(ConfigFile, TellsHowFarItHasRead) {
   std::size_t last = 0;
   std::string const text = R"({"groups": []})" + std::string(1 << 20, ' ');
   configurationFromText("test.json", text, [&](std::size_t read) {
      EXPECT_GE(read, last);
      last = read;
   });
   EXPECT_EQ(last, text.size());
}

}  // namespace
}  // namespace Agent
