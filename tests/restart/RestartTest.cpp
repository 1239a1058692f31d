// One agent after another on the same hardware.

#include "support/RestartFixture.h"

namespace {

class Restart : public RestartFixture {
 protected:
   /// Two groups of which one has its keys from interfaces, and one destination that two VRFs want.
   void givenUsualConfiguration() {
      givenGroup("red", {.vrf = "red"});
      givenGroup("blue", {.vrf = "blue"});
      givenGroup("edge", {.type = TunnelType::gre, .port = 0, .payload = PayloadType::unset});
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.2.0.0/16");
      whenDecapIpAdded("blue", "10.1.0.0/16");
      whenDecapIpAdded("blue", "2001:db8::/32");
      whenDecapIntfAdded("edge", "", AddressType::primary);
      givenInterface("Ethernet1", "192.0.2.1/24");
      givenInterface("Ethernet2", "192.0.2.9/24");
   }
   Texts usualHardware() const {
      return {"udp 10.1.0.0/16 port 6080 payload ip vrf red",
              "udp 10.2.0.0/16 port 6080 payload ip vrf red",
              "udp 2001:db8::/32 port 6080 payload ip vrf blue", "gre 192.0.2.1/32 vrf default",
              "gre 192.0.2.9/32 vrf default"};
   }
   void givenAgentWithUsualConfiguration() {
      givenAgent();
      givenUsualConfiguration();
   }
   Texts changes() const {
      Texts texts;
      for (Sim::Call const& call : hardware->journal().calls()) {
         bool const changed =
             call.outcome == Sim::Outcome::removed || call.outcome == Sim::Outcome::swept ||
             (call.outcome == Sim::Outcome::answered && call.answer == Fwd::dgRcSuccess);
         if (changed) texts.push_back(callText(call));
      }
      return texts;
   }
};

TEST_F(Restart, WithTheFlagHardwareGoesOnAsItIs) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   thenHardware(usualHardware());
   forgetSoFar();
   sm->disableCleanupOnRestartIs(true);
   sm = nullptr;
   thenCalls({});
   thenHardware(usualHardware());
   EXPECT_EQ(fileTexts(), tableTexts());
}

TEST_F(Restart, WithoutTheFlagHardwareEndsEmpty) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStops();
   EXPECT_EQ(fileTexts(), Texts());
   givenAgent();
   EXPECT_TRUE(hardware->heldOver().empty());
}

TEST_F(Restart, AnUnchangedConfigurationIsTakenOverWithoutOneRewrite) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStopsForARestart();
   std::string const file = Support::readFile(path);

   givenAgentWithUsualConfiguration();
   givenRunning();
   whenQuiet();
   EXPECT_EQ(changes(), Texts());
   EXPECT_EQ(hardware->written(), 0u);
   EXPECT_EQ(Support::readFile(path), file) << "not even the file has changed";
   thenHardware(usualHardware());
   thenBacklog({"udp 10.1.0.0/16 port 6080 payload ip vrf blue"});
   thenOwners({"udp 10.1.0.0/16 -> red", "udp 10.2.0.0/16 -> red", "udp 2001:db8::/32 -> blue",
               "gre 192.0.2.1/32 -> default", "gre 192.0.2.9/32 -> default"});
   thenBooksAgree();
}

TEST_F(Restart, NothingHappensBeforeReadiness) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStopsForARestart();

   givenAgentWithUsualConfiguration();
   givenMachine();
   sm->initializedIs(true);
   thenCalls({});
   EXPECT_EQ(hardware->heldOver().size(), 5u);
   config->readyIs(true);
   EXPECT_TRUE(hardware->heldOver().empty());
   EXPECT_EQ(changes(), Texts());
}

