#include "agent/Reload.h"

#include "agent/BookCheck.h"
#include "agent/serve/InterfaceSources.h"
#include "support/Reloads.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using Texts = std::vector<std::string>;
using Support::configured;

/// A machine runs on a configuration and has got all it wants; then another configuration comes.
class Reloading : public testing::Test {
 protected:
   void given(std::string const& text) {
      Configuration const first = configured(text);
      world.configure(first.hardware);
      Reload reload(world, {});
      bring(first, reload);
      world.start();
      world.settle(60.0);
      world.hardware().journal().clear();
   }
   /// Nothing settles meanwhile: the calls are those of the changes.
   void whenReloaded(std::string const& text) { whenReloaded(configured(text)); }
   void whenReloaded(Configuration const& next) {
      world.hardware().journal().clear();
      Reload reload(world, [this](Mdl::Exception const& fault) { faults.push_back(fault.what()); });
      bring(next, reload);
      changes = reload.changes();
      calls = Support::keyCalls(world);
   }
   void bring(Configuration const& configuration, Reload& reload) {
      reload.reviewIs(configuration.review);
      sources.fileIs(configuration.interfaces, reload);
      reload.groupsAre(configuration.groups);
   }
   void thenCalls(Texts const& expected) const { EXPECT_EQ(calls, expected); }
   void thenHardware(Texts expected) {
      world.settle(60.0);
      std::ranges::sort(expected);
      EXPECT_EQ(Support::tableTexts(world), expected);
      EXPECT_EQ(auditBooks(world), Texts());
      EXPECT_EQ(verifyBooks(world), Texts());
   }

   World world;
   InterfaceSources sources{InterfaceMode::file};
   Changes changes;
   Texts calls;
   Texts faults;
};

constexpr char const* two =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']},"
    "            {'name': 'b', 'tunnelType': 'ipip', 'vrf': 'red', 'decapIps': ['10.3.0.0/16']}]}";

TEST_F(Reloading, TheSameConfigurationChangesNothing) {
   given(two);
   whenReloaded(two);
   EXPECT_FALSE(changes.any());
   thenCalls({});
}

TEST_F(Reloading, AnAddedGroupIsProgrammedAndNothingElseIsTouched) {
   given("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   whenReloaded(
       "{'groups': [{'name': 'b', 'tunnelType': 'gre', 'decapIps': ['10.2.0.0/16']},"
       "            {'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   EXPECT_EQ(changes, (Changes{.groupsAdded = 1, .prefixesAdded = 1}));
   thenCalls({"program gre 10.2.0.0/16 vrf default"});
}

TEST_F(Reloading, ARemovedGroupIsWithdrawnAndNothingElseIsTouched) {
   given(two);
   whenReloaded(
       "{'groups': [{'name': 'b', 'tunnelType': 'ipip', 'vrf': 'red', 'decapIps': "
       "['10.3.0.0/16']}]}");
   EXPECT_EQ(changes, (Changes{.groupsRemoved = 1, .prefixesRemoved = 2}));
   thenCalls({"remove gre 10.1.0.0/16 vrf default", "remove gre 10.2.0.0/16 vrf default"});
}

TEST_F(Reloading, AllGroupsMayGo) {
   given(two);
   whenReloaded("{'groups': []}");
   EXPECT_EQ(changes, (Changes{.groupsRemoved = 2, .prefixesRemoved = 3}));
   EXPECT_EQ(world.groups().size(), 0u);
   thenHardware({});
}

TEST_F(Reloading, OnlyPrefixesThatDifferAreTouched) {
   given(two);
   whenReloaded(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.4.0.0/16', '10.2.0.0/16']},"
       "            {'name': 'b', 'tunnelType': 'ipip', 'vrf': 'red', 'decapIps': "
       "['10.3.0.0/16']}]}");
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1, .prefixesAdded = 1, .prefixesRemoved = 1}));
   thenCalls({"remove gre 10.1.0.0/16 vrf default", "program gre 10.4.0.0/16 vrf default"});
}

