#include "platform/sim/SimHelper.h"

#include "platform/sim/SimTime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {
namespace {

using Texts = std::vector<std::string>;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

Pkt::IpGenPrefix prefix(char const* text) { return Pkt::IpGenPrefix::fromText(text); }

Fwd::DecapKey key(char const* destination) {
   return {
       Pkt::IpGenPrefix(Pkt::IpAddr()), prefix(destination), TunnelType::gre, 0, PayloadType::unset,
       L3::VrfName::defaultVrf()};
}

class SimHelperTest : public testing::Test {
 protected:
   Fwd::dgRetCode program(char const* destination) {
      return hardware->programDecapKey(key(destination));
   }
   void remove(char const* destination) { hardware->removeDecapKey(key(destination)); }
   bool holds(char const* destination) const {
      return hardware->table().contains(key(destination));
   }

   SimTime time;
   Mdl::Ptr<SimHelper> const hardware = Mdl::allocate<SimHelper>();
};

TEST_F(SimHelperTest, WritesAtOnceByDefault) {
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcSuccess);
   EXPECT_TRUE(holds("10.1.0.0/16"));
   EXPECT_EQ(hardware->written(), 1u);
}

TEST_F(SimHelperTest, SaysThatAKeyExists) {
   program("10.1.0.0/16");
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcAlreadyExists);
   EXPECT_EQ(hardware->written(), 1u);
}

TEST_F(SimHelperTest, IsFullBeyondItsCapacityUntilSomethingGoes) {
   hardware->table().capacityIs(1);
   program("10.1.0.0/16");
   EXPECT_EQ(program("10.2.0.0/16"), Fwd::dgRcHwFull);
   remove("10.1.0.0/16");
   EXPECT_EQ(program("10.2.0.0/16"), Fwd::dgRcSuccess);
}

TEST_F(SimHelperTest, AFullTableStillKnowsWhatItHolds) {
   hardware->table().capacityIs(1);
   program("10.1.0.0/16");
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcAlreadyExists);
}

TEST_F(SimHelperTest, IsPendingUntilTheLatencyHasPassed) {
   hardware->latencyIs(0.5);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcPending);
   EXPECT_EQ(hardware->nextChange(), 0.5);
   time.advanceTo(0.4);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcPending);
   EXPECT_FALSE(holds("10.1.0.0/16"));
   time.advanceTo(0.5);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcSuccess);
   EXPECT_TRUE(holds("10.1.0.0/16"));
   EXPECT_EQ(hardware->nextChange(), Mdl::never);
}

TEST_F(SimHelperTest, AKeyThatIsReadyFindsNoRoomWhenOthersHaveTakenIt) {
   hardware->latencyIs(0.5);
   hardware->table().capacityIs(1);
   program("10.1.0.0/16");
   program("10.2.0.0/16");
   time.advanceTo(1.0);
   EXPECT_EQ(program("10.2.0.0/16"), Fwd::dgRcSuccess);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcHwFull);
}

TEST_F(SimHelperTest, ARemovalEndsThePreparationOfAKey) {
   hardware->latencyIs(0.5);
   program("10.1.0.0/16");
   remove("10.1.0.0/16");
   time.advanceTo(0.5);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcPending);
}

TEST_F(SimHelperTest, IsNotReadyUntilItsTime) {
   hardware->notReadyUntilIs(1.0);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcNotReady);
   EXPECT_EQ(hardware->nextChange(), 1.0);
   time.advanceTo(1.0);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcSuccess);
}

TEST_F(SimHelperTest, HardwareThatIsNotReadyDoesNotKnowWhatItHolds) {
   program("10.1.0.0/16");
   hardware->notReadyUntilIs(Mdl::never);
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcNotReady);
}

TEST_F(SimHelperTest, AScriptedRefusalWritesNothing) {
   hardware->script().forPrefix(prefix("10.1.0.0/16"), Answer::of(Fwd::dgRcUnSupported));
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcUnSupported);
   EXPECT_FALSE(holds("10.1.0.0/16"));
   EXPECT_EQ(program("10.2.0.0/16"), Fwd::dgRcSuccess);
}

TEST_F(SimHelperTest, AScriptedSuccessWritesBeyondTheCapacity) {
   hardware->table().capacityIs(0);
   hardware->script().next(Answer::of(Fwd::dgRcSuccess));
   EXPECT_EQ(program("10.1.0.0/16"), Fwd::dgRcSuccess);
   EXPECT_TRUE(holds("10.1.0.0/16"));
}

