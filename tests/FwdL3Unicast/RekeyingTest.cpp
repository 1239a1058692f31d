#include "support/InterfaceFixture.h"
#include "support/MachineChecks.h"

#include <ostream>

namespace {

using Support::rep;

/// A change of destination port, payload type or VRF: every key of the group is withdrawn and
/// produced again with the new value.
class Rekeying : public InterfaceFixture {
 protected:
   Rekeying() { givenGroup("red"); }

   /// A group with a prefix of each kind of source, running.
   void givenKeys() {
      givenInterface("Ethernet1", "10.0.0.1/24");
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIpAdded("red", "10.1.0.0/16");
      givenRunning();
      forgetSoFar();
   }
   /// "udp 10.1.0.0/16 port 6081 payload ip vrf default".
   static std::string text(std::string_view destination, Group const& group) {
      return Sim::keyText(key(destination, group));
   }
   static std::string program(std::string const& entry) {
      return "program " + entry + " -> success";
   }
   static std::string remove(std::string const& entry) { return "remove " + entry + " -> removed"; }
};

/// One of the three values.
struct Changed {
   char const* name;
   char const* notifierText;
   char const* valueText;
   void (*change)(Tunnel::Decap::DecapGroup& group);
   void (Fwd::FwdDecapGroupSm::MdlDecapGroup::*handler)();
   std::uint16_t port;
   Tunnel::Decap::PayloadType payload;
   char const* vrf;
   /// What the group with an unknown tunnel type traces beyond the first line.
   char const* unknownTypeText;

