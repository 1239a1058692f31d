// One run after another on the hardware that a file keeps.

#include "agent/RunCommand.h"
#include "platform/sim/StateFile.h"
#include "support/SmallDisk.h"
#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace Agent {
namespace {

using Texts = std::vector<std::string>;

constexpr char const* twoPrefixes = R"({"groups": [
   {"name": "a", "tunnelType": "gre", "vrf": "red", "decapIps": ["10.1.0.0/16", "10.2.0.0/16"]}]})";
constexpr char const* oneChanged = R"({"groups": [
   {"name": "a", "tunnelType": "gre", "vrf": "red", "decapIps": ["10.1.0.0/16", "10.3.0.0/16"]}]})";

class HardwareState : public testing::Test {
 protected:
   ExitCode runOn(std::string const& configuration, bool keep = true) {
      Support::writeFile(folder.path("c.json"), configuration);
      RunOptions options;
      options.configuration = folder.path("c.json");
      return runWith(options, keep);
   }
   ExitCode play(std::string const& scenario, bool keep = true) {
      Support::writeFile(folder.path("s.scn"), scenario);
      RunOptions options;
      options.scenario = folder.path("s.scn");
      return runWith(options, keep);
   }
   ExitCode runWith(RunOptions options, bool keep) {
      options.hardwareState = state;
      options.keepHardware = keep;
      options.json = json;
      std::ostringstream outStream;
      std::ostringstream errStream;
      ExitCode const code = run(options, outStream, errStream);
      out = outStream.str();
      err = errStream.str();
      return code;
   }
   bool shows(std::string const& text) const { return out.find(text) != std::string::npos; }
   /// One line that begins as all complaints do.
   void thenComplains(std::string const& text) const {
      EXPECT_EQ(err, "decap-agent: " + state + text + "\n");
   }
   void thenFileHolds(Texts const& expected) const {
      EXPECT_EQ(Support::fileTexts(state), expected);
   }

   Support::TempFolder const folder;
   std::string const state = folder.path("hw.state");
   bool json = false;
   std::string out;
   std::string err;
};

TEST_F(HardwareState, KeptIsLeftAsItIs) {
   EXPECT_EQ(runOn(twoPrefixes), ExitCode::ok);
   EXPECT_EQ(err, "");
   EXPECT_TRUE(shows("\nFound in hardware: 0 entries\n")) << out;
   EXPECT_TRUE(shows("\nHardware left as it is: 2 entries in " + state + "\n")) << out;
   thenFileHolds({"gre 10.1.0.0/16 vrf red", "gre 10.2.0.0/16 vrf red"});
}

TEST_F(HardwareState, NotKeptEndsEmpty) {
   runOn(twoPrefixes);
   EXPECT_EQ(runOn(twoPrefixes, false), ExitCode::ok);
   EXPECT_TRUE(shows("Summary: 2 in hardware")) << out;
   EXPECT_TRUE(shows("\nHardware cleaned up: 0 entries in " + state + "\n")) << out;
   thenFileHolds({});
}

TEST_F(HardwareState, AnUnchangedConfigurationIsTakenOverWithoutOneRewrite) {
   runOn(twoPrefixes);
   std::string const before = Support::readFile(state);
   EXPECT_EQ(runOn(twoPrefixes), ExitCode::ok);
   EXPECT_TRUE(
       shows("Found in hardware: 2 entries; 2 taken over, 0 written again, 0 removed as "
             "unclaimed\n"))
       << out;
   EXPECT_TRUE(shows("  gre     10.1.0.0/16     -  -        red  a       taken over\n")) << out;
   EXPECT_EQ(Support::readFile(state), before) << "not even the file has changed";
}

TEST_F(HardwareState, AChangedConfigurationChangesItByTheDifference) {
   runOn(twoPrefixes);
   EXPECT_EQ(runOn(oneChanged), ExitCode::ok);
   EXPECT_TRUE(
       shows("Found in hardware: 2 entries; 1 taken over, 0 written again, 1 removed as "
             "unclaimed\n"
             "  TUNNEL  DESTINATION  PORT  PAYLOAD  VRF  GROUPS  WHAT BECAME OF IT\n"
             "  gre     10.2.0.0/16     -  -        red  -       removed as unclaimed\n"))
       << out;
   thenFileHolds({"gre 10.1.0.0/16 vrf red", "gre 10.3.0.0/16 vrf red"});
}

