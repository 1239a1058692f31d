#include "agent/CommandLine.h"
#include "support/StateFiles.h"
#include "support/TempFile.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace Agent {
namespace {

class CommandLine : public testing::Test {
 protected:
   int call(std::vector<char const*> arguments) {
      arguments.insert(arguments.begin(), "decap-agent");
      return commandLine(static_cast<int>(arguments.size()), arguments.data(), out, err);
   }

   Support::TempFile const configuration{"c.json", R"({"groups": [
      {"name": "a", "tunnelType": "gre", "decapIps": ["10.1.0.0/16"]}]})"};
   Support::TempFile const scenario{"s.scn", "expect hardware 10.1.0.0/16\n"};
   Support::TempFile const oddlyNamed{"s.txt", "expect hardware none\n"};
   std::ostringstream out;
   std::ostringstream err;
};

TEST_F(CommandLine, RunsAConfiguration) {
   EXPECT_EQ(call({"run", configuration.path().c_str()}), 0);
   EXPECT_NE(out.str().find("Summary: 1 in hardware"), std::string::npos);
}

TEST_F(CommandLine, RunsAScenarioOnTopOfAConfigurationInAnyOrder) {
   EXPECT_EQ(call({"run", configuration.path().c_str(), scenario.path().c_str()}), 0) << err.str();
   EXPECT_EQ(call({"run", scenario.path().c_str(), configuration.path().c_str()}), 0) << err.str();
}

TEST_F(CommandLine, AnUnmetExpectationIsExitCodeOne) {
   EXPECT_EQ(call({"run", scenario.path().c_str()}), 1);
}

TEST_F(CommandLine, TakesAScenarioOfAnyName) {
   EXPECT_EQ(call({"run", "--scenario", oddlyNamed.path().c_str()}), 0) << err.str();
}

TEST_F(CommandLine, KeepsHardwareInAFile) {
   Support::TempFolder const folder;
   std::string const state = folder.path("hw.state");
   char const* const file = state.c_str();
   EXPECT_EQ(call({"run", configuration.path().c_str(), "--hardware-state", file}), 0);
   EXPECT_EQ(Support::fileTexts(state).size(), 0u);
   EXPECT_EQ(
       call({"run", configuration.path().c_str(), "--hardware-state", file, "--keep-hardware"}), 0);
   EXPECT_EQ(Support::fileTexts(state).size(), 1u);
}

TEST_F(CommandLine, HelpIsNoFailure) {
   EXPECT_EQ(call({"run", "--help"}), 0);
   EXPECT_NE(out.str().find("--trace"), std::string::npos);
}

TEST_F(CommandLine, WhatItDoesNotUnderstandIsBadInput) {
   EXPECT_EQ(call({}), 2);
   EXPECT_EQ(call({"frob"}), 2);
   EXPECT_EQ(call({"run"}), 2);
   EXPECT_EQ(call({"run", "--frob"}), 2);
   EXPECT_EQ(call({"run", "a.json", "b.json"}), 2);
   EXPECT_EQ(call({"run", "a.scn", "b.scn"}), 2);
   EXPECT_EQ(call({"run", "a.scn", "--trace", "32"}), 2);
   EXPECT_EQ(call({"run", "a.scn", "--limit", "-1"}), 2);
   EXPECT_EQ(call({"run", "a.scn", "--hardware-state", ""}), 2);
   EXPECT_EQ(call({"run", "a.scn", "--keep-hardware"}), 2) << "where would it be kept?";
   EXPECT_EQ(out.str(), "");
}

TEST_F(CommandLine, WhatItDoesNotUnderstandIsOneLine) {
   EXPECT_EQ(call({"run", "--frob\nly"}), 2);
   EXPECT_EQ(err.str(),
             "decap-agent: The following argument was not expected: --frob?ly; see --help\n");
   err.str({});
   EXPECT_EQ(call({"run"}), 2);
   EXPECT_EQ(err.str(), "decap-agent: run: needs a configuration or a scenario; see --help\n");
}

TEST_F(CommandLine, ANumberOfRowsIsNotNegative) {
   EXPECT_EQ(call({"run", configuration.path().c_str(), "--rows", "-1"}), 2);
   EXPECT_EQ(call({"run", configuration.path().c_str(), "--rows", "0"}), 0);
}

TEST_F(CommandLine, AnAddressForMetricsIsLookedAtBeforeAnythingIsDone) {
   for (char const* const bad : {"99999", "localhost:1", "127.0.0.1:", ""}) {
      err.str({});
      EXPECT_EQ(call({"serve", "--config", "none", "--metrics", bad}), 2) << bad;
      EXPECT_NE(err.str().find("is no port"), std::string::npos) << err.str();
   }
}

}  // namespace
}  // namespace Agent
