#include "agent/serve/Service.h"

#include "agent/CommandLine.h"
#include "agent/InputError.h"
#include "support/ServiceFixture.h"
#include "support/StateFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>

namespace Agent {
namespace {

constexpr char const* two =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']}]}";
constexpr char const* three =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']},"
    "            {'name': 'b', 'tunnelType': 'gre', 'decapIps': ['10.3.0.0/16']}]}";
constexpr char const* tooMuch =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']}],"
    " 'hardware': {'capacity': 1}, 'review': {'interval': 0.5}}";

class ServiceTest : public ServiceFixture {
 protected:
   /// Has another machine live through the journal.
   void thenReplays(std::string const& recorded) {
      // Time, log and traces are the process's.
      service = nullptr;
      std::array const arguments = {"decap-agent", "replay", recorded.c_str()};
      std::ostringstream out;
      std::ostringstream wrong;
      int const code = commandLine(3, arguments.data(), out, wrong);
      EXPECT_EQ(code, 0) << out.str() << wrong.str();
      EXPECT_EQ(out.str().find("has no end"), std::string::npos) << out.str();
   }

   std::string const journal = folder.path("agent.journal");
   Texts const both = {"gre 10.1.0.0/16 vrf default", "gre 10.2.0.0/16 vrf default"};
};

TEST_F(ServiceTest, StartsOnItsFile) {
   given(two);
   EXPECT_EQ(table(), both);
   EXPECT_EQ(service->faults(), 0u);
}

TEST_F(ServiceTest, DoesNotStartOnABadFile) {
   givenFile("{'groups': [{'name': ''}]}");
   givenService();
   EXPECT_THROW(service->start(err), InputError);
   EXPECT_EQ(world().machine(), nullptr);
   EXPECT_EQ(hardware().journal().begun(), 0u);
}

TEST_F(ServiceTest, AReloadAppliesTheDifference) {
   given(two);
   clock = 5.0;
   forgetCalls();
   givenFile(three);
   Changes const changes = service->reload();
   EXPECT_EQ(changes, (Changes{.groupsAdded = 1, .prefixesAdded = 1}));
   EXPECT_EQ(calls(), Texts{"program gre 10.3.0.0/16 vrf default"});
   EXPECT_EQ(service->configuredAt(), 5.0);
   EXPECT_TRUE(logHas("5 configuration applied: 1 group added, 1 prefix added"));
}

TEST_F(ServiceTest, AReloadOfABadFileSaysWhereAndChangesNothing) {
   given(two);
   clock = 5.0;
   std::uint64_t const before = hardware().journal().begun();
   givenFile("{'groups': [{'name': 'b', 'tunnelType': 'gre', 'decapIps': ['10.1.2.3/16']}]}");
   try {
      service->reload();
      ADD_FAILURE() << "the file is bad";
   } catch (InputError const& bad) {
      EXPECT_TRUE(
          std::string(bad.what()).starts_with(configurationFile + ":1: groups[0].decapIps[0]: "))
          << bad.what();
   }
   EXPECT_EQ(table(), both);
   EXPECT_EQ(hardware().journal().begun(), before);
   EXPECT_EQ(world().groups().size(), 1u);
   EXPECT_EQ(service->configuredAt(), 0.0);
}

TEST_F(ServiceTest, AReloadOfAFileThatIsGoneChangesNothing) {
   given(two);
   std::filesystem::remove(configurationFile);
   EXPECT_THROW(service->reload(), InputError);
   EXPECT_EQ(table(), both);
}

TEST_F(ServiceTest, AReloadOfHardwareSettingsIsApplied) {
   given(two);
   givenFile(tooMuch);
   EXPECT_TRUE(service->reload().settings);
   EXPECT_EQ(hardware().table().capacity(), 1u);
   EXPECT_EQ(world().review().interval, 0.5);
   givenFile(two);
   EXPECT_TRUE(service->reload().settings);
   EXPECT_EQ(hardware().table().capacity(), Sim::HardwareTable::unlimited);
}

TEST_F(ServiceTest, ALimitOfATypeThatTheFileDropsIsNoLimitAnyMore) {
   given("{'groups': [], 'hardware': {'capacityByType': {'gre': 1}}}");
   givenFile("{'groups': []}");
   EXPECT_TRUE(service->reload().settings);
   EXPECT_EQ(hardware().table().capacity(Tunnel::Decap::TunnelType::gre),
             Sim::HardwareTable::unlimited);
}

TEST_F(ServiceTest, WhatChangedIsSaidInWords) {
   EXPECT_EQ(changesText({}), "nothing");
   EXPECT_EQ(changesText({.groupsAdded = 2, .groupsChanged = 1, .prefixesAdded = 3}),
             "2 groups added, 1 group changed, 3 prefixes added");
   EXPECT_EQ(changesText({.settings = true}), "settings changed");
   EXPECT_EQ(changesText({.groupsRemoved = 1,
                          .prefixesRemoved = 1,
                          .interfacesAdded = 1,
                          .interfacesRemoved = 2,
                          .interfacesChanged = 3,
                          .settings = true}),
             "1 group removed, 1 prefix removed, 1 interface added, 2 interfaces removed, "
             "3 interfaces changed, settings changed");
}

// Time.

TEST_F(ServiceTest, ATurnWakesTheReviewAtItsTime) {
   given(tooMuch);
   ASSERT_EQ(backlog().size(), 1u);
   hardware().table().capacityIs(2);
   EXPECT_NEAR(service->nextTurn(), 0.5, 0.01);
   forgetCalls();
   clock = 0.4;
   service->turn();
   EXPECT_EQ(calls(), Texts()) << "too early";
   EXPECT_NEAR(service->nextTurn(), 0.5, 0.01);
   clock = service->nextTurn();
   service->turn();
   EXPECT_EQ(calls(), Texts{"program gre 10.2.0.0/16 vrf default"});
   EXPECT_EQ(backlog(), Texts());
}

TEST_F(ServiceTest, ATurnThatComesLateWakesTheReviewAllTheSame) {
   given(tooMuch);
   hardware().table().capacityIs(2);
   clock = 1000.0;
   service->turn();
   EXPECT_EQ(backlog(), Texts());
   EXPECT_EQ(service->nextTurn(), Mdl::never);
}

TEST_F(ServiceTest, NobodyIsWokenWhenNothingWaits) {
   given(two);
   EXPECT_EQ(service->nextTurn(), Mdl::never);
}

TEST_F(ServiceTest, AHookThatThrowsInAReviewIsLoggedAndTheKeyTriedAgain) {
   given(tooMuch);
   hardware().table().capacityIs(2);
   hardware().script().next(Sim::Answer::fault());
   whenTimePasses(0.6);
   EXPECT_EQ(service->faults(), 1u);
   EXPECT_TRUE(logHas("4 a hardware call failed: "));
   whenTimePasses(10.0);
   EXPECT_EQ(table(), both);
}

TEST_F(ServiceTest, AHookThatThrowsInAReloadIsLogged) {
   given(two);
   hardware().script().next(Sim::Answer::fault());
   givenFile(three);
   service->reload();
   EXPECT_EQ(service->faults(), 1u);
   whenTimePasses(10.0);
   EXPECT_EQ(table().size(), 3u);
}

// The machine's life.

TEST_F(ServiceTest, ARestartWithdrawsEverythingAndProgramsItAgain) {
   given(two);
   forgetCalls();
   service->restart(false);
   EXPECT_EQ(calls(),
             (Texts{"remove gre 10.1.0.0/16 vrf default", "remove gre 10.2.0.0/16 vrf default",
                    "program gre 10.1.0.0/16 vrf default", "program gre 10.2.0.0/16 vrf default"}));
   EXPECT_EQ(table(), both);
}

TEST_F(ServiceTest, ARestartThatKeepsHardwareTakesItOverWithoutAWrite) {
   given(two);
   forgetCalls();
   std::uint64_t const written = hardware().written();
   service->restart(true);
   EXPECT_EQ(calls(),
             (Texts{"program gre 10.1.0.0/16 vrf default", "program gre 10.2.0.0/16 vrf default"}));
   EXPECT_EQ(hardware().written(), written);
   EXPECT_EQ(world().takeOver().count(TakeOver::Fate::takenOver), 2u);
   EXPECT_EQ(table(), both);
}

TEST_F(ServiceTest, ARestartForgetsTheAlarmOnceThereIsRoom) {
   given(tooMuch);
   EXPECT_TRUE(world().status().hwResourceFull());
   hardware().table().capacityIs(2);
   service->restart(true);
   EXPECT_FALSE(world().status().hwResourceFull());
   EXPECT_EQ(table(), both);
}

TEST_F(ServiceTest, TheEndWithdrawsEverything) {
   given(two);
   EXPECT_TRUE(service->stop(false, err));
   EXPECT_EQ(table(), Texts());
   EXPECT_EQ(world().machine(), nullptr);
   EXPECT_EQ(err.str(), "");
}

TEST_F(ServiceTest, TheEndMayKeepHardware) {
   given(two);
   EXPECT_TRUE(service->stop(true, err));
   EXPECT_EQ(table(), both);
}

TEST_F(ServiceTest, TheNextServiceTakesOverWhatWasKept) {
   stateFolder = folder.path();
   given(two);
   ASSERT_TRUE(service->stop(true, err));
   given(three);
   EXPECT_EQ(world().takeOver().count(TakeOver::Fate::takenOver), 2u);
   EXPECT_EQ(hardware().written(), 1u) << "what is new";
   EXPECT_EQ(table().size(), 3u);
   ASSERT_TRUE(service->stop(false, err));
   service = nullptr;
   EXPECT_EQ(Support::fileTexts(folder.path("hardware.state")), Texts());
}

TEST_F(ServiceTest, TheNextServiceRemovesWhatNobodyWantsAnyMore) {
   stateFolder = folder.path();
   given(three);
   ASSERT_TRUE(service->stop(true, err));
   given(two);
   EXPECT_EQ(table(), both);
   EXPECT_EQ(world().takeOver().count(TakeOver::Fate::unclaimed), 1u);
}

TEST_F(ServiceTest, ATableThatSomebodyUsesIsNotTouched) {
   stateFolder = folder.path();
   Support::writeFile(folder.path("hardware.state"), "");
   auto const held = Sim::StateFile::open(folder.path("hardware.state"));
   givenFile(two);
   givenService();
   EXPECT_FALSE(service->start(err));
   EXPECT_NE(err.str().find("in use by another table"), std::string::npos) << err.str();
}

TEST_F(ServiceTest, ATableThatIsDamagedIsSetAside) {
   stateFolder = folder.path();
   given(two);
   ASSERT_TRUE(service->stop(true, err));
   service = nullptr;
   std::string text = Support::readFile(folder.path("hardware.state"));
   text[text.size() - 3] ^= 1;
   Support::writeFile(folder.path("hardware.state"), text);
   given(two);
   EXPECT_NE(err.str().find("hardware begins empty"), std::string::npos) << err.str();
   EXPECT_EQ(table(), both);
   EXPECT_EQ(hardware().written(), 2u);
}

// Interfaces of the system.

TEST_F(ServiceTest, InterfacesOfTheSystemGiveDestinations) {
   mode = InterfaceMode::live;
   givenFile(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapInterfaces': [{'interface': 'all', "
       "'family': 'ipv4'}]}], 'interfaces': [{'name': 'eth9', 'primary': '10.9.9.9/24'}]}");
   givenService();
   InterfaceConfiguration eth0;
   eth0.name = Pkt::IntfId("eth0");
   eth0.primary = Pkt::IpAddrWithMask::fromText("10.0.0.1/24");
   service->liveIs(eth0);
   ASSERT_TRUE(service->start(err));
   EXPECT_EQ(table(), Texts{"gre 10.0.0.1/32 vrf default"});
   eth0.primary = Pkt::IpAddrWithMask::fromText("10.0.0.2/24");
   service->liveIs(eth0);
   EXPECT_EQ(table(), Texts{"gre 10.0.0.2/32 vrf default"});
   service->liveDel(eth0.name);
   EXPECT_EQ(table(), Texts());
}

// Journals.

TEST_F(ServiceTest, AJournalReplays) {
   given(tooMuch);
   clock = 1.0;
   whenJournalStarts(journal);
   EXPECT_EQ(service->journal(), journal);
   whenTimePasses(2.0);
   givenFile(three);
   service->reload();
   whenTimePasses(2.0);
   EXPECT_EQ(table().size(), 3u);
   EXPECT_TRUE(service->journalStop(err));
   EXPECT_EQ(service->journal(), "");
   thenReplays(journal);
}

TEST_F(ServiceTest, AJournalBeginsWithHardwareAsItIs) {
   given(two);
   std::uint64_t const written = hardware().written();
   whenJournalStarts(journal);
   EXPECT_EQ(table(), both);
   EXPECT_EQ(hardware().written(), written) << "nothing is written anew";
}

TEST_F(ServiceTest, AJournalDoesNotGrowAnyMoreOnceItHasEnded) {
   given(two);
   whenJournalStarts(journal);
   ASSERT_TRUE(service->journalStop(err));
   auto const size = std::filesystem::file_size(journal);
   givenFile(three);
   service->reload();
   service->restart(false);
   EXPECT_EQ(std::filesystem::file_size(journal), size);
   EXPECT_TRUE(service->journalStop(err)) << "there is none";
   thenReplays(journal);
}

TEST_F(ServiceTest, TheEndOfTheServiceEndsTheJournal) {
   given(two);
   whenJournalStarts(journal);
   ASSERT_TRUE(service->stop(false, err));
   thenReplays(journal);
}

TEST_F(ServiceTest, ARestartIsInTheJournal) {
   given(two);
   whenJournalStarts(journal);
   service->restart(true);
   clock = 1.0;
   service->restart(false);
   ASSERT_TRUE(service->journalStop(err));
   thenReplays(journal);
}

TEST_F(ServiceTest, TracesAreInAJournalThatBeginsLater) {
   given(tooMuch);
   service->traceLevelIs(7);
   whenJournalStarts(journal);
   whenTimePasses(1.0);
   EXPECT_TRUE(logHas("7 trace "));
   service->traceLevelIs(2);
   whenTimePasses(1.0);
   ASSERT_TRUE(service->journalStop(err));
   thenReplays(journal);
}

TEST_F(ServiceTest, AnotherJournalEndsTheFirst) {
   given(two);
   std::string const second = folder.path("second.journal");
   whenJournalStarts(journal);
   whenJournalStarts(second);
   givenFile(three);
   service->reload();
   EXPECT_EQ(service->journal(), second);
   ASSERT_TRUE(service->journalStop(err));
   thenReplays(journal);
   thenReplays(second);
}

TEST_F(ServiceTest, AJournalThatIsBeingWrittenIsNotBegunAgain) {
   given(two);
   whenJournalStarts(journal);
   std::string const before = Support::readFile(journal);
   EXPECT_THROW(whenJournalStarts(journal), InputError);
   EXPECT_EQ(Support::readFile(journal), before);
   EXPECT_EQ(service->journal(), journal);
   givenFile(three);
   service->reload();
   ASSERT_TRUE(service->journalStop(err));
   thenReplays(journal);
}

TEST_F(ServiceTest, AJournalThatCannotBeWrittenChangesNothing) {
   given(two);
   std::uint64_t const before = hardware().journal().begun();
   EXPECT_THROW(whenJournalStarts(folder.path("no/where")), InputError);
   EXPECT_EQ(service->journal(), "");
   EXPECT_EQ(hardware().journal().begun(), before);
}

// Traces.

TEST_F(ServiceTest, TracesGoToTheLogUntilTheyAreOff) {
   given(two);
   service->traceLevelIs(2);
   givenFile(three);
   service->reload();
   EXPECT_TRUE(logHas("7 trace 2"));
   service->traceLevelIs(std::nullopt);
   log.clear();
   givenFile(two);
   service->reload();
   EXPECT_FALSE(logHas("trace"));
}

TEST_F(ServiceTest, OperatorMessagesGoToTheLogWithTheirSeverity) {
   given(tooMuch);
   ASSERT_FALSE(world().log().entries().empty());
   auto const& message = *world().log().entries().front().message;
   EXPECT_TRUE(logHas(std::to_string(message.severity()) + ' ' + message.name() + ": "));
}

}  // namespace
}  // namespace Agent