TEST_F(Reloading, APrefixThatAnotherGroupHasTooStaysInHardware) {
   given(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']},"
       "            {'name': 'b', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   whenReloaded("{'groups': [{'name': 'b', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   EXPECT_EQ(changes.groupsRemoved, 1u);
   thenCalls({});
}

TEST_F(Reloading, AnotherTunnelTypeTakesTheKeysOutAndInAgain) {
   given(two);
   whenReloaded(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']},"
       "            {'name': 'b', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': ['10.3.0.0/16']}]"
       "}");
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove ipip 10.3.0.0/16 vrf red", "program gre 10.3.0.0/16 vrf red"});
}

TEST_F(Reloading, AGroupThatLosesItsTunnelTypeIsWithdrawn) {
   given("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   whenReloaded("{'groups': [{'name': 'a', 'decapIps': ['10.1.0.0/16']}]}");
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove gre 10.1.0.0/16 vrf default"});
}

TEST_F(Reloading, AnotherVrfTakesTheKeysOutAndInAgain) {
   given("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   whenReloaded(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': "
       "['10.1.0.0/16']}]}");
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove gre 10.1.0.0/16 vrf default", "program gre 10.1.0.0/16 vrf red"});
}

std::string udpGroup(std::string const& attributes) {
   return "{'groups': [{'name': 'a', 'tunnelType': 'udp', 'decapIps': ['10.1.0.0/16']" +
          attributes + "}]}";
}

TEST_F(Reloading, AnotherPortTakesTheKeysOutAndInAgain) {
   given(udpGroup(", 'destPort': 6080, 'payloadType': 'ip'"));
   whenReloaded(udpGroup(", 'destPort': 6081, 'payloadType': 'ip'"));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove udp 10.1.0.0/16 port 6080 payload ip vrf default",
              "program udp 10.1.0.0/16 port 6081 payload ip vrf default"});
}

TEST_F(Reloading, AnotherPayloadTypeTakesTheKeysOutAndInAgain) {
   given(udpGroup(", 'destPort': 6080, 'payloadType': 'ip'"));
   whenReloaded(udpGroup(", 'destPort': 6080, 'payloadType': 'mpls'"));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove udp 10.1.0.0/16 port 6080 payload ip vrf default",
              "program udp 10.1.0.0/16 port 6080 payload mpls vrf default"});
}

TEST_F(Reloading, APortThatIsTakenBackWithdrawsAndOneThatIsGivenPrograms) {
   given(udpGroup(", 'destPort': 6080, 'payloadType': 'ip'"));
   whenReloaded(udpGroup(", 'payloadType': 'ip'"));
   thenCalls({"remove udp 10.1.0.0/16 port 6080 payload ip vrf default"});
   whenReloaded(udpGroup(", 'destPort': 6080, 'payloadType': 'ip'"));
   thenCalls({"program udp 10.1.0.0/16 port 6080 payload ip vrf default"});
}

TEST_F(Reloading, TheVrfThatAPrefixLeavesMakesRoomForTheOneThatItGoesTo) {
   given(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': ['10.1.0.0/16']},"
       "            {'name': 'b', 'tunnelType': 'gre', 'vrf': 'blue', 'decapIps': []}]}");
   whenReloaded(
       "{'groups': [{'name': 'b', 'tunnelType': 'gre', 'vrf': 'blue', 'decapIps': "
       "['10.1.0.0/16']}]}");
   thenCalls({"remove gre 10.1.0.0/16 vrf red", "program gre 10.1.0.0/16 vrf blue"});
}

TEST_F(Reloading, ReviewSettingsAreSettings) {
   given("{'groups': []}");
   whenReloaded("{'groups': [], 'review': {'interval': 0.5}}");
   EXPECT_EQ(changes, (Changes{.settings = true}));
   EXPECT_EQ(world.machine()->reviewInterval(), 0.5);
}

// Destinations from interfaces.

/// Interfaces Ethernet1 and Ethernet2 under a group with these members.
std::string onInterfaces(std::string const& members) {
   return "{'groups': [{'name': 'a', 'tunnelType': 'gre'" + members +
          "}], 'interfaces': ["
          "{'name': 'Ethernet1', 'primary': '10.0.0.1/24', 'secondary': ['10.0.1.1/24'],"
          " 'ipv6': ['2001:db8::1/64']},"
          "{'name': 'Ethernet2', 'primary': '10.0.2.1/24'}]}";
}

TEST_F(Reloading, AnEntryForAnInterfaceThatComesBringsItsAddresses) {
   given(onInterfaces(""));
   whenReloaded(
       onInterfaces(", 'decapInterfaces': [{'interface': 'Ethernet2', 'family': "
                    "'ipv4'}]"));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"program gre 10.0.2.1/32 vrf default"});
}

