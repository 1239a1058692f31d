// What a scenario's author is told about a line that cannot be read.

#include "agent/InputError.h"
#include "agent/Scenario.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

std::string errorOf(std::string const& text) {
   try {
      scenarioFromText("s.scn", text);
   } catch (InputError const& error) {
      return error.what();
   }
   return "no error";
}

TEST(ScenarioError, NamesLineAndColumn) {
   EXPECT_EQ(errorOf("# first\n\n  grup a\n"),
             "s.scn:3:3: expected one of group, replace, interface, no, apply, hardware, machine, "
             "advance, settle, verify, audit, show, expect, trace, say, found \"grup\"");
}

TEST(ScenarioError, OfAGroup) {
   EXPECT_EQ(errorOf("group"),
             "s.scn:1:6: expected the name of a group, found the end of the "
             "line");
   EXPECT_EQ(
       errorOf("group a typ gre"),
       "s.scn:1:9: expected one of type, port, payload, vrf, ip, no ip, interface, no interface, "
       "exclude, found \"typ\"");
   EXPECT_EQ(errorOf("group a type vxlan"),
             "s.scn:1:14: unknown tunnel type \"vxlan\"; known are gre, ipip, udp");
   EXPECT_EQ(errorOf("group a port 65536"),
             "s.scn:1:14: expected a port, a whole number from 0 to 65535, found \"65536\"");
   EXPECT_EQ(errorOf("group a ip"), "s.scn:1:11: expected a prefix, found the end of the line");
   EXPECT_EQ(errorOf("group a ip 10.1.2.3/16"),
             "s.scn:1:12: bits are set beyond the prefix length: \"10.1.2.3/16\" lies in "
             "10.1.0.0/16");
   EXPECT_EQ(errorOf("group a no vrf"), "s.scn:1:12: expected ip or interface, found \"vrf\"");
   EXPECT_EQ(errorOf("no grup a"), "s.scn:1:4: expected group or interface, found \"grup\"");
   EXPECT_EQ(errorOf("replace grup a"), "s.scn:1:9: expected group, found \"grup\"");
   EXPECT_EQ(
       errorOf("replace group a typ gre"),
       "s.scn:1:17: expected one of type, port, payload, vrf, ip, no ip, interface, no interface, "
       "exclude, found \"typ\"");
}

TEST(ScenarioError, OfAGroupsInterfaces) {
   EXPECT_EQ(errorOf("group a interface"),
             "s.scn:1:18: expected the name of an interface or \"all\", found the end of the line");
   EXPECT_EQ(errorOf("group a interface \"all\" ipv4"),
             "s.scn:1:19: \"all\" stands for all interfaces and is no interface's name");
   EXPECT_EQ(errorOf("group a interface all ipv5"),
             "s.scn:1:23: unknown address family \"ipv5\"; known are ipv4, ipv6");
   EXPECT_EQ(errorOf("group a interface all family many"),
             "s.scn:1:30: expected the number of a family, a whole number from 0 to 4294967295, "
             "found \"many\"");
   EXPECT_EQ(errorOf("group a interface all ipv4 address-type secondary"),
             "s.scn:1:41: unknown address type \"secondary\"; known are primary, all");
   EXPECT_EQ(errorOf("group a exclude ipv4"),
             "s.scn:1:21: expected the name of an interface or \"none\", found the end of the "
             "line");
   // The machine takes such a set for a slip of its agent's, and stops.
   EXPECT_EQ(errorOf("group a exclude family 3 Ethernet1"),
             "s.scn:1:17: unknown address family \"family\"; known are ipv4, ipv6");
   EXPECT_EQ(errorOf("apply a all ipv4"), "s.scn:1:9: expected interface, found \"all\"");
}

TEST(ScenarioError, OfAnInterface) {
   EXPECT_EQ(errorOf("interface all"),
             "s.scn:1:11: \"all\" stands for all interfaces and is no interface's name");
   EXPECT_EQ(errorOf("interface Ethernet1 ip 10.0.0.1/24"),
             "s.scn:1:21: expected one of vrf, primary, secondary, no secondary, virtual, ipv6, no "
             "ipv6, found \"ip\"");
   EXPECT_EQ(errorOf("interface Ethernet1 primary 10.0.0.1/33"),
             "s.scn:1:29: prefix length greater than 32: \"10.0.0.1/33\"");
   EXPECT_EQ(errorOf("interface Ethernet1 primary 2001:db8::1/64"),
             "s.scn:1:29: not an IPv4 address: \"2001:db8::1\"");
   EXPECT_EQ(errorOf("interface Ethernet1 secondary"),
             "s.scn:1:30: expected an IPv4 address, found the end of the line");
   EXPECT_EQ(errorOf("interface Ethernet1 ipv6 10.0.0.1"),
             "s.scn:1:26: not an IPv6 address: \"10.0.0.1\"");
   EXPECT_EQ(errorOf("interface Ethernet1 virtual yes"),
             "s.scn:1:29: expected on or off, found \"yes\"");
   EXPECT_EQ(errorOf("interface Ethernet1 no primary"),
             "s.scn:1:24: expected secondary or ipv6, found \"primary\"");
   EXPECT_EQ(errorOf("no interface"),
             "s.scn:1:13: expected the name of an interface, found the end of the line");
}

