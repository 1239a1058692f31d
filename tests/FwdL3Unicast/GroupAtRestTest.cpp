#include "support/InterfaceFixture.h"

namespace {

/// The reactor of a group on its way to rest and back.
class GroupAtRest : public InterfaceFixture {
 protected:
   GroupAtRest() {
      givenGroup("red");
      givenInterface("Ethernet1", "10.0.0.1/24");
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIpAdded("red", "10.1.0.0/16");
      givenRunning();
      forgetSoFar();
      group = reactor("red");
   }
   void thenNothingIsHeld() const {
      thenHardware({});
      thenCounts({});
      thenBacklog({});
      thenOwners({});
   }

   static constexpr char entered[] = "handleDeleteDecap Group: red";
   Mdl::Ptr<Sm::MdlDecapGroup> group;
};

TEST_F(GroupAtRest, IsFlaggedAndSilentAndHoldsNothing) {
   group->mdlDoZombieReactors(true);
   EXPECT_TRUE(group->isMarkedForDeletion());
   EXPECT_FALSE(group->hasNotificationActive());
   thenNothingIsHeld();
   whenDecapIpAdded("red", "10.2.0.0/16");
   thenNothingIsHeld();
}

TEST_F(GroupAtRest, IsSilencedBeforeItWithdrawsAndFlaggedAfterwards) {
   bool active = true;
   bool flagged = true;
   hardware->duringRemoval(1, [&] {
      active = group->hasNotificationActive();
      flagged = group->isMarkedForDeletion();
   });
   group->mdlDoZombieReactors(true);
   EXPECT_FALSE(active);
   EXPECT_FALSE(flagged);
}

TEST_F(GroupAtRest, PutToRestTwiceWithdrawsOnce) {
   givenTraceLevels({2});
   group->mdlDoZombieReactors(false);
   thenTraces({});
   group->mdlDoZombieReactors(true);
   forgetSoFar();
   group->mdlDoZombieReactors(true);
   thenTraces({});
   thenCalls({});
}

// Both directions run the withdrawal; on the way back it finds nothing held.
TEST_F(GroupAtRest, RevivedRunsTheWithdrawalBeforeTheFlagIsCleared) {
   group->mdlDoZombieReactors(true);
   givenTraceLevels({2});
   forgetSoFar();
   bool flagged = false;
   Mdl::Trace::sinkIs([&](Mdl::TraceRecord const& record) {
      if (record.text == entered) flagged = group->isMarkedForDeletion();
      traces.push_back({record.level, std::string(record.function), std::string(record.text)});
   });
   group->mdlDoZombieReactors(false);
   givenTraceLevels({});
   EXPECT_TRUE(flagged);
   EXPECT_FALSE(group->isMarkedForDeletion());
   EXPECT_TRUE(group->hasNotificationActive());
   ASSERT_FALSE(traces.empty());
   EXPECT_EQ(traces.front().text, entered);
   thenCalls({});
   thenCounts({});
}

TEST_F(GroupAtRest, RevivedFollowsChangesAgain) {
   group->mdlDoZombieReactors(true);
   group->mdlDoZombieReactors(false);
   whenDecapIpAdded("red", "10.2.0.0/16");
   thenDestinations({"10.2.0.0/16"});
   groupNamed("red").tunnelTypeIs(TunnelType::unknown);
   groupNamed("red").tunnelTypeIs(TunnelType::udp);
   thenDestinations({"10.0.0.1/32", "10.1.0.0/16", "10.2.0.0/16"});
   thenBooksAgree();
}

TEST_F(GroupAtRest, WithoutANotifierIsNotSwitched) {
   group->notifierIs(nullptr);
   ASSERT_TRUE(group->hasNotificationActive());
   group->mdlDoZombieReactors(true);
   EXPECT_TRUE(group->hasNotificationActive());
   EXPECT_TRUE(group->isMarkedForDeletion());
   thenNothingIsHeld();
}

TEST_F(GroupAtRest, AReactorThatIsDestroyedWithdrawsWhatItHolds) {
   auto lone = Mdl::allocate<Sm::MdlDecapGroup>(makeGroup("lone", {}), sm.operator->());
   lone->handleIpIntfStatusChange(prefix("10.8.0.0/16"), false);
   thenDestinations({"10.0.0.1/32", "10.1.0.0/16", "10.8.0.0/16"});
   lone = nullptr;
   thenDestinations({"10.0.0.1/32", "10.1.0.0/16"});
   thenBooksAgree();
}

TEST_F(GroupAtRest, AReactorThatIsDestroyedAtRestWithdrawsNothingMore) {
   auto lone = Mdl::allocate<Sm::MdlDecapGroup>(makeGroup("lone", {}), sm.operator->());
   lone->handleIpIntfStatusChange(prefix("10.8.0.0/16"), false);
   lone->mdlDoZombieReactors(true);
   givenTraceLevels({2});
   forgetSoFar();
   lone = nullptr;
   thenTraces({});
   thenCalls({});
}

}  // namespace
