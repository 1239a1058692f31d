#include "mdl/Clock.h"

#include "mdl/Reflection.h"
#include "support/Actor.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace {

using Mdl::Ptr;
using Mdl::Seconds;
using Support::Journal;

/// Writes down when it is woken, and then acts.
class Sleeper final : public Mdl::Clock::NotifieeConst {
 public:
   Sleeper(Ptr<Mdl::Clock const> const& clock, std::string name, Journal& journal)
       : NotifieeConst(clock), name_(std::move(name)), journal_(journal) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   std::function<void()> act;

 protected:
   void onTimeMin() override {
      journal_.push_back(name_ + "@" + std::to_string(static_cast<int>(clock()->time())));
      if (act) act();
   }

 private:
   std::string const name_;
   Journal& journal_;
};

class Clock : public testing::Test {
 protected:
   Ptr<Sleeper> sleeperOn(Ptr<Mdl::Clock const> const& notifier, std::string name) {
      return Mdl::allocate<Sleeper>(notifier, std::move(name), journal);
   }
   void thenWoken(Journal const& expected) {
      EXPECT_EQ(journal, expected);
      journal.clear();
   }

   Journal journal;
   Ptr<Mdl::Clock> clock = Mdl::allocate<Mdl::Clock>();
   Ptr<Sleeper> sleeper = sleeperOn(clock, "a");
};

TEST_F(Clock, StartsAtZeroWithNobodyArmed) {
   EXPECT_EQ(clock->time(), 0.0);
   EXPECT_EQ(sleeper->timeMin(), Mdl::never);
}

TEST_F(Clock, TellsOfItsTimeUnderItsIdentifier) {
   auto const listener = Mdl::allocate<Support::Listener>(clock);
   clock->timeIs(1.0);
   EXPECT_EQ(listener->heard(), Journal({"258"}));
}

TEST_F(Clock, AnEqualTimeIsNoChange) {
   clock->timeIs(5.0);
   sleeper->timeMinIs(3.0);
   clock->timeIs(5.0);
   thenWoken({});
   EXPECT_EQ(sleeper->timeMin(), 3.0);
}

TEST_F(Clock, SleepsUntilTheTimeIsReached) {
   sleeper->timeMinIs(10.0);
   clock->timeIs(9.0);
   thenWoken({});
   clock->timeIs(10.0);
   thenWoken({"a@10"});
}

TEST_F(Clock, WakesWhenTheTimeIsPassedOver) {
   sleeper->timeMinIs(10.0);
   clock->timeIs(25.0);
   thenWoken({"a@25"});
}

TEST_F(Clock, WakesOnceAnArming) {
   sleeper->timeMinIs(10.0);
   clock->timeIs(10.0);
   EXPECT_EQ(sleeper->timeMin(), Mdl::never);
   clock->timeIs(11.0);
   thenWoken({"a@10"});
   sleeper->timeMinIs(12.0);
   clock->timeIs(12.0);
   thenWoken({"a@12"});
}

TEST_F(Clock, AWakeUpInThePastWaitsForTheNextChange) {
   clock->timeIs(10.0);
   sleeper->timeMinIs(5.0);
   thenWoken({});
   EXPECT_EQ(sleeper->timeMin(), 5.0);
   clock->timeIs(11.0);
   thenWoken({"a@11"});
}

TEST_F(Clock, NeverDisarms) {
   sleeper->timeMinIs(10.0);
   sleeper->timeMinIs(Mdl::never);
   clock->timeIs(1e12);
   thenWoken({});
}

TEST_F(Clock, TheLastArmingCounts) {
   sleeper->timeMinIs(10.0);
   sleeper->timeMinIs(20.0);
   clock->timeIs(15.0);
   thenWoken({});
   sleeper->timeMinIs(18.0);
   clock->timeIs(19.0);
   thenWoken({"a@19"});
}

TEST_F(Clock, IsDisarmedBeforeTheWakeUpRuns) {
   Seconds inside = 0.0;
   sleeper->act = [&] { inside = sleeper->timeMin(); };
   sleeper->timeMinIs(10.0);
   clock->timeIs(10.0);
   EXPECT_EQ(inside, Mdl::never);
}

TEST_F(Clock, AnArmingInsideTheWakeUpWaitsForTheNextChange) {
   sleeper->act = [&] { sleeper->timeMinIs(clock->time() - 1.0); };
   sleeper->timeMinIs(10.0);
   clock->timeIs(10.0);
   thenWoken({"a@10"});
   EXPECT_EQ(sleeper->timeMin(), 9.0);
   clock->timeIs(11.0);
   thenWoken({"a@11"});
}

TEST_F(Clock, AClockSetBackWakesNobodyWhoseTimeHasNotCome) {
   clock->timeIs(100.0);
   sleeper->timeMinIs(50.0);
   clock->timeIs(40.0);
   thenWoken({});
   clock->timeIs(50.0);
   thenWoken({"a@50"});
}

TEST_F(Clock, AWakeUpThatMovesTheClockWakesTheOthersOnce) {
   auto const later = sleeperOn(clock, "b");
   sleeper->timeMinIs(10.0);
   later->timeMinIs(15.0);
   sleeper->act = [&] { clock->timeIs(20.0); };
   clock->timeIs(10.0);
   thenWoken({"a@10", "b@20"});
}

TEST_F(Clock, AZombieSleepsOn) {
   sleeper->timeMinIs(10.0);
   sleeper->isMarkedForDeletionIs(true);
   clock->timeIs(10.0);
   thenWoken({});
   EXPECT_EQ(sleeper->timeMin(), 10.0);
}

TEST_F(Clock, OneThatIsSwitchedOffSleepsOnAndCatchesUpAtTheNextChange) {
   sleeper->timeMinIs(10.0);
   sleeper->hasNotificationActiveIs(false);
   clock->timeIs(10.0);
   thenWoken({});
   sleeper->hasNotificationActiveIs(true);
   thenWoken({});
   clock->timeIs(11.0);
   thenWoken({"a@11"});
}

TEST_F(Clock, AWakeUpMayReleaseItsReactorAndItsClock) {
   sleeper->act = [&] {
      sleeper = nullptr;
      clock = nullptr;
   };
   sleeper->timeMinIs(10.0);
   Mdl::Clock& moved = *clock;
   moved.timeIs(10.0);
   thenWoken({"a@10"});
   EXPECT_EQ(sleeper, nullptr);
}

TEST_F(Clock, AReactorMayHaveNoClock) {
   auto const clockless = sleeperOn(nullptr, "c");
   clockless->timeMinIs(1.0);
   EXPECT_EQ(clockless->clock(), nullptr);
   clockless->onAttribute(Mdl::Clock::timeAttributeId, nullptr);
   thenWoken({});
}

TEST_F(Clock, AReactorKnowsItsClock) {
   EXPECT_EQ(sleeper->clock(), clock);
   auto const other = Mdl::allocate<Mdl::Clock>();
   sleeper->notifierIs(other);
   EXPECT_EQ(sleeper->clock(), other);
}

TEST_F(Clock, ItsTimeIsReadByReflection) {
   clock->timeIs(2.5);
   EXPECT_EQ(Mdl::read(*clock, "time").value, Mdl::Reading::Value(2.5));
   EXPECT_EQ(Mdl::read(*clock, 258).value, Mdl::Reading::Value(2.5));
   EXPECT_STREQ(clock->fwkType().name(), "Mdl::Clock");
}

}  // namespace
