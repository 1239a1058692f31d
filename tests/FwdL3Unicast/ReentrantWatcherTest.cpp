#include "support/Actor.h"
#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

#include <algorithm>
#include <functional>
#include <utility>

// Reactors of others watch the machine's books and the alarm, and may change the configuration when
// they are told. In the end hardware has what configuration calls for.

namespace {

class ReentrantWatcher : public DecapFixture {
 protected:
   ReentrantWatcher() {
      givenGroup("red");
      givenGroup("blue", {.vrf = "blue"});
      givenRunning();
      forgetSoFar();
   }

   /// Acts at the first change of the attribute from now on, and never again.
   void atNextChange(Mdl::Ptr<Mdl::Entity const> const& entity, Mdl::AttributeId attribute,
                     std::function<void()> act) {
      watcher = Support::actorOn(entity, journal, "watcher");
      watcher->actIs(
          [this, attribute, act = std::move(act)](Mdl::AttributeId changed, void const*) {
             if (changed != attribute || std::exchange(acted, true)) return;
             act();
          });
   }
   void atNextChange(Mdl::AttributeId attribute, std::function<void()> act) {
      atNextChange(sm, attribute, std::move(act));
   }
   void atNextAlarm(std::function<void()> act) {
      atNextChange(status, Tunnel::Decap::Hardware::Status::hwResourceFullAttributeId,
                   std::move(act));
   }
   void redComesAndGoes() {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   }
   /// Red's prefix waits for room, and is programmed as soon as there is some.
   void thenRedWaits() {
      EXPECT_TRUE(acted);
      thenBacklog({entry("10.1.0.0/16")});
      thenCounts({entry("10.1.0.0/16") + " x1"});
      thenBooksAgree();
      hardware->table().capacityIs(1);
      whenTimePasses(1.0);
      thenOnly({entry("10.1.0.0/16")});
      thenHwResourceFull(false);
   }

   Support::Journal journal;
   Mdl::Ptr<Support::Actor> watcher;
   bool acted = false;
};

TEST_F(ReentrantWatcher, TheKeyIsReleasedWhenItsOwnerIsRecorded) {
   atNextChange(Fwd::memberId::tunnelTypeDecapIpToVrf,
                [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_TRUE(acted);
   thenNothingIsLeft();
   thenCalls({"program " + entry("10.1.0.0/16") + " -> success",
              "remove " + entry("10.1.0.0/16") + " -> removed"});
   whenDecapIpAdded("blue", "10.1.0.0/16");
   thenOnly({entry("10.1.0.0/16", "blue")});
}

TEST_F(ReentrantWatcher, TheKeyComesAndGoesWhenItsOwnerIsRecorded) {
   atNextChange(Fwd::memberId::tunnelTypeDecapIpToVrf, [&] { redComesAndGoes(); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_TRUE(acted);
   thenOnly({entry("10.1.0.0/16")});
}

TEST_F(ReentrantWatcher, TheKeyIsWantedAgainWhenItsOwnerGoes) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   atNextChange(Fwd::memberId::tunnelTypeDecapIpToVrf,
                [&] { whenDecapIpAdded("red", "10.1.0.0/16"); });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   EXPECT_TRUE(acted);
   thenOnly({entry("10.1.0.0/16")});
}

TEST_F(ReentrantWatcher, TheKeyComesAndGoesWhenItBeginsToWait) {
   hardware->table().capacityIs(0);
   atNextChange(Fwd::memberId::unprogrammedKey, [&] { redComesAndGoes(); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenRedWaits();
}

TEST_F(ReentrantWatcher, TheKeyComesAndGoesWhenTheAlarmRises) {
   hardware->table().capacityIs(0);
   atNextAlarm([&] { redComesAndGoes(); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenRedWaits();
}

TEST_F(ReentrantWatcher, TheKeyComesAndGoesWhenAReviewRaisesTheAlarm) {
   hardware->script().next(Sim::Answer::of(Fwd::dgRcNotReady));
   whenDecapIpAdded("red", "10.1.0.0/16");
   hardware->table().capacityIs(0);
   atNextAlarm([&] { redComesAndGoes(); });
   whenTimePasses(1.0);
   thenRedWaits();
}

TEST_F(ReentrantWatcher, AKeyComesAndGoesWhenItBeginsToWaitForAnotherVrf) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   atNextChange(Fwd::memberId::unprogrammedKey, [&] {
      whenDecapIpRemoved("blue", "10.1.0.0/16");
      whenDecapIpAdded("blue", "10.1.0.0/16");
   });
   whenDecapIpAdded("blue", "10.1.0.0/16");
   EXPECT_TRUE(acted);
   thenBacklog({entry("10.1.0.0/16", "blue")});
   thenBooksAgree();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   whenTimePasses(1.0);
   thenOnly({entry("10.1.0.0/16", "blue")});
}

class ReentrantWatcherOfAReview : public ReentrantWatcher {
 protected:
   ReentrantWatcherOfAReview() {
      hardware->script().next(Sim::Answer::of(Fwd::dgRcNotReady));
      whenDecapIpAdded("red", "10.1.0.0/16");
      forgetSoFar();
   }
   void atEndOfWaiting(std::function<void()> act) {
      atNextChange(Fwd::memberId::unprogrammedKey, std::move(act));
   }
};

TEST_F(ReentrantWatcherOfAReview, TheKeyIsReleasedWhenItNeedNotWaitAnyLonger) {
   atEndOfWaiting([&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   auto const heard = Support::ChangeLog::of(sm);
   whenTimePasses(1.0);
   EXPECT_TRUE(acted);
   EXPECT_EQ(std::ranges::count(heard->changes(), Fwd::memberId::tunnelTypeDecapIpToVrf), 0);
   thenNothingIsLeft();
   thenCalls({"program " + entry("10.1.0.0/16") + " -> success",
              "remove " + entry("10.1.0.0/16") + " -> removed"});
}

TEST_F(ReentrantWatcherOfAReview, AnotherVrfTakesTheDestinationThatHasNoOwnerYet) {
   atEndOfWaiting([&] { whenDecapIpAdded("blue", "10.1.0.0/16"); });
   whenTimePasses(1.0);
   EXPECT_TRUE(acted);
   thenHardware({entry("10.1.0.0/16", "blue")});
   thenOwners({"udp 10.1.0.0/16 -> blue"});
   thenBacklog({entry("10.1.0.0/16")});
   thenBooksAgree();
   whenDecapIpRemoved("blue", "10.1.0.0/16");
   whenTimePasses(1.0);
   thenOnly({entry("10.1.0.0/16")});
}

// One that throws after it has acted does not keep the call from looking again.
TEST_F(ReentrantWatcherOfAReview, TheKeyIsReleasedByAWatcherThatThrows) {
   struct Unhappy {};
   atEndOfWaiting([&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      throw Unhappy();
   });
   EXPECT_THROW(whenTimePasses(1.0), Unhappy);
   thenNothingIsLeft();
}

}  // namespace
