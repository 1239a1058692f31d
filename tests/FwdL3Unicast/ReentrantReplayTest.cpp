#include "support/DecapFixture.h"

#include <algorithm>
#include <functional>

namespace {

/// What a hook may do while the configuration is replayed.
class ReentrantReplay : public DecapFixture {
 protected:
   ReentrantReplay() {
      givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
      whenDecapIpAdded("red", "10.2.0.0/16");
      givenGroup("blue")->decapIpIs(prefix("10.3.0.0/16"));
      givenMachine();
      config->readyIs(true);
   }

   void during(std::uint64_t call, Sim::SimHelper::Action action) {
      hardware->duringProgram(call, std::move(action));
   }

   void thenReplayed(Texts const& entries) const {
      thenOnly(entries);
      EXPECT_TRUE(sm->dgConfigReadyHandled());
      EXPECT_EQ(readyCalls(), 1);
   }

   long readyCalls() const {
      return std::ranges::count(hardware->journal().calls(), Sim::Operation::configReady,
                                &Sim::Call::operation);
   }
};

TEST_F(ReentrantReplay, APrefixOfTheGroupGoes) {
   during(1, [&] { whenDecapIpRemoved("red", "10.2.0.0/16"); });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16"), entry("10.3.0.0/16")});
   EXPECT_EQ(hardware->programCalls(), 2U);
}

TEST_F(ReentrantReplay, TheVeryPrefixGoes) {
   during(1, [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   sm->initializedIs(true);
   thenReplayed({entry("10.2.0.0/16"), entry("10.3.0.0/16")});
}

TEST_F(ReentrantReplay, TheVeryPrefixGoesAndComesBack) {
   during(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16"), entry("10.2.0.0/16"), entry("10.3.0.0/16")});
}

TEST_F(ReentrantReplay, PrefixesComeToGroupsBeforeAndAfterTheirTurn) {
   during(1, [&] {
      whenDecapIpAdded("red", "10.4.0.0/16");
      whenDecapIpAdded("blue", "10.5.0.0/16");
   });
   during(3, [&] { whenDecapIpAdded("red", "10.6.0.0/16"); });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16"), entry("10.2.0.0/16"), entry("10.3.0.0/16"),
                 entry("10.4.0.0/16"), entry("10.5.0.0/16"), entry("10.6.0.0/16")});
}

TEST_F(ReentrantReplay, AnotherGroupGoesBeforeItsTurn) {
   during(1, [&] { whenGroupRemoved("blue"); });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16"), entry("10.2.0.0/16")});
   EXPECT_EQ(hardware->programCalls(), 2U);
}

TEST_F(ReentrantReplay, TheGroupItselfGoes) {
   during(1, [&] { whenGroupRemoved("red"); });
   sm->initializedIs(true);
   thenReplayed({entry("10.3.0.0/16")});
}

TEST_F(ReentrantReplay, TheGroupItselfGoesAndComesBack) {
   during(1, [&] {
      whenGroupRemoved("red");
      givenGroup("red", {.port = 7000})->decapIpIs(prefix("10.1.0.0/16"));
   });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16", "default", 7000), entry("10.3.0.0/16")});
   whenDecapIpAdded("red", "10.7.0.0/16");
   thenReplayed({entry("10.1.0.0/16", "default", 7000), entry("10.3.0.0/16"),
                 entry("10.7.0.0/16", "default", 7000)});
}

TEST_F(ReentrantReplay, ANewGroupComes) {
   during(1, [&] {
      auto const green = makeGroup("green", {});
      green->decapIpIs(prefix("10.4.0.0/16"));
      groups.push_back(green);
      config->decapGroupIs(green);
   });
   sm->initializedIs(true);
   thenReplayed(
       {entry("10.1.0.0/16"), entry("10.2.0.0/16"), entry("10.3.0.0/16"), entry("10.4.0.0/16")});
   whenDecapIpAdded("green", "10.5.0.0/16");
   EXPECT_TRUE(hardware->table().contains(key("10.5.0.0/16")));
}

// What the hook has not been asked for by then it may take for unwanted.
TEST_F(ReentrantReplay, ANewGroupIsProgrammedBeforeTheHookIsToldThatAllIs) {
   during(3, [&] { givenGroup("green")->decapIpIs(prefix("10.4.0.0/16")); });
   sm->initializedIs(true);
   auto const texts = hardware->journal().texts();
   ASSERT_FALSE(texts.empty());
   EXPECT_EQ(texts.back(), "configuration ready");
}

TEST_F(ReentrantReplay, ANewGroupComesInTheLastCall) {
   during(3, [&] { givenGroup("green")->decapIpIs(prefix("10.4.0.0/16")); });
   sm->initializedIs(true);
   thenReplayed(
       {entry("10.1.0.0/16"), entry("10.2.0.0/16"), entry("10.3.0.0/16"), entry("10.4.0.0/16")});
}

TEST_F(ReentrantReplay, TheGroupsAttributesChange) {
   during(1, [&] {
      groupNamed("red").destPortIs(7000);
      groupNamed("blue").forwardingVrfIs(vrf("blue"));
   });
   sm->initializedIs(true);
   whenTimePasses(1.0);
   thenReplayed({entry("10.1.0.0/16", "default", 7000), entry("10.2.0.0/16", "default", 7000),
                 entry("10.3.0.0/16", "blue")});
}

TEST_F(ReentrantReplay, TheTunnelTypeChanges) {
   during(1, [&] { groupNamed("red").tunnelTypeIs(TunnelType::gre); });
   sm->initializedIs(true);
   thenReplayed({"gre 10.1.0.0/16 port 6080 payload ip vrf default",
                 "gre 10.2.0.0/16 port 6080 payload ip vrf default", entry("10.3.0.0/16")});
}

TEST_F(ReentrantReplay, ReadinessIsHandledInsideTheReplay) {
   during(1, [&] { sm->handleDecapGroupConfigReady(); });
   during(2, [&] {
      sm->initializedIs(false);
      sm->initializedIs(true);
   });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16"), entry("10.2.0.0/16"), entry("10.3.0.0/16")});
   EXPECT_EQ(hardware->programCalls(), 3U);
}

TEST_F(ReentrantReplay, ReadinessIsHandledInsideTheReadyCall) {
   hardware->observerIs([&](Sim::Call const& call) {
      if (call.operation == Sim::Operation::configReady && readyCalls() == 1) {
         sm->handleDecapGroupConfigReady();
      }
   });
   sm->initializedIs(true);
   thenReplayed({entry("10.1.0.0/16"), entry("10.2.0.0/16"), entry("10.3.0.0/16")});
}

TEST_F(ReentrantReplay, TheConfigurationIsReplacedByAnother) {
   auto const other = Mdl::allocate<Tunnel::Decap::Config>();
   auto const green = makeGroup("green", {.vrf = "green"});
   green->decapIpIs(prefix("10.8.0.0/16"));
   other->decapGroupIs(green);
   other->readyIs(true);
   during(1, [&] { sm->mdlDgConfig()->notifierIs(other); });
   sm->initializedIs(true);
   thenReplayed({entry("10.8.0.0/16", "green")});
   green->decapIpIs(prefix("10.9.0.0/16"));
   EXPECT_EQ(hardware->table().size(), 2U);
}

TEST_F(ReentrantReplay, TheLastPointerToTheMachineGoes) {
   for (std::uint64_t call = 1; call <= 3; ++call) {
      if (!sm) givenMachine();
      auto const calls = hardware->programCalls();
      during(calls + call, [&] { sm = nullptr; });
      sm->initializedIs(true);
      EXPECT_FALSE(sm) << call;
      thenHardware({});
      EXPECT_TRUE(config->notifiees().empty()) << call;
   }
}

TEST_F(ReentrantReplay, TheLastPointerToTheMachineGoesInADirectCall) {
   hardware->script().atCall(1, Sim::Answer::fault());
   EXPECT_THROW(sm->initializedIs(true), Sim::HardwareFault);
   during(2, [&] { sm = nullptr; });
   sm->handleDecapGroupConfigReady();
   EXPECT_FALSE(sm);
   thenHardware({});
   EXPECT_TRUE(config->notifiees().empty());
}

TEST_F(ReentrantReplay, TheLastPointerToTheMachineGoesInTheReadyCall) {
   hardware->observerIs([&](Sim::Call const& call) {
      if (call.operation == Sim::Operation::configReady) sm = nullptr;
   });
   sm->initializedIs(true);
   EXPECT_FALSE(sm);
   thenHardware({});
}

TEST_F(ReentrantReplay, TheLastPointerToTheMachineGoesWhenTheReplayCameFromTheConfiguration) {
   sm = nullptr;
   config = Mdl::allocate<Tunnel::Decap::Config>();
   for (auto const& group : groups) config->decapGroupIs(group);
   givenMachine();
   sm->initializedIs(true);
   during(2, [&] { sm = nullptr; });
   config->readyIs(true);
   EXPECT_FALSE(sm);
   thenHardware({});
}

TEST_F(ReentrantReplay, AFaultWhileEverythingChangesLeavesNothingTwice) {
   hardware->script().atCall(2, Sim::Answer::fault());
   during(2, [&] {
      whenDecapIpRemoved("red", "10.2.0.0/16");
      whenDecapIpAdded("blue", "10.1.0.0/16");
   });
   EXPECT_THROW(sm->initializedIs(true), Sim::HardwareFault);
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   sm->handleDecapGroupConfigReady();
   whenTimePasses(1.0);
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   thenCounts({entry("10.1.0.0/16") + " x2", entry("10.3.0.0/16") + " x1"});
   thenHardware({entry("10.1.0.0/16"), entry("10.3.0.0/16")});
   config->decapGroupDelAll();
   thenCounts({});
   thenHardware({});
}

}  // namespace
