#include "support/DecapFixture.h"
#include "support/FailingNew.h"
#include "support/MachineChecks.h"

#include <new>
#include <utility>

namespace {

class Construction : public DecapFixture {
 protected:
   /// Configuration and interfaces that would give keys, were the machine running.
   void givenPopulatedInputs() {
      givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
      givenGroup("blue");
      whenDecapIntfAdded("blue", "", AddressType::all);
      givenInterface("et1", "10.9.0.1/24");
      givenInterface("et2", "");
      givenInterface6("et1", {"2001:db8::1/64"});
      config->readyIs(true);
   }

   Mdl::Ptr<Sm> made() {
      return Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hardware);
   }

   static Texts names(auto const& registry) {
      Texts found;
      for (auto const& entry : registry) {
         EXPECT_TRUE(entry.value);
         found.push_back(Support::rep(entry.key));
      }
      return found;
   }
};

TEST_F(Construction, HoldsWhatItWasGiven) {
   givenMachine();
   EXPECT_EQ(sm->acsd(), acsd);
   EXPECT_EQ(sm->dgConfig(), config);
   EXPECT_EQ(sm->status(), status);
   EXPECT_EQ(sm->ipStatus(), ip);
   EXPECT_EQ(sm->ip6Status(), ip6);
   EXPECT_EQ(sm->clock(), time.clock());
   EXPECT_EQ(sm->decapHelper(), hardware);
   EXPECT_EQ(sm->verifyData(), verifyData);
}

TEST_F(Construction, StartsWithItsDefaults) {
   givenMachine();
   EXPECT_EQ(sm->reviewInterval(), 0.1);
   EXPECT_EQ(sm->reviewQuanta(), 0.01);
   EXPECT_FALSE(sm->initialized());
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   EXPECT_FALSE(sm->disableCleanupOnRestart());
   EXPECT_FALSE(sm->isMarkedForDeletion());
   EXPECT_TRUE(sm->decapIntfIp().empty());
   EXPECT_TRUE(sm->unprogrammedKey().empty());
   EXPECT_TRUE(sm->tunnelTypeDecapIpToVrf().empty());
   EXPECT_TRUE(sm->refCount().empty());
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
   EXPECT_TRUE(sm->mdlIpIntfStatus().empty());
   EXPECT_TRUE(sm->mdlIp6IntfStatus().empty());
   EXPECT_EQ(sm->mdlClock()->timeMin(), Mdl::never);
}

TEST_F(Construction, TurnsNotificationsOnForTheMachineAndItsReactors) {
   givenPopulatedInputs();
   givenMachine();
   EXPECT_TRUE(sm->hasNotificationActive());
   EXPECT_TRUE(sm->mdlDgConfig()->hasNotificationActive());
   EXPECT_TRUE(sm->mdlIpStatus()->hasNotificationActive());
   EXPECT_TRUE(sm->mdlIp6Status()->hasNotificationActive());
   EXPECT_TRUE(sm->mdlClock()->hasNotificationActive());
   EXPECT_TRUE(sm->mdlVerifyData()->hasNotificationActive());
   for (auto const& entry : sm->mdlDecapGroup()) EXPECT_TRUE(entry.value->hasNotificationActive());
   for (auto const& entry : sm->mdlIpIntfStatus())
      EXPECT_TRUE(entry.value->hasNotificationActive());
   for (auto const& entry : sm->mdlIp6IntfStatus())
      EXPECT_TRUE(entry.value->hasNotificationActive());
}

TEST_F(Construction, WithoutAConfigurationThereIsNoReactorAndNoGroup) {
   givenPopulatedInputs();
   sm = Fwd::fwdDecapGroupSmFactory(acsd, nullptr, status, ip, ip6, time.clock(), hardware);
   EXPECT_FALSE(sm->mdlDgConfig());
   EXPECT_FALSE(sm->dgConfig());
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
   EXPECT_EQ(names(sm->mdlIpIntfStatus()), (Texts{"'et1'", "'et2'"}));
}

