#include "support/InterfaceFixture.h"
#include "support/MachineChecks.h"

#include <cstdlib>

namespace {

using Support::rep;

/// The check of the groups' keys against counts and backlog.
class Verification : public InterfaceFixture {
 protected:
   Verification() {
      unsetenv(simulation);
      givenGroup("red");
      givenGroup("green", {.vrf = "green"});
   }
   ~Verification() override { unsetenv(simulation); }

   /// A key in a group's set that nobody counts.
   Fwd::DecapKey givenUncountedPrefixKey(std::string_view group, std::string_view destination) {
      auto const uncounted = key(destination);
      reactor(group)->decapKeyFromIpIs(uncounted, true);
      return uncounted;
   }
   Fwd::DecapKey givenUncountedIntfKey(std::string_view group, std::string_view destination) {
      auto const uncounted = key(destination);
      reactor(group)->decapKeyFromIntfIs(uncounted, true);
      return uncounted;
   }

   // The two texts differ by a blank; those who read the output go by them.
   static std::string prefixReport(Fwd::DecapKey const& key) {
      return "key " + rep(key) + " isn't member of  refCount or unprogrammedKey collections";
   }
   static std::string intfReport(Fwd::DecapKey const& key) {
      return "key " + rep(key) + " isn't member of refCount or unprogrammedKey collections";
   }

   void thenReports(Texts const& expected) const {
      Texts found;
      for (auto const& line : verifyData->cliVerifyOutput()) {
         EXPECT_EQ(line.function, Mdl::String("void Fwd::FwdDecapGroupSm::handleVerify()"));
         found.push_back(line.text.stdString());
      }
      EXPECT_EQ(found, expected);
      EXPECT_TRUE(verifyData->verifyOutput().empty());
   }
   void thenHookVerified(std::size_t times) const { thenCalls(Texts(times, "verify")); }

   static constexpr char simulation[] = "SIMULATION_VMID";
};

TEST_F(Verification, IsTracedAndGoesNoFurtherBeforeTheMachineIsInitialized) {
   givenMachine();
   config->readyIs(true);
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   givenTraceLevels({2});
   forgetSoFar();
   sm->handleVerify();
   thenTraces({"handleVerify"});
   thenReports({});
   thenHookVerified(0);
}

TEST_F(Verification, GoesNoFurtherBeforeTheConfigurationIsReady) {
   givenMachine();
   sm->initializedIs(true);
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   givenTraceLevels({2});
   forgetSoFar();
   sm->handleVerify();
   thenTraces({"handleVerify"});
   thenReports({});
   thenHookVerified(0);
}

TEST_F(Verification, GoesNoFurtherWithoutAConfiguration) {
   givenRunning();
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   sm->mdlDgConfig()->notifierIs(nullptr);
   forgetSoFar();
   sm->handleVerify();
   thenReports({});
   thenHookVerified(0);
}

TEST_F(Verification, GoesNoFurtherWithoutAConfigurationReactor) {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, nullptr, status, ip, ip6, time.clock(), hardware);
   sm->handleVerify();
   thenReports({});
   thenHookVerified(0);
}

TEST_F(Verification, OfConsistentKeysWritesNothing) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   forgetSoFar();
   sm->handleVerify();
   thenReports({});
   thenHookVerified(1);
}

TEST_F(Verification, PassesKeysThatWaitAndKeysThatWereRefusedForGood) {
   givenRunning();
   for (auto const code :
        {Fwd::dgRcNotReady, Fwd::dgRcHwFull, Fwd::dgRcUnSupported, Fwd::dgRcMax}) {
      hardware->script().next(Sim::Answer::of(code));
      whenDecapIpAdded("red", "10." + std::to_string(code) + ".0.0/16");
   }
   whenDecapIpAdded("red", "10.8.0.0/16");
   whenDecapIpAdded("green", "10.8.0.0/16");
   sm->handleVerify();
   thenReports({});
}

TEST_F(Verification, PassesAKeyThatWaitsUncounted) {
   givenRunning();
   sm->unprogrammedKeyIs(givenUncountedPrefixKey("red", "10.1.0.0/16"), true);
   sm->unprogrammedKeyIs(givenUncountedIntfKey("red", "10.2.0.0/16"), true);
   sm->handleVerify();
   thenReports({});
   sm->unprogrammedKeyDelAll();
}