TEST_F(HardwareState, JsonTellsTheSame) {
   runOn(twoPrefixes);
   json = true;
   EXPECT_EQ(runOn(oneChanged), ExitCode::ok);
   auto const document = nlohmann::json::parse(out);
   EXPECT_EQ(document["restart"], (nlohmann::json{{"file", state},
                                                  {"found", 2},
                                                  {"takenOver", 1},
                                                  {"rewritten", 0},
                                                  {"unclaimed", 1},
                                                  {"removed", 0},
                                                  {"heldOver", 0},
                                                  {"kept", true},
                                                  {"left", 2}}));
   EXPECT_EQ(document["entries"][0]["found"], "takenOver");
   EXPECT_FALSE(document["entries"][1].contains("found"));
   ASSERT_EQ(document["gone"].size(), 1u);
   EXPECT_EQ(document["gone"][0]["destination"], "10.2.0.0/16");
   EXPECT_EQ(document["gone"][0]["found"], "unclaimed");
}

TEST_F(HardwareState, JsonSaysNothingOfARestartWithoutOne) {
   RunOptions options;
   Support::writeFile(folder.path("c.json"), twoPrefixes);
   options.configuration = folder.path("c.json");
   options.json = true;
   std::ostringstream outStream;
   run(options, outStream, outStream);
   auto const document = nlohmann::json::parse(outStream.str());
   EXPECT_FALSE(document.contains("restart"));
   EXPECT_FALSE(document.contains("gone"));
}

TEST_F(HardwareState, ARefusalOutlivesTheSweepInTheReport) {
   runOn(twoPrefixes);
   EXPECT_EQ(runOn(R"({"groups": [{"name": "a", "tunnelType": "gre", "vrf": "red",
      "decapIps": ["10.1.0.0/16"]}],
      "hardware": {"answers": [{"prefix": "10.1.0.0/16", "answer": "unsupported"}]}})"),
             ExitCode::ok);
   EXPECT_TRUE(shows("hardware does not support it; refused 1 time")) << out;
   thenFileHolds({});
}

// What cannot be used.

TEST_F(HardwareState, ADamagedTableIsSetAsideAndTheRunBeginsWithAnEmptyOne) {
   runOn(twoPrefixes);
   std::string damaged = Support::readFile(state);
   damaged[damaged.find("10.2")] = '9';
   Support::writeFile(state, damaged);
   EXPECT_EQ(runOn(twoPrefixes), ExitCode::ok);
   std::size_t const offset = damaged.find('\n', damaged.find('\n') + 1) + 1;
   thenComplains(":3: byte " + std::to_string(offset) +
                 ": the checksum does not fit the line and those before it; kept as " + state +
                 ".rejected, hardware begins empty");
   EXPECT_EQ(Support::readFile(state + ".rejected"), damaged);
   EXPECT_TRUE(shows("Found in hardware: 0 entries\n")) << out;
   thenFileHolds({"gre 10.1.0.0/16 vrf red", "gre 10.2.0.0/16 vrf red"});
}

TEST_F(HardwareState, AStaleTableIsSetAsideToo) {
   std::string const stale = "decap hardware table, version 0\n";
   Support::writeFile(state, stale);
   json = true;
   EXPECT_EQ(runOn(twoPrefixes), ExitCode::ok);
   thenComplains(
       ":1: byte 0: a hardware table of version \"0\"; only version \"1\" can be read; "
       "kept as " +
       state + ".rejected, hardware begins empty");
   EXPECT_EQ(Support::readFile(state + ".rejected"), stale);
   EXPECT_EQ(nlohmann::json::parse(out)["restart"]["setAside"], state + ".rejected");
}

TEST_F(HardwareState, AFileThatIsSomethingElseIsRefusedUntouched) {
   Support::writeFile(state, "dear diary,\n");
   EXPECT_EQ(runOn(twoPrefixes), ExitCode::badInput);
   thenComplains(
       ":1: byte 0: not a hardware table: the first line is \"dear diary,\" and not \"decap "
       "hardware table, version 1\"");
   EXPECT_EQ(out, "");
   EXPECT_EQ(Support::readFile(state), "dear diary,\n");
   EXPECT_FALSE(std::filesystem::exists(state + ".rejected"));
}

TEST_F(HardwareState, AFileInUseIsRefusedUntouched) {
   runOn(twoPrefixes);
   std::string const before = Support::readFile(state);
   auto const other = Sim::StateFile::open(state);
   EXPECT_EQ(runOn(oneChanged), ExitCode::badInput);
   thenComplains(": in use by another table");
   EXPECT_EQ(out, "");
   EXPECT_EQ(Support::readFile(state), before);
}

