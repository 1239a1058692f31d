#include "oracle/Generator.h"
#include "oracle/Run.h"
#include "platform/journal/Player.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string journalOf(std::uint32_t seed, std::uint32_t length) {
   std::string journal;
   Oracle::record(Oracle::generate(seed, length),
                  [&](std::string const& line) { journal += line + '\n'; });
   return journal;
}

// Everything that can happen to a machine can be written down and happens again.
TEST(JournalOfALife, IsReplayedByteForByte) {
   std::size_t calls = 0;
   std::uint32_t const lives = Support::shareOf(60);
   for (std::uint32_t seed = 1; seed <= lives; ++seed) {
      std::string const journal = journalOf(seed, 250);
      Journal::Outcome const outcome = Journal::Player(journal).play();
      calls += outcome.calls;
      if (!outcome.difference) continue;
      FAIL() << "seed " << seed << ", line " << outcome.difference->line << "\n  "
             << outcome.difference->recorded << "\n  " << outcome.difference->replayed;
   }
   EXPECT_GT(calls, lives * 20U);
}

}  // namespace
