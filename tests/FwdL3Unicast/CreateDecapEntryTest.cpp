#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

namespace {

using Support::rep;

/// Adding one reference to a key, step by step.
class CreateDecapEntry : public DecapFixture {
 protected:
   CreateDecapEntry() {
      givenGroup("red");
      givenRunning();
      group = reactor("red");
      givenTraceLevels({2});
      forgetSoFar();
   }

   static Fwd::TunnelTypeDecapIp pairOf(Fwd::DecapKey const& key) {
      return {key.tunnelType(), key.dstIp()};
   }

   void givenAnswer(Fwd::dgRetCode code) { hardware->script().next(Sim::Answer::of(code)); }

   std::string entered(Fwd::DecapKey const& key) const {
      return "createDecapEntry decapKey=" + rep(key);
   }
   std::string raised(Fwd::DecapKey const& key, int before) const {
      return "updateRefCount key " + rep(key) + " refCount " + std::to_string(before) + " inc by 1";
   }

   Mdl::Ptr<Sm::MdlDecapGroup> group;
   Fwd::DecapKey const one = key("10.1.0.0/16");
   std::string const text = "udp 10.1.0.0/16 port 6080 payload ip vrf default";
};

TEST_F(CreateDecapEntry, StopsAtKeysThatAreNone) {
   for (auto const& none : {Fwd::invalidDecapKey, Fwd::emptyDecapKey}) {
      forgetSoFar();
      group->createDecapEntry(none);
      thenTraces({entered(none)});
   }
   thenCalls({});
   thenCounts({});
   thenBacklog({});
   thenOwners({});
}

TEST_F(CreateDecapEntry, LetsAUdpKeyWaitForItsPort) {
   auto const waiting = key("10.1.0.0/16", {.port = 0});
   group->createDecapEntry(waiting);
   thenTraces({entered(waiting), "tunnelType udp with destPort: 0 and payloadType: ip"});
   thenCalls({});
   thenCounts({});
   thenBacklog({});
}

TEST_F(CreateDecapEntry, LetsAUdpKeyWaitForItsPayloadType) {
   auto const waiting = key("10.1.0.0/16", {.payload = PayloadType::unset});
   group->createDecapEntry(waiting);
   thenTraces({entered(waiting), "tunnelType udp with destPort: 6080 and payloadType: unset"});
   thenCalls({});
   thenCounts({});
}

TEST_F(CreateDecapEntry, LetsOtherTunnelTypesGoWithoutPortAndPayloadType) {
   for (auto const type : {TunnelType::gre, TunnelType::ipip, static_cast<TunnelType>(9)}) {
      auto const bare = key("10.1.0.0/16", {type, 0, PayloadType::unset, "default"});
      group->createDecapEntry(bare);
      EXPECT_EQ(sm->refCount(bare), 1U);
      EXPECT_TRUE(hardware->table().contains(bare));
   }
}

TEST_F(CreateDecapEntry, LetsUdpKeysGoWhenTheHookDoesNotWait) {
   hardware->waitForUdpIs(false);
   auto const bare = key("10.1.0.0/16", {.port = 0, .payload = PayloadType::unset});
   group->createDecapEntry(bare);
   thenCounts({"udp 10.1.0.0/16 port 0 payload unset vrf default x1"});
   thenHardware({"udp 10.1.0.0/16 port 0 payload unset vrf default"});
}

TEST_F(CreateDecapEntry, StopsAtTheSecondReference) {
   group->createDecapEntry(one);
   sm->mdlClock()->timeMinIs(7.0);
   sm->unprogrammedKeyIs(key("10.9.0.0/16"), true);
   sm->tunnelTypeDecapIpToVrfDelAll();
   forgetSoFar();
   group->createDecapEntry(one);
   thenTraces({entered(one), raised(one, 1)});
   thenCalls({});
   thenCounts({text + " x2"});
   thenOwners({});
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
}

TEST_F(CreateDecapEntry, LetsAKeyForAnotherVrfWait) {
   group->createDecapEntry(one);
   auto const blue = key("10.1.0.0/16", {.vrf = "blue"});
   forgetSoFar();
   time.advanceTo(2.0);
   group->createDecapEntry(blue);
   thenTraces({entered(blue), raised(blue, 0),
               " mapping exists for " + rep(pairOf(blue)) +
                   " to vrf default so cannot program with new vrf blue",
               "addKeyToUnprogrammed" + rep(blue)});
   thenCalls({});
   thenBacklog({"udp 10.1.0.0/16 port 6080 payload ip vrf blue"});
   thenCounts({text + " x1", "udp 10.1.0.0/16 port 6080 payload ip vrf blue x1"});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   EXPECT_DOUBLE_EQ(sm->mdlClock()->timeMin(), 2.1);
}

TEST_F(CreateDecapEntry, LetsAnotherKeyOfTheSameVrfGo) {
   group->createDecapEntry(one);
   group->createDecapEntry(key("10.1.0.0/16", {.port = 6081}));
   thenHardware({text, "udp 10.1.0.0/16 port 6081 payload ip vrf default"});
   thenBacklog({});
   thenOwners({"udp 10.1.0.0/16 -> default"});
}

TEST_F(CreateDecapEntry, OwnsDestinationsByTunnelTypeAndPrefix) {
   group->createDecapEntry(one);
   group->createDecapEntry(key("10.1.0.0/16", {.type = TunnelType::gre, .vrf = "blue"}));
   group->createDecapEntry(key("10.1.0.0/17", {.vrf = "green"}));
   thenBacklog({});
   thenOwners(
       {"udp 10.1.0.0/16 -> default", "gre 10.1.0.0/16 -> blue", "udp 10.1.0.0/17 -> green"});
}

/// What stands after the hook has answered.
struct Handled {
   Fwd::dgRetCode code;
   bool owned;
   bool waits;
   bool full;
};

class CreateDecapEntryAnswered : public CreateDecapEntry,
                                 public ::testing::WithParamInterface<Handled> {};

TEST_P(CreateDecapEntryAnswered, GoesByTheCode) {
   Handled const handled = GetParam();
   givenAnswer(handled.code);
   time.advanceTo(2.0);
   group->createDecapEntry(one);

   Texts expected = {entered(one), raised(one, 0), " add key to hw " + rep(one)};
   if (handled.waits) {
      expected.push_back(" add key to unprogrammed " + rep(one));
      expected.push_back("addKeyToUnprogrammed" + rep(one));
   }
   thenTraces(expected);
   thenCalls({"program " + text + " -> " + Sim::answerText(handled.code)});
   thenCounts({text + " x1"});
   thenOwners(handled.owned ? Texts{"udp 10.1.0.0/16 -> default"} : Texts{});
   thenBacklog(handled.waits ? Texts{text} : Texts{});
   thenHwResourceFull(handled.full);
   thenLogs(handled.full ? Texts{"TUNNEL_HW_RESOURCE_FULL"} : Texts{});
   if (handled.waits) {
      EXPECT_DOUBLE_EQ(sm->mdlClock()->timeMin(), 2.1);
   } else {
      EXPECT_EQ(sm->mdlClock()->timeMin(), Mdl::never);
   }
}

INSTANTIATE_TEST_SUITE_P(
    EveryCode, CreateDecapEntryAnswered,
    ::testing::Values(Handled{Fwd::dgRcSuccess, true, false, false},
                      Handled{Fwd::dgRcNotReady, false, true, false},
                      Handled{Fwd::dgRcAlreadyExists, true, false, false},
                      Handled{Fwd::dgRcUnSupported, false, false, false},
                      Handled{Fwd::dgRcHwFull, false, true, true},
                      Handled{Fwd::dgRcMax, false, false, false},
                      Handled{Fwd::dgRcPending, false, true, false},
                      Handled{static_cast<Fwd::dgRetCode>(200), false, false, false}),
    [](auto const& tested) { return "Code" + std::to_string(tested.param.code); });

TEST_F(CreateDecapEntry, SuccessOverwritesTheOwner) {
   group->createDecapEntry(one);
   sm->tunnelTypeDecapIpToVrfDelAll();
   auto const blue = key("10.1.0.0/16", {.vrf = "blue"});
   group->createDecapEntry(blue);
   thenOwners({"udp 10.1.0.0/16 -> blue"});
}

// The review logs only when the alarm rises; here every refusal is worth a message.
TEST_F(CreateDecapEntry, LogsFullForEveryRefusalWhateverTheFlag) {
   hardware->table().capacityIs(0);
   group->createDecapEntry(one);
   group->createDecapEntry(key("10.2.0.0/16"));
   thenLogs({"TUNNEL_HW_RESOURCE_FULL", "TUNNEL_HW_RESOURCE_FULL"});
   thenHwResourceFull(true);
}

TEST_F(CreateDecapEntry, LogsFullWithoutAHardwareStatus) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, nullptr, ip, ip6, time.clock(), hardware);
   givenRunning();
   hardware->table().capacityIs(0);
   reactor("red")->createDecapEntry(one);
   thenLogs({"TUNNEL_HW_RESOURCE_FULL"});
   thenBacklog({text});
}