TEST(ScenarioError, OfTheHardware) {
   EXPECT_EQ(errorOf("hardware off"),
             "s.scn:1:10: expected one of capacity, latency, call-cost, not-ready, ready, clear, "
             "answer, no, udp-wait, found \"off\"");
   EXPECT_EQ(errorOf("hardware capacity many"),
             "s.scn:1:19: expected a number of entries or \"unlimited\", a whole number from 0 to "
             "4294967295, found \"many\"");
   EXPECT_EQ(errorOf("hardware answer 10.1.0.0/16 maybe"),
             "s.scn:1:29: unknown answer \"maybe\"; known are success, not-ready, exists, "
             "unsupported, full, max, pending");
   EXPECT_EQ(errorOf("hardware latency 0.1 0.2"),
             "s.scn:1:22: expected the end of the line, found \"0.2\"");
}

TEST(ScenarioError, OfTimeAndLooks) {
   EXPECT_EQ(errorOf("advance"), "s.scn:1:8: expected seconds, found the end of the line");
   EXPECT_EQ(errorOf("show me"),
             "s.scn:1:6: expected one of all, groups, interfaces, hardware, restart, backlog, log, "
             "summary, "
             "found \"me\"");
   EXPECT_EQ(errorOf("machine begin"),
             "s.scn:1:9: expected one of start, build, config-ready, initialized, not-initialized, "
             "stop, kill, review-interval, review-budget, found \"begin\"");
   EXPECT_EQ(errorOf("machine kill"), "s.scn:1:13: expected in, found the end of the line");
   EXPECT_EQ(errorOf("machine kill in call x"),
             "s.scn:1:22: expected the number of a call, a whole number from 0 to 4294967295, "
             "found \"x\"");
   EXPECT_EQ(errorOf("verify it"), "s.scn:1:8: expected the end of the line, found \"it\"");
   EXPECT_EQ(errorOf("audit it"), "s.scn:1:7: expected the end of the line, found \"it\"");
   EXPECT_EQ(errorOf("trace 32"),
             "s.scn:1:7: expected a trace level, a whole number from 0 to 31, found \"32\"");
}

TEST(ScenarioError, OfAnExpectation) {
   EXPECT_EQ(errorOf("expect everything"),
             "s.scn:1:8: expected one of hardware, backlog, not-programmed, calls, log, "
             "addresses, record, high-water, references, differences, resource-full, time, found "
             "\"everything\"");
   EXPECT_EQ(errorOf("expect hardware 10.1.0.0/16,"),
             "s.scn:1:29: expected a prefix, found the end of the line");
   EXPECT_EQ(errorOf("expect calls erase 10.1.0.0/16"),
             "s.scn:1:14: expected \"program\", \"remove\", \"verify\" or \"config-ready\", found "
             "\"erase\"");
   EXPECT_EQ(errorOf("expect addresses a Ethernet1 first 10.0.0.1/24"),
             "s.scn:1:30: expected one of primary, secondary, virtual, ipv6, found \"first\"");
   EXPECT_EQ(errorOf("expect addresses a Ethernet1 ipv6 10.0.0.1/24"),
             "s.scn:1:35: not an IPv6 address: \"10.0.0.1\"");
   EXPECT_EQ(errorOf("expect record Ethernet1"),
             "s.scn:1:24: expected primary or none, found the end of the line");
   EXPECT_EQ(errorOf("expect record Ethernet1 primary 10.0.0.1"),
             "s.scn:1:41: expected virtual, found the end of the line");
   EXPECT_EQ(errorOf("expect resource-full maybe"), "s.scn:1:22: expected no, found \"maybe\"");
}

TEST(ScenarioError, ALastLineWithoutItsEndCountsAsWell) {
   EXPECT_EQ(errorOf("advance 1\nadvance"),
             "s.scn:2:8: expected seconds, found the end of the line");
}

}  // namespace
}  // namespace Agent
