#include "mdl/Exception.h"
#include "support/DecapFixture.h"
#include "support/FirstToHear.h"
#include "support/MachineChecks.h"

#include <algorithm>

namespace {

/// One reactor for each group.
class GroupRegistry : public DecapFixture {
 protected:
   Mdl::String const red{"red"};

   void givenRunningGroup() {
      givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
      givenRunning();
      forgetSoFar();
   }

   static constexpr char redKey[] = "udp 10.1.0.0/16 port 6080 payload ip vrf default";
};

TEST_F(GroupRegistry, RefusesNullAndNamesTypeAndAttribute) {
   givenRunningGroup();
   givenTraceLevels({2});
   try {
      sm->decapGroupIs(nullptr);
      ADD_FAILURE() << "no exception";
   } catch (Mdl::NullArgumentException const& error) {
      std::string const what = error.what();
      EXPECT_NE(what.find("Fwd::FwdDecapGroupSm"), std::string::npos) << what;
      EXPECT_NE(what.find("mdlDecapGroup"), std::string::npos) << what;
   }
   EXPECT_EQ(sm->mdlDecapGroup().size(), 1U);
   thenTraces({});
   thenCalls({});
}

TEST_F(GroupRegistry, CreatesAReactorThatWatchesTheGroup) {
   givenMachine();
   auto const group = makeGroup("red", {});
   sm->decapGroupIs(group);
   auto const made = reactor("red");
   ASSERT_TRUE(made);
   EXPECT_EQ(made->group(), group);
   EXPECT_EQ(sm->decapGroup(red), group);
   EXPECT_TRUE(made->hasNotificationActive());
   EXPECT_TRUE(made->isRegisteredNotifiee());
   EXPECT_FALSE(made->isMarkedForDeletion());
}

TEST_F(GroupRegistry, KnowsNoGroupByAnotherName) {
   givenRunningGroup();
   EXPECT_FALSE(reactor("Red"));
   EXPECT_FALSE(reactor(""));
   EXPECT_FALSE(sm->decapGroup(Mdl::String("blue")));
}

TEST_F(GroupRegistry, GivenTheSameGroupAgainDerivesNothing) {
   givenRunningGroup();
   givenTraceLevels({2});
   auto const kept = reactor("red");
   sm->decapGroupIs(groups[0]);
   EXPECT_EQ(reactor("red"), kept);
   EXPECT_EQ(sm->mdlDecapGroup().size(), 1U);
   thenTraces({});
   thenCalls({});
}

TEST_F(GroupRegistry, GivenAnotherGroupOfTheNameKeepsAndRepointsTheReactor) {
   givenRunningGroup();
   auto const kept = reactor("red");
   auto const other = makeGroup("red", {.port = 7000});
   other->decapIpIs(prefix("10.2.0.0/16"));
   config->decapGroupIs(other);
   EXPECT_EQ(reactor("red"), kept);
   EXPECT_EQ(kept->group(), other);
   EXPECT_EQ(sm->mdlDecapGroup().size(), 1U);
   thenHardware({"udp 10.2.0.0/16 port 7000 payload ip vrf default"});
   thenCounts({"udp 10.2.0.0/16 port 7000 payload ip vrf default x1"});
}

TEST_F(GroupRegistry, FollowsTheOtherGroupAndNoLongerTheFirst) {
   givenRunningGroup();
   auto const first = groups[0];
   givenGroup("red")->decapIpIs(prefix("10.2.0.0/16"));
   forgetSoFar();
   first->decapIpIs(prefix("10.3.0.0/16"));
   first->forwardingVrfIs(vrf("blue"));
   thenCalls({});
   whenDecapIpAdded("red", "10.4.0.0/16");
   thenCalls({"program udp 10.4.0.0/16 port 6080 payload ip vrf default -> success"});
}

TEST_F(GroupRegistry, MakesReactorsOfAMachineAtRestZombies) {
   givenRunning();
   sm->mdlDoZombieReactors(true);
   auto const group = makeGroup("red", {});
   group->decapIpIs(prefix("10.1.0.0/16"));
   config->decapGroupIs(group);
   sm->decapGroupIs(group);
   ASSERT_TRUE(reactor("red"));
   EXPECT_TRUE(reactor("red")->isMarkedForDeletion());
   EXPECT_FALSE(reactor("red")->hasNotificationActive());
   thenCounts({});
   thenHardware({});
}

TEST_F(GroupRegistry, DeletingAnUnknownNameReturnsNullAndChangesNothing) {
   givenRunningGroup();
   givenTraceLevels({2, 5});
   EXPECT_FALSE(sm->decapGroupDel(Mdl::String("blue")));
   EXPECT_EQ(sm->mdlDecapGroup().size(), 1U);
   thenTraces({});
   thenCalls({});
}

TEST_F(GroupRegistry, DeletingReturnsTheGroupAndWithdrawsItsKeys) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.2.0.0/16");
   forgetSoFar();
   EXPECT_EQ(sm->decapGroupDel(red), groups[0]);
   EXPECT_FALSE(reactor("red"));
   thenCalls({"remove udp 10.1.0.0/16 port 6080 payload ip vrf default -> removed",
              "remove udp 10.2.0.0/16 port 6080 payload ip vrf default -> removed"});
   thenCounts({});
   thenOwners({});
   EXPECT_FALSE(sm->decapGroupDel(red));
}

