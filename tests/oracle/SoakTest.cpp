#include "oracle/Generator.h"
#include "oracle/Reduction.h"
#include "oracle/Run.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

// Generated lives of a machine beside the oracle: 100,000 events, in parts that run side by side.
// `./dev soak` plays as many as one likes; docs/testing.md says how to read a difference.

namespace {

using namespace Oracle;

constexpr std::uint32_t sequencesInPart = 25;
constexpr std::uint32_t eventsInSequence = 250;
constexpr std::uint32_t parts = 16;

class Soak : public testing::TestWithParam<std::uint32_t> {};

std::string complaintsOf(Outcome const& outcome) {
   std::string text;
   for (auto const& complaint : outcome.complaints) text += "  " + complaint + "\n";
   return text;
}

TEST_P(Soak, MachineAndOracleAgreeAfterEachEvent) {
   std::uint32_t const end = GetParam() + Support::shareOf(sequencesInPart);
   for (std::uint32_t seed = GetParam(); seed < end; ++seed) {
      Events events = generate(seed, eventsInSequence);
      Outcome const outcome = play(events);
      if (outcome.ok()) continue;
      std::string const found = complaintsOf(outcome);
      if (outcome.at != Outcome::withdrawal) events.resize(outcome.at);
      Events const fewest = reduced(
          events, [](Events const& some) { return !play(some).ok(); }, [](std::size_t) {});
      FAIL() << "seed " << seed << ", after " << events.size() << " events:\n"
             << found << "The fewest events that still fail:\n"
             << text(fewest) << complaintsOf(play(fewest));
   }
}

INSTANTIATE_TEST_SUITE_P(FromSeed, Soak,
                         testing::Range(1U, 1U + parts * sequencesInPart, sequencesInPart),
                         [](auto const& part) { return std::to_string(part.param); });

// A machine that lives long collects what short lives cannot.
TEST(LongSoak, MachineAndOracleAgreeOverALongLife) {
   Outcome const outcome = play(generate(1000001, 4000));
   EXPECT_TRUE(outcome.ok()) << outcome.at << ":\n" << complaintsOf(outcome);
}

}  // namespace
