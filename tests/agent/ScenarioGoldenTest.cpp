// Plays every scenario of tests/scenarios and compares its output, line by line, with the expected
// one beside it. Nothing here writes; see tests/scenarios/rebaseline.

#include "agent/ReplayCommand.h"
#include "agent/RunCommand.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

namespace Agent {
namespace {

namespace fs = std::filesystem;

// A build may name sources from the top of the tree; tests run there.
fs::path const folder = fs::path(__FILE__).parent_path().parent_path() / "scenarios";

std::vector<fs::path> filesWith(char const* extension) {
   std::vector<fs::path> files;
   if (!fs::exists(folder)) return files;  // noticed below
   for (auto const& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == extension) files.push_back(entry.path().stem());
   }
   std::sort(files.begin(), files.end());
   return files;
}

std::string content(fs::path const& file) {
   std::ifstream in(file, std::ios::binary);
   std::ostringstream text;
   text << in.rdbuf();
   return text.str();
}

class ScenarioGolden : public testing::TestWithParam<fs::path> {};

TEST_P(ScenarioGolden, PlaysAsExpected) {
   RunOptions options;
   options.scenario = (folder / GetParam()).string() + ".scn";
   std::ostringstream out;
   std::ostringstream err;
   ExitCode const code = run(options, out, err);
   EXPECT_EQ(out.str(), content((folder / GetParam()).string() + ".out"));
   EXPECT_EQ(err.str(), "");
   EXPECT_EQ(code, ExitCode::ok);
}

TEST_P(ScenarioGolden, HappensAgainWhenItsJournalIsReplayed) {
   Support::TempFolder const temporary;
   RunOptions options;
   options.scenario = (folder / GetParam()).string() + ".scn";
   options.traceLevel = 31;
   options.journal = temporary.path("run.journal");
   std::ostringstream out;
   std::ostringstream err;
   EXPECT_EQ(run(options, out, err), ExitCode::ok) << err.str();
   std::ostringstream replayed;
   EXPECT_EQ(replay({options.journal, std::nullopt, false}, replayed, err), ExitCode::ok)
       << replayed.str();
   EXPECT_TRUE(replayed.str().starts_with("The same throughout: ")) << replayed.str();
   EXPECT_EQ(replayed.str().find("cut off"), std::string::npos) << replayed.str();
   EXPECT_EQ(err.str(), "");
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ScenarioGolden, testing::ValuesIn(filesWith(".scn")),
                         [](auto const& scenario) {
                            std::string name = scenario.param.string();
                            std::replace(name.begin(), name.end(), '-', '_');
                            return name;
                         });

TEST(ScenarioGoldens, EachBelongsToAScenario) {
   EXPECT_GE(filesWith(".scn").size(), 8u) << "in " << folder;
   EXPECT_EQ(filesWith(".out"), filesWith(".scn"));
}

}  // namespace
}  // namespace Agent
