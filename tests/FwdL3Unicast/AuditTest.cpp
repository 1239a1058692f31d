#include "FwdL3Unicast/Audit.h"
#include "support/DecapFixture.h"

#include <sstream>

namespace {

using Fwd::AuditFinding;
using Kind = Fwd::AuditFinding::Kind;

class Audit : public DecapFixture {
 protected:
   using Findings = std::vector<AuditFinding>;

   void givenTwoGroupsThatShareAKey() {
      givenGroup("red");
      givenGroup("blue");
      givenRunning();
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpAdded("blue", "10.1.0.0/16");
      whenDecapIpAdded("blue", "10.2.0.0/16");
   }

   std::vector<Fwd::DecapKey> readback() const {
      std::vector<Fwd::DecapKey> keys;
      for (auto const& entry : hardware->table().entries()) keys.push_back(entry.key);
      return keys;
   }

   Findings findings() const {
      auto const keys = readback();
      return Fwd::audit(*sm, &keys);
   }

   Fwd::DecapKey const shared = key("10.1.0.0/16");
   Fwd::DecapKey const single = key("10.2.0.0/16");
};

TEST_F(Audit, FindsNothingInBooksThatAgree) {
   givenTwoGroupsThatShareAKey();
   EXPECT_EQ(findings(), Findings());
}

TEST_F(Audit, NamesAKeyThatIsCountedTooOftenWithBothNumbers) {
   givenTwoGroupsThatShareAKey();
   sm->refCountIs(shared, 3);
   EXPECT_EQ(findings(), (Findings{{Kind::countDiffers, shared, 2, 3}}));
}

TEST_F(Audit, NamesAKeyThatIsHeldAndNotCounted) {
   givenTwoGroupsThatShareAKey();
   sm->refCountDel(shared);
   auto const keys = readback();
   EXPECT_EQ(
       Fwd::audit(*sm),
       (Findings{{Kind::countDiffers, shared, 2, 0},
                 {Kind::ownerWithoutKey, Fwd::DecapKey({}, shared.dstIp(), shared.tunnelType(), 0,
                                                       {}, shared.forwardingVrf())}}));
}

TEST_F(Audit, NamesAKeyThatIsCountedAndHeldByNobody) {
   givenTwoGroupsThatShareAKey();
   auto const stray = key("10.9.0.0/16");
   sm->refCountIs(stray, 1);
   EXPECT_EQ(Fwd::audit(*sm), (Findings{{Kind::countDiffers, stray, 0, 1}}));
}

TEST_F(Audit, NamesAKeyThatWaitsUncounted) {
   givenTwoGroupsThatShareAKey();
   auto const stray = key("10.9.0.0/16");
   sm->unprogrammedKeyIs(stray, true);
   EXPECT_EQ(findings(), (Findings{{Kind::waitingUncounted, stray}}));
}

TEST_F(Audit, NamesAnOwnerWithoutAKey) {
   givenTwoGroupsThatShareAKey();
   sm->tunnelTypeDecapIpToVrfIs({TunnelType::udp, prefix("10.1.0.0/16")}, vrf("other"));
   EXPECT_EQ(
       findings(),
       (Findings{{Kind::ownerWithoutKey, Fwd::DecapKey({}, prefix("10.1.0.0/16"), TunnelType::udp,
                                                       0, {}, vrf("other"))}}));
}

TEST_F(Audit, NamesAnEntryThatHardwareHasLost) {
   givenTwoGroupsThatShareAKey();
   hardware->table().erase(single);
   EXPECT_EQ(findings(), (Findings{{Kind::missingInHardware, single}}));
}

TEST_F(Audit, NamesAnEntryThatNobodyWants) {
   givenTwoGroupsThatShareAKey();
   auto const stray = key("10.9.0.0/16");
   hardware->table().write(stray, 0.0);
   EXPECT_EQ(findings(), (Findings{{Kind::unwantedInHardware, stray}}));
}

TEST_F(Audit, NamesAnEntryThatIsInHardwareWhileItsKeyWaits) {
   givenTwoGroupsThatShareAKey();
   sm->unprogrammedKeyIs(single, true);
   auto const found = findings();
   ASSERT_EQ(found.size(), 2u);
   EXPECT_EQ(found[0].kind, Kind::ownerWithoutKey);
   EXPECT_EQ(found[1], (AuditFinding{Kind::waitingInHardware, single}));
}

TEST_F(Audit, LooksAtHardwareOnlyWhenItIsGivenAReadback) {
   givenTwoGroupsThatShareAKey();
   hardware->table().clear();
   EXPECT_EQ(Fwd::audit(*sm), Findings());
   EXPECT_EQ(findings().size(), 2u);
}

TEST_F(Audit, TakesAKeyThatWasRefusedForGoodForWhatItIs) {
   givenGroup("red");
   givenRunning();
   hardware->script().forPrefix(prefix("10.1.0.0/16"), Sim::Answer::of(Fwd::dgRcUnSupported));
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_EQ(findings(), Findings());
   ASSERT_NE(sm->refusedKey().find(shared), nullptr);
   EXPECT_EQ(*sm->refusedKey().find(shared), Fwd::dgRcUnSupported);
   whenDecapIpRemoved("red", "10.1.0.0/16");
   EXPECT_TRUE(sm->refusedKey().empty());
}

TEST_F(Audit, AKeyThatWasRefusedForGoodMakesNoOwner) {
   givenGroup("red");
   givenRunning();
   hardware->script().forPrefix(prefix("10.1.0.0/16"), Sim::Answer::of(Fwd::dgRcUnSupported));
   whenDecapIpAdded("red", "10.1.0.0/16");
   sm->tunnelTypeDecapIpToVrfIs({TunnelType::udp, prefix("10.1.0.0/16")}, vrf("default"));
   EXPECT_EQ(
       findings(),
       (Findings{{Kind::ownerWithoutKey, Fwd::DecapKey({}, prefix("10.1.0.0/16"), TunnelType::udp,
                                                       0, {}, vrf("default"))}}));
}

TEST_F(Audit, TakesAWaitingKeyForWhatItIs) {
   givenGroup("red");
   givenGroup("blue", {.vrf = "blue"});
   givenRunning();
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("blue", "10.1.0.0/16");
   EXPECT_EQ(sm->unprogrammedKey().size(), 1u);
   EXPECT_EQ(findings(), Findings());
}

TEST_F(Audit, ChangesNothing) {
   givenTwoGroupsThatShareAKey();
   sm->refCountIs(shared, 7);
   forgetSoFar();
   findings();
   thenCalls({});
   EXPECT_EQ(sm->refCount(shared), 7u);
   sm->refCountIs(shared, 2);
}

TEST_F(Audit, FindingsReadAsOneLineThatNamesTheKey) {
   std::ostringstream text;
   text << AuditFinding{Kind::countDiffers, shared, 2, 3};
   EXPECT_EQ(text.str(),
             "references held and counted differ: Value('Fwd::DecapKey', ** {'srcIp': "
             "'0.0.0.0/32', 'dstIp': '10.1.0.0/16', 'tunnelType': udp, 'destPort': 6080, "
             "'payloadType': ip, 'forwardingVrf': 'default'}) held 2 counted 3");
}

TEST_F(Audit, EachKindOfFindingHasItsWords) {
   auto const words = [](Kind kind) {
      std::ostringstream text;
      text << AuditFinding{kind, Fwd::DecapKey()};
      return text.str().substr(0, text.str().find(':'));
   };
   EXPECT_EQ(words(Kind::waitingUncounted), "waits, but nobody counts it");
   EXPECT_EQ(words(Kind::ownerWithoutKey),
             "VRF owns a destination for which it has no key in hardware");
   EXPECT_EQ(words(Kind::missingInHardware), "accepted, but not in hardware");
   EXPECT_EQ(words(Kind::unwantedInHardware), "in hardware, but nobody counts it");
   EXPECT_EQ(words(Kind::waitingInHardware), "in hardware, but waits to be programmed");
}

TEST_F(Audit, OnlyCountsThatDifferAreGivenAsNumbers) {
   AuditFinding const finding{Kind::waitingUncounted, shared};
   EXPECT_EQ(finding.held, 0u);
   EXPECT_EQ(finding.counted, 0u);
}

}  // namespace