   friend void PrintTo(Changed const& changed, std::ostream* out) { *out << changed.name; }
};

using Handlers = Fwd::FwdDecapGroupSm::MdlDecapGroup;
using Payload = Tunnel::Decap::PayloadType;

Changed const changes[] = {
    {"handleUpdateDestPort", " notifier dest Port ", "6081", [](auto& g) { g.destPortIs(6081); },
     &Handlers::handleUpdateDestPort, 6081, Payload::ip, "default",
     "handleUpdateDestPort notifier tunnelType unknown "},
    {"handleUpdatePayloadType", " notifier payload ", "mpls",
     [](auto& g) { g.payloadTypeIs(Payload::mpls); }, &Handlers::handleUpdatePayloadType, 6080,
     Payload::mpls, "default", nullptr},
    {"handleUpdateForwardingVrf", " notifier vrf name ", "blue",
     [](auto& g) { g.forwardingVrfIs(L3::VrfName(Mdl::String("blue"))); },
     &Handlers::handleUpdateForwardingVrf, 6080, Payload::ip, "blue", nullptr},
};

class RekeyingOf : public Rekeying, public ::testing::WithParamInterface<Changed> {
 protected:
   Group before() const { return {}; }
   Group after() const {
      return {TunnelType::udp, GetParam().port, GetParam().payload, GetParam().vrf};
   }
   void whenChanged() { GetParam().change(groupNamed("red")); }
   std::string entered() const {
      return std::string(GetParam().name) + GetParam().notifierText + GetParam().valueText;
   }
   /// The traces of one key's withdrawal and of its production.
   Texts rekeyed(std::string_view destination) const {
      std::string const old = rep(key(destination, before()));
      std::string const now = rep(key(destination, after()));
      return {"deleteDecapEntry decapKey=" + old + " refCount=1",
              "updateRefCount key " + old + " refCount 1 dec by 1",
              " delete key from hw " + old,
              "createDecapEntry decapKey=" + now,
              "updateRefCount key " + now + " refCount 0 inc by 1",
              " add key to hw " + now};
   }
};

TEST_P(RekeyingOf, WithdrawsAndProducesKeyByKeyInterfacesFirst) {
   givenKeys();
   whenChanged();
   thenCalls({remove(text("10.0.0.1/32", before())), program(text("10.0.0.1/32", after())),
              remove(text("10.1.0.0/16", before())), program(text("10.1.0.0/16", after()))});
   thenHardware({text("10.0.0.1/32", after()), text("10.1.0.0/16", after())});
   thenCounts({text("10.0.0.1/32", after()) + " x1", text("10.1.0.0/16", after()) + " x1"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(key("10.0.0.1/32", after())));
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16", after())));
   EXPECT_FALSE(reactor("red")->decapKeyFromIntf(key("10.0.0.1/32", before())));
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16", before())));
   thenBooksAgree();
}

TEST_P(RekeyingOf, IsTraced) {
   givenKeys();
   givenTraceLevels({2});
   whenChanged();
   Texts expected = {entered()};
   for (auto const destination : {"10.0.0.1/32", "10.1.0.0/16"}) {
      for (auto const& line : rekeyed(destination)) expected.push_back(line);
   }
   thenTraces(expected);
}

TEST_P(RekeyingOf, DoesNothingBeforeTheMachineIsInitialized) {
   givenMachine();
   config->readyIs(true);
   givenTraceLevels({2});
   whenChanged();
   thenTraces({});
   thenCalls({});
}

TEST_P(RekeyingOf, DoesNothingBeforeTheConfigurationIsReady) {
   givenMachine();
   sm->initializedIs(true);
   givenTraceLevels({2});
   whenChanged();
   thenTraces({});
   thenCalls({});
}

TEST_P(RekeyingOf, DoesNothingOnceTheMachineIsNoLongerInitialized) {
   givenKeys();
   sm->initializedIs(false);
   givenTraceLevels({2});
   whenChanged();
   thenTraces({});
   thenCalls({});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16", before())));
}

TEST_P(RekeyingOf, DoesNothingWithoutAConfiguration) {
   givenKeys();
   sm->mdlDgConfig()->notifierIs(nullptr);
   givenTraceLevels({2});
   whenChanged();
   thenTraces({});
   thenCalls({});
}

TEST_P(RekeyingOf, OfAGroupWithoutATunnelTypeOnlyTraces) {
   givenGroup("red", {.type = TunnelType::unknown})->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   givenTraceLevels({2});
   forgetSoFar();
   whenChanged();
   Texts expected = {entered()};
   if (GetParam().unknownTypeText != nullptr) expected.emplace_back(GetParam().unknownTypeText);
   thenTraces(expected);
   thenCalls({});
   thenCounts({});
}

// Such a group has no keys, unless its type went while its reactor was not listening.
TEST_P(RekeyingOf, OfAGroupWhoseTypeWentUnnoticedLeavesItsKeys) {
   givenKeys();
   reactor("red")->hasNotificationActiveIs(false);
   groupNamed("red").tunnelTypeIs(TunnelType::unknown);
   reactor("red")->hasNotificationActiveIs(true);
   whenChanged();
   thenCalls({});
   thenCounts({text("10.0.0.1/32", before()) + " x1", text("10.1.0.0/16", before()) + " x1"});
}

// Old and new value are not compared: a reactor that is given a notifier re-keys at once, and who
// reports a change that is none wants the entry written again.
TEST_P(RekeyingOf, ToTheSameValueRewritesTheEntry) {
   givenKeys();
   ((*reactor("red")).*GetParam().handler)();
   thenCalls({remove(text("10.0.0.1/32", before())), program(text("10.0.0.1/32", before())),
              remove(text("10.1.0.0/16", before())), program(text("10.1.0.0/16", before()))});
   thenCounts({text("10.0.0.1/32", before()) + " x1", text("10.1.0.0/16", before()) + " x1"});
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(key("10.0.0.1/32", before())));
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16", before())));
}

TEST_P(RekeyingOf, LeavesAnEntryThatAnotherGroupShares) {
   givenGroup("green")->decapIpIs(prefix("10.1.0.0/16"));
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   forgetSoFar();
   whenChanged();
   thenCounts({text("10.1.0.0/16", before()) + " x1", text("10.1.0.0/16", after()) + " x1"});
   for (auto const& call : hardware->journal().calls()) {
      EXPECT_EQ(call.operation, Sim::Operation::program) << Sim::callText(call);
   }
   EXPECT_TRUE(hardware->table().contains(key("10.1.0.0/16", before())));
}

TEST_P(RekeyingOf, ToTheKeyOfAnotherGroupJoinsIt) {
   givenGroup("green", after())->decapIpIs(prefix("10.1.0.0/16"));
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   whenChanged();
   whenTimePasses(0.125);
   thenHardware({text("10.1.0.0/16", after())});
   thenCounts({text("10.1.0.0/16", after()) + " x2"});
   EXPECT_EQ(hardware->programCalls(), 2U);
   EXPECT_EQ(hardware->removeCalls(), 1U);
}

TEST_P(RekeyingOf, OfAKeyThatWaitsTriesTheNewOneAndCallsNoRemoval) {
   hardware->notReadyUntilIs(Mdl::never);
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   hardware->notReadyUntilIs(0.0);
   forgetSoFar();
   whenChanged();
   thenCalls({program(text("10.1.0.0/16", after()))});
   thenBacklog({});
   thenCounts({text("10.1.0.0/16", after()) + " x1"});
}

TEST_P(RekeyingOf, RefusedByHardwareWaits) {
   givenKeys();
   hardware->script().next(Sim::Answer::of(Fwd::dgRcNotReady), 2);
   whenChanged();
   thenHardware({});
   thenBacklog({text("10.0.0.1/32", after()), text("10.1.0.0/16", after())});
   whenTimePasses(0.125);
   thenHardware({text("10.0.0.1/32", after()), text("10.1.0.0/16", after())});
   thenBooksAgree();
}

TEST_P(RekeyingOf, TakesEveryKeyOnceThoughNewOnesJoinTheSet) {
   givenRunning();
   for (int i = 0; i < 20; ++i) {
      whenDecapIpAdded("red", "10." + std::to_string(i) + ".0.0/16");
   }
   forgetSoFar();
   whenChanged();
   EXPECT_EQ(hardware->journal().calls().size(), 40U);
   thenBooksAgree();
}

TEST_P(RekeyingOf, AKeyOfBothSourcesKeepsItsTwoReferences) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.0.0.1/32");
   givenRunning();
   thenCounts({text("10.0.0.1/32", before()) + " x2"});
   whenChanged();
   thenCounts({text("10.0.0.1/32", after()) + " x2"});
   whenTimePasses(0.125);
   thenHardware({text("10.0.0.1/32", after())});
   thenBooksAgree();
}

TEST_P(RekeyingOf, LeavesOtherGroupsAlone) {
   givenGroup("green")->decapIpIs(prefix("10.7.0.0/16"));
   givenKeys();
   whenChanged();
   EXPECT_TRUE(reactor("green")->decapKeyFromIp(key("10.7.0.0/16", before())));
   thenCounts({text("10.0.0.1/32", after()) + " x1", text("10.1.0.0/16", after()) + " x1",
               text("10.7.0.0/16", before()) + " x1"});
}

TEST_P(RekeyingOf, AddressesThatGoAfterwardsTakeTheNewKeyAlong) {
   givenKeys();
   whenChanged();
   ip->ipIntfStatusDel(intf("Ethernet1"));
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({});
   thenCounts({});
}

INSTANTIATE_TEST_SUITE_P(EachValue, RekeyingOf, ::testing::ValuesIn(changes),
                         [](auto const& tested) { return std::string(tested.param.name + 12); });

}  // namespace
