#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

namespace {

using Support::rep;

/// The prefixes of a group.
class DecapIp : public DecapFixture {
 protected:
   void givenRunningGroup(Group const& group = {}) {
      givenGroup("red", group);
      givenRunning();
      givenTraceLevels({2});
      forgetSoFar();
   }

   static Texts afterwards(Texts handler, Texts const& rest) {
      handler.insert(handler.end(), rest.begin(), rest.end());
      return handler;
   }

   static Texts takenTraces(Fwd::DecapKey const& key) {
      return {"createDecapEntry decapKey=" + rep(key),
              "updateRefCount key " + rep(key) + " refCount 0 inc by 1",
              " add key to hw " + rep(key)};
   }

   static Texts leftTraces(Fwd::DecapKey const& key) {
      return {"deleteDecapEntry decapKey=" + rep(key) + " refCount=1",
              "updateRefCount key " + rep(key) + " refCount 1 dec by 1",
              " delete key from hw " + rep(key)};
   }

   static constexpr char text[] = "udp 10.1.0.0/16 port 6080 payload ip vrf default";
};

TEST_F(DecapIp, AddedIsProgrammedAndRemovedIsWithdrawn) {
   givenRunningGroup();
   auto const one = key("10.1.0.0/16");
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenTraces(afterwards({"handleUpdateIp decapIp 10.1.0.0/16", " add "}, takenTraces(one)));
   thenHardware({text});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(one));
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(one));

   forgetSoFar();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenTraces(afterwards({"handleUpdateIp decapIp 10.1.0.0/16", " delete "}, leftTraces(one)));
   thenHardware({});
   thenCounts({});
   thenOwners({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(one));
}

TEST_F(DecapIp, OfTheSixthVersionIsProgrammedLikewise) {
   givenRunningGroup({.type = TunnelType::gre, .port = 0, .payload = PayloadType::unset});
   whenDecapIpAdded("red", "2001:db8::/32");
   thenHardware({"gre 2001:db8::/32 vrf default"});
   EXPECT_EQ(hardware->journal().calls()[0].key.srcIp(), prefix("::/128"));
}

TEST_F(DecapIp, OfAGroupWithoutATunnelTypeIsNotEvenTraced) {
   givenRunningGroup({.type = TunnelType::unknown});
   whenDecapIpAdded("red", "10.1.0.0/16");
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenTraces({});
   thenCalls({});
   thenCounts({});
}

TEST_F(DecapIp, TheHandlerWithoutAPrefixOnlyTraces) {
   givenRunningGroup();
   groups[0]->hasNotificationActiveIs(false);
   whenDecapIpAdded("red", "10.1.0.0/16");
   reactor("red")->handleUpdateIp();
   thenTraces({"handleUpdateIp"});
   thenCalls({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
}

TEST_F(DecapIp, TheConfigurationTellsWhetherAPrefixWasAddedOrRemoved) {
   givenRunningGroup();
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenTraces({"handleUpdateIp decapIp 10.1.0.0/16", " delete ",
               "deleteDecapEntry decapKey=" + rep(key("10.1.0.0/16")) + " refCount=0"});
   groups[0]->hasNotificationActiveIs(false);
   whenDecapIpAdded("red", "10.1.0.0/16");
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenHardware({text});
}

TEST_F(DecapIp, RemovedTwiceIsWithdrawnOnce) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpRemoved("red", "10.1.0.0/16");
   forgetSoFar();
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenTraces({"handleUpdateIp decapIp 10.1.0.0/16", " delete ",
               "deleteDecapEntry decapKey=" + rep(key("10.1.0.0/16")) + " refCount=0"});
   thenCalls({});
   thenCounts({});
}

TEST_F(DecapIp, OfAGroupThatTheConfigurationNoLongerHoldsIsWithdrawn) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.1.0.0/16");
   config->hasNotificationActiveIs(false);
   config->decapGroupDel(Mdl::String("red"));
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenHardware({});
   thenCounts({});
}

TEST_F(DecapIp, IsRecordedThoughItsKeyWaitsForThePort) {
   givenRunningGroup({.port = 0});
   auto const waiting = key("10.1.0.0/16", {.port = 0});
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenTraces({"handleUpdateIp decapIp 10.1.0.0/16", " add ",
               "createDecapEntry decapKey=" + rep(waiting),
               "tunnelType udp with destPort: 0 and payloadType: ip"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(waiting));
   thenCounts({});
   forgetSoFar();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenTraces({"handleUpdateIp decapIp 10.1.0.0/16", " delete ",
               "deleteDecapEntry decapKey=" + rep(waiting) + " refCount=0"});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(waiting));
   thenCalls({});
}

TEST_F(DecapIp, ThatWaitedForThePortIsProgrammedWithIt) {
   givenRunningGroup({.port = 0, .payload = PayloadType::unset});
   whenDecapIpAdded("red", "10.1.0.0/16");
   groups[0]->destPortIs(6080);
   thenCalls({});
   groups[0]->payloadTypeIs(PayloadType::ip);
   thenCalls({"program " + std::string(text) + " -> success"});
   thenCounts({std::string(text) + " x1"});
}

TEST_F(DecapIp, TheMachineIsToldBeforeTheKeyIsRecorded) {
   givenRunningGroup();
   auto const one = key("10.1.0.0/16");
   std::vector<bool> recorded;
   hardware->observerIs(
       [&](Sim::Call const&) { recorded.push_back(reactor("red")->decapKeyFromIp(one)); });
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpRemoved("red", "10.1.0.0/16");
   EXPECT_EQ(recorded, (std::vector<bool>{false, true}));
}

TEST_F(DecapIp, OfLengthZeroHasNoDestination) {
   givenRunningGroup();
   whenDecapIpAdded("red", "0.0.0.0/0");
   thenHardware({"udp (no destination) port 6080 payload ip vrf default"});
   whenDecapIpRemoved("red", "0.0.0.0/0");
   thenHardware({});
   thenCounts({});
}

// Prefixes of length zero have one key between them, that of no destination.
TEST_F(DecapIp, OfLengthZeroKeepsTheKeyUntilTheLastOneGoes) {
   givenRunningGroup();
   whenDecapIpAdded("red", "0.0.0.0/0");
   whenDecapIpAdded("red", "::/0");
   whenDecapIpRemoved("red", "0.0.0.0/0");
   EXPECT_EQ(sm->refCount().size(), 1U);
   EXPECT_EQ(hardware->table().size(), 1U);
   whenDecapIpRemoved("red", "::/0");
   thenCounts({});
   thenHardware({});
}

TEST_F(DecapIp, SecondVrfWaitsUntilTheFirstLeaves) {
   givenGroup("red", {.vrf = "red"});
   givenGroup("blue", {.vrf = "blue"});
   givenRunning();
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf red"});
   thenBacklog({"udp 10.1.0.0/16 port 6080 payload ip vrf blue"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   whenTimePasses(1.0);
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf blue"});
   thenBacklog({});
}

TEST_F(DecapIp, OfLengthZeroKeepsNoKeyOfAnother) {
   givenRunningGroup();
   whenDecapIpAdded("red", "0.0.0.0/0");
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({"udp (no destination) port 6080 payload ip vrf default"});
}

}  // namespace
