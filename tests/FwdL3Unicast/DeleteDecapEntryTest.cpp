#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

namespace {

using Support::rep;

/// Withdrawing one reference from a key, step by step.
class DeleteDecapEntry : public DecapFixture {
 protected:
   DeleteDecapEntry() {
      givenGroup("red");
      givenRunning();
      group = reactor("red");
      givenTraceLevels({2});
   }

   std::string entered(Fwd::DecapKey const& key, int count) const {
      return "deleteDecapEntry decapKey=" + rep(key) + " refCount=" + std::to_string(count);
   }
   std::string lowered(Fwd::DecapKey const& key, int before) const {
      return "updateRefCount key " + rep(key) + " refCount " + std::to_string(before) + " dec by 1";
   }

   /// One reference on a key that hardware answers so.
   void givenEntry(Fwd::DecapKey const& key, Fwd::dgRetCode code = Fwd::dgRcSuccess) {
      hardware->script().next(Sim::Answer::of(code));
      group->createDecapEntry(key);
      forgetSoFar();
   }

   Mdl::Ptr<Sm::MdlDecapGroup> group;
   Fwd::DecapKey const one = key("10.1.0.0/16");
   std::string const text = "udp 10.1.0.0/16 port 6080 payload ip vrf default";
};

TEST_F(DeleteDecapEntry, StopsAtAKeyThatWasNeverCounted) {
   sm->tunnelTypeDecapIpToVrfIs({TunnelType::udp, prefix("10.1.0.0/16")}, vrf("default"));
   sm->unprogrammedKeyIs(key("10.9.0.0/16"), true);
   sm->mdlClock()->timeMinIs(7.0);
   forgetSoFar();
   group->deleteDecapEntry(one);
   thenTraces({entered(one, 0)});
   thenCalls({});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
}

TEST_F(DeleteDecapEntry, StopsAtAKeyThatWaitedForItsPort) {
   auto const waiting = key("10.1.0.0/16", {.port = 0});
   group->createDecapEntry(waiting);
   forgetSoFar();
   group->deleteDecapEntry(waiting);
   thenTraces({entered(waiting, 0)});
   thenCalls({});
}

TEST_F(DeleteDecapEntry, StopsAtKeysThatAreNone) {
   forgetSoFar();
   group->deleteDecapEntry(Fwd::invalidDecapKey);
   group->deleteDecapEntry(Fwd::emptyDecapKey);
   thenTraces({entered(Fwd::invalidDecapKey, 0), entered(Fwd::emptyDecapKey, 0)});
   thenCalls({});
}

TEST_F(DeleteDecapEntry, StopsAtAStoredZero) {
   sm->refCountIs(one, 0);
   forgetSoFar();
   group->deleteDecapEntry(one);
   thenTraces({entered(one, 0)});
   thenCalls({});
}

TEST_F(DeleteDecapEntry, StopsWhileOtherReferencesKeepTheKey) {
   givenEntry(one);
   givenEntry(one);
   sm->unprogrammedKeyIs(key("10.9.0.0/16"), true);
   sm->mdlClock()->timeMinIs(7.0);
   group->deleteDecapEntry(one);
   thenTraces({entered(one, 2), lowered(one, 2)});
   thenCalls({});
   thenCounts({text + " x1"});
   thenHardware({text});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
}

TEST_F(DeleteDecapEntry, RemovesTheKeyAfterItsLastReference) {
   givenEntry(one);
   sm->mdlClock()->timeMinIs(7.0);
   group->deleteDecapEntry(one);
   thenTraces({entered(one, 1), lowered(one, 1), " delete key from hw " + rep(one)});
   thenCalls({"remove " + text + " -> removed"});
   thenCounts({});
   thenHardware({});
   thenOwners({});
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
}

TEST_F(DeleteDecapEntry, TheCountIsGoneAndTheOwnerStillThereDuringTheRemoval) {
   givenEntry(one);
   std::size_t counted = 99;
   std::size_t owned = 99;
   hardware->duringRemoval(1, [&] {
      counted = sm->refCount().size();
      owned = sm->tunnelTypeDecapIpToVrf().size();
   });
   group->deleteDecapEntry(one);
   EXPECT_EQ(counted, 0U);
   EXPECT_EQ(owned, 1U);
   thenOwners({});
}

// An owner that outlived its last remover would keep the destination from every other VRF.
TEST_F(DeleteDecapEntry, TakesTheOwnerAwayThoughAnotherKeyOfTheDestinationStays) {
   auto const other = key("10.1.0.0/16", {.port = 6081});
   givenEntry(one);
   givenEntry(other);
   group->deleteDecapEntry(one);
   thenHardware({"udp 10.1.0.0/16 port 6081 payload ip vrf default"});
   thenCounts({"udp 10.1.0.0/16 port 6081 payload ip vrf default x1"});
   thenOwners({});
}

TEST_F(DeleteDecapEntry, DropsAWaitingKeyWithoutACallOfTheHook) {
   givenEntry(key("10.8.0.0/16"));
   givenEntry(one, Fwd::dgRcNotReady);
   givenEntry(key("10.9.0.0/16"), Fwd::dgRcNotReady);
   sm->mdlClock()->timeMinIs(7.0);
   group->deleteDecapEntry(one);
   thenTraces({entered(one, 1), lowered(one, 1), " delete key from hw " + rep(one)});
   thenCalls({});
   thenBacklog({"udp 10.9.0.0/16 port 6080 payload ip vrf default"});
   thenOwners({"udp 10.8.0.0/16 -> default"});
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
}

TEST_F(DeleteDecapEntry, DroppingAKeyOfTheSecondVrfLeavesTheOwner) {
   givenEntry(one);
   auto const blue = key("10.1.0.0/16", {.vrf = "blue"});
   group->createDecapEntry(blue);
   forgetSoFar();
   group->deleteDecapEntry(blue);
   thenCalls({});
   thenBacklog({});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   thenHardware({text});
}

TEST_F(DeleteDecapEntry, ARemovalMovesTheReviewWhileKeysWait) {
   givenEntry(key("10.9.0.0/16"), Fwd::dgRcNotReady);
   givenEntry(one);
   sm->mdlClock()->timeMinIs(Mdl::never);
   time.advanceTo(2.0);
   group->deleteDecapEntry(one);
   EXPECT_DOUBLE_EQ(sm->mdlClock()->timeMin(), 2.1);
}

TEST_F(DeleteDecapEntry, ARemovalLetsTheSecondVrfInAtTheNextReview) {
   givenEntry(one);
   group->createDecapEntry(key("10.1.0.0/16", {.vrf = "blue"}));
   group->deleteDecapEntry(one);
   whenTimePasses(1.0);
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf blue"});
   thenOwners({"udp 10.1.0.0/16 -> blue"});
   thenBacklog({});
}

TEST_F(DeleteDecapEntry, AsksForNoVerification) {
   givenEntry(one);
   verifyData->requestVerifyIs(true);
   auto const requests = Support::ChangeLog::of(verifyData);
   group->deleteDecapEntry(one);
   EXPECT_TRUE(requests->changes().empty());
}

}  // namespace
