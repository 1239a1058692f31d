#include "mdl/Assert.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

void needPositive(int const& value) { MDL_ASSERT_IN(value > 0, "Paint/Colours"); }

void needPositiveHere(int value) { MDL_ASSERT(value > 0); }

/// Of functions in a namespace of their own the report shows the whole name.
struct Report {
   static void of(char const* function) { Mdl::assertionFailed("cond", "file", function); }
};

/// Matches the whole of what a process said before it was aborted.
auto const aborted = testing::KilledBySignal(SIGABRT);

TEST(Assert, PassesWhenTheConditionHolds) {
   needPositive(1);
   needPositiveHere(1);
}

TEST(Assert, EvaluatesItsConditionOnce) {
   int evaluated = 0;
   MDL_ASSERT(++evaluated == 1);
   EXPECT_EQ(evaluated, 1);
}

TEST(AssertDeathTest, NamesConditionFileAndFunctionOnOneLine) {
   EXPECT_EXIT(needPositive(0), aborted,
               "^Assertion failed: value > 0, file Paint/Colours, function "
               "void .*needPositive\\(const int&\\)\n$");
}

TEST(AssertDeathTest, NamesItsOwnSourceWhenNoOtherIsGiven) {
   EXPECT_EXIT(needPositiveHere(-1), aborted, ", file .*AssertTest.cpp, function void ");
}

TEST(AssertDeathTest, LeavesOutTheBlankBeforeReferencesAndPointers) {
   EXPECT_EXIT(Report::of("R f(char *, const T &, T *const *, int && )"), aborted,
               "function R f\\(char\\*, const T&, T\\*const\\*, int&& \\)\n$");
}

}  // namespace
