// What an operator is told who asks why a destination is decapsulated, or why not.

#include "support/ConsoleFixture.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

class ExplainTest : public ConsoleFixture {
 protected:
   void thenVerdict(std::string const& destination, Status status, std::string const& verdict) {
      auto const reply = when("explain " + destination);
      EXPECT_EQ(reply.status, status);
      EXPECT_EQ(reply.text.substr(0, reply.text.find('\n')), verdict + '.') << reply.text;
      Json const document = whenJson("explain " + destination, status);
      EXPECT_EQ(document["verdict"], verdict);
      EXPECT_EQ(document["decapsulated"], status == Status::ok);
   }
};

TEST_F(ExplainTest, AnAddressUnderAPrefixInHardware) {
   givenConsole("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   thenVerdict("10.1.2.3", Status::ok,
               "10.1.2.3 is decapsulated: gre 10.1.0.0/16 vrf default is in hardware");
   thenShows(
       "explain 10.1.2.3",
       {"  Group a has the prefix 10.1.0.0/16.\n",
        "  Key gre 10.1.0.0/16 vrf default: in hardware since 2026-01-31 12:00:00.000Z, tried "
        "1 time, 1 reference of a.\n"});
   Json const document = whenJson("explain 10.1.2.3");
   EXPECT_EQ(document["destination"], "10.1.2.3/32");
   EXPECT_EQ(document["claims"],
             Json::parse(R"([{"group":"a","prefix":"10.1.0.0/16","hasTunnelType":true}])"));
   ASSERT_EQ(document["keys"].size(), 1u);
   EXPECT_EQ(document["keys"][0]["status"], "in hardware");
   EXPECT_EQ(document["inside"], 0);
   EXPECT_FALSE(document.contains("nextReview"));
}

TEST_F(ExplainTest, TheLongestPrefixComesFirst) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.0.0.0/8', "
       "'10.1.2.0/24', '10.1.0.0/16']}]}");
   thenVerdict("10.1.2.3", Status::ok,
               "10.1.2.3 is decapsulated: gre 10.1.2.0/24 vrf default is in hardware");
   Json const document = whenJson("explain 10.1.2.3");
   ASSERT_EQ(document["claims"].size(), 3u);
   EXPECT_EQ(document["claims"][2]["prefix"], "10.0.0.0/8");
   ASSERT_EQ(document["keys"].size(), 3u);
   EXPECT_EQ(document["keys"][1]["destination"], "10.1.0.0/16");
}

TEST_F(ExplainTest, APrefixWithEntriesInside) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.1.0/24', "
       "'10.1.2.0/24', '10.2.0.0/16']}]}");
   thenVerdict("10.1.0.0/16", Status::found,
               "10.1.0.0/16 is not decapsulated: no group has a prefix around it, and no interface "
               "has the address");
   thenShows("explain 10.1.0.0/16",
             {"  Inside it: 2 entries; 'show entries 10.1.0.0/16' lists them.\n"}, Status::found);
   EXPECT_EQ(whenJson("explain 10.1.0.0/16", Status::found)["inside"], 2);
}

TEST_F(ExplainTest, AnIpv6Address) {
   givenConsole("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['2001:db8::/33']}]}");
   thenVerdict("2001:db8:7fff::1", Status::ok,
               "2001:db8:7fff::1 is decapsulated: gre 2001:db8::/33 vrf default is in hardware");
   thenVerdict("2001:db8:8000::1", Status::found,
               "2001:db8:8000::1 is not decapsulated: no group has a prefix around it, and no "
               "interface has the address");
}

TEST_F(ExplainTest, AConflictOfVrfs) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': ['10.1.0.0/16']},"
       "{'name': 'b', 'tunnelType': 'gre', 'vrf': 'blue', 'decapIps': ['10.1.0.0/16']}]}");
   Json const document = whenJson("explain 10.1.0.0/16");
   ASSERT_EQ(document["keys"].size(), 2u);
   EXPECT_EQ(document["keys"][0]["status"], "in hardware");
   EXPECT_EQ(document["keys"][1]["reason"], "vrfConflict");
   EXPECT_EQ(document["keys"][1]["ownerVrf"], "red");
   EXPECT_EQ(document["keys"][1]["ownerGroups"], Json{"a"});
   thenShows(
       "explain 10.1.0.0/16",
       {"10.1.0.0/16 is decapsulated: gre 10.1.0.0/16 vrf red is in hardware.\n",
        "Key gre 10.1.0.0/16 vrf blue: conflict since 2026-01-31 12:00:00.000Z, tried 0 times, "
        "1 reference of b; VRF conflict: 10.1.0.0/16 goes to VRF red (group a).\n",
        "Keys that wait are tried again at 2026-01-31 12:00:00.1"});
}

