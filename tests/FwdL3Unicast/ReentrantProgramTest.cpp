#include "support/DecapFixture.h"

#include <algorithm>

namespace {

/// What a hook may do while it is asked to program a key.
class ReentrantProgram : public DecapFixture {
 protected:
   ReentrantProgram() {
      givenGroup("red");
      givenGroup("blue");
      givenRunning();
      forgetSoFar();
   }

   void during(std::uint64_t call, Sim::SimHelper::Action action) {
      hardware->duringProgram(call, std::move(action));
   }
};

TEST_F(ReentrantProgram, TheKeyIsReleased) {
   during(1, [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenNothingIsLeft();
   thenCalls({"program " + entry("10.1.0.0/16") + " -> success",
              "remove " + entry("10.1.0.0/16") + " -> removed"});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
}

class ReentrantProgramAnswered : public ReentrantProgram,
                                 public ::testing::WithParamInterface<int> {};

TEST_P(ReentrantProgramAnswered, AReleasedKeyIsRecordedNowhere) {
   auto const code = static_cast<Fwd::dgRetCode>(GetParam());
   hardware->script().next(Sim::Answer::of(code));
   during(1, [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenNothingIsLeft();
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
   whenTimePasses(1.0);
   whenTimePasses(1.0);
   thenNothingIsLeft();
   EXPECT_EQ(hardware->programCalls(), 1U);
   thenHwResourceFull(false);
}

INSTANTIATE_TEST_SUITE_P(EveryCode, ReentrantProgramAnswered,
                         ::testing::Values(0, 1, 2, 3, 4, 5, 6, 200),
                         [](auto const& tested) { return "Code" + std::to_string(tested.param); });

class ReentrantProgramReadded : public ReentrantProgramAnswered {};

TEST_P(ReentrantProgramReadded, AKeyReleasedAndAddedAgainIsHeldOnce) {
   auto const code = static_cast<Fwd::dgRetCode>(GetParam());
   hardware->script().next(Sim::Answer::of(code));
   during(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenCounts({entry("10.1.0.0/16") + " x1"});
   whenTimePasses(1.0);
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

INSTANTIATE_TEST_SUITE_P(EveryCode, ReentrantProgramReadded,
                         ::testing::Values(0, 1, 2, 3, 4, 5, 6, 200),
                         [](auto const& tested) { return "Code" + std::to_string(tested.param); });

TEST_F(ReentrantProgram, TheKeyIsReleasedAndAddedAgain) {
   during(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenOnly({entry("10.1.0.0/16")});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, ForOneKeyNoCallBeginsWhileAnotherIsUnderWay) {
   std::vector<std::uint64_t> inOrderOfReturn;
   hardware->observerIs([&](Sim::Call const& call) { inOrderOfReturn.push_back(call.number); });
   during(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpRemoved("red", "10.1.0.0/16");
   });
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_TRUE(std::ranges::is_sorted(inOrderOfReturn));
   EXPECT_GE(inOrderOfReturn.size(), 2U);
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, TheInterfaceAddressGoes) {
   auto const address = prefix("10.9.0.1/32");
   during(1, [&] { reactor("red")->handleIpIntfStatusChange(address, true); });
   reactor("red")->handleIpIntfStatusChange(address, false);
   thenNothingIsLeft();
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(key("10.9.0.1/32")));
}

TEST_F(ReentrantProgram, AnotherGroupTakesTheKeyAndTheFirstLeavesIt) {
   during(1, [&] {
      whenDecapIpAdded("blue", "10.1.0.0/16");
      whenDecapIpRemoved("red", "10.1.0.0/16");
   });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenOnly({entry("10.1.0.0/16")});
   whenGroupRemoved("blue");
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, AnotherPrefixOfTheGroupIsAdded) {
   during(1, [&] { whenDecapIpAdded("red", "10.2.0.0/16"); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenOnly({entry("10.1.0.0/16"), entry("10.2.0.0/16")});
}

TEST_F(ReentrantProgram, TheGroupIsRemoved) {
   during(1, [&] { whenGroupRemoved("red"); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenNothingIsLeft();
   EXPECT_FALSE(reactor("red"));
}

TEST_F(ReentrantProgram, TheGroupIsReplacedByAnother) {
   during(1, [&] {
      auto const other = makeGroup("red", {.vrf = "green"});
      other->decapIpIs(prefix("10.2.0.0/16"));
      config->decapGroupIs(other);
   });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenOnly({entry("10.2.0.0/16", "green")});
   thenOwners({"udp 10.2.0.0/16 -> green"});
}

TEST_F(ReentrantProgram, ThePortChanges) {
   during(1, [&] { groupNamed("red").destPortIs(7000); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenOnly({entry("10.1.0.0/16", "default", 7000)});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, TheVrfChanges) {
   during(1, [&] { groupNamed("red").forwardingVrfIs(vrf("green")); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenTimePasses(1.0);
   thenOnly({entry("10.1.0.0/16", "green")});
   thenOwners({"udp 10.1.0.0/16 -> green"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, TheTunnelTypeGoesAndComes) {
   during(1, [&] {
      groupNamed("red").tunnelTypeIs(TunnelType::unknown);
      groupNamed("red").tunnelTypeIs(TunnelType::gre);
   });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenOnly({"gre 10.1.0.0/16 port 6080 payload ip vrf default"});
}

TEST_F(ReentrantProgram, TheTunnelTypeGoes) {
   during(1, [&] { groupNamed("red").tunnelTypeIs(TunnelType::unknown); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, TheVrfChangesAgainWhileTheGroupIsRekeyed) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   during(3, [&] { groupNamed("red").forwardingVrfIs(vrf("green")); });
   groupNamed("red").forwardingVrfIs(vrf("yellow"));
   whenTimePasses(1.0);
   thenOnly({entry("10.1.0.0/16", "green"), entry("10.2.0.0/16", "green")});
   whenGroupRemoved("red");
   thenNothingIsLeft();
}

// One prefix has been re-keyed already, the other still stands under its old key.
TEST_F(ReentrantProgram, PrefixesAreRemovedWhileTheGroupIsRekeyed) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   whenDecapIpAdded("red", "10.3.0.0/16");
   during(4, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpRemoved("red", "10.3.0.0/16");
   });
   groupNamed("red").destPortIs(7000);
   thenOnly({entry("10.2.0.0/16", "default", 7000)});
   whenGroupRemoved("red");
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, APrefixIsAddedWhileTheGroupIsRekeyed) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   during(3, [&] { whenDecapIpAdded("red", "10.3.0.0/16"); });
   groupNamed("red").destPortIs(7000);
   thenOnly({entry("10.1.0.0/16", "default", 7000), entry("10.2.0.0/16", "default", 7000),
             entry("10.3.0.0/16", "default", 7000)});
}

TEST_F(ReentrantProgram, AWaitingKeyIsReleasedDuringItsReview) {
   hardware->script().next(Sim::Answer::of(Fwd::dgRcNotReady));
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenBacklog({entry("10.1.0.0/16")});
   during(2, [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   whenTimePasses(1.0);
   thenNothingIsLeft();
}

TEST_F(ReentrantProgram, TheLastPointerToTheMachineGoes) {
   whenDecapIpAdded("blue", "10.5.0.0/16");
   during(2, [&] { sm = nullptr; });
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_FALSE(sm);
   thenHardware({});
   EXPECT_TRUE(config->notifiees().empty());
   EXPECT_TRUE(groupNamed("red").notifiees().empty());
}

TEST_F(ReentrantProgram, TheLastPointerToTheMachineGoesInADirectCall) {
   during(1, [&] { sm = nullptr; });
   auto const group = reactor("red");
   group->createDecapEntry(key("10.1.0.0/16"));
   EXPECT_FALSE(sm);
   EXPECT_TRUE(config->notifiees().empty());
}

TEST_F(ReentrantProgram, TheLastPointerToTheMachineGoesInAReview) {
   hardware->script().next(Sim::Answer::of(Fwd::dgRcNotReady));
   whenDecapIpAdded("red", "10.1.0.0/16");
   during(2, [&] { sm = nullptr; });
   whenTimePasses(1.0);
   EXPECT_FALSE(sm);
   thenHardware({});
}

TEST_F(ReentrantProgram, TheLastPointerToTheMachineGoesWhileTheGroupIsRekeyed) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   during(3, [&] { sm = nullptr; });
   groupNamed("red").destPortIs(7000);
   EXPECT_FALSE(sm);
   thenHardware({});
}

TEST_F(ReentrantProgram, TheLastPointerToTheMachineGoesWhileAGroupArrives) {
   during(1, [&] { sm = nullptr; });
   auto const green = makeGroup("green", {});
   green->decapIpIs(prefix("10.1.0.0/16"));
   green->decapIpIs(prefix("10.2.0.0/16"));
   config->decapGroupIs(green);
   EXPECT_FALSE(sm);
   thenHardware({});
   EXPECT_TRUE(green->notifiees().empty());
}

TEST_F(ReentrantProgram, WithoutCleanUpTheLastPointerLeavesHardwareAsItIs) {
   sm->disableCleanupOnRestartIs(true);
   during(1, [&] { sm = nullptr; });
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_FALSE(sm);
   thenHardware({entry("10.1.0.0/16")});
}

// Both were asked for while the destination was free. Hardware must not have two owners of it.
TEST_F(ReentrantProgram, AnotherVrfTakesTheDestination) {
   groupNamed("blue").forwardingVrfIs(vrf("blue"));
   during(1, [&] { whenDecapIpAdded("blue", "10.1.0.0/16"); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenHardware({entry("10.1.0.0/16", "blue")});
   thenBacklog({entry("10.1.0.0/16")});
   thenOwners({"udp 10.1.0.0/16 -> blue"});
   thenBooksAgree();
   whenDecapIpRemoved("blue", "10.1.0.0/16");
   whenTimePasses(1.0);
   thenOnly({entry("10.1.0.0/16")});
}

// What the second change has made is looked at again by the first, and left alone where it is
// right.
TEST_F(ReentrantProgram, ThePayloadTypeChangesWhileThePortIsRekeyed) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   forgetSoFar();
   during(3, [&] { groupNamed("red").payloadTypeIs(PayloadType::mpls); });
   groupNamed("red").destPortIs(6081);
   auto const text = [](char const* destination, std::uint16_t port, PayloadType payload) {
      return Sim::keyText(key(destination, {.port = port, .payload = payload}));
   };
   auto const [plain, mpls] = std::pair(PayloadType::ip, PayloadType::mpls);
   thenCalls({"remove " + text("10.1.0.0/16", 6080, plain) + " -> removed",
              "program " + text("10.1.0.0/16", 6081, plain) + " -> success",
              "remove " + text("10.2.0.0/16", 6080, plain) + " -> removed",
              "program " + text("10.2.0.0/16", 6080, mpls) + " -> success",
              "program " + text("10.1.0.0/16", 6081, mpls) + " -> success",
              "remove " + text("10.1.0.0/16", 6081, plain) + " -> removed",
              "remove " + text("10.2.0.0/16", 6080, mpls) + " -> removed",
              "program " + text("10.2.0.0/16", 6081, mpls) + " -> success"});
   thenBooksAgree();
}

}  // namespace