TEST_F(Construction, WithoutIpv4StatusThereIsNoReactorAndNoInterface) {
   givenPopulatedInputs();
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, nullptr, ip6, time.clock(), hardware);
   EXPECT_FALSE(sm->mdlIpStatus());
   EXPECT_FALSE(sm->ipStatus());
   EXPECT_TRUE(sm->mdlIpIntfStatus().empty());
   EXPECT_EQ(names(sm->mdlIp6IntfStatus()), Texts{"'et1'"});
}

TEST_F(Construction, WithoutIpv6StatusThereIsNoReactorAndNoInterface) {
   givenPopulatedInputs();
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, nullptr, time.clock(), hardware);
   EXPECT_FALSE(sm->mdlIp6Status());
   EXPECT_FALSE(sm->ip6Status());
   EXPECT_TRUE(sm->mdlIp6IntfStatus().empty());
   EXPECT_EQ(names(sm->mdlIpIntfStatus()), (Texts{"'et1'", "'et2'"}));
}

TEST_F(Construction, WithoutAClockThereIsNoClockReactor) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, nullptr, hardware);
   EXPECT_FALSE(sm->mdlClock());
   EXPECT_FALSE(sm->clock());
}

TEST_F(Construction, WithoutVerifyDataNothingIsVerified) {
   sm = Fwd::fwdDecapGroupSmFactory(nullptr, config, status, ip, ip6, time.clock(), hardware);
   EXPECT_FALSE(sm->acsd());
   EXPECT_FALSE(sm->mdlVerifyData());

   acsd->verifyDataIs(nullptr);
   givenMachine();
   EXPECT_EQ(sm->acsd(), acsd);
   EXPECT_FALSE(sm->mdlVerifyData());
   EXPECT_FALSE(sm->verifyData());
}