TEST_F(ExplainTest, AFullTable) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'capacity': 0}}");
   thenVerdict("10.1.1.1", Status::found,
               "10.1.1.1 is not decapsulated: gre 10.1.0.0/16 vrf default: hardware table full; "
               "refused 1 time, last at 2026-01-31 12:00:00.000Z");
   Json const document = whenJson("explain 10.1.1.1", Status::found);
   EXPECT_EQ(document["keys"][0]["reason"], "full");
   EXPECT_EQ(document["keys"][0]["refusals"], 1);
   EXPECT_NEAR(document["nextReview"].get<double>(), 0.1, 0.01);
   EXPECT_TRUE(document["nextReviewTime"].get<std::string>().starts_with("2026-01-31 12:00:00.1"));
}

TEST_F(ExplainTest, HardwareThatIsNotReady) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'notReadyUntil': 5}}");
   auto const document = whenJson("explain 10.1.1.1", Status::found);
   EXPECT_EQ(document["keys"][0]["reason"], "notReady");
   EXPECT_EQ(document["keys"][0]["status"], "waiting");
   whenTimePasses(6.0);
   EXPECT_EQ(when("explain 10.1.1.1").status, Status::ok);
}

TEST_F(ExplainTest, HardwareThatIsStillWriting) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'latency': 5}}");
   EXPECT_EQ(whenJson("explain 10.1.1.1", Status::found)["keys"][0]["reason"], "pending");
}

TEST_F(ExplainTest, AHardwareCallThatFailed) {
   givenConsole("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': []}]}");
   hardware().script().next(Sim::Answer::fault(), 100);
   whenWith("load",
            "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}");
   auto const document = whenJson("explain 10.1.1.1", Status::found);
   EXPECT_EQ(document["keys"][0]["reason"], "fault");
}

TEST_F(ExplainTest, ADestinationThatHardwareRefusesForGood) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'answers': [{'prefix': '10.1.0.0/16', 'answer': 'unsupported'}]}}");
   thenVerdict("10.1.1.1", Status::found,
               "10.1.1.1 is not decapsulated: gre 10.1.0.0/16 vrf default: hardware does not "
               "support it; refused 1 time, last at 2026-01-31 12:00:00.000Z");
   auto const document = whenJson("explain 10.1.1.1", Status::found);
   EXPECT_EQ(document["keys"][0]["reason"], "unsupported");
   EXPECT_EQ(document["keys"][0]["status"], "refused");
   EXPECT_EQ(when("explain 10.1.1.1").text.find("tried again"), std::string::npos)
       << "nothing waits";
}

TEST_F(ExplainTest, AUdpPortThatIsNotSet) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'udp', 'payloadType': 'ip', 'decapIps': "
       "['10.1.0.0/16']}]}");
   thenVerdict("10.1.1.1", Status::found,
               "10.1.1.1 is not decapsulated: udp 10.1.0.0/16 port 0 payload ip vrf default: UDP "
               "destination port is not set");
   EXPECT_EQ(whenJson("explain 10.1.1.1", Status::found)["keys"][0]["reason"], "portUnset");
}

TEST_F(ExplainTest, AGroupWithoutATunnelType) {
   givenConsole("{'groups': [{'name': 'a', 'decapIps': ['10.1.0.0/16']}]}");
   thenVerdict("10.1.1.1", Status::found,
               "10.1.1.1 is not decapsulated: group a has 10.1.0.0/16, but no tunnel type");
   thenShows("explain 10.1.1.1",
             {"Group a has the prefix 10.1.0.0/16, but no tunnel type: nothing comes of it.\n"},
             Status::found);
   EXPECT_EQ(whenJson("explain 10.1.1.1", Status::found)["claims"][0]["hasTunnelType"], false);
}

TEST_F(ExplainTest, NothingAtAll) {
   givenConsole("{'groups': []}");
   thenText("explain 192.0.2.1", Status::found,
            "192.0.2.1 is not decapsulated: no group has a prefix around it, and no interface has "
            "the address.\n");
}

TEST_F(ExplainTest, AMachineThatDoesNotRun) {
   givenConsole("{'groups': []}");
   ASSERT_TRUE(service->stop(false, err));
   thenText("explain 192.0.2.1", Status::found,
            "192.0.2.1 is not decapsulated: the machine does not run.\n");
}

TEST_F(ExplainTest, WhatIsNoDestinationIsRefused) {
   givenConsole("{'groups': []}");
   for (char const* text : {"house", "''", "10.1.2.3/16", "0.0.0.0/0", "::/0", "10.0.0.0/33",
                            "10.1.2", "10.1.2.3.4", "2001:db8::/129", "fe80::1%eth0"}) {
      auto const reply = when(std::string("explain ") + text);
      EXPECT_EQ(reply.status, Status::refused) << text << ": " << reply.text;
   }
}

// Addresses of interfaces.

/// Groups that take the addresses of an interface with these members.
std::string withInterface(std::string const& groups, std::string const& members) {
   return "{'groups': [" + groups + "], 'interfaces': [{" + members + "}]}";
}

std::string groupOf(std::string const& members) {
   return "{'name': 'a', 'tunnelType': 'gre', " + members + "}";
}

