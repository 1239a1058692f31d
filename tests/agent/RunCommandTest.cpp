// What a person sees who runs a configuration.

#include "agent/RunCommand.h"
#include "support/TempFile.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace Agent {
namespace {

class RunCommand : public testing::Test {
 protected:
   ExitCode runText(std::string const& configuration) {
      Support::TempFile const file("run.json", configuration);
      options.configuration = file.path();
      out.str("");
      err.str("");
      return run(options, out, err);
   }
   bool shows(std::string const& text) const { return out.str().find(text) != std::string::npos; }

   RunOptions options;
   std::ostringstream out;
   std::ostringstream err;
};

constexpr char const* twoVrfs = R"({"groups": [
   {"name": "east", "tunnelType": "gre", "vrf": "red", "decapIps": ["10.1.0.0/16"]},
   {"name": "west", "tunnelType": "gre", "vrf": "red", "decapIps": ["10.1.0.0/16"]},
   {"name": "late", "tunnelType": "gre", "vrf": "blue", "decapIps": ["10.1.0.0/16"]}]})";

TEST_F(RunCommand, ShowsTheWholeStateOfASmallSwitch) {
   EXPECT_EQ(runText(twoVrfs), ExitCode::ok);
   EXPECT_EQ(err.str(), "");
   EXPECT_EQ(out.str(),
             "Groups: 3; 3 prefixes\n"
             "  GROUP  TUNNEL  PORT  PAYLOAD  VRF   PREFIXES  IN HARDWARE  WAITING  NOTE\n"
             "  east   gre        -  -        red          1            1        0\n"
             "  west   gre        -  -        red          1            1        0\n"
             "  late   gre        -  -        blue         1            0        1\n"
             "\n"
             "Hardware table: 1 entry, no limit; at most 1 at once\n"
             "  TUNNEL  DESTINATION  PORT  PAYLOAD  VRF  GROUPS      NOTE\n"
             "  gre     10.1.0.0/16     -  -        red  east, west  shared by 2 groups\n"
             "\n"
             "Waiting to be programmed: 1 key\n"
             "  TUNNEL  DESTINATION  PORT  PAYLOAD  VRF   GROUPS  WHY\n"
             "  gre     10.1.0.0/16     -  -        blue  late    VRF conflict: 10.1.0.0/16 goes "
             "to VRF red (groups east, west)\n"
             "\n"
             "Log: no messages\n"
             "\n"
             "Summary: 1 in hardware (1 shared), 1 waiting (1 VRF conflict), 0 not programmed; "
             "resource alarm off\n"
             "Quiet at 0.100 s of simulated time\n");
}

TEST_F(RunCommand, KeysThatWaitAreNoFailure) {
   EXPECT_EQ(runText(R"({"groups": [{"name": "a", "tunnelType": "gre",
      "decapIps": ["10.1.0.0/16", "10.2.0.0/16"]}], "hardware": {"capacity": 1}})"),
             ExitCode::ok);
   EXPECT_TRUE(shows("hardware table full; refused 2 times, last at 0.100 s"));
   EXPECT_TRUE(
       shows("  0.000 s  TUNNEL_HW_RESOURCE_FULL (severity 3): Hardware resources are "
             "insufficient to program all tunnels.\n"));
   EXPECT_TRUE(shows("resource alarm on"));
}

TEST_F(RunCommand, SaysWhatAUdpGroupLacks) {
   runText(R"({"groups": [
      {"name": "a", "tunnelType": "udp", "decapIps": ["10.1.0.0/16"]},
      {"name": "b", "tunnelType": "udp", "destPort": 6635, "decapIps": ["10.2.0.0/16"]},
      {"name": "c", "tunnelType": "udp", "payloadType": "ip", "decapIps": ["10.3.0.0/16"]},
      {"name": "d", "decapIps": ["10.4.0.0/16"]}]})");
   EXPECT_TRUE(shows("UDP destination port and payload type are not set"));
   EXPECT_TRUE(shows("UDP payload type is not set"));
   EXPECT_TRUE(shows("UDP destination port is not set"));
   EXPECT_TRUE(shows("no tunnel type: nothing to program"));
}

