#include "support/DecapFixture.h"

namespace {

/// What a hook may do while it is asked to remove a key.
class ReentrantRemoval : public DecapFixture {
 protected:
   ReentrantRemoval() {
      givenGroup("red");
      givenGroup("blue", {.vrf = "blue"});
      givenRunning();
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.2.0.0/16");
      forgetSoFar();
   }

   void during(std::uint64_t call, Sim::SimHelper::Action action) {
      hardware->duringRemoval(call, std::move(action));
   }
};

TEST_F(ReentrantRemoval, TheKeyIsAddedAgain) {
   during(1, [&] { whenDecapIpAdded("red", "10.1.0.0/16"); });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenOnly({entry("10.1.0.0/16"), entry("10.2.0.0/16")});
   thenOwners({"udp 10.1.0.0/16 -> default", "udp 10.2.0.0/16 -> default"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
   whenGroupRemoved("red");
   thenOnly({});
}

TEST_F(ReentrantRemoval, TheKeyIsAddedAndRemovedAgain) {
   during(1, [&] {
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpRemoved("red", "10.1.0.0/16");
   });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenOnly({entry("10.2.0.0/16")});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
}

TEST_F(ReentrantRemoval, AnotherVrfTakesTheDestination) {
   during(1, [&] { whenDecapIpAdded("blue", "10.1.0.0/16"); });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   whenTimePasses(1.0);
   thenOnly({entry("10.1.0.0/16", "blue"), entry("10.2.0.0/16")});
}

TEST_F(ReentrantRemoval, AnotherPrefixIsRemoved) {
   during(1, [&] { whenDecapIpRemoved("red", "10.2.0.0/16"); });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenOnly({});
   thenOwners({});
}

// The key that is being removed still stands in the group's set, but no prefix calls for it.
TEST_F(ReentrantRemoval, ThePortChanges) {
   during(1, [&] { groupNamed("red").destPortIs(7000); });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenOnly({entry("10.2.0.0/16", "default", 7000)});
}

TEST_F(ReentrantRemoval, ThePortChangesBackWhileTheGroupIsRekeyed) {
   during(1, [&] { groupNamed("red").destPortIs(6080); });
   groupNamed("red").destPortIs(7000);
   thenOnly({entry("10.1.0.0/16"), entry("10.2.0.0/16")});
   whenGroupRemoved("red");
   thenOnly({});
}

TEST_F(ReentrantRemoval, TheGroupIsRemovedWhileItIsRekeyed) {
   during(1, [&] { whenGroupRemoved("red"); });
   groupNamed("red").destPortIs(7000);
   thenOnly({});
   thenOwners({});
   EXPECT_FALSE(reactor("red"));
}

TEST_F(ReentrantRemoval, TheGroupComesBackWhileItIsRemoved) {
   during(1, [&] {
      auto const again = makeGroup("red", {.port = 7000});
      again->decapIpIs(prefix("10.1.0.0/16"));
      config->decapGroupIs(again);
   });
   config->decapGroupDel(Mdl::String("red"));
   ASSERT_TRUE(reactor("red"));
   EXPECT_FALSE(reactor("red")->isMarkedForDeletion());
   thenOnly({entry("10.1.0.0/16", "default", 7000)});
}

TEST_F(ReentrantRemoval, AddsToAGroupThatIsBeingRemovedComeToNothing) {
   during(1, [&] { whenDecapIpAdded("red", "10.3.0.0/16"); });
   sm->decapGroupDel(Mdl::String("red"));
   thenOnly({});
}

TEST_F(ReentrantRemoval, AllGroupsAreRemoved) {
   whenDecapIpAdded("blue", "10.5.0.0/16");
   during(1, [&] { sm->decapGroupDelAll(); });
   config->decapGroupDelAll();
   thenOnly({});
   thenOwners({});
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
}

TEST_F(ReentrantRemoval, TheTunnelTypeComesBackWhileItGoes) {
   during(1, [&] { groupNamed("red").tunnelTypeIs(TunnelType::udp); });
   groupNamed("red").tunnelTypeIs(TunnelType::unknown);
   thenOnly({entry("10.1.0.0/16"), entry("10.2.0.0/16")});
   whenGroupRemoved("red");
   thenOnly({});
}

TEST_F(ReentrantRemoval, TheLastPointerToTheMachineGoes) {
   during(1, [&] { sm = nullptr; });
   whenDecapIpRemoved("red", "10.1.0.0/16");
   EXPECT_FALSE(sm);
   thenHardware({});
   EXPECT_EQ(hardware->removeCalls(), 2U);
   EXPECT_TRUE(config->notifiees().empty());
}

TEST_F(ReentrantRemoval, TheLastPointerToTheMachineGoesWhileTheGroupIsRemoved) {
   during(1, [&] { sm = nullptr; });
   whenGroupRemoved("red");
   EXPECT_FALSE(sm);
   thenHardware({});
   EXPECT_EQ(hardware->removeCalls(), 2U);
}

TEST_F(ReentrantRemoval, TheMachineThatGoesIsNotFilledAgain) {
   during(1, [&] {
      whenDecapIpAdded("red", "10.3.0.0/16");
      whenDecapIpAdded("blue", "10.4.0.0/16");
      givenGroup("green")->decapIpIs(prefix("10.5.0.0/16"));
   });
   whenMachineDropped();
   thenHardware({});
   EXPECT_TRUE(config->notifiees().empty());
}

TEST_F(ReentrantRemoval, TheMachineThatGoesIsDestroyedOnce) {
   auto const machines = Sm::type().allocations();
   whenMachineDropped();
   EXPECT_EQ(Sm::type().allocations(), machines - 1);
   thenCalls({"remove " + entry("10.1.0.0/16") + " -> removed",
              "remove " + entry("10.2.0.0/16") + " -> removed"});
}

TEST_F(ReentrantRemoval, APointerTakenWhileTheMachineGoesIsGivenBack) {
   Sm* const machine = sm.get();
   auto const machines = Sm::type().allocations();
   during(1, [&] { Mdl::Ptr<Sm> const taken(machine); });
   whenMachineDropped();
   EXPECT_EQ(Sm::type().allocations(), machines - 1);
   thenHardware({});
}

// The second change has built everything, and recorded what it has applied.
TEST_F(ReentrantRemoval, TheTunnelTypeChangesAgainAndEntriesStayRecorded) {
   auto const status1 = givenInterface("Ethernet1", "10.0.0.1/24");
   status1->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask(Mdl::String("10.0.0.2/24")));
   whenDecapIntfAdded("red", "", AddressType::all);
   during(1, [&] { groupNamed("red").tunnelTypeIs(TunnelType::ipip); });
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   auto const ipip = [](char const* destination) {
      return Sim::keyText(key(destination, {.type = TunnelType::ipip}));
   };
   thenHardware(
       {ipip("10.0.0.1/32"), ipip("10.0.0.2/32"), ipip("10.1.0.0/16"), ipip("10.2.0.0/16")});
   whenDecapIntfAdded("red", "", AddressType::primary);
   thenHardware({ipip("10.0.0.1/32"), ipip("10.1.0.0/16"), ipip("10.2.0.0/16")});
}

TEST_F(ReentrantRemoval, ThePortChangesAndKeysOnTheirWayOutAreLeftToTheTypeThatWentFirst) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", "10.0.1.1/24");
   whenDecapIntfAdded("red", "");
   forgetSoFar();
   during(1, [&] { groupNamed("red").destPortIs(6081); });
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   Texts removed;
   for (auto const& text : hardware->journal().texts()) {
      if (text.starts_with("remove")) removed.push_back(text);
   }
   auto const removal = [](char const* destination, int port) {
      return "remove " + entry(destination, "default", port) + " -> removed";
   };
   EXPECT_EQ(removed, (Texts{removal("10.0.0.1/32", 6080), removal("10.1.0.0/16", 6080),
                             removal("10.2.0.0/16", 6080), removal("10.0.1.1/32", 6080),
                             removal("10.1.0.0/16", 6081), removal("10.2.0.0/16", 6081)}));
}

// What such a group holds stays in hardware, for who comes after the restart.
TEST_F(ReentrantRemoval, AGroupIsTakenAwayWithoutCleanUpWhileItsTypeChanges) {
   sm->disableCleanupOnRestartIs(true);
   during(1, [&] { whenGroupRemoved("red"); });
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   thenCalls({"remove " + entry("10.1.0.0/16") + " -> removed"});
   thenHardware({entry("10.2.0.0/16")});
   thenCounts({entry("10.2.0.0/16") + " x1"});
}

}  // namespace
