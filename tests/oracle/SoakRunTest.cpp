#include "oracle/Child.h"
#include "oracle/Soak.h"
#include "platform/journal/Player.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

// The soak around the sequences: who watches, what is said in the end.

namespace {

using namespace Oracle;

bool has(Events const& events, Kind kind) {
   return std::ranges::any_of(events, [kind](Event const& event) { return event.kind == kind; });
}

class SoakRun : public testing::Test {
 protected:
   /// Runs the soak and keeps what it says.
   int run(SoakOptions options) {
      options.folder = folder.path();
      std::ofstream out(folder.path("out"));
      int const code = soak(options, out, nullptr);
      out.close();
      said = Support::readFile(folder.path("out"));
      return code;
   }
   /// The name of a file that is spoken of.
   std::string fileThatEndsIn(char const* suffix) const {
      auto const end = said.find(suffix);
      auto const begin = said.rfind('/', end);
      return said.substr(begin + 1, end + std::strlen(suffix) - begin - 1);
   }
   bool says(std::string const& text) const { return said.find(text) != std::string::npos; }

   Support::TempFolder const folder;
   std::string said;
};

TEST_F(SoakRun, EndsWithAVerdict) {
   EXPECT_EQ(run({.events = 600}), 0);
   EXPECT_TRUE(says("soak: 750 events in 3 sequences from seed 1, ")) << said;
   EXPECT_TRUE(says(": machine and oracle agree\n")) << said;
}

TEST_F(SoakRun, ReducesADisagreementAndWritesItsScenario) {
   auto const refusesLimits = [](Events const& events,
                                 std::function<void(std::size_t)> const& progress) {
      Outcome outcome;
      for (Event const& event : events) {
         progress(++outcome.at);
         if (event.kind == Kind::capacity) {
            outcome.complaints = {"there is a limit"};
            break;
         }
      }
      return outcome;
   };
   EXPECT_EQ(run({.events = 10000, .seed = 5, .player = refusesLimits}), 1);
   EXPECT_TRUE(says("The fewest events that still fail:\n  1. hardware capacity ")) << said;
   EXPECT_TRUE(says("  there is a limit\n")) << said;
   EXPECT_FALSE(says("  2. ")) << said;
   EXPECT_TRUE(says("soak: machine and oracle disagree; the scenario is ")) << said;
   std::string const scenario = Support::readFile(folder.path(fileThatEndsIn(".scn")));
   EXPECT_NE(scenario.find("machine stop\nhardware capacity "), std::string::npos) << scenario;
   // The journal has every event, not only the fewest.
   std::string const journal = Support::readFile(folder.path(fileThatEndsIn(".journal")));
   Journal::Outcome const replayed = Journal::Player(journal).play();
   EXPECT_FALSE(replayed.difference);
   EXPECT_GT(replayed.inputs, 1U);
}

TEST_F(SoakRun, OutlivesASequenceThatEndsTheProcess) {
   auto const stopsTheProcess = [](Events const& events,
                                   std::function<void(std::size_t)> const& progress) {
      progress(events.size());
      if (has(events, Kind::build) && has(events, Kind::configReady)) std::abort();
      return Outcome();
   };
   EXPECT_EQ(run({.events = 1000, .player = stopsTheProcess}), 1);
   EXPECT_TRUE(says(", which ends the process (134); reducing\n")) << said;
   EXPECT_TRUE(says("  1. ")) << said;
   EXPECT_TRUE(says("  2. ")) << said;
   EXPECT_FALSE(says("  3. ")) << said;
}

TEST(Child, EndsWithTheExitCodeOfItsWork) {
   EXPECT_EQ(Child([] { return 0; }).wait(), 0);
   EXPECT_EQ(Child([] { return 7; }).wait(), 7);
}

TEST(Child, EndsWithTheSignalThatEndedIt) {
   EXPECT_EQ(Child([] { return std::raise(SIGKILL); }).wait(), 128 + SIGKILL);
}

TEST(Child, SharesOnlyWhatIsShared) {
   Shared<int> shared;
   int own = 1;
   Child child([&] {
      *shared = 2;
      own = 2;
      return 0;
   });
   child.wait();
   EXPECT_EQ(*shared, 2);
   EXPECT_EQ(own, 1);
}

TEST(Child, TellsItsMemoryWhileItRuns) {
   Shared<std::atomic<bool>> end;
   Child child([&] {
      while (!*end) {
      }
      return 0;
   });
   EXPECT_FALSE(child.waitFor(0.0).has_value());
   EXPECT_GT(child.memory(), 0U);
   *end = true;
   child.wait();
}

}  // namespace