TEST_F(GroupRegistry, DeletingLeavesTheReferencesOfOtherGroups) {
   givenRunningGroup();
   givenGroup("blue")->decapIpIs(prefix("10.1.0.0/16"));
   forgetSoFar();
   whenGroupRemoved("red");
   thenCalls({});
   thenCounts({std::string(redKey) + " x1"});
}

TEST_F(GroupRegistry, DeletingPutsTheReactorToRest) {
   givenRunningGroup();
   auto const kept = reactor("red");
   sm->decapGroupDel(red);
   EXPECT_TRUE(kept->isMarkedForDeletion());
   EXPECT_FALSE(kept->hasNotificationActive());
   forgetSoFar();
   givenTraceLevels({2});
   whenDecapIpAdded("red", "10.2.0.0/16");
   groups[0]->destPortIs(7000);
   thenTraces({});
   thenCalls({});
   thenCounts({});
}

TEST_F(GroupRegistry, DeletingSilencesAReactorThatWatchesNothing) {
   givenRunningGroup();
   auto const kept = reactor("red");
   kept->notifierIs(nullptr);
   ASSERT_TRUE(kept->hasNotificationActive());
   EXPECT_FALSE(sm->decapGroupDel(red));
   EXPECT_FALSE(kept->hasNotificationActive());
   thenCounts({});
   thenHardware({});
}

TEST_F(GroupRegistry, ADeletedReactorNoLongerReachesTheMachine) {
   givenRunningGroup();
   auto const kept = reactor("red");
   sm->decapGroupDel(red);
   whenMachineDropped();
   groups[0]->decapIpIs(prefix("10.2.0.0/16"));
   kept->mdlDoZombieReactors(false);
   kept->mdlDoZombieReactors(true);
   thenHardware({});
}

TEST_F(GroupRegistry, WhileItsKeysAreWithdrawnTheGroupIsNotFoundByName) {
   givenRunningGroup();
   bool found = true;
   std::size_t counted = 99;
   hardware->duringRemoval(1, [&] {
      found = static_cast<bool>(reactor("red"));
      counted = sm->refCount().size();
   });
   sm->decapGroupDel(red);
   EXPECT_FALSE(found);
   EXPECT_EQ(counted, 0U);
}

TEST_F(GroupRegistry, DeletingWithoutCleanUpLeavesTheKeys) {
   givenRunningGroup();
   givenTraceLevels({5});
   sm->disableCleanupOnRestartIs(true);
   whenGroupRemoved("red");
   EXPECT_FALSE(reactor("red"));
   thenCalls({});
   thenTraces({"Disabling FwdDecapGroupSm cleanup in case of restart"});
   thenHardware({redKey});
   thenCounts({std::string(redKey) + " x1"});
   whenMachineDropped();
   thenHardware({redKey});
}

