#include "platform/sim/SimTime.h"

#include "mdl/System.h"

#include <gtest/gtest.h>

namespace Sim {
namespace {

class WakeUp final : public Mdl::Clock::NotifieeConst {
 public:
   explicit WakeUp(Mdl::Ptr<Mdl::Clock const> const& clock) : Mdl::Clock::NotifieeConst(clock) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   int woken = 0;

 private:
   void onTimeMin() override { ++woken; }
};

TEST(SimTime, IsTheProcessesCurrentTimeWhileItLives) {
   {
      SimTime time;
      time.advanceTo(7.5);
      EXPECT_EQ(Mdl::System::currentTime(), 7.5);
   }
   EXPECT_NE(Mdl::System::currentTime(), 7.5);
}

TEST(SimTime, WorkMovesTheCurrentTimeAndNotTheClock) {
   SimTime time;
   time.pass(0.5);
   EXPECT_EQ(Mdl::System::currentTime(), 0.5);
   EXPECT_EQ(time.clock()->time(), 0.0);
}

TEST(SimTime, NeitherTimeGoesBack) {
   SimTime time;
   time.pass(2.0);
   time.pass(-1.0);
   time.advanceTo(1.0);
   EXPECT_EQ(time.now(), 2.0);
   EXPECT_EQ(time.clock()->time(), 2.0);
}

TEST(SimTime, WakesWhoIsDue) {
   SimTime time;
   auto const wakeUp = Mdl::allocate<WakeUp>(time.clock());
   wakeUp->timeMinIs(1.0);
   time.advanceTo(0.9);
   EXPECT_EQ(wakeUp->woken, 0);
   time.advanceTo(1.0);
   EXPECT_EQ(wakeUp->woken, 1);
}

}  // namespace
}  // namespace Sim