TEST_F(Reloading, AnEntryForAnInterfaceThatGoesTakesItsAddresses) {
   given(
       onInterfaces(", 'decapInterfaces': [{'interface': 'Ethernet1', 'family': 'ipv4'},"
                    " {'interface': 'Ethernet2', 'family': 'ipv4'}]"));
   whenReloaded(
       onInterfaces(", 'decapInterfaces': [{'interface': 'Ethernet1', 'family': 'ipv4'}]"));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove gre 10.0.2.1/32 vrf default"});
}

TEST_F(Reloading, AnotherAddressTypeTouchesSecondaryAddressesOnly) {
   std::string const entry = ", 'decapInterfaces': [{'interface': 'all', 'family': 'ipv4'";
   given(onInterfaces(entry + "}]"));
   whenReloaded(onInterfaces(entry + ", 'addressType': 'all'}]"));
   thenCalls({"program gre 10.0.1.1/32 vrf default"});
   whenReloaded(onInterfaces(entry + ", 'addressType': 'primary'}]"));
   thenCalls({"remove gre 10.0.1.1/32 vrf default"});
}

TEST_F(Reloading, ExclusionsThatComeTakeAddressesAndThoseThatGoBringThem) {
   std::string const entry =
       ", 'decapInterfaces': [{'interface': 'all', 'family': 'ipv4'},"
       " {'interface': 'all', 'family': 'ipv6'}]";
   given(onInterfaces(entry));
   whenReloaded(onInterfaces(entry + ", 'excludeInterfaces': {'ipv4': ['Ethernet1']}"));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"remove gre 10.0.0.1/32 vrf default"});
   whenReloaded(onInterfaces(entry + ", 'excludeInterfaces': {'ipv4': ['Ethernet2']}"));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   std::ranges::sort(calls);
   thenCalls({"program gre 10.0.0.1/32 vrf default", "remove gre 10.0.2.1/32 vrf default"});
   whenReloaded(onInterfaces(entry));
   EXPECT_EQ(changes, (Changes{.groupsChanged = 1}));
   thenCalls({"program gre 10.0.2.1/32 vrf default"});
}

TEST_F(Reloading, ExclusionsInAnotherOrderAreTheSame) {
   std::string const entry = ", 'decapInterfaces': [{'interface': 'all', 'family': 'ipv4'}],";
   given(onInterfaces(entry + "'excludeInterfaces': {'ipv4': ['Ethernet1', 'Ethernet2']}"));
   whenReloaded(onInterfaces(entry + "'excludeInterfaces': {'ipv4': ['Ethernet2', 'Ethernet1']}"));
   EXPECT_FALSE(changes.any());
   thenCalls({});
}

// The interfaces themselves, under a group that wants all of all.

std::string interfaces(std::string const& list) {
   return "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapInterfaces': ["
          "{'interface': 'all', 'family': 'ipv4', 'addressType': 'all'},"
          "{'interface': 'all', 'family': 'ipv6'}]}], 'interfaces': [" +
          list + "]}";
}

constexpr char const* quiet = "{'name': 'Ethernet9', 'primary': '10.9.9.9/24'},";

TEST_F(Reloading, AnInterfaceThatComesBringsAllItsAddresses) {
   given(interfaces("{'name': 'Ethernet9', 'primary': '10.9.9.9/24'}"));
   whenReloaded(interfaces(std::string(quiet) +
                           "{'name': 'Ethernet1', 'primary': '10.0.0.1/24', 'secondary': "
                           "['10.0.1.1/24'], 'ipv6': ['2001:db8::1/64']}"));
   EXPECT_EQ(changes, (Changes{.interfacesAdded = 1}));
   std::ranges::sort(calls);
   thenCalls({"program gre 10.0.0.1/32 vrf default", "program gre 10.0.1.1/32 vrf default",
              "program gre 2001:db8::1/128 vrf default"});
}