TEST_F(CreateDecapEntry, ACallOfTheHookMovesTheReviewWhileKeysWait) {
   givenAnswer(Fwd::dgRcNotReady);
   group->createDecapEntry(one);
   for (auto const code : {Fwd::dgRcSuccess, Fwd::dgRcUnSupported}) {
      sm->mdlClock()->timeMinIs(Mdl::never);
      givenAnswer(code);
      group->createDecapEntry(key("10.2.0.0/16", {.port = static_cast<std::uint16_t>(code + 1)}));
      EXPECT_DOUBLE_EQ(sm->mdlClock()->timeMin(), 0.1) << int{code};
   }
}

TEST_F(CreateDecapEntry, WithoutKeysThatWaitTheReviewStaysAsItIs) {
   sm->mdlClock()->timeMinIs(7.0);
   group->createDecapEntry(one);
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
}

TEST_F(CreateDecapEntry, AsksForAVerificationWhileOneIsRequested) {
   verifyData->requestVerifyIs(true);
   auto const requests = Support::ChangeLog::of(verifyData);
   std::vector<Mdl::AttributeId> const once = {Fwd::VerifyData::requestVerifyAttributeId};

   givenAnswer(Fwd::dgRcUnSupported);
   group->createDecapEntry(one);
   EXPECT_EQ(requests->changes(), once);

   // Second reference, other VRF, no key, no port: stopped before.
   group->createDecapEntry(one);
   sm->tunnelTypeDecapIpToVrfIs(pairOf(one), vrf("green"));
   group->createDecapEntry(key("10.1.0.0/16", {.vrf = "blue"}));
   group->createDecapEntry(Fwd::emptyDecapKey);
   group->createDecapEntry(key("10.3.0.0/16", {.port = 0}));
   EXPECT_EQ(requests->changes(), once);
}