TEST_F(Construction, IsPossibleFromNothing) {
   sm = Fwd::fwdDecapGroupSmFactory(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
   EXPECT_TRUE(sm->mdlDecapGroup().empty());
   EXPECT_FALSE(sm->decapHelper());
   EXPECT_FALSE(sm->initializedAndReady());
}

TEST_F(Construction, ReplaysWhatExistsAlready) {
   givenPopulatedInputs();
   givenMachine();
   EXPECT_EQ(names(sm->mdlDecapGroup()), (Texts{"'red'", "'blue'"}));
   EXPECT_EQ(names(sm->mdlIpIntfStatus()), (Texts{"'et1'", "'et2'"}));
   EXPECT_EQ(names(sm->mdlIp6IntfStatus()), Texts{"'et1'"});
   EXPECT_FALSE(sm->initialized());
}

TEST_F(Construction, ProgramsNothingAndDoesNotHandleReadiness) {
   givenPopulatedInputs();
   givenTraceLevels({2});
   givenMachine();
   thenCalls({});
   thenCounts({});
   thenBacklog({});
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   for (auto const& record : traces) {
      EXPECT_NE(record.text, "handleDecapGroupConfigReady");
      EXPECT_NE(record.text, "handleInitialized");
   }
}

TEST_F(Construction, CountsAsOneAllocationOfItsType) {
   auto const before = Sm::type().allocations();
   givenMachine();
   EXPECT_EQ(Sm::type().allocations(), before + 1);
   auto const direct = Sm::FwdDecapGroupSmIs(acsd, config, status, ip, ip6, time.clock(), hardware);
   EXPECT_TRUE(direct->hasNotificationActive());
   EXPECT_EQ(Sm::type().allocations(), before + 2);
   whenMachineDropped();
   EXPECT_EQ(Sm::type().allocations(), before + 1);
}

TEST_F(Construction, LeavesItsInputsAsTheyWereOnceItIsDropped) {
   givenPopulatedInputs();
   auto const groupReferences = groups[0]->references();
   auto const configReferences = config->references();
   auto const hookReferences = hardware->references();
   givenMachine();
   whenMachineDropped();
   EXPECT_EQ(groups[0]->references(), groupReferences);
   EXPECT_EQ(config->references(), configReferences);
   EXPECT_EQ(hardware->references(), hookReferences);
   EXPECT_TRUE(config->notifiees().empty());
   EXPECT_TRUE(groups[0]->notifiees().empty());
}

TEST_F(Construction, AnyFailingStepReleasesWhatWasBuilt) {
   givenPopulatedInputs();
   { Mdl::Ptr<Sm> const once = made(); }  // what is allocated once a process is there from now on
   auto const references = [&] {
      return std::vector<std::uint64_t>{acsd->references(),      config->references(),
                                        status->references(),    ip->references(),
                                        ip6->references(),       time.clock()->references(),
                                        hardware->references(),  verifyData->references(),
                                        groups[0]->references(), groups[1]->references()};
   };
   auto const before = references();
   auto const machines = Sm::type().allocations();

   int successes = 0;
   bool built = false;
   while (!built && successes < 10'000) {
      try {
         Support::FailingNew const failing(successes);
         Mdl::Ptr<Sm> const machine = made();
         built = true;
      } catch (std::bad_alloc const&) {
         ++successes;
      }
      ASSERT_EQ(references(), before) << "after " << successes << " allocations";
      ASSERT_EQ(Sm::type().allocations(), machines);
      ASSERT_TRUE(config->notifiees().empty());
      ASSERT_TRUE(groups[0]->notifiees().empty());
      ASSERT_TRUE(ip->notifiees().empty());
      ASSERT_TRUE(time.clock()->notifiees().empty());
      ASSERT_TRUE(verifyData->notifiees().empty());
   }
   EXPECT_TRUE(built);
   EXPECT_GT(successes, 10);
   thenCalls({});
}

/// Construction seen from inside: the first thing that a group traces is looked at from the sink.
class ConstructionStep : public Construction {
 protected:
   template <class Look>
   void whenMadeAndTheFirstGroupTraces(Look const& look) {
      givenPopulatedInputs();
      givenTraceLevels({2});
      bool first = true;
      Mdl::Trace::sinkIs([&](Mdl::TraceRecord const&) {
         if (std::exchange(first, false)) look();
      });
      givenMachine();
      givenTraceLevels({});
      EXPECT_FALSE(first);
   }
};

TEST_F(ConstructionStep, GroupsComeAfterTheInputsAndBeforeInterfacesAndVerification) {
   bool looked = false;
   whenMadeAndTheFirstGroupTraces([&] {
      looked = true;
      EXPECT_FALSE(config->notifiees().empty());
      EXPECT_FALSE(ip->notifiees().empty());
      EXPECT_FALSE(ip6->notifiees().empty());
      EXPECT_FALSE(time.clock()->notifiees().empty());
      EXPECT_FALSE(groups[0]->notifiees().empty());
      EXPECT_TRUE(groups[1]->notifiees().empty()) << "the second group is next";
      EXPECT_TRUE(ip->ipIntfStatus(intf("et1"))->notifiees().empty());
      EXPECT_TRUE(ip6->intf(intf("et1"))->notifiees().empty());
      EXPECT_TRUE(verifyData->notifiees().empty());
   });
   EXPECT_TRUE(looked);
   EXPECT_FALSE(groups[1]->notifiees().empty());
   EXPECT_FALSE(ip->ipIntfStatus(intf("et1"))->notifiees().empty());
   EXPECT_FALSE(ip6->intf(intf("et1"))->notifiees().empty());
   EXPECT_FALSE(verifyData->notifiees().empty());
}

class Settings : public DecapFixture {};

TEST_F(Settings, StoreTheirValueAndDoNothingElse) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   sm->mdlClock()->timeMinIs(7.0);
   auto const changes = Support::ChangeLog::of(sm);
   givenTraceLevels({2, 5, 7});
   forgetSoFar();

   sm->reviewIntervalIs(0.5);
   sm->reviewQuantaIs(0.25);
   sm->disableCleanupOnRestartIs(true);

   EXPECT_EQ(sm->reviewInterval(), 0.5);
   EXPECT_EQ(sm->reviewQuanta(), 0.25);
   EXPECT_TRUE(sm->disableCleanupOnRestart());
   EXPECT_EQ(sm->mdlClock()->timeMin(), 7.0);
   EXPECT_TRUE(changes->changes().empty());
   thenTraces({});
   thenCalls({});
}

}  // namespace