TEST_F(Reloading, AnInterfaceThatGoesTakesItsAddresses) {
   given(interfaces(std::string(quiet) + "{'name': 'Ethernet1', 'primary': '10.0.0.1/24'}"));
   whenReloaded(interfaces("{'name': 'Ethernet9', 'primary': '10.9.9.9/24'}"));
   EXPECT_EQ(changes, (Changes{.interfacesRemoved = 1}));
   thenCalls({"remove gre 10.0.0.1/32 vrf default"});
}

/// Ethernet1 has these members first and those then.
struct AddressChange {
   char const* name;
   char const* before;
   char const* after;
   /// In the order of their texts.
   Texts calls;
};

class ReloadingAddresses : public Reloading, public testing::WithParamInterface<AddressChange> {};

TEST_P(ReloadingAddresses, TouchesWhatChangesOnly) {
   auto const all = [](char const* members) {
      return interfaces(std::string(quiet) + "{'name': 'Ethernet1'" + members + "}");
   };
   given(all(GetParam().before));
   whenReloaded(all(GetParam().after));
   EXPECT_EQ(changes, (Changes{.interfacesChanged = 1}));
   std::ranges::sort(calls);
   thenCalls(GetParam().calls);
   whenReloaded(all(GetParam().after));
   EXPECT_FALSE(changes.any());
   thenCalls({});
}

std::ostream& operator<<(std::ostream& out, AddressChange const& change) {
   return out << change.name;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ReloadingAddresses,
    testing::Values(AddressChange{"PrimaryComes",
                                  "",
                                  ", 'primary': '10.0.0.1/24'",
                                  {"program gre 10.0.0.1/32 vrf default"}},
                    AddressChange{"PrimaryGoes",
                                  ", 'primary': '10.0.0.1/24'",
                                  "",
                                  {"remove gre 10.0.0.1/32 vrf default"}},
                    AddressChange{"PrimaryIsAnother",
                                  ", 'primary': '10.0.0.1/24'",
                                  ", 'primary': '10.0.0.2/24'",
                                  {"program gre 10.0.0.2/32 vrf default",
                                   "remove gre 10.0.0.1/32 vrf default"}},
                    AddressChange{"SecondaryComes",
                                  ", 'primary': '10.0.0.1/24'",
                                  ", 'primary': '10.0.0.1/24', 'secondary': ['10.0.1.1/24']",
                                  {"program gre 10.0.1.1/32 vrf default"}},
                    AddressChange{"SecondaryGoes",
                                  ", 'primary': '10.0.0.1/24', 'secondary': ['10.0.1.1/24']",
                                  ", 'primary': '10.0.0.1/24'",
                                  {"remove gre 10.0.1.1/32 vrf default"}},
                    AddressChange{"Ipv6Comes",
                                  ", 'ipv6': ['2001:db8::1/64']",
                                  ", 'ipv6': ['2001:db8::1/64', '2001:db8::2/64']",
                                  {"program gre 2001:db8::2/128 vrf default"}},
                    AddressChange{"Ipv6Goes",
                                  ", 'ipv6': ['2001:db8::1/64', '2001:db8::2/64']",
                                  ", 'ipv6': ['2001:db8::2/64']",
                                  {"remove gre 2001:db8::1/128 vrf default"}},
                    AddressChange{"LinkLocalComes",
                                  ", 'ipv6': ['2001:db8::1/64']",
                                  ", 'ipv6': ['2001:db8::1/64', 'fe80::1/64']",
                                  {}},
                    AddressChange{"PrimaryBecomesVirtual",
                                  ", 'primary': '10.0.0.1/24'",
                                  ", 'primary': '10.0.0.1/24', 'virtual': true",
                                  {}}),
    [](auto const& of) { return std::string(of.param.name); });

TEST_F(Reloading, AVrfMoveTakesTheAddressesOutOfAnInterfaceThatLeavesTheDefaultVrf) {
   given(interfaces(std::string(quiet) + "{'name': 'Ethernet1', 'primary': '10.0.0.1/24'}"));
   whenReloaded(interfaces(std::string(quiet) +
                           "{'name': 'Ethernet1', 'vrf': 'red', 'primary': '10.0.0.1/24'}"));
   EXPECT_EQ(changes, (Changes{.interfacesChanged = 1}));
   thenCalls({"remove gre 10.0.0.1/32 vrf default"});
}