TEST_F(Verification, PassesTheKeysThatAreNone) {
   givenRunning();
   for (auto const& none : {Fwd::invalidDecapKey, Fwd::emptyDecapKey}) {
      reactor("red")->decapKeyFromIpIs(none, true);
      reactor("red")->decapKeyFromIntfIs(none, true);
   }
   sm->handleVerify();
   thenReports({});
}

TEST_F(Verification, ReportsAPrefixKeyThatNobodyCounts) {
   givenRunning();
   auto const missing = givenUncountedPrefixKey("red", "10.1.0.0/16");
   sm->handleVerify();
   thenReports({prefixReport(missing)});
}

TEST_F(Verification, ReportsAnInterfaceKeyThatNobodyCounts) {
   givenRunning();
   auto const missing = givenUncountedIntfKey("red", "10.1.0.0/16");
   sm->handleVerify();
   thenReports({intfReport(missing)});
}

TEST_F(Verification, TracesTheKeyThatFails) {
   givenRunning();
   auto const missing = givenUncountedPrefixKey("red", "10.1.0.0/16");
   givenTraceLevels({2});
   forgetSoFar();
   sm->handleVerify();
   thenTraces({"handleVerify", " key is " + rep(missing) + " refCount 0"});
}

TEST_F(Verification, ReportsTheFirstKeyOnlyInterfacesBeforePrefixes) {
   givenRunning();
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   auto const first = givenUncountedIntfKey("red", "10.2.0.0/16");
   givenUncountedIntfKey("red", "10.3.0.0/16");
   sm->handleVerify();
   thenReports({intfReport(first)});
}

TEST_F(Verification, LooksAtGroupsInTheOrderOfTheConfiguration) {
   givenRunning();
   givenUncountedIntfKey("green", "10.1.0.0/16");
   auto const first = givenUncountedPrefixKey("red", "10.2.0.0/16");
   sm->handleVerify();
   thenReports({prefixReport(first)});
}

TEST_F(Verification, LooksAtLaterGroupsToo) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   auto const missing = givenUncountedPrefixKey("green", "10.2.0.0/16");
   sm->handleVerify();
   thenReports({prefixReport(missing)});
}

// Such a key is in the group's set and in none of the books; that it waits is seen by its port.
TEST_F(Verification, ReportsAKeyThatWaitsForItsUdpPort) {
   givenRunning();
   groupNamed("red").destPortIs(0);
   whenDecapIpAdded("red", "10.1.0.0/16");
   sm->handleVerify();
   thenReports({prefixReport(key("10.1.0.0/16", {.port = 0}))});
}

TEST_F(Verification, SkipsAGroupWithoutAReactor) {
   givenRunning();
   sm->decapGroupDel(Mdl::String("red"));
   auto const missing = givenUncountedPrefixKey("green", "10.2.0.0/16");
   sm->handleVerify();
   thenReports({prefixReport(missing)});
}

TEST_F(Verification, SkipsAGroupThatIsFlaggedForDeletion) {
   givenRunning();
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   reactor("red")->mdlDoZombieReactors(true);
   sm->handleVerify();
   thenReports({});
}

TEST_F(Verification, SkipsAGroupThatIsBeingWithdrawn) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   givenRunning();
   hardware->duringRemoval(2, [&] { sm->handleVerify(); });
   reactor("red")->mdlDoZombieReactors(true);
   thenReports({});
}

TEST_F(Verification, AsksTheHookToVerifyAlsoWhenItFindsSomething) {
   givenRunning();
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   forgetSoFar();
   sm->handleVerify();
   sm->handleVerify();
   thenHookVerified(2);
}

TEST_F(Verification, WithoutVerifyDataReportsNothing) {
   givenRunning();
   givenUncountedPrefixKey("red", "10.1.0.0/16");
   sm->verifyDataDel();
   sm->handleVerify();
   thenReports({});
}

TEST_F(Verification, ChangesNothing) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   auto const missing = givenUncountedPrefixKey("red", "10.2.0.0/16");
   sm->handleVerify();
   thenCounts({udp("10.1.0.0/16") + " x1"});
   thenBacklog({});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(missing));
}

// Nothing is programmed without a hook, but a machine can be asked all the same.
TEST_F(Verification, WithoutAHookLooksAtTheKeysAlone) {
   hardware = nullptr;
   givenMachine();
   sm->initializedIs(true);
   sm->hasNotificationActiveIs(false);
   config->readyIs(true);
   auto const missing = key("10.1.0.0/16");
   reactor("red")->decapKeyFromIpIs(missing, true);
   sm->handleVerify();
   thenReports({prefixReport(missing)});
}

}  // namespace
