// The n-th allocation of the tour finds no memory, for every n.

#include "support/FailingNew.h"
#include "support/Tour.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Support::FailingNew;
using Support::Tour;

/// What a change that found no memory has not done may be missing. Nothing else may: the books are
/// in order, and what the machine has programmed goes with it.
TEST(MemoryFaults, LeaveTheBooksInOrderAndTheMachineUsable) {
   bool reached = true;
   int successes = 0;
   for (; reached && !HasFailure(); ++successes) {
      SCOPED_TRACE("after " + std::to_string(successes) + " allocations");
      Tour tour;
      {
         FailingNew const failing(successes, 1);
         tour.play();
         reached = failing.hasFailed();
      }
      // A tear-down and a log message let none out.
      EXPECT_LE(tour.exceptions(), reached ? 1U : 0U);
      EXPECT_EQ(tour.findings(), std::vector<std::string>());
      tour.end();
      EXPECT_EQ(tour.hook().table().size(), 0U);
   }
   EXPECT_GE(successes, 400);
}

}  // namespace
