// The program itself, killed inside any hook call, and the one that is started after it.

#include "support/Program.h"
#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <sstream>

namespace {

using Texts = std::vector<std::string>;

std::string prefixes(int first, int last) {
   std::string text;
   for (int i = first; i < last; ++i) text += " 10.20." + std::to_string(i) + ".0/24";
   return text;
}

/// What the first machine finds its groups to be, and its hardware empty.
constexpr char const* firstConfiguration = R"({"groups": [
   {"name": "red", "tunnelType": "udp", "destPort": 6080, "payloadType": "ip", "vrf": "red",
    "decapIps": ["10.1.0.0/16"]},
   {"name": "blue", "tunnelType": "udp", "destPort": 6080, "payloadType": "ip", "vrf": "blue",
    "decapIps": ["10.5.0.0/16", "10.6.0.0/16"]},
   {"name": "old", "tunnelType": "gre",
    "decapIps": ["172.16.0.0/24", "172.16.1.0/24", "172.16.2.0/24"]}]})";

/// What the second machine does, which is the one that is killed. At its start some of what it
/// finds is wanted, some is not, and one is in the way of another VRF. Where two VRFs want a
/// destination in the end, the group that comes first has it.
std::string scenario(std::size_t killedIn) {
   std::ostringstream text;
   text << "machine stop keep-hardware\n"
           "no group old\n"
           "group red ip 10.2.0.0/16 10.5.0.0/16\n"
           "machine kill in call "
        << killedIn
        << "\n"
           "machine start\n"
           "group share1 type udp port 6080 payload ip\n"
           "group share2 type udp port 6080 payload ip\n"
        << "group share1 ip" << prefixes(0, 12) << '\n'
        << "group share2 ip" << prefixes(6, 18) << '\n'
        << "group red no ip 10.5.0.0/16\n"
           "settle\n"
           "group red ip 10.5.0.0/16\n"
           "group blue no ip 10.5.0.0/16\n"
           "settle\n"
           "group blue ip 10.5.0.0/16\n"
           "group share1 port 6081\n"
           "group share2 payload mpls\n"
           "group red vrf crimson\n"
           "group red vrf red\n"
           "group share1 type none\n"
           "group share1 type gre port 0 payload none\n"
           "settle\n"
           "replace group share2 type ipip vrf green ip 10.30.0.0/24 10.31.0.0/24\n"
           "group late type gre ip 10.40.0.0/24\n"
           "settle\n"
           "no group late\n"
           "interface Ethernet1 primary 10.50.1.1/24 secondary 10.50.1.2/24\n"
           "interface Ethernet2 primary 10.50.2.1/24 ipv6 2001:db8:2::1/64\n"
           "interface Ethernet3 primary 10.50.3.1/24\n"
           "group wide type gre\n"
           "group wide interface all ipv4 address-type all interface all ipv6\n"
           "group wide vrf red\n"
           "group wide exclude ipv4 Ethernet3\n"
           "interface Ethernet2 primary 10.50.2.9/24\n"
           "no interface Ethernet3\n"
        << "group share1 no ip" << prefixes(0, 3) << "\nsettle\n";
   return text.str();
}

/// What the groups are in the end.
constexpr char const* lastConfiguration = R"({"groups": [
   {"name": "red", "tunnelType": "udp", "destPort": 6080, "payloadType": "ip", "vrf": "red",
    "decapIps": ["10.1.0.0/16", "10.2.0.0/16", "10.5.0.0/16"]},
   {"name": "blue", "tunnelType": "udp", "destPort": 6080, "payloadType": "ip", "vrf": "blue",
    "decapIps": ["10.5.0.0/16", "10.6.0.0/16"]},
   {"name": "share1", "tunnelType": "gre", "decapIps": [
      "10.20.3.0/24", "10.20.4.0/24", "10.20.5.0/24", "10.20.6.0/24", "10.20.7.0/24",
      "10.20.8.0/24", "10.20.9.0/24", "10.20.10.0/24", "10.20.11.0/24"]},
   {"name": "share2", "tunnelType": "ipip", "vrf": "green",
    "decapIps": ["10.30.0.0/24", "10.31.0.0/24"]},
   {"name": "wide", "tunnelType": "gre", "vrf": "red",
    "decapInterfaces": [{"interface": "all", "family": "ipv4", "addressType": "all"},
                        {"interface": "all", "family": "ipv6"}]}],
   "interfaces": [
   {"name": "Ethernet1", "primary": "10.50.1.1/24", "secondary": ["10.50.1.2/24"]},
   {"name": "Ethernet2", "primary": "10.50.2.9/24", "ipv6": ["2001:db8:2::1/64"]}]})";

