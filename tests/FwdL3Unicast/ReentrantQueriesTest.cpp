#include "support/DecapFixture.h"

#include <functional>
#include <set>
#include <stdexcept>
#include <utility>

namespace {

/// A hook whose questions and announcements may do anything. It accepts every key.
class TalkativeHook : public Fwd::FwdDecapGroupSmHelper {
 public:
   TalkativeHook() : FwdDecapGroupSmHelper(Mdl::String("talkative")) {}

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override {
      table.insert(Sim::keyText(key));
      return Fwd::dgRcSuccess;
   }
   void removeDecapKey(Fwd::DecapKey const& key) override { table.erase(Sim::keyText(key)); }
   void decapGroupConfigReady() override {
      ++readyCalls;
      once(whenReady);
   }
   bool waitForDstPortPayloadTypeForUdpTunnel() override {
      once(whenAsked);
      return true;
   }

   std::multiset<std::string> table;
   int readyCalls = 0;
   std::function<void()> whenReady;
   std::function<void()> whenAsked;

 private:
   static void once(std::function<void()>& action) {
      if (action) std::exchange(action, nullptr)();
   }
};

class ReentrantQueries : public DecapFixture {
 protected:
   ReentrantQueries() {
      givenGroup("red");
      sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hook);
      config->readyIs(true);
   }

   void thenHookHasOnly(Texts const& entries) const {
      Texts counts;
      for (auto const& text : entries) counts.push_back(text + " x1");
      EXPECT_EQ(Texts(hook->table.begin(), hook->table.end()), entries);
      thenCounts(counts);
      thenBacklog({});
   }

   Mdl::Ptr<TalkativeHook> const hook = Mdl::allocate<TalkativeHook>();
};

TEST_F(ReentrantQueries, ThePrefixGoesWhileTheHookIsAskedWhetherToWait) {
   sm->initializedIs(true);
   hook->whenAsked = [&] { whenDecapIpRemoved("red", "10.1.0.0/16"); };
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenHookHasOnly({});
   EXPECT_FALSE(reactor("red")->decapKeyFromIp(key("10.1.0.0/16")));
}

TEST_F(ReentrantQueries, ThePortChangesWhileTheHookIsAskedWhetherToWait) {
   sm->initializedIs(true);
   hook->whenAsked = [&] { groupNamed("red").destPortIs(7000); };
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenHookHasOnly({entry("10.1.0.0/16", "default", 7000)});
}

TEST_F(ReentrantQueries, TheGroupGoesWhileTheHookIsAskedWhetherToWait) {
   sm->initializedIs(true);
   hook->whenAsked = [&] { whenGroupRemoved("red"); };
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenHookHasOnly({});
}

TEST_F(ReentrantQueries, TheLastPointerGoesWhileTheHookIsAskedWhetherToWait) {
   sm->initializedIs(true);
   hook->whenAsked = [&] { sm = nullptr; };
   whenDecapIpAdded("red", "10.1.0.0/16");
   EXPECT_FALSE(sm);
   EXPECT_TRUE(hook->table.empty());
   EXPECT_TRUE(config->notifiees().empty());
}

TEST_F(ReentrantQueries, AnExceptionOfTheQuestionLeavesNoCount) {
   sm->initializedIs(true);
   hook->whenAsked = [] { throw std::runtime_error("cannot tell"); };
   EXPECT_THROW(whenDecapIpAdded("red", "10.1.0.0/16"), std::runtime_error);
   thenHookHasOnly({});
   reactor("red")->handleUpdateIp(prefix("10.1.0.0/16"));
   thenHookHasOnly({entry("10.1.0.0/16")});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHookHasOnly({});
}

TEST_F(ReentrantQueries, TheConfigurationChangesWhileTheHookIsToldOfIt) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   hook->whenReady = [&] {
      whenDecapIpRemoved("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.2.0.0/16");
      givenGroup("blue")->decapIpIs(prefix("10.3.0.0/16"));
   };
   sm->initializedIs(true);
   thenHookHasOnly({entry("10.2.0.0/16"), entry("10.3.0.0/16")});
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   EXPECT_EQ(hook->readyCalls, 1);
}

TEST_F(ReentrantQueries, AnExceptionOfTheAnnouncementStartsTheReplayAgain) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   hook->whenReady = [] { throw std::runtime_error("not now"); };
   EXPECT_THROW(sm->initializedIs(true), std::runtime_error);
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   thenHookHasOnly({entry("10.1.0.0/16")});
   sm->handleDecapGroupConfigReady();
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   EXPECT_EQ(hook->readyCalls, 2);
   thenHookHasOnly({entry("10.1.0.0/16")});
   sm->handleDecapGroupConfigReady();
   EXPECT_EQ(hook->readyCalls, 2);
}

}  // namespace
