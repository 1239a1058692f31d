#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

#include <algorithm>

namespace {

using Support::rep;

/// The count of references on each key, and what the callers make of it.
class KeyCounting : public DecapFixture {
 protected:
   KeyCounting() { givenRunning(); }

   Fwd::DecapKey const one = key("10.1.0.0/16");
   static constexpr char text[] = "udp 10.1.0.0/16 port 6080 payload ip vrf default";
   std::string const counted = text;
};

TEST_F(KeyCounting, RaisesAndLowersByOne) {
   sm->updateRefCount(one, true);
   thenCounts({counted + " x1"});
   sm->updateRefCount(one, true);
   thenCounts({counted + " x2"});
   sm->updateRefCount(one, false);
   thenCounts({counted + " x1"});
   sm->updateRefCount(one, false);
   thenCounts({});
}

TEST_F(KeyCounting, CountsEachKeyOnItsOwn) {
   sm->updateRefCount(one, true);
   sm->updateRefCount(one, true);
   sm->updateRefCount(key("10.1.0.0/16", {.port = 6081}), true);
   sm->updateRefCount(key("10.1.0.0/16", {.vrf = "blue"}), true);
   sm->updateRefCount(one, false);
   thenCounts({counted + " x1", "udp 10.1.0.0/16 port 6081 payload ip vrf default x1",
               "udp 10.1.0.0/16 port 6080 payload ip vrf blue x1"});
}

TEST_F(KeyCounting, TracesTheCountBeforeTheChange) {
   givenTraceLevels({2});
   sm->updateRefCount(one, true);
   sm->updateRefCount(one, true);
   sm->updateRefCount(one, false);
   sm->updateRefCount(one, false);
   thenTraces({"updateRefCount key " + rep(one) + " refCount 0 inc by 1",
               "updateRefCount key " + rep(one) + " refCount 1 inc by 1",
               "updateRefCount key " + rep(one) + " refCount 2 dec by 1",
               "updateRefCount key " + rep(one) + " refCount 1 dec by 1"});
   EXPECT_EQ(traces[0].level, 2U);
   EXPECT_EQ(traces[0].function, "updateRefCount");
}

TEST_F(KeyCounting, DoesNotTouchHardwareItself) {
   forgetSoFar();
   sm->updateRefCount(one, true);
   sm->updateRefCount(one, false);
   thenCalls({});
   thenBacklog({});
   thenOwners({});
}

TEST_F(KeyCounting, IgnoresKeysThatAreNone) {
   givenTraceLevels({2, 5, 7});
   for (auto const& none : {Fwd::invalidDecapKey, Fwd::emptyDecapKey}) {
      sm->updateRefCount(none, true);
      sm->updateRefCount(none, false);
   }
   thenTraces({});
   thenCounts({});
}

TEST_F(KeyCounting, CountsTheDefaultConstructedKey) {
   sm->updateRefCount(Fwd::DecapKey(), true);
   EXPECT_EQ(sm->refCount(Fwd::DecapKey()), 1U);
}

TEST_F(KeyCounting, MutatorsOfTheCollectionOnlyStore) {
   givenTraceLevels({2, 5, 7});
   forgetSoFar();
   sm->refCountIs(one, 7);
   thenCounts({counted + " x7"});
   sm->refCountIs(one, 2);
   sm->refCountIs(key("10.2.0.0/16"), 1);
   thenCounts({counted + " x2", "udp 10.2.0.0/16 port 6080 payload ip vrf default x1"});
   sm->refCountDel(one);
   sm->refCountDel(one);
   thenCounts({"udp 10.2.0.0/16 port 6080 payload ip vrf default x1"});
   sm->refCountDelAll();
   thenCounts({});
   thenTraces({});
   thenCalls({});
}

TEST_F(KeyCounting, TellsWatchersUnderTheCollectionsIdentifier) {
   auto const changes = Support::ChangeLog::of(sm);
   sm->updateRefCount(one, true);
   sm->updateRefCount(one, false);
   EXPECT_EQ(changes->changes(),
             (std::vector<Mdl::AttributeId>{Sm::refCountAttributeId, Sm::refCountAttributeId}));
}

TEST_F(KeyCounting, ProgramsOnTheFirstReferenceAndRemovesAfterTheLast) {
   givenInterface("et1", "10.1.0.1/24");
   givenGroup("red");
   givenGroup("blue");
   forgetSoFar();
   whenDecapIpAdded("red", "10.1.0.1/32");
   whenDecapIntfAdded("red", "et1");
   whenDecapIpAdded("blue", "10.1.0.1/32");
   thenCalls({"program udp 10.1.0.1/32 port 6080 payload ip vrf default -> success"});
   thenCounts({"udp 10.1.0.1/32 port 6080 payload ip vrf default x3"});

   forgetSoFar();
   whenDecapIpRemoved("red", "10.1.0.1/32");
   whenDecapIpRemoved("blue", "10.1.0.1/32");
   thenCalls({});
   thenCounts({"udp 10.1.0.1/32 port 6080 payload ip vrf default x1"});
   whenDecapIntfRemoved("red", "et1");
   thenCalls({"remove udp 10.1.0.1/32 port 6080 payload ip vrf default -> removed"});
   thenCounts({});
   thenHardware({});
}

TEST_F(KeyCounting, AKeyReleasedBeforeItsReviewIsNotRemovedFromHardware) {
   hardware->table().capacityIs(0);
   givenGroup("red");
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenBacklog({text});
   forgetSoFar();
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenCalls({});
   thenBacklog({});
   thenCounts({});
}

TEST_F(KeyCounting, AKeyRefusedForGoodIsRemovedThoughHardwareNeverHeldIt) {
   for (auto const code : {Fwd::dgRcUnSupported, Fwd::dgRcMax}) {
      givenGroup("red");
      hardware->script().next(Sim::Answer::of(code));
      whenDecapIpAdded("red", "10.1.0.0/16");
      thenCounts({counted + " x1"});
      thenBacklog({});
      thenOwners({});
      forgetSoFar();
      whenDecapIpRemoved("red", "10.1.0.0/16");
      thenCalls({"remove " + counted + " -> not in the table"});
      thenCounts({});
   }
}

using KeyCountingDeath = KeyCounting;

constexpr char countIsZero[] =
    "Assertion failed: 0, file FwdL3Unicast/FwdDecapGroup, function void "
    "Fwd::FwdDecapGroupSm::updateRefCount\\(const Fwd::DecapKey&, bool\\)\n";

TEST_F(KeyCountingDeath, LoweringACountThatIsNotThereStopsTheProcess) {
   EXPECT_DEATH(sm->updateRefCount(one, false), countIsZero);
}

TEST_F(KeyCountingDeath, LoweringAStoredZeroStopsTheProcess) {
   sm->refCountIs(one, 0);
   EXPECT_DEATH(sm->updateRefCount(one, false), countIsZero);
}

TEST_F(KeyCountingDeath, LoweringACountThatIsNotThereTracesFirst) {
   givenTraceLevels({2});
   Mdl::Trace::sinkIs({});
   EXPECT_DEATH(sm->updateRefCount(one, false),
                "refCount 0 dec by 1(.|\n)*Assertion failed: 0, file");
}

}  // namespace