/// The hook calls that a run has shown since the kill was set up.
Texts callsIn(std::string const& out) {
   Texts calls;
   std::istringstream lines(out.substr(out.find("> machine kill")));
   for (std::string line; std::getline(lines, line);) {
      // "    0.100  program gre 10.1.0.0/16 vrf default -> success"
      if (!line.starts_with("    ")) continue;
      std::string const call = line.substr(std::min(line.find("  ", 4), line.size() - 2) + 2);
      for (char const* const operation : {"program ", "remove ", "configuration ready"}) {
         if (call.starts_with(operation)) calls.push_back(call);
      }
   }
   return calls;
}

/// Each kill is three processes; the calls are dealt out to several tests.
class ProgramKill : public testing::TestWithParam<std::size_t> {
 protected:
   static constexpr std::size_t hands = 8;

   ProgramKill() {
      Support::writeFile(first, firstConfiguration);
      Support::writeFile(last, lastConfiguration);
      Support::writeFile(check, "settle\nexpect differences 0\n");
   }

   /// The scenario, killed in the n-th call; 0 for never. From an empty hardware.
   Support::ProgramEnd whenPlayed(std::size_t killedIn) const {
      Support::writeFile(state, "");
      Support::writeFile(played, scenario(killedIn));
      return run({first, played});
   }
   /// The next agent has the last configuration.
   void whenStartedAgain() const {
      auto const end = run({last, check, "--json"});
      ASSERT_EQ(end.code, 0) << end.err;
      EXPECT_EQ(nlohmann::json::parse(end.out)["restart"]["rewritten"], 0);
   }
   Support::ProgramEnd run(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), {DECAP_AGENT_PROGRAM, "run"});
      arguments.insert(arguments.end(), {"--hardware-state", state, "--keep-hardware"});
      return Support::runProgram(std::move(arguments));
   }
   Texts sortedTable() const {
      Texts texts = Support::fileTexts(state);
      std::ranges::sort(texts);
      return texts;
   }

   Support::TempFolder const folder;
   std::string const state = folder.path("hw.state");
   std::string const first = folder.path("first.json");
   std::string const last = folder.path("last.json");
   std::string const played = folder.path("played.scn");
   std::string const check = folder.path("check.scn");
};

TEST_P(ProgramKill, EndsInTheTableOfAnUndisturbedRun) {
   auto const undisturbed = whenPlayed(0);
   ASSERT_EQ(undisturbed.code, 0) << undisturbed.err;
   Texts const table = sortedTable();
   Texts const calls = callsIn(undisturbed.out);
   ASSERT_GE(calls.size(), 100u);
   ASSERT_EQ(table.size(), 19u);
   for (std::size_t n = 1 + GetParam(); n <= calls.size(); n += hands) {
      auto const killed = whenPlayed(n);
      ASSERT_EQ(killed.code, -SIGKILL) << n;
      ASSERT_EQ(callsIn(killed.out).size(), n) << "what happened before the end is told";
      ASSERT_NO_FATAL_FAILURE(whenStartedAgain()) << n;
      ASSERT_EQ(sortedTable(), table) << "killed in call " << n << ": " << calls[n - 1];
   }
}

INSTANTIATE_TEST_SUITE_P(Hands, ProgramKill, testing::Range(std::size_t{0}, std::size_t{8}));

TEST_F(ProgramKill, TheScenarioHasEveryKindOfCall) {
   Texts const calls = callsIn(whenPlayed(0).out);
   auto const count = [&](std::string_view operation, std::string_view outcome) {
      return std::ranges::count_if(calls, [&](std::string const& call) {
         return call.starts_with(operation) && call.ends_with(outcome);
      });
   };
   EXPECT_EQ(count("program", "-> exists"), 2);
   EXPECT_EQ(count("remove", "-> held over, not claimed"), 4);
   EXPECT_GE(count("program", "-> success"), 40);
   EXPECT_GE(count("remove", "-> removed"), 40);
   EXPECT_EQ(count("configuration ready", ""), 1);
}

}  // namespace
