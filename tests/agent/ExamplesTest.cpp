// What is offered to people as an example works: the files of examples/, and what the
// documentation shows.

#include "agent/ConfigFile.h"
#include "agent/RunCommand.h"
#include "support/TempFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <vector>

namespace Agent {
namespace {

namespace fs = std::filesystem;

// A build may name sources from the top of the tree; tests run there.
fs::path const root = fs::path(__FILE__).parent_path().parent_path().parent_path();

std::string content(fs::path const& file) {
   std::ifstream in(file, std::ios::binary);
   std::ostringstream text;
   text << in.rdbuf();
   return text.str();
}

std::vector<fs::path> examples() {
   std::vector<fs::path> files;
   if (!fs::exists(root / "examples")) return files;  // noticed below
   for (auto const& entry : fs::directory_iterator(root / "examples")) {
      if (entry.path().extension() == ".json") files.push_back(entry.path());
   }
   std::sort(files.begin(), files.end());
   return files;
}

/// What stands between the first fence that begins with `opening` and holds `word`, and its end.
std::string block(std::string const& text, std::string_view opening, std::string_view word) {
   for (std::size_t at = text.find(opening); at != std::string::npos;
        at = text.find(opening, at + 1)) {
      std::size_t const begin = text.find('\n', at) + 1;
      std::size_t const end = text.find("```", begin);
      std::string const found = text.substr(begin, end - begin);
      if (found.find(word) != std::string::npos) return found;
   }
   return {};
}

class Example : public testing::TestWithParam<fs::path> {};

TEST_P(Example, RunsUntilQuiet) {
   RunOptions options;
   options.configuration = GetParam().string();
   std::ostringstream out;
   std::ostringstream err;
   EXPECT_EQ(run(options, out, err), ExitCode::ok);
   EXPECT_EQ(err.str(), "");
   EXPECT_NE(out.str().find("\nQuiet at "), std::string::npos) << out.str();
}

INSTANTIATE_TEST_SUITE_P(Files, Example, testing::ValuesIn(examples()), [](auto const& file) {
   std::string name = file.param.stem().string();
   std::replace(name.begin(), name.end(), '-', '_');
   return name;
});

TEST(Examples, AreThere) { EXPECT_GE(examples().size(), 4u) << "in " << root; }

TEST(Documentation, ShowsAConfigurationThatCanBeRead) {
   std::string const text = block(content(root / "docs/agent.md"), "```jsonc", "groups");
   Configuration const configuration = configurationFromText("docs/agent.md", text);
   EXPECT_EQ(configuration.groups.size(), 1u);
   EXPECT_EQ(configuration.interfaces.size(), 1u);
   EXPECT_EQ(configuration.groups.at(0).decapInterfaces.size(), 2u);
   EXPECT_EQ(configuration.groups.at(0).excludeInterfaces.size(), 1u);
   EXPECT_EQ(configuration.hardware.answers.size(), 1u);
}

TEST(Documentation, ShowsAScenarioThatDoesWhatItSays) {
   std::string const text = block(content(root / "docs/scenarios.md"), "```\n", "expect hardware");
   ASSERT_NE(text, "");
   Support::TempFile const file("shown.scn", text);
   RunOptions options;
   options.scenario = file.path();
   std::ostringstream out;
   std::ostringstream err;
   EXPECT_EQ(run(options, out, err), ExitCode::ok) << err.str();
   EXPECT_NE(out.str().find("Expectations: 2 of 2 met"), std::string::npos) << out.str();
}

}  // namespace
}  // namespace Agent