TEST_F(RunCommand, SaysWhyHardwareWillNotTakeAKey) {
   runText(R"({"groups": [{"name": "a", "tunnelType": "gre",
      "decapIps": ["10.1.0.0/16", "10.2.0.0/16"]}],
      "hardware": {"answers": [{"prefix": "10.1.0.0/16", "answer": "unsupported"},
                               {"prefix": "10.2.0.0/16", "answer": "max"}]}})");
   EXPECT_TRUE(shows("Not programmed and not waiting: 2 keys"));
   EXPECT_TRUE(shows("hardware does not support it; refused 1 time, last at 0.000 s"));
   EXPECT_TRUE(shows("hardware will not take it; refused 1 time, last at 0.000 s"));
}

TEST_F(RunCommand, ABadConfigurationProgramsNothing) {
   EXPECT_EQ(runText("{"), ExitCode::badInput);
   EXPECT_EQ(out.str(), "");
   EXPECT_EQ(err.str().rfind("decap-agent: ", 0), 0u);
   EXPECT_EQ(err.str().find('\n'), err.str().size() - 1);
}

TEST_F(RunCommand, AMissingFileIsBadInput) {
   options.configuration = "no such file.json";
   EXPECT_EQ(run(options, out, err), ExitCode::badInput);
   EXPECT_EQ(err.str(),
             "decap-agent: no such file.json: cannot be opened: No such file or directory\n");
}

TEST_F(RunCommand, CutsLongTablesAndCountsTheRest) {
   options.rows = 1;
   runText(R"({"groups": [{"name": "a", "tunnelType": "gre",
      "decapIps": ["10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"]}]})");
   EXPECT_TRUE(shows("10.1.0.0/16"));
   EXPECT_FALSE(shows("10.2.0.0/16"));
   EXPECT_TRUE(shows("  ... and 2 more\n"));
}

TEST_F(RunCommand, ShowsTracesInTheOrderOfEvents) {
   options.traceLevel = 2;
   runText(R"({"groups": [{"name": "a", "tunnelType": "gre", "decapIps": ["10.1.0.0/16"]}]})");
   auto const trace = out.str().find("0.000  trace 2   add key to hw ");
   auto const call = out.str().find("0.000  program gre 10.1.0.0/16 vrf default -> success\n");
   auto const table = out.str().find("Groups: 1; 1 prefix\n");
   ASSERT_NE(trace, std::string::npos) << out.str();
   ASSERT_NE(call, std::string::npos);
   EXPECT_LT(trace, call);
   EXPECT_LT(call, table);
}

TEST_F(RunCommand, ALowerTraceLevelShowsLess) {
   options.traceLevel = 1;
   runText(R"({"groups": [{"name": "a", "tunnelType": "gre", "decapIps": ["10.1.0.0/16"]}]})");
   EXPECT_FALSE(shows("trace 2"));
   EXPECT_TRUE(shows("0.000  program gre"));
}

TEST_F(RunCommand, JsonIsOneDocument) {
   options.json = true;
   EXPECT_EQ(runText(twoVrfs), ExitCode::ok);
   auto const json = nlohmann::json::parse(out.str());
   EXPECT_EQ(json["summary"]["inHardware"], 1);
   EXPECT_EQ(json["entries"][0]["destination"], "10.1.0.0/16");
   EXPECT_EQ(json["entries"][0]["groups"], (nlohmann::json{"east", "west"}));
   EXPECT_EQ(json["entries"][0]["references"], 2);
   EXPECT_EQ(json["waiting"][0]["reason"], "vrfConflict");
   EXPECT_EQ(json["waiting"][0]["ownerVrf"], "red");
   EXPECT_EQ(json["waiting"][0]["ownerGroups"], (nlohmann::json{"east", "west"}));
   EXPECT_EQ(json["hardware"]["capacity"], nullptr);
   EXPECT_EQ(json["quiet"], true);
}

TEST_F(RunCommand, JsonKeepsTracesOffTheDocument) {
   options.json = true;
   options.traceLevel = 2;
   runText(twoVrfs);
   EXPECT_TRUE(nlohmann::json::accept(out.str()));
   EXPECT_NE(err.str().find("trace 2"), std::string::npos);
}

constexpr char const* withInterfaces = R"({"groups": [
   {"name": "core", "tunnelType": "gre", "decapIps": ["10.0.1.1"],
    "decapInterfaces": [{"interface": "all", "family": "ipv4", "addressType": "all"}],
    "excludeInterfaces": {"ipv4": ["Ethernet2"]}}],
   "interfaces": [
   {"name": "Ethernet1", "primary": "10.0.1.1/24", "secondary": ["10.1.1.1/24"]},
   {"name": "Ethernet2", "primary": "10.0.2.1/24", "virtual": true},
   {"name": "Management1", "primary": "10.0.3.1/24"},
   {"name": "Ethernet3", "vrf": "red", "ipv6": ["2001:db8::1/64"]}]})";