constexpr char const* allIpv4 = "'decapInterfaces': [{'interface': 'all', 'family': 'ipv4'}]";
constexpr char const* ethernet = "'name': 'Ethernet1', 'primary': '10.0.0.1/24'";

class ExplainAddressTest : public ExplainTest {
 protected:
   /// The interface's address gives nothing, for this reason.
   void thenNotTaken(std::string const& address, std::string const& state,
                     std::string const& interface, std::string const& why) {
      thenVerdict(address, Status::found,
                  address + " is not decapsulated: it is an address of interface " + interface +
                      ", and not taken: " + why);
      Json const document = whenJson("explain " + address, Status::found);
      ASSERT_EQ(document["interfaces"].size(), 1u);
      EXPECT_EQ(document["interfaces"][0]["state"], state);
      EXPECT_EQ(document["interfaces"][0]["interface"], interface);
   }
};

TEST_F(ExplainAddressTest, ThatIsInHardware) {
   givenConsole(withInterface(groupOf(allIpv4), ethernet));
   thenVerdict("10.0.0.1", Status::ok,
               "10.0.0.1 is decapsulated: gre 10.0.0.1/32 vrf default is in hardware");
   thenShows("explain 10.0.0.1", {"  Interface Ethernet1 (VRF default) has 10.0.0.1/24 as primary "
                                  "address: in hardware (a).\n"});
}

TEST_F(ExplainAddressTest, OfAManagementInterface) {
   givenConsole(withInterface(groupOf(allIpv4), "'name': 'Management1', 'primary': '10.0.0.1/24'"));
   thenNotTaken("10.0.0.1", "management", "Management1", "a management interface");
}

TEST_F(ExplainAddressTest, OfAnInternalInterface) {
   givenConsole(withInterface(groupOf(allIpv4), "'name': 'Internal1', 'primary': '10.0.0.1/24'"));
   thenNotTaken("10.0.0.1", "internal", "Internal1", "an internal interface");
}

TEST_F(ExplainAddressTest, OfAnInterfaceInAnotherVrf) {
   givenConsole(withInterface(groupOf(allIpv4), std::string(ethernet) + ", 'vrf': 'red'"));
   thenNotTaken("10.0.0.1", "otherVrf", "Ethernet1", "the interface is not in the default VRF");
}

TEST_F(ExplainAddressTest, ThatIsLinkLocal) {
   givenConsole(
       withInterface(groupOf("'decapInterfaces': [{'interface': 'all', 'family': 'ipv6'}]"),
                     "'name': 'Ethernet1', 'ipv6': ['fe80::1/64']"));
   thenNotTaken("fe80::1", "linkLocal", "Ethernet1", "a link-local address");
}

TEST_F(ExplainAddressTest, OfAnInterfaceThatIsExcluded) {
   givenConsole(withInterface(
       groupOf(std::string(allIpv4) + ", 'excludeInterfaces': {'ipv4': ['Ethernet1']}"), ethernet));
   thenNotTaken("10.0.0.1", "excluded", "Ethernet1", "the interface is excluded");
}

TEST_F(ExplainAddressTest, OfAnAddressTypeThatIsNotAskedFor) {
   givenConsole(
       withInterface(groupOf(allIpv4), std::string(ethernet) + ", 'secondary': ['10.0.1.1/24']"));
   thenNotTaken("10.0.1.1", "addressType", "Ethernet1", "the entry is for primary addresses only");
}

TEST_F(ExplainAddressTest, OfAGroupWithoutATunnelType) {
   givenConsole(withInterface(std::string("{'name': 'a', ") + allIpv4 + "}", ethernet));
   thenNotTaken("10.0.0.1", "noTunnelType", "Ethernet1", "the group has no tunnel type");
}

TEST_F(ExplainAddressTest, ThatNoGroupNames) {
   givenConsole(withInterface("", ethernet));
   thenVerdict("10.0.0.1", Status::found,
               "10.0.0.1 is not decapsulated: it is an address of interface Ethernet1, which no "
               "group names");
   EXPECT_EQ(whenJson("explain 10.0.0.1", Status::found)["interfaces"][0]["state"], "noEntry");
}

TEST_F(ExplainAddressTest, ThatWaits) {
   givenConsole("{'groups': [" + groupOf(allIpv4) + "], 'interfaces': [{" + ethernet +
                "}], 'hardware': {'capacity': 0}}");
   auto const document = whenJson("explain 10.0.0.1", Status::found);
   EXPECT_EQ(document["interfaces"][0]["state"], "waiting");
   EXPECT_EQ(document["keys"][0]["reason"], "full");
}

TEST_F(ExplainAddressTest, IsNotLookedForUnderAPrefix) {
   givenConsole(withInterface(groupOf(allIpv4), ethernet));
   auto const document = whenJson("explain 10.0.0.0/24", Status::found);
   EXPECT_EQ(document["interfaces"].size(), 0u);
   EXPECT_EQ(document["inside"], 1);
}

}  // namespace
}  // namespace Agent