TEST_F(Reloading, AVrfMoveBringsTheAddressesOfAnInterfaceThatEntersTheDefaultVrf) {
   given(interfaces(std::string(quiet) +
                    "{'name': 'Ethernet1', 'vrf': 'red', 'primary': '10.0.0.1/24'}"));
   whenReloaded(interfaces(std::string(quiet) + "{'name': 'Ethernet1', 'primary': '10.0.0.2/24'}"));
   EXPECT_EQ(changes, (Changes{.interfacesChanged = 1}));
   thenCalls({"program gre 10.0.0.2/32 vrf default"});
}

TEST_F(Reloading, ASecondaryAddressMayBecomeThePrimaryOne) {
   given(
       interfaces("{'name': 'Ethernet1', 'primary': '10.0.0.1/24', 'secondary': "
                  "['10.0.1.1/24']}"));
   whenReloaded(interfaces("{'name': 'Ethernet1', 'primary': '10.0.1.1/24'}"));
   thenHardware({"gre 10.0.1.1/32 vrf default"});
}

TEST_F(Reloading, PrimaryAndSecondaryAddressMayChangePlaces) {
   given(
       interfaces("{'name': 'Ethernet1', 'primary': '10.0.0.1/24', 'secondary': "
                  "['10.0.1.1/24']}"));
   whenReloaded(
       interfaces("{'name': 'Ethernet1', 'primary': '10.0.1.1/24', 'secondary': "
                  "['10.0.0.1/24']}"));
   thenHardware({"gre 10.0.0.1/32 vrf default", "gre 10.0.1.1/32 vrf default"});
}

TEST_F(Reloading, AnAddressMayMoveToAnotherInterface) {
   given(interfaces("{'name': 'Ethernet1', 'primary': '10.0.0.1/24'}, {'name': 'Ethernet2'}"));
   whenReloaded(
       interfaces("{'name': 'Ethernet1'}, {'name': 'Ethernet2', 'primary': '10.0.0.1/24'}"));
   thenHardware({"gre 10.0.0.1/32 vrf default"});
}

// Hardware that fails.

TEST_F(Reloading, AFaultDoesNotStopTheRest) {
   given(two);
   world.hardware().faultInRemoval(world.hardware().removeCalls() + 1);
   world.hardware().script().atCall(world.hardware().programCalls() + 1, Sim::Answer::fault());
   whenReloaded(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.5.0.0/16']},"
       "            {'name': 'c', 'tunnelType': 'gre', 'decapIps': ['10.6.0.0/16']}]}");
   EXPECT_EQ(faults.size(), 2u);
   EXPECT_EQ(changes, (Changes{.groupsAdded = 1,
                               .groupsRemoved = 1,
                               .groupsChanged = 1,
                               .prefixesAdded = 2,
                               .prefixesRemoved = 3}));
   thenCalls({"remove ipip 10.3.0.0/16 vrf red", "remove gre 10.1.0.0/16 vrf default",
              "remove gre 10.2.0.0/16 vrf default", "program gre 10.5.0.0/16 vrf default",
              "program gre 10.6.0.0/16 vrf default"});
   world.settle(60.0);
   EXPECT_TRUE(Support::backlogTexts(world).empty()) << "what failed is tried again";
}

TEST_F(Reloading, AFaultLeavesTheConfigurationAsItIsWanted) {
   given(two);
   world.hardware().script().next(Sim::Answer::fault());
   std::string const next =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']},"
       "            {'name': 'b', 'tunnelType': 'ipip', 'vrf': 'red', 'decapIps': "
       "['10.3.0.0/16', '10.4.0.0/16']}]}";
   whenReloaded(next);
   EXPECT_EQ(faults.size(), 1u);
   whenReloaded(next);
   EXPECT_FALSE(changes.any());
   thenHardware({"gre 10.1.0.0/16 vrf default", "gre 10.2.0.0/16 vrf default",
                 "ipip 10.3.0.0/16 vrf red", "ipip 10.4.0.0/16 vrf red"});
}

}  // namespace
}  // namespace Agent
