#include "oracle/Reduction.h"

#include "oracle/Generator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace {

using namespace Oracle;

Events numbered(std::uint32_t count) {
   Events events;
   for (std::uint32_t i = 0; i < count; ++i) events.push_back({.kind = Kind::advance, .word = i});
   return events;
}

std::vector<std::uint32_t> words(Events const& events) {
   std::vector<std::uint32_t> found;
   for (Event const& event : events) found.push_back(event.word);
   return found;
}

bool contains(Events const& events, std::uint32_t word) {
   return std::ranges::any_of(events, [word](Event const& event) { return event.word == word; });
}

TEST(Reduction, LeavesTheEventsThatTheFailureNeedsInTheirOrder) {
   auto const fails = [](Events const& events) {
      return contains(events, 3) && contains(events, 64) && contains(events, 99);
   };
   EXPECT_EQ(words(reduced(numbered(100), fails, [](std::size_t) {})),
             (std::vector<std::uint32_t>{3, 64, 99}));
}

// Neither 10 nor 11 can go alone before the other has gone.
TEST(Reduction, TriesAgainWhatCouldNotGoAtFirst) {
   auto const fails = [](Events const& events) {
      return contains(events, 5) && (contains(events, 10) || !contains(events, 11));
   };
   EXPECT_EQ(words(reduced(numbered(20), fails, [](std::size_t) {})),
             (std::vector<std::uint32_t>{5}));
}

TEST(Reduction, LeavesNothingOfAFailureThatNeedsNothing) {
   EXPECT_TRUE(reduced(
                   numbered(10), [](Events const&) { return true; }, [](std::size_t) {})
                   .empty());
}

TEST(Reduction, TellsHowManyAreLeft) {
   std::vector<std::size_t> told;
   auto const fails = [](Events const& events) { return contains(events, 0); };
   static_cast<void>(reduced(numbered(8), fails, [&](std::size_t left) { told.push_back(left); }));
   EXPECT_EQ(told, (std::vector<std::size_t>{4, 2, 1}));
}

TEST(Generator, GivesTheSameEventsForTheSameSeed) {
   EXPECT_EQ(generate(7, 500), generate(7, 500));
   EXPECT_NE(generate(7, 500), generate(8, 500));
}

TEST(Generator, LeavesNoKindOfEventOut) {
   std::set<Kind> kinds;
   for (std::uint32_t seed = 1; seed <= 40; ++seed) {
      for (Event const& event : generate(seed, 250)) kinds.insert(event.kind);
   }
   EXPECT_EQ(kinds.size(), static_cast<std::size_t>(Kind::ip6Replace) + 1);
}

}  // namespace
