#include "support/DecapFixture.h"

#include <algorithm>

namespace {

using Tunnel::Decap::Config;

/// The reactor on the configuration.
class ConfigReactor : public DecapFixture {
 protected:
   ConfigReactor() { givenMachine(); }

   Texts registered() const {
      Texts names;
      for (auto const& entry : sm->mdlDecapGroup()) names.push_back(entry.key.stdString());
      return names;
   }

   /// Another configuration with its own group entities of these names.
   static Mdl::Ptr<Config> otherConfig(std::vector<std::string> const& names,
                                       std::string_view destination, bool ready = true) {
      auto other = Mdl::allocate<Config>();
      for (auto const& name : names) {
         auto const made = makeGroup(name, {.vrf = name});
         made->decapIpIs(prefix(destination));
         other->decapGroupIs(made);
      }
      other->readyIs(ready);
      return other;
   }

   void whenRepointed(Mdl::Ptr<Config> const& other) { sm->mdlDgConfig()->notifierIs(other); }
};

TEST_F(ConfigReactor, FollowsGroupsThatComeAndGo) {
   givenGroup("red");
   givenGroup("blue");
   EXPECT_EQ(registered(), (Texts{"red", "blue"}));
   whenGroupRemoved("red");
   EXPECT_EQ(registered(), Texts{"blue"});
   config->decapGroupDelAll();
   EXPECT_EQ(registered(), Texts{});
}

TEST_F(ConfigReactor, LooksTheNameUpToTellWhatHappened) {
   auto const red = givenGroup("red");
   auto const id = Config::decapGroupAttributeId;
   Mdl::String const name("red");
   sm->decapGroupDel(name);
   sm->mdlDgConfig()->onAttribute(id, &name);
   EXPECT_EQ(sm->decapGroup(name), red);

   auto const blue = makeGroup("blue", {});
   sm->decapGroupIs(blue);
   Mdl::String const absent("blue");
   sm->mdlDgConfig()->onAttribute(id, &absent);
   EXPECT_EQ(registered(), Texts{"red"});
}

TEST_F(ConfigReactor, IgnoresOtherAttributes) {
   givenGroup("red");
   givenTraceLevels({2});
   Mdl::String const name("red");
   sm->mdlDgConfig()->onAttribute(258, &name);
   sm->mdlDgConfig()->onAttribute(261, nullptr);
   thenTraces({});
   EXPECT_EQ(registered(), Texts{"red"});
}

TEST_F(ConfigReactor, WithoutANotifierIgnoresGroups) {
   givenGroup("red");
   whenRepointed(nullptr);
   EXPECT_FALSE(sm->dgConfig());
   givenGroup("blue");
   Mdl::String const name("red");
   sm->mdlDgConfig()->onAttribute(Config::decapGroupAttributeId, &name);
   EXPECT_EQ(registered(), Texts{"red"});
}

TEST_F(ConfigReactor, WithoutANotifierAPrefixThatGoesIsWithdrawn) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   whenRepointed(nullptr);
   whenDecapIpRemoved("red", "10.1.0.0/16");
   thenHardware({});
   thenCounts({});
}

TEST_F(ConfigReactor, OnceDetachedIgnoresGroups) {
   givenGroup("red");
   auto const kept = sm->mdlDgConfig();
   whenMachineDropped();
   Mdl::String const name("red");
   kept->onAttribute(Config::decapGroupAttributeId, &name);
   givenGroup("blue");
   EXPECT_EQ(kept->config(), config);
}

TEST_F(ConfigReactor, FlaggedForDeletionIgnoresReadiness) {
   sm->mdlDgConfig()->isMarkedForDeletionIs(true);
   givenTraceLevels({2});
   config->readyIs(true);
   config->readyIs(false);
   thenTraces({});
}

TEST_F(ConfigReactor, RepointedToTheSameConfigurationDoesNothing) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   givenTraceLevels({2});
   forgetSoFar();
   whenRepointed(config);
   thenTraces({});
   thenCalls({});
}

