#include "support/DecapFixture.h"

#include <stdexcept>

namespace {

/// What stands after a hook that throws.
class HookFault : public DecapFixture {
 protected:
   HookFault() {
      givenGroup("red");
      givenGroup("blue");
      givenRunning();
   }

   void givenFaultAt(std::uint64_t programCall) {
      hardware->script().atCall(programCall, Sim::Answer::fault());
   }
};

TEST_F(HookFault, InProgrammingReachesWhoeverCausedTheCall) {
   givenFaultAt(1);
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   EXPECT_TRUE(groupNamed("red").decapIpHas(prefix("10.1.0.0/16")));
}

TEST_F(HookFault, InProgrammingLeavesTheKeyToTheReview) {
   givenFaultAt(1);
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   thenCounts({entry("10.1.0.0/16") + " x1"});
   thenBacklog({entry("10.1.0.0/16")});
   whenTimePasses(1.0);
   thenHardware({entry("10.1.0.0/16")});
   thenBacklog({});
   thenOwners({"udp 10.1.0.0/16 -> default"});
}

TEST_F(HookFault, InProgrammingLeavesACountThatTheGroupReleases) {
   givenFaultAt(1);
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingAnInterfacesKeyLeavesACountThatTheGroupReleases) {
   givenFaultAt(1);
   EXPECT_THROW(reactor("red")->handleIpIntfStatusChange(prefix("10.9.0.1/32"), false),
                Sim::HardwareFault);
   reactor("red")->handleIpIntfStatusChange(prefix("10.9.0.1/32"), true);
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingIsReleasedWithTheGroup) {
   givenFaultAt(1);
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   whenGroupRemoved("red");
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingDoesNotCountTwiceWhenTheKeyIsDerivedAgain) {
   givenFaultAt(1);
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenCounts({entry("10.1.0.0/16") + " x1"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingAKeyReleasedMeanwhileLeavesNothing) {
   givenFaultAt(1);
   hardware->duringProgram(1, [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingAKeyReleasedAndAddedMeanwhileHoldsItOnce) {
   givenFaultAt(1);
   hardware->duringProgram(1, [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.1.0.0/16");
   });
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   thenCounts({entry("10.1.0.0/16") + " x1"});
   whenTimePasses(1.0);
   thenHardware({entry("10.1.0.0/16")});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingWhileTheLastPointerGoesLeavesNothing) {
   givenFaultAt(1);
   hardware->duringProgram(1, [&] { sm = nullptr; });
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), Sim::HardwareFault);
   EXPECT_FALSE(sm);
   thenHardware({});
   EXPECT_TRUE(config->notifiees().empty());
}

TEST_F(HookFault, InProgrammingTheFirstKeysOfAGroupLeavesItWithAllOfThem) {
   givenFaultAt(1);
   auto const green = makeGroup("green", {});
   green->decapIpIs(prefix("10.1.0.0/16"));
   green->decapIpIs(prefix("10.2.0.0/16"));
   EXPECT_THROW(config->decapGroupIs(green), Sim::HardwareFault);
   ASSERT_TRUE(reactor("green"));
   whenTimePasses(1.0);
   config->decapGroupDel(Mdl::String("green"));
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingWhileAGroupIsRekeyedLosesNoKey) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   givenFaultAt(3);
   EXPECT_THROW(groupNamed("red").destPortIs(7000), Sim::HardwareFault);
   whenTimePasses(1.0);
   groupNamed("red").destPortIs(8000);
   thenHardware({entry("10.1.0.0/16", "default", 8000), entry("10.2.0.0/16", "default", 8000)});
   thenCounts({entry("10.1.0.0/16", "default", 8000) + " x1",
               entry("10.2.0.0/16", "default", 8000) + " x1"});
   whenGroupRemoved("red");
   thenNothingIsLeft();
}

TEST_F(HookFault, InProgrammingWhileTheTypeChangesLosesNoKey) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   givenFaultAt(3);
   EXPECT_THROW(groupNamed("red").tunnelTypeIs(TunnelType::gre), Sim::HardwareFault);
   whenTimePasses(1.0);
   groupNamed("red").tunnelTypeIs(TunnelType::udp);
   thenHardware({entry("10.1.0.0/16"), entry("10.2.0.0/16")});
   whenGroupRemoved("red");
   thenNothingIsLeft();
}

TEST_F(HookFault, InRemovalReachesWhoeverCausedTheCallAndCountsAsRemoved) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   hardware->faultInRemoval(1);
   EXPECT_THROW(whenDecapIpRemoved("red", "10.1.0.0/16"), Sim::HardwareFault);
   thenCounts({});
   thenBacklog({});
   thenOwners({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
}

TEST_F(HookFault, InRemovalLeavesTheKeyFreeToBeAddedAgain) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   hardware->faultInRemoval(1);
   EXPECT_THROW(whenDecapIpRemoved("red", "10.1.0.0/16"), Sim::HardwareFault);
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenCounts({entry("10.1.0.0/16") + " x1"});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenNothingIsLeft();
}

TEST_F(HookFault, InRemovalOfAnInterfacesKeyLeavesNothing) {
   reactor("red")->handleIpIntfStatusChange(prefix("10.9.0.1/32"), false);
   hardware->faultInRemoval(1);
   EXPECT_THROW(reactor("red")->handleIpIntfStatusChange(prefix("10.9.0.1/32"), true),
                Sim::HardwareFault);
   thenCounts({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(key("10.9.0.1/32")));
}

TEST_F(HookFault, InRemovalWhileAGroupIsRekeyedLosesNoKey) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   hardware->faultInRemoval(1);
   EXPECT_THROW(groupNamed("red").destPortIs(7000), Sim::HardwareFault);
   groupNamed("red").destPortIs(8000);
   thenCounts({entry("10.1.0.0/16", "default", 8000) + " x1",
               entry("10.2.0.0/16", "default", 8000) + " x1"});
   whenGroupRemoved("red");
   thenCounts({});
   thenBacklog({});
}

TEST_F(HookFault, InRemovalOfAGroupReleasesItsOtherKeys) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   whenDecapIpAdded("red", "10.3.0.0/16");
   hardware->faultInRemoval(2);
   EXPECT_THROW(whenGroupRemoved("red"), Sim::HardwareFault);
   thenCounts({});
   thenHardware({entry("10.2.0.0/16")});
   thenOwners({});
}

TEST_F(HookFault, AnExceptionOfAnyKindPassesUnchanged) {
   hardware->duringProgram(1, [] { throw std::logic_error("of the platform"); });
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), std::logic_error);
   hardware->duringProgram(2, [] { throw 42; });
   EXPECT_THROW(whenDecapIpAdded("red", "10.2.0.0/16"), int);
   thenCounts({entry("10.1.0.0/16") + " x1", entry("10.2.0.0/16") + " x1"});
}

}  // namespace