TEST_F(CreateDecapEntry, AsksForNoVerificationUnlessOneIsRequested) {
   auto const requests = Support::ChangeLog::of(verifyData);
   group->createDecapEntry(one);
   EXPECT_TRUE(requests->changes().empty());
   EXPECT_FALSE(verifyData->requestVerify());
}

TEST_F(CreateDecapEntry, AsksForTheVerificationLast) {
   class Last final : public Mdl::PtrInterface::NotifieeConst {
    public:
      explicit Last(Mdl::Ptr<Mdl::Entity const> const& data, Sm& machine)
          : NotifieeConst(data), machine_(machine) {
         hasNotificationActiveIs(true);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Mdl::AttributeId, void const*) override {
         seen.push_back(machine_.mdlClock()->timeMin());
      }
      std::vector<Mdl::Seconds> seen;

    private:
      ~Last() override = default;
      Sm& machine_;
   };
   verifyData->requestVerifyIs(true);
   auto const last = Mdl::allocate<Last>(verifyData, *sm);
   sm->unprogrammedKeyIs(key("10.9.0.0/16"), true);
   sm->mdlClock()->timeMinIs(Mdl::never);
   group->createDecapEntry(one);
   ASSERT_EQ(last->seen.size(), 1U);
   EXPECT_DOUBLE_EQ(last->seen[0], 0.1);
}

TEST_F(CreateDecapEntry, VerifiesNothingWithoutSharedData) {
   sm = Fwd::fwdDecapGroupSmFactory(nullptr, config, status, ip, ip6, time.clock(), hardware);
   givenRunning();
   reactor("red")->createDecapEntry(one);
   thenHardware({text});
   acsd->verifyDataIs(nullptr);
   givenMachine();
   reactor("red")->createDecapEntry(key("10.2.0.0/16"));
   EXPECT_EQ(hardware->table().size(), 2U);
}

}  // namespace