TEST_F(Restart, AChangedConfigurationChangesHardwareByTheDifference) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStopsForARestart();

   givenAgentWithUsualConfiguration();
   whenDecapIpAdded("red", "10.3.0.0/16");
   whenDecapIpRemoved("red", "10.2.0.0/16");
   ip->ipIntfStatusDel(intf("Ethernet2"));
   givenInterface("Ethernet3", "192.0.2.17/24");
   givenRunning();
   whenQuiet();
   EXPECT_EQ(changes(),
             (Texts{"program udp 10.3.0.0/16 port 6080 payload ip vrf red -> success",
                    "program gre 192.0.2.17/32 vrf default -> success",
                    "remove udp 10.2.0.0/16 port 6080 payload ip vrf red -> held over, not claimed",
                    "remove gre 192.0.2.9/32 vrf default -> held over, not claimed"}));
   thenBooksAgree();
}

TEST_F(Restart, ARemovedGroupIsSweptAtReadiness) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStopsForARestart();

   givenAgentWithUsualConfiguration();
   whenGroupRemoved("edge");
   givenRunning();
   EXPECT_EQ(changes(), (Texts{"remove gre 192.0.2.1/32 vrf default -> held over, not claimed",
                               "remove gre 192.0.2.9/32 vrf default -> held over, not claimed"}));
   thenBooksAgree();
}

TEST_F(Restart, AnEmptyConfigurationEmptiesHardwareAtReadiness) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStopsForARestart();

   givenAgent();
   givenMachine();
   sm->initializedIs(true);
   EXPECT_EQ(hardware->table().size(), 5u);
   config->readyIs(true);
   thenHardware({});
}

TEST_F(Restart, TheOwnerOfADestinationIsWhoTheNewConfigurationSaysAndThereIsNeverASecond) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   whenAgentStopsForARestart();

   givenAgent();
   givenGroup("blue", {.vrf = "blue"});
   givenGroup("red", {.vrf = "red"});
   whenDecapIpAdded("blue", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.1.0.0/16");
   std::size_t most = 0;
   hardware->observerIs([&](Sim::Call const&) {
      auto const isOurs = [](auto const& entry) {
         return entry.key.dstIp() == prefix("10.1.0.0/16");
      };
      auto const& entries = hardware->table().entries();
      std::size_t owners = 0;
      for (auto const& entry : entries) owners += isOurs(entry) ? 1 : 0;
      most = std::max(most, owners);
   });
   givenRunning();
   whenQuiet();
   hardware->observerIs({});
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf blue"});
   EXPECT_EQ(most, 1u);
   thenBooksAgree();
}

TEST_F(Restart, WhatDoesNotFitBesideTheOldEntriesFollowsWhenTheyAreSwept) {
   givenAgent();
   givenGroup("red", {.vrf = "red"});
   for (char const* text : {"10.1.0.0/16", "10.2.0.0/16"}) whenDecapIpAdded("red", text);
   givenRunning();
   whenAgentStopsForARestart();

   givenAgent();
   hardware->table().capacityIs(2);
   givenGroup("red", {.vrf = "red"});
   for (char const* text : {"10.3.0.0/16", "10.4.0.0/16"}) whenDecapIpAdded("red", text);
   givenRunning();
   thenHardware({});
   thenHwResourceFull(true);
   whenQuiet();
   thenHardware({"udp 10.3.0.0/16 port 6080 payload ip vrf red",
                 "udp 10.4.0.0/16 port 6080 payload ip vrf red"});
   thenHwResourceFull(false);
   EXPECT_EQ(hardware->table().highWater(), 2u);
}

TEST_F(Restart, ManyRestartsInARowChangeNothing) {
   givenAgentWithUsualConfiguration();
   givenRunning();
   std::string const file = Support::readFile(path);
   for (int i = 0; i < 5; ++i) {
      whenAgentStopsForARestart();
      givenAgentWithUsualConfiguration();
      givenRunning();
   }
   EXPECT_EQ(Support::readFile(path), file);
   whenAgentStops();
   EXPECT_EQ(fileTexts(), Texts());
}

}  // namespace
