#include "support/InterfaceFixture.h"

namespace {

/// The end of the machine: every reactor is put to rest, in a fixed order, and withdraws what it
/// programmed.
class TearDown : public InterfaceFixture {
 protected:
   TearDown() {
      givenGroup("red");
      givenGroup("green", {.vrf = "green"});
      givenInterface("Ethernet1", "10.0.0.1/24");
      givenInterface("Ethernet2", "10.0.1.1/24");
      givenInterface6("Ethernet1", {"2001:db8::1/64"});
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
      whenDecapIntfAdded("green", "Ethernet2");
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpAdded("green", "10.2.0.0/16");
      givenRunning();
      forgetSoFar();
   }

   /// The reactors that are flagged, in the order in which they are put to rest.
   Texts flagged() const {
      Texts found;
      auto const note = [&](std::string const& name, auto const& reactor) {
         if (reactor->isMarkedForDeletion()) found.push_back(name);
      };
      note("configuration", sm->mdlDgConfig());
      note("IPv4", sm->mdlIpStatus());
      note("IPv6", sm->mdlIp6Status());
      note("clock", sm->mdlClock());
      for (auto const& entry : sm->mdlDecapGroup()) {
         note("group " + entry.key.stdString(), entry.value);
      }
      for (auto const& entry : sm->mdlIpIntfStatus()) {
         note("IPv4 " + entry.key.name().stdString(), entry.value);
      }
      for (auto const& entry : sm->mdlIp6IntfStatus()) {
         note("IPv6 " + entry.key.name().stdString(), entry.value);
      }
      note("verify", sm->mdlVerifyData());
      if (sm->isMarkedForDeletion()) found.push_back("machine");
      return found;
   }
   static Texts everything() {
      return {"configuration",  "IPv4",        "IPv6",           "clock",
              "group red",      "group green", "IPv4 Ethernet1", "IPv4 Ethernet2",
              "IPv6 Ethernet1", "verify",      "machine"};
   }
   /// Who is flagged when a group or an interface is cleaned up, which happens before its own flag.
   std::vector<Texts> flaggedAtEachCleanUp(std::function<void()> const& tearDown) {
      std::vector<Texts> seen;
      givenTraceLevels({2, 5});
      Mdl::Trace::sinkIs([&](Mdl::TraceRecord const& record) {
         if (record.text.starts_with("handleDelete") || record.text.starts_with("doIntfCleanup")) {
            seen.push_back(flagged());
         }
      });
      tearDown();
      givenTraceLevels({});
      return seen;
   }
   static Texts first(std::size_t count) {
      Texts all = everything();
      all.resize(count);
      return all;
   }
   void thenNothingIsHeld() const {
      thenHardware({});
      thenCounts({});
      thenBacklog({});
      thenOwners({});
   }
   static std::string green(std::string_view destination) {
      return Sim::keyText(key(destination, {.vrf = "green"}));
   }
};

TEST_F(TearDown, PutsTheReactorsToRestInTheirOrder) {
   auto const seen = flaggedAtEachCleanUp([&] { sm->mdlDoZombieReactors(true); });
   // Two groups, two IPv4 interfaces, one IPv6 interface; the machine's own flag comes last.
   EXPECT_EQ(seen, (std::vector<Texts>{first(4), first(5), first(6), first(7), first(8)}));
   EXPECT_EQ(flagged(), everything());
}

TEST_F(TearDown, FlagsTheVerifyReactorAfterTheInterfaces) {
   ip6->intfDel(intf("Ethernet1"));
   auto const seen = flaggedAtEachCleanUp([&] { sm->mdlDoZombieReactors(true); });
   ASSERT_EQ(seen.size(), 4U);
   for (auto const& names : seen) {
      EXPECT_EQ(std::ranges::count(names, "verify"), 0) << names.size();
      EXPECT_EQ(std::ranges::count(names, "machine"), 0) << names.size();
   }
}

TEST_F(TearDown, WithdrawsEveryKeyOnce) {
   sm->mdlDoZombieReactors(true);
   thenCalls({removes("10.0.0.1/32"), removes("2001:db8::1/128"), removes("10.1.0.0/16"),
              "remove " + green("10.0.1.1/32") + " -> removed",
              "remove " + green("10.2.0.0/16") + " -> removed"});
   thenNothingIsHeld();
}

TEST_F(TearDown, ByTheLastPointerWithdrawsEveryKeyOnce) {
   whenMachineDropped();
   EXPECT_EQ(hardware->removeCalls(), 5U);
   thenHardware({});
}

TEST_F(TearDown, AfterAnExplicitRestDropsWithoutAnotherCall) {
   sm->mdlDoZombieReactors(true);
   forgetSoFar();
   givenTraceLevels({2, 5});
   whenMachineDropped();
   thenCalls({});
   thenTraces({});
}

TEST_F(TearDown, WithdrawsKeysThatGroupsAndRolesShareOnce) {
   givenInterfaceWith("Ethernet3", "10.0.3.1/24", {"10.1.0.9/24"}, true);
   givenGroup("blue");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.0.3.1/32");
   whenDecapIntfAdded("blue", "", all);
   whenDecapIntfAdded("blue", "Ethernet3", all);
   whenDecapIntfAdded("red", "Ethernet3", primaryOnly);
   forgetSoFar();
   std::size_t const held = hardware->table().size();
   sm->mdlDoZombieReactors(true);
   EXPECT_EQ(hardware->journal().calls().size(), held);
   thenNothingIsHeld();
}

TEST_F(TearDown, DropsKeysThatWaitAndClearsTheAlarm) {
   hardware->table().capacityIs(0);
   whenDecapIpAdded("red", "10.3.0.0/16");
   thenHwResourceFull(true);
   forgetSoFar();
   whenMachineDropped();
   thenHardware({});
   thenHwResourceFull(false);
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
}

TEST_F(TearDown, TwiceCleansUpOnce) {
   sm->mdlDoZombieReactors(true);
   forgetSoFar();
   givenTraceLevels({2, 5});
   sm->mdlDoZombieReactors(true);
   thenTraces({});
   thenCalls({});
}

// The machine's own flag decides. A reactor that was revived alone is not looked at again.
TEST_F(TearDown, OfAMachineAtRestLooksAtNoReactor) {
   sm->mdlDoZombieReactors(true);
   reactor("red")->mdlDoZombieReactors(false);
   givenTraceLevels({2, 5});
   forgetSoFar();
   sm->mdlDoZombieReactors(true);
   thenTraces({});
   EXPECT_FALSE(reactor("red")->isMarkedForDeletion());
}

TEST_F(TearDown, KeepsTheMachineAliveThatAHookDrops) {
   hardware->duringRemoval(1, [&] { sm = nullptr; });
   auto const machines = Sm::type().allocations();
   sm.operator->()->mdlDoZombieReactors(true);
   EXPECT_EQ(Sm::type().allocations(), machines - 1);
   EXPECT_EQ(hardware->removeCalls(), 5U);
   thenHardware({});
}

TEST_F(TearDown, OfALivingMachineRevivedDoesNothing) {
   givenTraceLevels({2, 5});
   sm->mdlDoZombieReactors(false);
   thenTraces({});
   EXPECT_EQ(flagged(), Texts{});
}

TEST_F(TearDown, RevivedClearsEveryFlag) {
   sm->mdlDoZombieReactors(true);
   forgetSoFar();
   sm->mdlDoZombieReactors(false);
   EXPECT_EQ(flagged(), Texts{});
   EXPECT_TRUE(sm->mdlDgConfig()->hasNotificationActive());
   EXPECT_TRUE(reactor("red")->hasNotificationActive());
   thenCalls({});
   thenCounts({});
}

// Groups and IPv6 interfaces clean up in both directions, IPv4 interfaces on their way out only.
// All of it is deliberate.
TEST_F(TearDown, RevivedCleansUpGroupsAndIpv6Interfaces) {
   sm->mdlDoZombieReactors(true);
   givenTraceLevels({2, 5});
   forgetSoFar();
   sm->mdlDoZombieReactors(false);
   Texts cleanUps;
   for (auto const& record : traces) {
      bool const begins =
          record.text.starts_with("handleDelete") || record.text.starts_with("doIntfCleanup");
      if (begins) cleanUps.push_back(record.text);
   }
   EXPECT_EQ(cleanUps, (Texts{"handleDeleteDecap Group: red", "handleDeleteDecap Group: green",
                              "doIntfCleanupintfId: Ethernet1"}));
}

TEST_F(TearDown, RevivedFollowsChangesAgain) {
   sm->mdlDoZombieReactors(true);
   sm->mdlDoZombieReactors(false);
   whenDecapIpAdded("red", "10.3.0.0/16");
   givenInterface("Ethernet1", "10.0.0.2/24");
   thenDestinations({"10.3.0.0/16", "10.0.0.2/32"});
   thenBooksAgree();
   whenMachineDropped();
   thenHardware({});
}

TEST_F(TearDown, AtRestNothingIsFollowed) {
   sm->mdlDoZombieReactors(true);
   forgetSoFar();
   givenTraceLevels({2, 5});
   whenDecapIpAdded("red", "10.3.0.0/16");
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   givenInterface("Ethernet9", "10.0.9.1/24");
   givenInterface6("Ethernet9", {"2001:db8:9::1/64"});
   givenGroup("late");
   config->readyIs(false);
   verifyData->doRequestVerify();
   whenTimePasses(10.0);
   thenTraces({});
   thenCalls({});
   EXPECT_EQ(reactor("late"), nullptr);
   EXPECT_FALSE(sm->mdlIpIntfStatusHas(intf("Ethernet9")));
   EXPECT_FALSE(sm->mdlIp6IntfStatusHas(intf("Ethernet9")));
}

// A group that is flagged takes part in nothing: its keys have gone, and an interface that is
// cleaned up after it must not ask for them again.
TEST_F(TearDown, InterfacesLeaveFlaggedGroupsAlone) {
   reactor("red")->mdlDoZombieReactors(true);
   forgetSoFar();
   givenTraceLevels({2});
   ip->ipIntfStatusDel(intf("Ethernet1"));
   ip6->intfDel(intf("Ethernet1"));
   EXPECT_EQ(tracesOf("handleIpIntfStatusChange"), Texts{});
   EXPECT_EQ(tracesOf("deleteDecapEntry"), Texts{});
   thenCalls({});
}

TEST_F(TearDown, InterfacesFindNothingToWithdrawAfterTheGroups) {
   givenTraceLevels({2});
   sm->mdlDoZombieReactors(true);
   EXPECT_EQ(tracesOf("handleIpIntfStatusChange"), Texts{});
}

// What outlives the machine no longer reaches it.

TEST_F(TearDown, DetachesTheReactorsThatOutliveTheMachine) {
   auto const configReactor = sm->mdlDgConfig();
   auto const four = sm->mdlIpStatus();
   auto const six = sm->mdlIp6Status();
   auto const clock = sm->mdlClock();
   auto const verify = sm->mdlVerifyData();
   auto const group = reactor("red");
   auto const intf4 = sm->mdlIpIntfStatus(intf("Ethernet1"));
   auto const intf6 = sm->mdlIp6IntfStatus(intf("Ethernet1"));
   whenMachineDropped();
   forgetSoFar();
   for (auto const& reactor : std::initializer_list<Mdl::Ptr<Mdl::PtrInterface::NotifieeConst>>{
            configReactor, four, six, clock, verify, group, intf4, intf6}) {
      reactor->isMarkedForDeletionIs(false);
      reactor->hasNotificationActiveIs(true);
   }
   whenDecapIpAdded("red", "10.3.0.0/16");
   givenGroup("late");
   givenInterface("Ethernet1", "10.0.0.2/24");
   givenInterface6("Ethernet1", {"2001:db8::2/64"});
   verifyData->doRequestVerify();
   clock->timeMinIs(1.0);
   whenTimePasses(2.0);
   group->createDecapEntry(key("10.9.0.0/16"));
   group->deleteDecapEntry(key("10.9.0.0/16"));
   thenCalls({});
}

TEST_F(TearDown, GivesBackItsInputs) {
   whenMachineDropped();
   EXPECT_EQ(hardware->references(), 1U);
   EXPECT_EQ(acsd->references(), 1U);
   EXPECT_EQ(status->references(), 1U);
   EXPECT_EQ(config->references(), 1U);
   EXPECT_EQ(ip->references(), 1U);
   EXPECT_EQ(ip6->references(), 1U);
}

TEST_F(TearDown, ForgetsTheInterfaceRecords) {
   auto const record = sm->decapIntfIp(intf("Ethernet1"));
   ASSERT_NE(record, nullptr);
   EXPECT_GT(record->references(), 1U);
   whenMachineDropped();
   EXPECT_EQ(record->references(), 1U);
}

TEST_F(TearDown, SwallowsAnExceptionOfTheHookAndWithdrawsTheRest) {
   hardware->faultInRemoval(hardware->removeCalls() + 2);
   whenMachineDropped();
   EXPECT_EQ(hardware->removeCalls(), 5U);
   thenHardware({udp("2001:db8::1/128")});
}

}  // namespace
