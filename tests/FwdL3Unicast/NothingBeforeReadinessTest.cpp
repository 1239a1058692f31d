#include "support/DecapFixture.h"

#include <algorithm>

namespace {

/// A group derives nothing until the configuration has been replayed into it.
class NothingBeforeReadiness : public DecapFixture {
 protected:
   NothingBeforeReadiness() {
      givenInterface("et1", "10.9.0.1/24");
      givenGroup("red");
      givenMachine();
      givenTraceLevels({2});
   }

   void thenNothing() const {
      thenCalls({});
      thenCounts({});
      thenBacklog({});
      EXPECT_TRUE(sm->decapIntfIp().empty());
   }

   static constexpr char text[] = "udp 10.1.0.0/16 port 6080 payload ip vrf default";
   static constexpr char et1Text[] = "udp 10.9.0.1/32 port 6080 payload ip vrf default";
};

TEST_F(NothingBeforeReadiness, PrefixesAndInterfacesAreIgnored) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIntfAdded("red", "et1");
   whenDecapIntfAdded("red", "");
   whenExcluded("red", {"et1"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   whenDecapIntfRemoved("red", "et1");
   thenTraces({});
   thenNothing();
}

TEST_F(NothingBeforeReadiness, TheyAreIgnoredWithEitherConditionAlone) {
   sm->initializedIs(true);
   forgetSoFar();
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIntfAdded("red", "et1");
   thenTraces({});
   thenNothing();

   sm->initializedIs(false);
   config->readyIs(true);
   forgetSoFar();
   whenDecapIpAdded("red", "10.2.0.0/16");
   whenExcluded("red", {"et1"});
   thenTraces({});
   thenNothing();
}

TEST_F(NothingBeforeReadiness, AnInvalidExcludeEntryIsIgnoredToo) {
   DecapExcludeIntfSet const named({intf("et1"), ipv4});
   groups[0]->decapExcludeIntfSetIs(named);
   thenTraces({});
}

TEST_F(NothingBeforeReadiness, TheTunnelTypeStopsBeforeRebuilding) {
   groups[0]->hasNotificationActiveIs(false);
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIntfAdded("red", "et1");
   groups[0]->hasNotificationActiveIs(true);
   groups[0]->tunnelTypeIs(TunnelType::gre);
   thenTraces({"handleUpdateType notifier tunnel type gre"});
   thenNothing();
}

TEST_F(NothingBeforeReadiness, PortPayloadTypeAndVrfAreNotEvenTraced) {
   groups[0]->destPortIs(7000);
   groups[0]->payloadTypeIs(PayloadType::mpls);
   groups[0]->forwardingVrfIs(vrf("blue"));
   thenTraces({});
   thenNothing();
}

TEST_F(NothingBeforeReadiness, ANewGroupIsNotDerivedEither) {
   auto const blue = makeGroup("blue", {});
   blue->decapIpIs(prefix("10.1.0.0/16"));
   blue->decapIntfIs(DecapIntf({intf("et1"), ipv4}));
   config->decapGroupIs(blue);
   thenTraces({"handleUpdateIntf", "handleUpdateIp", "handleUpdateType notifier tunnel type udp"});
   thenNothing();
}

TEST_F(NothingBeforeReadiness, ARepointedGroupIsNotDerivedEither) {
   auto const other = makeGroup("red", {});
   other->decapIpIs(prefix("10.1.0.0/16"));
   config->decapGroupIs(other);
   EXPECT_EQ(reactor("red")->group(), other);
   thenNothing();
}

TEST_F(NothingBeforeReadiness, TheReplayFindsWhatIsThereThen) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   whenDecapIpRemoved("red", "10.2.0.0/16");
   whenDecapIntfAdded("red", "et1");
   groups[0]->destPortIs(7000);
   givenRunning();
   thenHardware({"udp 10.1.0.0/16 port 7000 payload ip vrf default",
                 "udp 10.9.0.1/32 port 7000 payload ip vrf default"});
   thenCounts({"udp 10.1.0.0/16 port 7000 payload ip vrf default x1",
               "udp 10.9.0.1/32 port 7000 payload ip vrf default x1"});
}

TEST_F(NothingBeforeReadiness, ChangesAfterTheReplayAreFollowed) {
   givenRunning();
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIntfAdded("red", "et1");
   thenHardware({text, et1Text});
   whenDecapIntfRemoved("red", "et1");
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({});
}

TEST_F(NothingBeforeReadiness, AGroupIsFollowedFromItsTurnInTheReplayOn) {
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.2.0.0/16");
   Texts ignored;
   hardware->duringProgram(1, [&] {
      traces.clear();
      whenDecapIpAdded("blue", "10.3.0.0/16");
      for (auto const& record : traces) ignored.push_back(record.text);
   });
   hardware->duringProgram(2, [&] { whenDecapIpAdded("red", "10.4.0.0/16"); });
   givenRunning();
   EXPECT_EQ(ignored, Texts{});
   thenCounts({"udp 10.1.0.0/16 port 6080 payload ip vrf default x1",
               "udp 10.2.0.0/16 port 6080 payload ip vrf blue x1",
               "udp 10.3.0.0/16 port 6080 payload ip vrf blue x1",
               "udp 10.4.0.0/16 port 6080 payload ip vrf default x1"});
   EXPECT_EQ(hardware->table().size(), 4U);
}

TEST_F(NothingBeforeReadiness, AGroupThatComesLaterIsFollowedFromItsCreation) {
   givenRunning();
   givenGroup("blue", {.vrf = "blue"});
   whenDecapIpAdded("blue", "10.2.0.0/16");
   thenHardware({"udp 10.2.0.0/16 port 6080 payload ip vrf blue"});
}

// The handlers themselves have no gate: who calls one directly is taken at his word.
TEST_F(NothingBeforeReadiness, AHandlerCalledDirectlyActsAndTheReplayCountsItsKeyOnce) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenCounts({std::string(text) + " x1"});
   givenRunning();
   thenCounts({std::string(text) + " x1"});
   EXPECT_EQ(hardware->programCalls(), 1U);
}

}  // namespace
