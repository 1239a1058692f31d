#include "mdl/System.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <stdexcept>

namespace {

class SystemTime : public testing::Test {
 protected:
   void TearDown() override { Mdl::System::timeSourceIs(nullptr); }

   static Mdl::Seconds monotonic() {
      auto const now = std::chrono::steady_clock::now().time_since_epoch();
      return std::chrono::duration<Mdl::Seconds>(now).count();
   }
   static void thenTimeIsMonotonic() {
      Mdl::Seconds const before = monotonic();
      Mdl::Seconds const current = Mdl::System::currentTime();
      EXPECT_LE(before, current);
      EXPECT_LE(current, monotonic());
   }
};

TEST_F(SystemTime, IsTheMonotonicClockInSeconds) { thenTimeIsMonotonic(); }

TEST_F(SystemTime, ComesFromASourceThatReplacesTheClock) {
   Mdl::Seconds simulated = 12.5;
   Mdl::System::timeSourceIs([&] { return simulated; });
   EXPECT_EQ(Mdl::System::currentTime(), 12.5);
   simulated = 13.0;
   EXPECT_EQ(Mdl::System::currentTime(), 13.0);
}

TEST_F(SystemTime, IsMonotonicAgainAfterTheSourceHasGone) {
   Mdl::System::timeSourceIs([] { return -1.0; });
   Mdl::System::timeSourceIs(nullptr);
   thenTimeIsMonotonic();
}

TEST_F(SystemTime, ASourceThatThrowsIsTheCallersToHandle) {
   Mdl::System::timeSourceIs([]() -> Mdl::Seconds { throw std::runtime_error("no time"); });
   EXPECT_THROW(static_cast<void>(Mdl::System::currentTime()), std::runtime_error);
}

TEST(Seconds, NeverComes) { EXPECT_GT(Mdl::never, std::numeric_limits<Mdl::Seconds>::max()); }

}  // namespace