TEST_F(HardwareState, AFileThatCannotBeOpenedIsRefused) {
   Support::writeFile(folder.path("c.json"), twoPrefixes);
   RunOptions options;
   options.configuration = folder.path("c.json");
   options.hardwareState = folder.path("no folder/hw.state");
   std::ostringstream outStream;
   std::ostringstream errStream;
   EXPECT_EQ(run(options, outStream, errStream), ExitCode::badInput);
   EXPECT_EQ(errStream.str(), "decap-agent: " + options.hardwareState +
                                  ": cannot open: No such file or directory\n");
}

TEST_F(HardwareState, WhereverTheFileIsCutTheRunEndsInTheTableOfItsConfiguration) {
   runOn(twoPrefixes);
   std::string const whole = Support::readFile(state);
   for (std::size_t length = 0; length < whole.size(); ++length) {
      Support::writeFile(state, whole.substr(0, length));
      ASSERT_EQ(runOn(twoPrefixes), ExitCode::ok) << length << ": " << err;
      Texts table = Support::fileTexts(state);
      std::ranges::sort(table);
      ASSERT_EQ(table, (Texts{"gre 10.1.0.0/16 vrf red", "gre 10.2.0.0/16 vrf red"})) << length;
   }
}

TEST_F(HardwareState, WhicheverByteIsChangedTheFileIsRefusedOrSetAsideAndNeverBelieved) {
   runOn(twoPrefixes);
   std::string const whole = Support::readFile(state);
   for (std::size_t at = 0; at < whole.size(); ++at) {
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ 1);
      Support::writeFile(state, changed);
      ExitCode const code = runOn(twoPrefixes);
      ASSERT_TRUE(err.starts_with("decap-agent: " + state + ":")) << at << ": " << err;
      ASSERT_EQ(std::ranges::count(err, '\n'), 1) << at << ": " << err;
      std::string const kept = code == ExitCode::ok ? state + ".rejected" : state;
      ASSERT_EQ(Support::readFile(kept), changed) << at;
   }
}

TEST_F(HardwareState, IsNotTouchedForAConfigurationThatCannotBeRead) {
   Support::writeFile(state, "decap hardware table, version 0\n");
   EXPECT_EQ(runOn("{"), ExitCode::badInput);
   EXPECT_FALSE(std::filesystem::exists(state + ".rejected"));
   EXPECT_EQ(Support::readFile(state), "decap hardware table, version 0\n");
}

TEST_F(HardwareState, ACleanUpThatCannotBeRecordedIsAFailure) {
   runOn(twoPrefixes);
   std::string const before = Support::readFile(state);
   Support::SmallDisk const full(before.size() + 20);
   EXPECT_EQ(runOn(twoPrefixes, false), ExitCode::failure);
   thenComplains(": 2 removals could not be recorded: 2 entries left");
   EXPECT_EQ(Support::readFile(state), before);
}

TEST_F(HardwareState, AProgrammingThatCannotBeRecordedLeavesTheRestInPlace) {
   runOn(twoPrefixes);
   std::string const before = Support::readFile(state);
   Support::SmallDisk const full(before.size() + 20);
   EXPECT_ANY_THROW(runOn(oneChanged));
   EXPECT_EQ(Support::readFile(state), before);
}

// With a scenario.

TEST_F(HardwareState, AScenarioBeginsOnTheMachineThatHasTakenOver) {
   runOn(twoPrefixes);
   RunOptions options;
   Support::writeFile(folder.path("c.json"), twoPrefixes);
   Support::writeFile(folder.path("s.scn"),
                      "expect hardware count 2\n"
                      "show restart\n"
                      "group a no ip 10.1.0.0/16\n"
                      "show restart\n");
   options.configuration = folder.path("c.json");
   options.scenario = folder.path("s.scn");
   EXPECT_EQ(runWith(options, true), ExitCode::ok) << out;
   EXPECT_TRUE(
       shows("Found in hardware: 2 entries; 2 taken over, 0 written again, 0 removed as "
             "unclaimed\n"))
       << out;
   EXPECT_TRUE(
       shows("Found in hardware: 2 entries; 1 taken over, 0 written again, 0 removed as "
             "unclaimed, 1 removed\n"))
       << out;
   EXPECT_TRUE(shows("Hardware left as it is: 1 entry in " + state + "\n")) << out;
}

TEST_F(HardwareState, AScenarioThatStopsTheMachineItselfDecidesItself) {
   runOn(twoPrefixes);
   EXPECT_EQ(play("group a type gre vrf red ip 10.1.0.0/16\nmachine stop\n"), ExitCode::ok);
   thenFileHolds({});
   EXPECT_EQ(play("group a type gre vrf red ip 10.1.0.0/16\nmachine stop keep-hardware\n", false),
             ExitCode::ok);
   thenFileHolds({"gre 10.1.0.0/16 vrf red"});
}

}  // namespace
}  // namespace Agent