TEST_F(RunCommand, ShowsWhatInterfacesContribute) {
   EXPECT_EQ(runText(withInterfaces), ExitCode::ok);
   EXPECT_EQ(err.str(), "");
   EXPECT_EQ(
       out.str(),
       "Groups: 1; 1 prefix, 2 interface addresses\n"
       "  GROUP  TUNNEL  PORT  PAYLOAD  VRF      PREFIXES  ADDRESSES  IN HARDWARE  WAITING  NOTE\n"
       "  core   gre        -  -        default         1          2            2        0\n"
       "\n"
       "Interfaces: 4; addresses: 6, 2 taken as destinations\n"
       "  INTERFACE    VRF      ROLE       ADDRESS         GROUPS  STATE\n"
       "  Ethernet1    default  primary    10.0.1.1/24     core    in hardware\n"
       "  Ethernet1    default  secondary  10.1.1.1/24     core    in hardware\n"
       "  Ethernet2    default  primary    10.0.2.1/24     core    not taken: the interface is "
       "excluded\n"
       "  Ethernet2    default  virtual    10.0.2.1/24     core    not taken: the interface is "
       "excluded\n"
       "  Management1  default  primary    10.0.3.1/24     -       not taken: a management "
       "interface\n"
       "  Ethernet3    red      ipv6       2001:db8::1/64  -       not taken: the interface is not "
       "in the default VRF\n"
       "\n"
       "Hardware table: 2 entries, no limit; at most 2 at once\n"
       "  TUNNEL  DESTINATION  PORT  PAYLOAD  VRF      GROUPS  NOTE\n"
       "  gre     10.0.1.1/32     -  -        default  core    by prefix and by interface\n"
       "  gre     10.1.1.1/32     -  -        default  core\n"
       "\n"
       "Waiting to be programmed: 0 keys\n"
       "\n"
       "Log: no messages\n"
       "\n"
       "Summary: 2 in hardware (1 shared), 0 waiting, 0 not programmed; resource alarm off\n"
       "Quiet at 0.000 s of simulated time\n");
}

TEST_F(RunCommand, JsonHasTheAddressesOfInterfaces) {
   options.json = true;
   EXPECT_EQ(runText(withInterfaces), ExitCode::ok);
   auto const json = nlohmann::json::parse(out.str());
   EXPECT_EQ(json["summary"]["interfaces"], 4);
   EXPECT_EQ(json["summary"]["addresses"], 2);
   EXPECT_EQ(json["groups"][0]["addresses"], 2);
   ASSERT_EQ(json["interfaces"].size(), 6u);
   EXPECT_EQ(json["interfaces"][0],
             nlohmann::json::parse(R"({"interface": "Ethernet1", "vrf": "default",
                "role": "primary", "address": "10.0.1.1/24", "groups": ["core"],
                "state": "inHardware", "text": "in hardware"})"));
   EXPECT_EQ(json["interfaces"][3]["role"], "virtual");
   EXPECT_EQ(json["interfaces"][3]["state"], "excluded");
   EXPECT_EQ(json["interfaces"][4]["groups"], nlohmann::json::array());
   EXPECT_EQ(json["interfaces"][5]["vrf"], "red");
}

TEST_F(RunCommand, JsonHasNothingForWhatIsNotThere) {
   options.json = true;
   runText(R"({"groups": [{"name": "a", "tunnelType": "gre",
      "decapInterfaces": [{"interface": "Ethernet9", "family": "ipv4"}]}]})");
   auto const json = nlohmann::json::parse(out.str());
   EXPECT_EQ(json["interfaces"][0],
             nlohmann::json::parse(R"({"interface": "Ethernet9", "vrf": null, "role": null,
                "address": null, "groups": ["a"], "state": "noInterface",
                "text": "no such interface"})"));
}

TEST_F(RunCommand, JsonIsNotCut) {
   options.json = true;
   options.rows = 1;
   runText(R"({"groups": [{"name": "a", "tunnelType": "gre",
      "decapIps": ["10.1.0.0/16", "10.2.0.0/16"]}]})");
   EXPECT_EQ(nlohmann::json::parse(out.str())["entries"].size(), 2u);
}

TEST_F(RunCommand, TwoRunsSayTheSame) {
   runText(twoVrfs);
   std::string const first = out.str();
   runText(twoVrfs);
   EXPECT_EQ(out.str(), first);
}

}  // namespace
}  // namespace Agent
