#include "agent/serve/DryRun.h"

#include "support/ConsoleFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <sys/wait.h>

namespace Agent {
namespace {

constexpr char const* site =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']}]}";

class DryRunTest : public ConsoleFixture {
 protected:
   struct Answer {
      Status status = Status::failed;
      std::string text;
   };

   /// The pipe to its end.
   static Answer answerOf(DryRun const& run) {
      std::string all;
      std::array<char, 4096> bytes;
      for (;;) {
         ssize_t const count = ::read(run.descriptor(), bytes.data(), bytes.size());
         if (count < 0 && errno == EINTR) continue;
         if (count <= 0) break;
         all.append(bytes.data(), static_cast<std::size_t>(count));
      }
      if (all.empty()) throw std::runtime_error("the copy said nothing");
      return {static_cast<Status>(all[0] - '0'), all.substr(1)};
   }
   Answer whenDiff(std::string const& content) {
      auto const outcome = whenWith("diff", content);
      return answerOf(*std::get<std::unique_ptr<DryRun>>(outcome));
   }
   Json whenJsonDiff(std::string const& content, Status expected = Status::found) {
      request.json = true;
      auto const answer = whenDiff(content);
      request.json = false;
      EXPECT_EQ(answer.status, expected) << answer.text;
      Json document = Json::parse(answer.text, nullptr, false);
      EXPECT_FALSE(document.is_discarded()) << answer.text;
      return document;
   }
};

TEST_F(DryRunTest, OfTheSameConfigurationHasNothingToTell) {
   givenConsole(site);
   auto const answer = whenDiff(site);
   EXPECT_EQ(answer.status, Status::ok);
   EXPECT_EQ(answer.text,
             "Configuration: nothing\n"
             "Hardware: 0 entries programmed, 0 removed, 0 re-keyed, 0 interrupted; 0 more left "
             "out\n"
             "Entries in use: 2 now, 2 then\n");
}

TEST_F(DryRunTest, TellsWhatIsProgrammedAndRemoved) {
   givenConsole(site);
   std::string const wanted =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.3.0.0/16', "
       "'10.4.0.0/16']}]}";
   auto const answer = whenDiff(wanted);
   EXPECT_EQ(answer.status, Status::found);
   EXPECT_EQ(answer.text,
             "Configuration: 1 group changed, 2 prefixes added, 1 prefix removed\n"
             "Hardware: 2 entries programmed, 1 removed, 0 re-keyed, 0 interrupted; 0 more left "
             "out\n"
             "  - gre 10.2.0.0/16 vrf default\n"
             "  + gre 10.3.0.0/16 vrf default\n"
             "  + gre 10.4.0.0/16 vrf default\n"
             "Entries in use: 2 now, 3 then\n");
   Json const document = whenJsonDiff(wanted);
   EXPECT_EQ(document["changes"]["groupsChanged"], 1);
   EXPECT_EQ(document["changes"]["prefixesAdded"], 2);
   EXPECT_EQ(document["counts"]["programmed"], 2);
   EXPECT_EQ(document["counts"]["removed"], 1);
   EXPECT_EQ(document["removed"], Json{"gre 10.2.0.0/16 vrf default"});
   EXPECT_EQ(document["programmed"],
             (Json{"gre 10.3.0.0/16 vrf default", "gre 10.4.0.0/16 vrf default"}));
   EXPECT_EQ(document["entriesBefore"], 2);
   EXPECT_EQ(document["entriesAfter"], 3);
   EXPECT_EQ(document["settled"], true);
}

TEST_F(DryRunTest, TellsWhatIsReKeyed) {
   givenConsole(site);
   std::string const wanted =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': ['10.1.0.0/16', "
       "'10.2.0.0/16']}]}";
   auto const answer = whenDiff(wanted);
   EXPECT_NE(answer.text.find("  ~ gre 10.1.0.0/16 vrf default -> gre 10.1.0.0/16 vrf red\n"),
             std::string::npos)
       << answer.text;
   Json const document = whenJsonDiff(wanted);
   EXPECT_EQ(document["counts"]["rekeyed"], 2);
   EXPECT_EQ(document["counts"]["programmed"], 0);
   EXPECT_EQ(document["counts"]["removed"], 0);
   EXPECT_EQ(document["rekeyed"][0]["from"], "gre 10.1.0.0/16 vrf default");
   EXPECT_EQ(document["rekeyed"][0]["to"], "gre 10.1.0.0/16 vrf red");
}

TEST_F(DryRunTest, TellsWhatIsInterrupted) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']},"
       "{'name': 'b', 'tunnelType': 'gre', 'decapIps': []}]}");
   std::string const moved =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': []},"
       "{'name': 'b', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}]}";
   auto const answer = whenDiff(moved);
   EXPECT_NE(answer.text.find("  ^ gre 10.1.0.0/16 vrf default: out and in again\n"),
             std::string::npos)
       << answer.text;
   Json const document = whenJsonDiff(moved);
   EXPECT_EQ(document["interrupted"], Json{"gre 10.1.0.0/16 vrf default"});
   EXPECT_EQ(document["counts"]["programmed"], 0);
}

TEST_F(DryRunTest, TellsWhatDoesNotFit) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', "
       "'10.2.0.0/16']}], 'hardware': {'capacity': 2}}");
   std::string const more =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16', "
       "'10.3.0.0/16']}], 'hardware': {'capacity': 2}}";
   auto const answer = whenDiff(more);
   EXPECT_EQ(answer.status, Status::found);
   EXPECT_NE(answer.text.find("  ! gre 10.3.0.0/16 vrf default: hardware table full"),
             std::string::npos)
       << answer.text;
   EXPECT_NE(answer.text.find("Entries in use: 2 now, 2 then, of 2\n"), std::string::npos)
       << answer.text;
   Json const document = whenJsonDiff(more);
   EXPECT_EQ(document["counts"]["leftOut"], 1);
   EXPECT_EQ(document["leftOut"][0]["reason"], "full");
}

