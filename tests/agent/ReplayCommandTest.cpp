#include "agent/CommandLine.h"
#include "support/Program.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <vector>

namespace Agent {
namespace {

class Replaying : public testing::Test {
 protected:
   Replaying() {
      Support::writeFile(scenario,
                         "hardware capacity 1\n"
                         "group core type gre\n"
                         "group core ip 10.1.0.0/16 10.2.0.0/16\n"
                         "advance 0.2\n"
                         "group core no ip 10.1.0.0/16\n"
                         "settle\n");
   }
   int call(std::vector<char const*> arguments) {
      arguments.insert(arguments.begin(), "decap-agent");
      out.str({});
      err.str({});
      return commandLine(static_cast<int>(arguments.size()), arguments.data(), out, err);
   }
   void givenJournal() {
      ASSERT_EQ(call({"run", scenario.c_str(), "--journal", journal.c_str()}), 0) << err.str();
   }
   void whenJournalHas(std::string const& to, std::string const& insteadOf) {
      std::string text = Support::readFile(journal);
      auto const at = text.find(insteadOf);
      ASSERT_NE(at, std::string::npos) << text;
      Support::writeFile(journal, text.replace(at, insteadOf.size(), to));
   }

   Support::TempFolder const folder;
   std::string const scenario = folder.path("s.scn");
   std::string const journal = folder.path("s.journal");
   std::ostringstream out;
   std::ostringstream err;
};

TEST_F(Replaying, SaysThatTheMachineDidTheSame) {
   givenJournal();
   EXPECT_EQ(call({"replay", journal.c_str()}), 0);
   EXPECT_EQ(out.str(),
             "The same throughout: 47 lines with 25 inputs, 8 hook calls, 2 log messages "
             "and 0 traces\n");
   EXPECT_EQ(err.str(), "");
}

TEST_F(Replaying, ShowsTheFirstDifference) {
   givenJournal();
   whenJournalHas("remove\",\"gre 10.9", "remove\",\"gre 10.1");
   EXPECT_EQ(call({"replay", journal.c_str()}), 1);
   std::string const text = out.str();
   EXPECT_TRUE(text.starts_with(journal + ":")) << text;
   EXPECT_NE(text.find(": the replay goes another way\n"
                       "  recorded: [0.2,\"call\",\"remove\",\"gre 10.9.0.0/16 vrf default\"]\n"
                       "  replayed: [0.2,\"call\",\"remove\",\"gre 10.1.0.0/16 vrf default\"]\n"
                       "The same up to there: "),
             std::string::npos)
       << text;
}

TEST_F(Replaying, SaysNothingMoreWhereThereIsNothing) {
   givenJournal();
   whenJournalHas("[\"log\",\"X\"]\n[\"end\"]", "[\"end\"]");
   EXPECT_EQ(call({"replay", journal.c_str()}), 1);
   EXPECT_NE(out.str().find("  replayed: nothing more\n"), std::string::npos) << out.str();
}

TEST_F(Replaying, TellsProgramsToo) {
   givenJournal();
   EXPECT_EQ(call({"replay", "--json", journal.c_str()}), 0);
   auto const same = nlohmann::json::parse(out.str());
   EXPECT_EQ(same["same"], true);
   EXPECT_EQ(same["complete"], true);
   EXPECT_EQ(same["hookCalls"], 8);
   EXPECT_EQ(same["logMessages"], 2);
   EXPECT_FALSE(same.contains("difference"));
   whenJournalHas("remove\",\"gre 10.9", "remove\",\"gre 10.1");
   EXPECT_EQ(call({"replay", "--json", journal.c_str()}), 1);
   auto const other = nlohmann::json::parse(out.str());
   EXPECT_EQ(other["same"], false);
   EXPECT_EQ(other["difference"]["replayed"],
             "[0.2,\"call\",\"remove\",\"gre 10.1.0.0/16 vrf default\"]");
   EXPECT_GT(other["difference"]["line"], 10);
}

TEST_F(Replaying, ShowsTracesThatWereNotRecorded) {
   givenJournal();
   EXPECT_EQ(call({"replay", journal.c_str(), "--trace", "2"}), 0);
   EXPECT_NE(out.str().find("trace 2  handleInitialized\n"), std::string::npos) << out.str();
   EXPECT_EQ(out.str().find("trace 5"), std::string::npos);
   EXPECT_EQ(call({"replay", journal.c_str(), "--trace", "2", "--json"}), 0);
   EXPECT_NE(err.str().find("trace 2  handleInitialized\n"), std::string::npos);
   EXPECT_TRUE(nlohmann::json::accept(out.str())) << out.str();
}

TEST_F(Replaying, RefusesWhatIsNoJournal) {
   EXPECT_EQ(call({"replay"}), 2);
   EXPECT_EQ(call({"replay", folder.path("none").c_str()}), 2);
   EXPECT_EQ(call({"replay", scenario.c_str()}), 2);
   EXPECT_EQ(err.str(), "decap-agent: " + scenario +
                            ": line 1: this is no journal, or one of another version\n");
   EXPECT_EQ(out.str(), "");
}

TEST_F(Replaying, AJournalThatCannotBeWrittenIsNoted) {
   EXPECT_EQ(call({"run", scenario.c_str(), "--journal", folder.path("no/where").c_str()}), 2);
   EXPECT_NE(err.str().find("cannot be written"), std::string::npos) << err.str();
   EXPECT_EQ(out.str(), "") << "nothing has run";
   EXPECT_EQ(call({"run", scenario.c_str(), "--journal", "/dev/full"}), 3);
   EXPECT_NE(err.str().find("/dev/full: the journal is not whole"), std::string::npos) << err.str();
}

// The journal has everything up to the call in which the process died.
TEST_F(Replaying, OfAProgramThatWasKilledComesToTheSamePlace) {
   std::string const killed = folder.path("k.scn");
   Support::writeFile(killed, "machine kill in call 3\n" + Support::readFile(scenario));
   auto const end = Support::runProgram({DECAP_AGENT_PROGRAM, "run", killed, "--journal", journal});
   ASSERT_EQ(end.code, -SIGKILL) << end.err;
   EXPECT_EQ(call({"replay", journal.c_str()}), 0);
   EXPECT_TRUE(
       out.str().ends_with("4 hook calls, 1 log message and 0 traces\n"
                           "The journal has no end: its recording was cut off\n"))
       << out.str();
}

}  // namespace
}  // namespace Agent
