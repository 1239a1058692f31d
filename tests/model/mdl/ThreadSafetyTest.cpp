#include "mdl/ThreadSafety.h"

#include "mdl/String.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

/// Every test with plain and with atomic counting; leaves the switch as it found it.
class CountWord : public testing::TestWithParam<bool> {
 protected:
   void SetUp() override { Mdl::threadSafePtrsIs(GetParam()); }
   void TearDown() override { Mdl::threadSafePtrsIs(false); }
};

INSTANTIATE_TEST_SUITE_P(Switch, CountWord, testing::Bool(),
                         [](auto const& switched) { return switched.param ? "Atomic" : "Plain"; });

constexpr std::uint64_t highFlag = std::uint64_t{1} << 63;
constexpr std::uint64_t otherFlag = std::uint64_t{1} << 62;

/// Read before any test has switched.
bool const onAtLoad = Mdl::threadSafePtrs();

TEST(ThreadSafePtrs, AreOffUntilAskedFor) { EXPECT_FALSE(onAtLoad); }

TEST_P(CountWord, SwitchReadsBack) { EXPECT_EQ(Mdl::threadSafePtrs(), GetParam()); }

TEST_P(CountWord, SubtractingReturnsTheWordAfterwards) {
   Mdl::CountWord word;
   word.add();
   word.add();
   EXPECT_EQ(word.sub(), 1u);
   EXPECT_EQ(word.sub(), 0u);
}

TEST_P(CountWord, FlagsAndCountLeaveEachOtherAlone) {
   Mdl::CountWord word(1);
   word.set(highFlag | otherFlag);
   word.add();
   EXPECT_EQ(word.load(), highFlag | otherFlag | 2u);
   word.clear(highFlag);
   EXPECT_EQ(word.sub(), otherFlag | 1u);
}

TEST(ThreadSafePtrs, StringsSharedByThreadsKeepTheirCount) {
   Mdl::threadSafePtrsIs(true);
   {
      Mdl::String const shared("a name that several threads hold");
      std::vector<std::thread> threads;
      for (int i = 0; i < 4; ++i) {
         threads.emplace_back([&shared] {
            for (int round = 0; round < 20000; ++round) {
               Mdl::String const copy = shared;
               ASSERT_EQ(copy.hash(0), shared.hash(0));
            }
         });
      }
      for (std::thread& thread : threads) thread.join();
      EXPECT_EQ(shared, Mdl::String("a name that several threads hold"));
   }
   Mdl::threadSafePtrsIs(false);
}

}  // namespace
