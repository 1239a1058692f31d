#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

namespace {

using Support::rep;

/// Interface addresses as they are reported to a group.
class IntfStatusChange : public DecapFixture {
 protected:
   IntfStatusChange() {
      givenGroup("red");
      givenTraceLevels({2});
   }

   void whenReported(std::string_view address, bool deletion) {
      reactor("red")->handleIpIntfStatusChange(prefix(address), deletion);
   }

   void givenRunningQuietly() {
      givenRunning();
      forgetSoFar();
   }

   Fwd::DecapKey const one = key("10.9.0.1/32");
   std::string const text = "udp 10.9.0.1/32 port 6080 payload ip vrf default";
};

TEST_F(IntfStatusChange, IsIgnoredUntilTheMachineIsInitialized) {
   givenMachine();
   config->readyIs(true);
   forgetSoFar();
   whenReported("10.9.0.1/32", false);
   whenReported("10.9.0.1/32", true);
   thenTraces({});
   thenCalls({});
   thenCounts({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(one));
}

TEST_F(IntfStatusChange, IsIgnoredUntilTheConfigurationIsReady) {
   givenMachine();
   sm->initializedIs(true);
   forgetSoFar();
   whenReported("10.9.0.1/32", false);
   thenTraces({});
   thenCounts({});
}

TEST_F(IntfStatusChange, IsIgnoredWithoutAConfiguration) {
   givenRunningQuietly();
   sm->mdlDgConfig()->notifierIs(nullptr);
   forgetSoFar();
   whenReported("10.9.0.1/32", false);
   thenTraces({});
   thenCounts({});
}

TEST_F(IntfStatusChange, IsIgnoredOnceTheMachineIsNoLongerInitialized) {
   givenRunning();
   sm->initializedIs(false);
   forgetSoFar();
   whenReported("10.9.0.1/32", false);
   thenTraces({});
   thenCounts({});
}

TEST_F(IntfStatusChange, OfAGroupWithoutATunnelTypeIsOnlyTraced) {
   givenRunning();
   groups[0]->tunnelTypeIs(TunnelType::unknown);
   forgetSoFar();
   whenReported("10.9.0.1/32", false);
   thenTraces({"handleIpIntfStatusChange"});
   thenCounts({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(one));
}

TEST_F(IntfStatusChange, AnAddressThatCameIsProgrammed) {
   givenRunningQuietly();
   whenReported("10.9.0.1/32", false);
   thenTraces(
       {"handleIpIntfStatusChange", "handleIpIntfStatusChange decapIp 10.9.0.1/32 Deletion false",
        " add ", "createDecapEntry decapKey=" + rep(one),
        "updateRefCount key " + rep(one) + " refCount 0 inc by 1", " add key to hw " + rep(one)});
   thenHardware({text});
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(one));
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(one));
}

TEST_F(IntfStatusChange, AnAddressThatWentIsWithdrawn) {
   givenRunning();
   whenReported("10.9.0.1/32", false);
   forgetSoFar();
   whenReported("10.9.0.1/32", true);
   thenTraces({"handleIpIntfStatusChange",
               "handleIpIntfStatusChange decapIp 10.9.0.1/32 Deletion true", " delete ",
               "deleteDecapEntry decapKey=" + rep(one) + " refCount=1",
               "updateRefCount key " + rep(one) + " refCount 1 dec by 1",
               " delete key from hw " + rep(one)});
   thenHardware({});
   thenCounts({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(one));
}

TEST_F(IntfStatusChange, AnAddressThatNeverCameIsWithdrawnWithoutEffect) {
   givenRunningQuietly();
   whenReported("10.9.0.1/32", true);
   thenTraces({"handleIpIntfStatusChange",
               "handleIpIntfStatusChange decapIp 10.9.0.1/32 Deletion true", " delete ",
               "deleteDecapEntry decapKey=" + rep(one) + " refCount=0"});
   thenCalls({});
}

TEST_F(IntfStatusChange, TakesThePrefixAsItIs) {
   givenInterface("et1", "10.9.0.1/24");
   givenRunning();
   whenReported("10.9.0.1/24", false);
   whenReported("2001:db8::1/128", false);
   thenHardware({"udp 10.9.0.1/24 port 6080 payload ip vrf default",
                 "udp 2001:db8::1/128 port 6080 payload ip vrf default"});
   EXPECT_TRUE(sm->decapIntfIp().empty());
}

TEST_F(IntfStatusChange, TheMachineIsToldBeforeTheKeyIsRecorded) {
   givenRunning();
   std::vector<bool> recorded;
   hardware->observerIs(
       [&](Sim::Call const&) { recorded.push_back(reactor("red")->decapKeyFromIntf(one)); });
   whenReported("10.9.0.1/32", false);
   whenReported("10.9.0.1/32", true);
   EXPECT_EQ(recorded, (std::vector<bool>{false, true}));
}

TEST_F(IntfStatusChange, AnAddressThatIsAPrefixTooIsCountedOnceForEach) {
   givenRunning();
   whenDecapIpAdded("red", "10.9.0.1/32");
   whenReported("10.9.0.1/32", false);
   thenCounts({text + " x2"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(one));
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(one));
   whenDecapIpRemoved("red", "10.9.0.1/32");
   thenCounts({text + " x1"});
   thenHardware({text});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(one));
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(one));
   whenReported("10.9.0.1/32", true);
   thenCounts({});
   thenHardware({});
}

TEST_F(IntfStatusChange, OfAUdpGroupWithoutAPortIsRecordedAndWaits) {
   givenRunning();
   groups[0]->destPortIs(0);
   whenReported("10.9.0.1/32", false);
   thenCounts({});
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(key("10.9.0.1/32", {.port = 0})));
   groups[0]->destPortIs(6080);
   thenHardware({text});
}

}  // namespace