TEST_F(GroupRegistry, DeletingAllDeletesEach) {
   givenRunningGroup();
   givenGroup("blue")->decapIpIs(prefix("10.1.0.0/16"));
   givenGroup("green")->decapIpIs(prefix("10.3.0.0/16"));
   sm->decapGroupDelAll();
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
   thenCounts({});
   thenHardware({});
   thenOwners({});
   sm->decapGroupDelAll();
}

TEST_F(GroupRegistry, AFaultWhileDeletingPropagatesAndTheGroupIsGone) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.2.0.0/16");
   hardware->faultInRemoval(1);
   EXPECT_THROW(whenGroupRemoved("red"), Sim::HardwareFault);
   EXPECT_FALSE(reactor("red"));
   EXPECT_TRUE(config->decapGroup().empty());
   thenCounts({});
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
}

TEST_F(GroupRegistry, AFaultWhileDeletingAllStillDeletesTheOthersInTheEnd) {
   givenRunningGroup();
   givenGroup("blue")->decapIpIs(prefix("10.2.0.0/16"));
   hardware->faultInRemoval(1);
   EXPECT_THROW(sm->decapGroupDelAll(), Sim::HardwareFault);
   EXPECT_FALSE(reactor("red"));
   sm->decapGroupDelAll();
   thenCounts({});
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
}

// A reactor gets the machine's own state whenever it is registered or re-pointed.

TEST_F(GroupRegistry, RepointingOnAMachineAtRestPutsARevivedReactorToRest) {
   givenGroup("red");
   givenMachine();
   sm->mdlDoZombieReactors(true);
   reactor("red")->mdlDoZombieReactors(false);
   sm->decapGroupIs(makeGroup("red", {}));
   EXPECT_TRUE(reactor("red")->isMarkedForDeletion());
}

TEST_F(GroupRegistry, RepointingOnALivingMachineRevivesTheReactor) {
   givenGroup("red");
   givenMachine();
   reactor("red")->mdlDoZombieReactors(true);
   sm->decapGroupIs(makeGroup("red", {}));
   EXPECT_FALSE(reactor("red")->isMarkedForDeletion());
}

TEST_F(GroupRegistry, ADeletedReactorThatIsRevivedNoLongerReachesTheMachine) {
   givenGroup("red");
   givenRunning();
   auto const held = reactor("red");
   sm->decapGroupDel(Mdl::String("red"));
   held->isMarkedForDeletionIs(false);
   held->hasNotificationActiveIs(true);
   forgetSoFar();
   givenTraceLevels({2});
   groupNamed("red").decapIpIs(prefix("10.1.0.0/16"));
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   groupNamed("red").destPortIs(6081);
   thenTraces({});
   thenCalls({});
   thenCounts({});
}

TEST_F(GroupRegistry, TellsOfGroupsThatComeAndGo) {
   givenRunning();
   auto const changes = Support::ChangeLog::of(sm);
   auto const changesOfRegistry = [&] {
      return std::ranges::count(changes->changes(), Mdl::AttributeId{Fwd::memberId::mdlDecapGroup});
   };
   givenGroup("red");
   EXPECT_EQ(changesOfRegistry(), 1);
   whenGroupRemoved("red");
   EXPECT_EQ(changesOfRegistry(), 2);
}

TEST_F(GroupRegistry, GivenTheSameGroupAgainLeavesAReactorAtRest) {
   givenRunningGroup();
   reactor("red")->mdlDoZombieReactors(true);
   forgetSoFar();
   sm->decapGroupIs(reactor("red")->group());
   EXPECT_TRUE(reactor("red")->isMarkedForDeletion());
   EXPECT_FALSE(reactor("red")->hasNotificationActive());
   thenCalls({});
}

// Who is told of the new reactor takes the group out again at once.
TEST_F(GroupRegistry, AReactorThatIsTakenOutAsItComesStaysAtRest) {
   givenRunning();
   Mdl::Ptr<Fwd::FwdDecapGroupSm::MdlDecapGroup> taken;
   Support::FirstToHear watcher({sm});
   watcher.nextIs([&] {
      taken = reactor("red");
      whenGroupRemoved("red");
   });
   givenGroup("red");
   ASSERT_TRUE(taken);
   EXPECT_TRUE(taken->isMarkedForDeletion());
   EXPECT_FALSE(taken->hasNotificationActive());
}

}  // namespace