TEST_F(SimHelperTest, AScriptedFaultThrowsAndIsJournaled) {
   hardware->script().atCall(2, Answer::fault());
   program("10.1.0.0/16");
   EXPECT_THROW(program("10.2.0.0/16"), HardwareFault);
   EXPECT_FALSE(holds("10.2.0.0/16"));
   EXPECT_EQ(hardware->journal().texts(),
             (Texts{"program gre 10.1.0.0/16 vrf default -> success",
                    "program gre 10.2.0.0/16 vrf default -> exception"}));
}

TEST_F(SimHelperTest, AFaultyRemovalRemovesNothing) {
   program("10.1.0.0/16");
   hardware->faultInRemoval(1);
   EXPECT_THROW(remove("10.1.0.0/16"), HardwareFault);
   EXPECT_TRUE(holds("10.1.0.0/16"));
   remove("10.1.0.0/16");
   EXPECT_FALSE(holds("10.1.0.0/16"));
}

TEST_F(SimHelperTest, JournalsTheRemovalOfAKeyThatItDoesNotHold) {
   remove("10.1.0.0/16");
   EXPECT_EQ(hardware->journal().texts(),
             (Texts{"remove gre 10.1.0.0/16 vrf default -> not in the table"}));
}

TEST_F(SimHelperTest, JournalsRequestsThatAreAboutNoKey) {
   hardware->verify();
   hardware->decapGroupConfigReady();
   EXPECT_EQ(hardware->journal().texts(), (Texts{"verify", "configuration ready"}));
}

TEST_F(SimHelperTest, CallsTakeTheTimeTheyCost) {
   hardware->callCostIs(0.25, &time);
   program("10.1.0.0/16");
   remove("10.1.0.0/16");
   EXPECT_EQ(time.now(), 0.5);
   EXPECT_EQ(time.clock()->time(), 0.0);
   EXPECT_EQ(hardware->journal().calls().back().time, 0.25);
}

TEST_F(SimHelperTest, AnActionRunsInsideItsCallBeforeTheTableChanges) {
   bool heldInside = true;
   hardware->duringProgram(2, [&] {
      heldInside = holds("10.2.0.0/16");
      remove("10.1.0.0/16");
   });
   program("10.1.0.0/16");
   program("10.2.0.0/16");
   EXPECT_FALSE(heldInside);
   EXPECT_EQ(hardware->journal().texts(), (Texts{"program gre 10.1.0.0/16 vrf default -> success",
                                                 "program gre 10.2.0.0/16 vrf default -> success",
                                                 "remove gre 10.1.0.0/16 vrf default -> removed"}));
}

TEST_F(SimHelperTest, AnActionRunsOnce) {
   int runs = 0;
   hardware->duringRemoval(1, [&] { ++runs; });
   remove("10.1.0.0/16");
   remove("10.1.0.0/16");
   EXPECT_EQ(runs, 1);
}

TEST_F(SimHelperTest, AnActionThatThrowsLeavesTheTableAsItWas) {
   hardware->duringProgram(1, [] { throw HardwareFault("from inside"); });
   EXPECT_THROW(program("10.1.0.0/16"), HardwareFault);
   EXPECT_FALSE(holds("10.1.0.0/16"));
}

TEST_F(SimHelperTest, SurvivesAnActionThatDropsTheLastPointer) {
   Mdl::Ptr<SimHelper> own = Mdl::allocate<SimHelper>();
   own->duringProgram(1, [&own] { own = nullptr; });
   SimHelper* const raw = own.get();
   EXPECT_EQ(raw->programDecapKey(key("10.1.0.0/16")), Fwd::dgRcSuccess);
   EXPECT_FALSE(own);
}

TEST_F(SimHelperTest, TheObserverSeesTheOutcome) {
   Texts seen;
   hardware->observerIs([&](Call const& call) { seen.push_back(callText(call)); });
   program("10.1.0.0/16");
   EXPECT_EQ(seen, (Texts{"program gre 10.1.0.0/16 vrf default -> success"}));
}

TEST_F(SimHelperTest, TheObserverMayCallTheHook) {
   Texts seen;
   hardware->observerIs([&](Call const& call) {
      seen.push_back(callText(call));
      if (call.number == 1) remove("10.1.0.0/16");
   });
   program("10.1.0.0/16");
   EXPECT_EQ(seen, (Texts{"program gre 10.1.0.0/16 vrf default -> success",
                          "remove gre 10.1.0.0/16 vrf default -> removed"}));
}

TEST_F(SimHelperTest, AsksUdpKeysToWaitUnlessToldOtherwise) {
   EXPECT_TRUE(hardware->waitForDstPortPayloadTypeForUdpTunnel());
   hardware->waitForUdpIs(false);
   EXPECT_FALSE(hardware->waitForDstPortPayloadTypeForUdpTunnel());
}

}  // namespace
}  // namespace Sim