TEST_F(DryRunTest, TellsOfConflicts) {
   givenConsole(site);
   Json const document = whenJsonDiff(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']},"
       "{'name': 'b', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': ['10.2.0.0/16']}]}");
   ASSERT_EQ(document["leftOut"].size(), 1u);
   EXPECT_EQ(document["leftOut"][0]["key"], "gre 10.2.0.0/16 vrf red");
   EXPECT_EQ(document["leftOut"][0]["reason"], "vrfConflict");
   EXPECT_EQ(document["leftOut"][0]["text"],
             "VRF conflict: 10.2.0.0/16 goes to VRF default (group a)");
}

TEST_F(DryRunTest, WhatWaitsAlreadyIsNoNews) {
   std::string const full =
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', "
       "'10.2.0.0/16']}], 'hardware': {'capacity': 1}}";
   givenConsole(full);
   EXPECT_EQ(whenJsonDiff(full, Status::ok)["counts"]["leftOut"], 0);
}

TEST_F(DryRunTest, WaitsForHardwareThatTakesItsTime) {
   givenConsole("{'groups': [{'name': 'a', 'tunnelType': 'gre'}], 'hardware': {'latency': 2}}");
   Json const document = whenJsonDiff(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'latency': 2}}");
   EXPECT_EQ(document["programmed"].size(), 1u);
   EXPECT_EQ(document["settled"], true);
   EXPECT_EQ(clock, 0.0);
}

TEST_F(DryRunTest, SaysSoWhereHardwareDoesNotGetQuiet) {
   givenConsole("{'groups': [{'name': 'a', 'tunnelType': 'gre'}]}");
   Json const document = whenJsonDiff(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'latency': 3600}}");
   EXPECT_EQ(document["settled"], false);
   EXPECT_EQ(document["leftOut"][0]["reason"], "pending");
}

TEST_F(DryRunTest, GivesAsManyRowsAsAreAskedFor) {
   givenConsole(site);
   request.rows = 1;
   auto const answer = whenDiff("{'groups': []}");
   EXPECT_NE(answer.text.find("  - gre 10.1.0.0/16 vrf default\n  ... and 1 more\n"),
             std::string::npos)
       << answer.text;
   Json const document = whenJsonDiff("{'groups': []}");
   EXPECT_EQ(document["removed"].size(), 1u);
   EXPECT_EQ(document["counts"]["removed"], 2);
}

TEST_F(DryRunTest, LeavesTheServiceAndItsFilesAsTheyAre) {
   stateFolder = folder.path("state");
   std::filesystem::create_directory(stateFolder);
   givenConsole(site);
   std::string const journal = folder.path("j");
   whenJournalStarts(journal);
   service->traceLevelIs(7);
   std::string const stateBefore = Support::readFile(stateFolder + "/hardware.state");
   std::string const journalBefore = Support::readFile(journal);
   Texts const tableBefore = table();
   Texts const logBefore = log;
   std::uint64_t const callsBefore = hardware().journal().begun();
   EXPECT_EQ(whenJsonDiff("{'groups': []}")["counts"]["removed"], 2);
   EXPECT_EQ(Support::readFile(stateFolder + "/hardware.state"), stateBefore);
   EXPECT_EQ(Support::readFile(journal), journalBefore);
   EXPECT_EQ(table(), tableBefore);
   EXPECT_EQ(log, logBefore);
   EXPECT_EQ(hardware().journal().begun(), callsBefore);
   EXPECT_EQ(service->configuredAt(), 0.0);
   service->reload();
   EXPECT_EQ(table(), tableBefore) << "the machine goes on";
   EXPECT_TRUE(service->journalStop(err));
}

TEST_F(DryRunTest, SaysNothingInTheAgentsLog) {
   givenFile(site);
   std::string const written = folder.path("log");
   int const descriptor = ::open(written.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
   // Standard error is all that a copy has in common with the agent.
   int const kept = ::dup(STDERR_FILENO);
   service = std::make_unique<Service>(
       ServiceOptions{configurationFile, stateFolder, mode}, [this] { return clock; }, wallTime(),
       [](unsigned, std::string const& text) {
          std::string const line = text + '\n';
          EXPECT_EQ(::write(STDERR_FILENO, line.data(), line.size()), std::ssize(line));
       });
   ASSERT_TRUE(service->start(err));
   console = std::make_unique<Console>(*service, [](bool) {});
   ASSERT_EQ(::dup2(descriptor, STDERR_FILENO), STDERR_FILENO);
   auto const answer = whenDiff("{'groups': []}");
   ::dup2(kept, STDERR_FILENO);
   ::close(kept);
   ::close(descriptor);
   EXPECT_EQ(answer.status, Status::found);
   EXPECT_EQ(Support::readFile(written), "");
}

TEST_F(DryRunTest, EndsWithItsObject) {
   givenConsole(site);
   pid_t const before = ::getpid();
   for (int i = 0; i < 20; ++i) {
      auto const outcome = whenWith("diff", "{'groups': []}");
      EXPECT_TRUE(std::holds_alternative<std::unique_ptr<DryRun>>(outcome));
   }
   EXPECT_EQ(::getpid(), before);
   EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
   EXPECT_EQ(errno, ECHILD);
}

TEST_F(DryRunTest, LeavesNoDescriptorsOpen) {
   givenConsole(site);
   auto const open = [] {
      return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
   };
   auto const before = open();
   for (int i = 0; i < 5; ++i) whenDiff("{'groups': []}");
   EXPECT_EQ(open(), before);
}

}  // namespace
}  // namespace Agent
