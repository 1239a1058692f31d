#include "support/InterfaceFixture.h"
#include "support/MachineChecks.h"

namespace {

using Support::ChangeLog;
using Support::rep;

/// The end of a group: its reactor is put to rest and withdraws what it holds.
class GroupDelete : public InterfaceFixture {
 protected:
   GroupDelete() { givenGroup("red"); }

   void givenKeys() {
      givenInterface("Ethernet1", "10.0.0.1/24");
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIpAdded("red", "10.1.0.0/16");
      givenRunning();
      forgetSoFar();
   }
   void thenNothingIsHeld() const {
      thenHardware({});
      thenCounts({});
      thenBacklog({});
      thenOwners({});
   }
   static Texts withdrawn(Fwd::DecapKey const& key) {
      return {"deleteDecapEntry decapKey=" + rep(key) + " refCount=1",
              "updateRefCount key " + rep(key) + " refCount 1 dec by 1",
              " delete key from hw " + rep(key)};
   }
   static constexpr char entered[] = "handleDeleteDecap Group: red";
   static constexpr char disabled[] = "Disabling FwdDecapGroupSm cleanup in case of restart";
};

TEST_F(GroupDelete, WithdrawsInterfaceKeysThenPrefixKeys) {
   givenKeys();
   givenTraceLevels({2, 5});
   whenGroupRemoved("red");
   Texts expected = {entered};
   for (auto const destination : {"10.0.0.1/32", "10.1.0.0/16"}) {
      for (auto const& line : withdrawn(key(destination))) expected.push_back(line);
   }
   thenTraces(expected);
   thenCalls({removes("10.0.0.1/32"), removes("10.1.0.0/16")});
   thenNothingIsHeld();
}

TEST_F(GroupDelete, OfAGroupWithoutATunnelTypeOnlyTraces) {
   givenGroup("red", {.type = TunnelType::unknown});
   givenKeys();
   givenTraceLevels({2, 5});
   sm->disableCleanupOnRestartIs(true);
   sm->decapIntfIpIs(intf("Ethernet1"));
   status->hwResourceFullIs(true);
   verifyData->requestVerifyIs(true);
   forgetSoFar();
   whenGroupRemoved("red");
   thenTraces({entered});
   EXPECT_TRUE(sm->decapIntfIpHas(intf("Ethernet1")));
   thenHwResourceFull(true);
   thenLogs({});
}

TEST_F(GroupDelete, WithCleanUpDisabledLeavesAllKeysCountedAndProgrammed) {
   givenKeys();
   sm->disableCleanupOnRestartIs(true);
   status->hwResourceFullIs(true);
   givenTraceLevels({2, 5});
   whenGroupRemoved("red");
   thenTraces({entered, disabled});
   EXPECT_EQ(traces[0].level, 2U);
   EXPECT_EQ(traces[1].level, 5U);
   thenCalls({});
   thenDestinations({"10.0.0.1/32", "10.1.0.0/16"});
   thenCounts({counted("10.0.0.1/32", 1), counted("10.1.0.0/16", 1)});
   thenHwResourceFull(true);
   EXPECT_TRUE(sm->decapIntfIpHas(intf("Ethernet1")));
   thenLogs({});
}

TEST_F(GroupDelete, WithdrawsKeysThatSharedAnAddressInTwoRolesOnce) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24", "10.0.0.2/25"}, true);
   givenInterfaceWith("Ethernet2", "10.0.0.2/24", {});
   whenDecapIntfAdded("red", "Ethernet1", all);
   whenDecapIntfAdded("red", "", primaryOnly);
   whenDecapIpAdded("red", "10.0.0.1/32");
   givenGroup("green")->decapIpIs(prefix("10.0.0.2/32"));
   givenRunning();
   whenGroupRemoved("red");
   thenCounts({counted("10.0.0.2/32", 1)});
   whenGroupRemoved("green");
   thenNothingIsHeld();
}

TEST_F(GroupDelete, DropsKeysThatWaitWithoutACallOfTheHook) {
   givenKeys();
   hardware->notReadyUntilIs(Mdl::never);
   whenDecapIpAdded("red", "10.2.0.0/16");
   whenGroupRemoved("red");
   thenCalls({"program " + udp("10.2.0.0/16") + " -> not-ready", removes("10.0.0.1/32"),
              removes("10.1.0.0/16")});
   thenNothingIsHeld();
}

TEST_F(GroupDelete, LeavesItsSetsAsTheyAre) {
   givenKeys();
   auto const group = reactor("red");
   whenGroupRemoved("red");
   EXPECT_TRUE(group->decapKeyFromIntf(key("10.0.0.1/32")));
   EXPECT_TRUE(group->decapKeyFromIp(key("10.1.0.0/16")));
}