TEST_F(ConfigReactor, RepointedTakesOverTheGroupsOfTheNewConfiguration) {
   givenGroup("red");
   givenGroup("blue");
   auto const kept = reactor("blue");
   whenRepointed(otherConfig({"blue", "green"}, "10.1.0.0/16"));
   EXPECT_EQ(registered(), (Texts{"blue", "green"}));
   EXPECT_EQ(reactor("blue"), kept);
   EXPECT_EQ(sm->decapGroup(Mdl::String("blue")), sm->dgConfig()->decapGroup(Mdl::String("blue")));
}

TEST_F(ConfigReactor, RepointedAddsGroupsBeforeItRemovesOthers) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   forgetSoFar();
   whenRepointed(otherConfig({"green", "yellow"}, "10.2.0.0/16"));
   auto const texts = hardware->journal().texts();
   ASSERT_FALSE(texts.empty());
   EXPECT_EQ(texts.front(), "program udp 10.2.0.0/16 port 6080 payload ip vrf green -> success");
   EXPECT_EQ(texts.back(), "remove udp 10.1.0.0/16 port 6080 payload ip vrf default -> removed");
   thenHardware({"udp 10.2.0.0/16 port 6080 payload ip vrf green"});
   thenBacklog({"udp 10.2.0.0/16 port 6080 payload ip vrf yellow"});
}

TEST_F(ConfigReactor, RepointedHandlesReadinessAfterTheGroups) {
   givenGroup("red");
   givenTraceLevels({2});
   whenRepointed(otherConfig({"green"}, "10.2.0.0/16"));
   ASSERT_FALSE(traces.empty());
   EXPECT_EQ(traces.back().text, "handleDecapGroupConfigReady");
   EXPECT_GT(traces.size(), 1U);
   thenCalls({});
}

TEST_F(ConfigReactor, RepointedToAReadyConfigurationEntersTheRunningState) {
   sm->initializedIs(true);
   whenRepointed(otherConfig({"green"}, "10.2.0.0/16"));
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   thenCalls({"program udp 10.2.0.0/16 port 6080 payload ip vrf green -> success",
              "configuration ready"});
   thenCounts({"udp 10.2.0.0/16 port 6080 payload ip vrf green x1"});
}

TEST_F(ConfigReactor, RepointedWhileRunningDoesNotReplayAgain) {
   givenRunning();
   forgetSoFar();
   whenRepointed(otherConfig({"green"}, "10.2.0.0/16"));
   for (auto const& text : hardware->journal().texts()) EXPECT_NE(text, "configuration ready");
   thenHardware({"udp 10.2.0.0/16 port 6080 payload ip vrf green"});
}

TEST_F(ConfigReactor, RepointedFollowsTheNewConfigurationAndNotTheOld) {
   auto const other = otherConfig({"green"}, "10.2.0.0/16");
   whenRepointed(other);
   givenGroup("red");
   EXPECT_EQ(registered(), Texts{"green"});
   other->decapGroupIs(makeGroup("yellow", {}));
   EXPECT_EQ(registered(), (Texts{"green", "yellow"}));
}

TEST_F(ConfigReactor, RepointedBackAndForthFollowsOnce) {
   auto const other = otherConfig({}, "10.2.0.0/16");
   config->readyIs(true);
   whenRepointed(other);
   whenRepointed(config);
   givenTraceLevels({2});
   givenGroup("red");
   EXPECT_EQ(registered(), Texts{"red"});
   other->decapGroupIs(makeGroup("yellow", {}));
   EXPECT_EQ(registered(), Texts{"red"});
   EXPECT_EQ(std::ranges::count(traces, "handleUpdateIp", &Traced::text), 1);
}

TEST_F(ConfigReactor, FlaggedForDeletionIsRepointedWithoutHandlingReadiness) {
   sm->initializedIs(true);
   sm->mdlDgConfig()->isMarkedForDeletionIs(true);
   whenRepointed(otherConfig({"green"}, "10.2.0.0/16", false));
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   EXPECT_EQ(registered(), Texts{"green"});
}

using ConfigReactorDeath = ConfigReactor;

TEST_F(ConfigReactorDeath, RepointedToAConfigurationThatIsNotReadyStopsTheProcess) {
   givenRunning();
   EXPECT_DEATH(whenRepointed(otherConfig({"green"}, "10.2.0.0/16", false)),
                "Assertion failed: dgConfig\\(\\)->ready\\(\\), file FwdL3Unicast/FwdDecapGroup");
}

}  // namespace
