#include "platform/sim/Journal.h"

#include <gtest/gtest.h>

namespace Sim {
namespace {

TEST(Journal, KeepsCallsInTheOrderInWhichTheyBegan) {
   Journal journal;
   auto const outer = journal.begin(Operation::verify, {}, 1.0);
   auto const inner = journal.begin(Operation::configReady, {}, 2.0);
   journal.end(inner, Outcome::done, Fwd::dgRcSuccess);
   EXPECT_EQ(journal.texts(),
             (std::vector<std::string>{"verify -> under way", "configuration ready"}));
   journal.end(outer, Outcome::done, Fwd::dgRcSuccess);
   EXPECT_EQ(journal.texts(), (std::vector<std::string>{"verify", "configuration ready"}));
}

TEST(Journal, DropsTheOldestBeyondItsLimit) {
   Journal journal;
   journal.limitIs(2);
   for (int i = 0; i < 5; ++i) journal.begin(Operation::verify, {}, 0.0);
   ASSERT_EQ(journal.calls().size(), 2u);
   EXPECT_EQ(journal.calls().front().number, 4u);
   EXPECT_EQ(journal.begun(), 5u);
}

TEST(Journal, TheEndOfACallThatWasDroppedIsNoNews) {
   Journal journal;
   journal.limitIs(1);
   auto const dropped = journal.begin(Operation::verify, {}, 0.0);
   journal.begin(Operation::configReady, {}, 0.0);
   journal.end(dropped, Outcome::threw, Fwd::dgRcSuccess);
   EXPECT_EQ(journal.calls().front().outcome, Outcome::underWay);
}

TEST(Journal, ALimitOfZeroKeepsNothingAndGoesOnCounting) {
   Journal journal;
   journal.limitIs(0);
   auto const number = journal.begin(Operation::verify, {}, 0.0);
   journal.end(number, Outcome::done, Fwd::dgRcSuccess);
   EXPECT_TRUE(journal.calls().empty());
   EXPECT_EQ(journal.begin(Operation::verify, {}, 0.0), 2u);
}

TEST(Journal, NumbersGoOnAfterItWasCleared) {
   Journal journal;
   auto const first = journal.begin(Operation::verify, {}, 0.0);
   journal.clear();
   auto const second = journal.begin(Operation::configReady, {}, 0.0);
   journal.end(first, Outcome::threw, Fwd::dgRcSuccess);
   journal.end(second, Outcome::done, Fwd::dgRcSuccess);
   EXPECT_EQ(second, 2u);
   EXPECT_EQ(journal.calls().front().outcome, Outcome::done);
}

}  // namespace
}  // namespace Sim