TEST_F(GroupDelete, HandledAgainFindsNothingHeld) {
   givenGroup("green")->decapIpIs(prefix("10.1.0.0/16"));
   givenKeys();
   auto const group = reactor("red");
   group->handleDelete();
   thenCounts({counted("10.1.0.0/16", 1)});
   group->handleDelete();
   thenCounts({counted("10.1.0.0/16", 1)});
   thenDestinations({"10.1.0.0/16"});
}

// The records of interface addresses.

TEST_F(GroupDelete, OfTheLastGroupForgetsTheInterfaceRecords) {
   givenGroup("green", {.vrf = "green"});
   givenKeys();
   EXPECT_TRUE(sm->decapIntfIpHas(intf("Ethernet1")));
   whenGroupRemoved("red");
   EXPECT_TRUE(sm->decapIntfIpHas(intf("Ethernet1")));
   whenGroupRemoved("green");
   EXPECT_TRUE(sm->decapIntfIp().empty());
}

// The configuration decides and not the registry.
TEST_F(GroupDelete, WhileTheConfigurationHoldsAGroupKeepsTheInterfaceRecords) {
   givenKeys();
   sm->decapGroupDel(Mdl::String("red"));
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
   EXPECT_TRUE(sm->decapIntfIpHas(intf("Ethernet1")));
}

// The alarm.

class GroupDeleteAlarm : public GroupDelete {
 protected:
   GroupDeleteAlarm() {
      givenGroup("green", {.vrf = "green"});
      givenRunning();
      hardware->table().capacityIs(0);
      whenDecapIpAdded("red", "10.1.0.0/16");
      forgetSoFar();
   }
};

TEST_F(GroupDeleteAlarm, IsClearedWithTheLastKeysThatWaitedThoughAReviewIsScheduled) {
   ASSERT_NE(sm->mdlClock()->timeMin(), Mdl::never);
   whenGroupRemoved("red");
   thenHwResourceFull(false);
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
   whenTimePasses(1.0);
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
}

TEST_F(GroupDeleteAlarm, IsClearedOnceThoughNoReviewIsScheduled) {
   sm->mdlClock()->timeMinIs(Mdl::never);
   whenGroupRemoved("red");
   thenHwResourceFull(false);
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
}

TEST_F(GroupDeleteAlarm, StandsWhileKeysOfOtherGroupsWait) {
   whenDecapIpAdded("green", "10.2.0.0/16");
   forgetSoFar();
   whenGroupRemoved("red");
   thenHwResourceFull(true);
   thenLogs({});
}

TEST_F(GroupDeleteAlarm, IsClearedByAGroupThatHeldNoneOfTheWaitingKeys) {
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHwResourceFull(true);
   whenGroupRemoved("green");
   thenHwResourceFull(false);
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
}

TEST_F(GroupDeleteAlarm, ThatDoesNotStandIsNotLogged) {
   status->hwResourceFullIs(false);
   whenGroupRemoved("red");
   thenLogs({});
}

// Verification.

TEST_F(GroupDelete, AsksForAVerificationWhileOneIsRequested) {
   givenKeys();
   verifyData->requestVerifyIs(true);
   auto const requests = ChangeLog::of(verifyData);
   whenGroupRemoved("red");
   EXPECT_EQ(requests->changes(),
             std::vector<Mdl::AttributeId>{Fwd::VerifyData::requestVerifyAttributeId});
   EXPECT_TRUE(verifyData->cliVerifyOutput().empty());
}

TEST_F(GroupDeleteAlarm, IsClearedBeforeTheVerification) {
   verifyData->requestVerifyIs(true);
   bool full = true;
   hardware->observerIs([&](Sim::Call const& call) {
      if (call.operation == Sim::Operation::verify) full = status->hwResourceFull();
   });
   whenGroupRemoved("red");
   hardware->observerIs({});
   EXPECT_FALSE(full);
}

TEST_F(GroupDelete, AsksForNoVerificationUnlessOneIsRequested) {
   givenKeys();
   auto const requests = ChangeLog::of(verifyData);
   whenGroupRemoved("red");
   EXPECT_TRUE(requests->changes().empty());
}

// The counts of a group that is leaving go while its sets stand, and while the configuration may
// still hold it: that is no inconsistency to report.
TEST_F(GroupDelete, IsNotReportedByTheVerificationItAsksFor) {
   givenKeys();
   verifyData->requestVerifyIs(true);
   sm->mdlDoZombieReactors(true);
   EXPECT_TRUE(verifyData->cliVerifyOutput().empty());
   thenNothingIsHeld();
}

TEST_F(GroupDelete, OfAReactorAloneIsNotReportedByTheVerificationItAsksFor) {
   givenKeys();
   verifyData->requestVerifyIs(true);
   reactor("red")->mdlDoZombieReactors(true);
   verifyData->doRequestVerify();
   EXPECT_TRUE(verifyData->cliVerifyOutput().empty());
}

}  // namespace
