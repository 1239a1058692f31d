#include "agent/serve/Console.h"

#include "agent/serve/DryRun.h"
#include "serve/ConsoleSites.h"
#include "support/ConsoleFixture.h"
#include "support/SmallDisk.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace Agent {
namespace {

class ConsoleShow : public ConsoleFixture {};

TEST_F(ConsoleShow, TheSummaryTellsWhatRuns) {
   givenConsole(site);
   clock = 200.0;
   thenShows("show summary",
             {"Running for 3 min 20 s, since 2026-01-31 12:00:00.000Z\n",
              "Configuration: " + configurationFile + ", applied at 2026-01-31 12:00:00.000Z\n",
              "Interfaces: 0 (0 from the file, 0 from the system)\n",
              "Summary: 3 in hardware (1 shared), 1 waiting (1 VRF conflict), 1 not programmed; "
              "resource alarm off\n"});
}

TEST_F(ConsoleShow, TheSummaryHasNumbersForPrograms) {
   givenConsole(site);
   Json const document = whenJson("show summary");
   EXPECT_EQ(document["summary"]["groups"], 5);
   EXPECT_EQ(document["summary"]["prefixes"], 7);
   EXPECT_EQ(document["summary"]["inHardware"], 3);
   EXPECT_EQ(document["summary"]["waiting"], 1);
   EXPECT_EQ(document["summary"]["waitingForVrf"], 1);
   EXPECT_EQ(document["summary"]["notProgrammed"], 1);
   EXPECT_EQ(document["hardware"]["capacity"], 10);
   EXPECT_EQ(document["resourceFull"], false);
   EXPECT_EQ(document["wallTime"], "2026-01-31 12:00:00.000Z");
}

TEST_F(ConsoleShow, TheSummaryTellsOfJournalStateAndFaults) {
   stateFolder = folder.path("state");
   std::filesystem::create_directory(stateFolder);
   givenConsole(site);
   hardware().script().next(Sim::Answer::fault());
   service->restart(false);
   whenJournalStarts(folder.path("j"));
   thenShows("show summary",
             {"Hardware table kept in: " + stateFolder + '\n',
              "Journal: " + folder.path("j") + '\n', "1 hardware call failed with an exception\n"});
}

TEST_F(ConsoleShow, GroupsAreListed) {
   givenConsole(site);
   thenShows("show groups", {"Groups: 5; 7 prefixes\n", "east", "west", "late", "unset",
                             "1 not programmed", "bare", "no tunnel type: nothing to program"});
   Json const groups = whenJson("show groups")["groups"];
   ASSERT_EQ(groups.size(), 5u);
   EXPECT_EQ(groups[0]["name"], "east");
   EXPECT_EQ(groups[0]["tunnelType"], "gre");
   EXPECT_EQ(groups[0]["vrf"], "red");
   EXPECT_EQ(groups[0]["prefixes"], 3);
   EXPECT_EQ(groups[0]["inHardware"], 3);
   EXPECT_EQ(groups[2]["waiting"], 1);
   EXPECT_EQ(groups[3]["notProgrammed"], 1);
}

TEST_F(ConsoleShow, OneGroupIsShownWithItsKeys) {
   givenConsole(site);
   thenShows("show groups west",
             {"west", "Entries: 1 in hardware, 0 waiting, 0 not programmed\n", "10.1.0.0/16"});
   Json const document = whenJson("show groups west");
   ASSERT_EQ(document["groups"].size(), 1u);
   EXPECT_EQ(document["groups"][0]["name"], "west");
   EXPECT_EQ(document["matching"], 1);
   ASSERT_EQ(document["entries"].size(), 1u);
   EXPECT_EQ(document["entries"][0]["groups"], (Json{"east", "west"}));
   EXPECT_EQ(document["entries"][0]["status"], "in hardware");
}

TEST_F(ConsoleShow, OneGroupLeavesNoOthersToBeShown) {
   givenConsole(site);
   EXPECT_EQ(when("show groups west").text.find("more"), std::string::npos)
       << when("show groups west").text;
}

TEST_F(ConsoleShow, AGroupThatIsNotThereIsRefused) {
   givenConsole(site);
   thenRefused("show groups nobody", "there is no group 'nobody'");
   thenRefused("show groups 'a\nb'", "there is no group 'a?b'");
}

TEST_F(ConsoleShow, EveryEntryIsShownWithItsStatus) {
   givenConsole(site);
   thenShows("show entries", {"Entries: 3 in hardware, 1 waiting, 1 not programmed\n",
                              "in hardware", "shared by 2 groups", "conflict",
                              "VRF conflict: 10.2.0.0/16 goes to VRF red (group east)", "held back",
                              "UDP destination port and payload type are not set"});
   Json const document = whenJson("show entries");
   EXPECT_EQ(document["matching"], 5);
   ASSERT_EQ(document["entries"].size(), 5u);
   Json const& first = document["entries"][0];
   EXPECT_EQ(first["destination"], "10.1.0.0/16");
   EXPECT_EQ(first["status"], "in hardware");
   EXPECT_EQ(first["tries"], 1);
   EXPECT_EQ(first["since"], 0.0);
   EXPECT_EQ(first["sinceTime"], "2026-01-31 12:00:00.000Z");
   Json const& conflict = document["entries"][3];
   EXPECT_EQ(conflict["status"], "conflict");
   EXPECT_EQ(conflict["reason"], "vrfConflict");
   EXPECT_EQ(conflict["ownerVrf"], "red");
   EXPECT_EQ(conflict["ownerGroups"], Json{"east"});
   EXPECT_EQ(document["entries"][4]["reason"], "portUnset");
}

TEST_F(ConsoleShow, EntriesInsideAPrefixAreShown) {
   givenConsole(site);
   auto const destinations = [&](std::string const& prefix) {
      Texts texts;
      Json const document = whenJson("show entries " + prefix);
      for (Json const& entry : document["entries"]) {
         texts.push_back(entry["destination"]);
      }
      return texts;
   };
   EXPECT_EQ(destinations("10.2.0.0/15"), (Texts{"10.2.0.0/16", "10.2.0.0/16", "10.3.0.0/16"}));
   EXPECT_EQ(destinations("10.1.0.0/16"), Texts{"10.1.0.0/16"});
   EXPECT_EQ(destinations("10.1.0.0/17"), Texts()) << "entries around it are not inside";
   EXPECT_EQ(destinations("0.0.0.0/0").size(), 4u);
   EXPECT_EQ(destinations("::/0"), Texts{"2001:db8::/32"});
   EXPECT_EQ(destinations("192.0.2.1"), Texts());
   thenRefused("show entries house", "'house' is no prefix and no address");
}

TEST_F(ConsoleShow, RowsArePaged) {
   std::string prefixes;
   for (int i = 0; i < 7; ++i) {
      prefixes += (i == 0 ? "'10." : ", '10.") + std::to_string(i) + ".0.0/16'";
   }
   givenConsole("{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': [" + prefixes + "]}]}");
   Texts seen;
   request.rows = 3;
   request.json = true;
   for (std::size_t pages = 0; pages < 10; ++pages) {
      auto const reply = when("show entries");
      Json const document = Json::parse(reply.text);
      EXPECT_EQ(document["matching"], 7);
      EXPECT_LE(document["entries"].size(), 3u);
      for (Json const& entry : document["entries"]) seen.push_back(entry["destination"]);
      if (reply.next == 0) break;
      EXPECT_EQ(reply.next, request.from + 3);
      request.from = reply.next;
   }
   ASSERT_EQ(seen.size(), 7u);
   for (std::size_t i = 0; i < seen.size(); ++i) {
      EXPECT_EQ(seen[i], "10." + std::to_string(i) + ".0.0/16");
   }
}

TEST_F(ConsoleShow, APageSaysHowManyRowsComeBehindIt) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16', "
       "'10.3.0.0/16', '10.4.0.0/16', '10.5.0.0/16']}]}");
   request.rows = 2;
   thenShows("show entries", {"10.2.0.0/16", "... and 3 more\n"});
   request.from = 2;
   thenShows("show entries", {"10.4.0.0/16", "... and 1 more\n"});
   request.from = 4;
   EXPECT_EQ(when("show entries").text.find("more"), std::string::npos)
       << when("show entries").text;
}

TEST_F(ConsoleShow, APageBehindTheLastRowIsEmpty) {
   givenConsole(site);
   for (std::size_t const from : {std::size_t{5}, ~std::size_t{0}}) {
      request.json = true;
      request.from = from;
      auto const reply = when("show entries");
      EXPECT_EQ(reply.next, 0u) << from;
      EXPECT_EQ(Json::parse(reply.text)["entries"].size(), 0u) << from;
   }
}

constexpr char const* ports =
    "{'groups': ["
    "{'name': 'a', 'tunnelType': 'gre', 'decapInterfaces': [{'interface': 'Ethernet1', "
    "'family': 'ipv4'}]}],"
    "'interfaces': [{'name': 'Ethernet1', 'primary': '10.0.0.1/24', 'secondary': ['10.0.1.1/24']},"
    "{'name': 'Ethernet2'}]}";

TEST_F(ConsoleShow, InterfacesAreListed) {
   givenConsole(ports);
   thenShows("show interfaces",
             {"Interfaces: 2; addresses: 2, 1 taken as destinations\n", "Ethernet1", "10.0.0.1/24",
              "in hardware", "10.0.1.1/24", "not taken: the entry is for primary addresses only",
              "Ethernet2", "no address"});
   Json const rows = whenJson("show interfaces")["interfaces"];
   ASSERT_EQ(rows.size(), 3u);
   EXPECT_EQ(rows[0]["state"], "inHardware");
   EXPECT_EQ(rows[0]["groups"], Json{"a"});
   EXPECT_EQ(rows[1]["state"], "addressType");
   EXPECT_EQ(rows[2]["state"], "noAddress");
   EXPECT_EQ(rows[2]["address"], nullptr);
}

TEST_F(ConsoleShow, OneInterfaceIsShown) {
   givenConsole(ports);
   Json const rows = whenJson("show interfaces Ethernet2")["interfaces"];
   ASSERT_EQ(rows.size(), 1u);
   EXPECT_EQ(rows[0]["interface"], "Ethernet2");
   thenRefused("show interfaces Ethernet7", "there is no interface 'Ethernet7'");
}

TEST_F(ConsoleShow, TheBacklogSaysWhy) {
   givenConsole(site);
   thenShows("show backlog", {"Waiting to be programmed: 1 key\n", "10.2.0.0/16",
                              "VRF conflict: 10.2.0.0/16 goes to VRF red (group east)",
                              "Not programmed and not waiting: 1 key\n", "10.3.0.0/16"});
   Json const document = whenJson("show backlog");
   ASSERT_EQ(document["waiting"].size(), 1u);
   EXPECT_EQ(document["waiting"][0]["reason"], "vrfConflict");
   ASSERT_EQ(document["notProgrammed"].size(), 1u);
   EXPECT_EQ(document["notProgrammed"][0]["groups"], Json{"unset"});
}

TEST_F(ConsoleShow, ConflictsAreShownWithTheOwner) {
   givenConsole(site);
   thenShows("show conflicts",
             {"VRF conflicts: 1 key waiting\n", "10.2.0.0/16", "late", "VRF red (east)"});
   Json const document = whenJson("show conflicts");
   ASSERT_EQ(document["waiting"].size(), 1u);
   EXPECT_EQ(document["waiting"][0]["vrf"], "blue");
   EXPECT_EQ(document["notProgrammed"].size(), 0u);
}

TEST_F(ConsoleShow, WhatWaitsForRoomIsNoConflict) {
   givenConsole(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'capacity': 0}}");
   thenText("show conflicts", Status::ok, "VRF conflicts: 0 keys waiting\n");
   EXPECT_EQ(whenJson("show conflicts")["waiting"].size(), 0u);
}

TEST_F(ConsoleShow, ResourcesTellHowFullTheTableIs) {
   givenConsole(site);
   thenShows("show resources",
             {"Hardware table: 3 of 10 entries in use; at most 3 at once\n", "Summary: "});
   Json const document = whenJson("show resources");
   EXPECT_EQ(document["hardware"]["size"], 3);
   EXPECT_EQ(document["hardware"]["capacity"], 10);
   EXPECT_EQ(document["hardware"]["highWater"], 3);
   EXPECT_EQ(document["hardware"]["shared"], 1);
}

TEST_F(ConsoleShow, TheSummaryTellsWhenTheNextReviewIs) {
   givenConsole(small);
   thenShows("show summary", {"Next review: 2026-01-31 12:00:00.100Z\n", "resource alarm on"});
}

TEST_F(ConsoleShow, TheLogHasTheOperatorsMessages) {
   givenConsole(site);
   thenText("show log", Status::ok, "Log: no messages\n");
   EXPECT_EQ(whenJson("show log")["log"].size(), 0u);
   givenConsole(small);
   auto const& message = *world().log().entries().front().message;
   thenShows("show log", {"Log:\n  2026-01-31 12:00:00.000Z  ", message.name()});
   EXPECT_EQ(whenJson("show log")["log"][0]["name"], message.name());
}

TEST_F(ConsoleShow, HelpForMessagesExplainsThem) {
   givenConsole(site);
   thenText("help log", Status::ok, "No messages so far.\n");
   thenRefused("help log NOBODY", "there is no message 'NOBODY'");
   givenConsole(small);
   auto const& message = *world().log().entries().front().message;
   Texts const parts = {message.name(), "Explanation: ", message.explanation(),
                        "Recommended action: ", message.recommendedAction()};
   thenShows("help log", parts);
   thenShows(std::string("help log ") + message.name(), parts);
}

TEST_F(ConsoleShow, ARestartTellsWhatWasFound) {
   givenConsole(site);
   thenText("show restart", Status::ok, "Found in hardware: 0 entries\n");
   ASSERT_TRUE(service->stop(true, err));
   world().groupDel("east");
   world().start();
   thenShows("show restart", {"Found in hardware: 3 entries; 1 taken over, 0 written again, 2 ",
                              "removed as unclaimed"});
   Json const document = whenJson("show restart");
   EXPECT_EQ(document["restart"]["found"], 3);
   EXPECT_EQ(document["restart"]["takenOver"], 1);
   ASSERT_EQ(document["gone"].size(), 2u);
   EXPECT_EQ(document["gone"][0]["found"], "unclaimed");
}

TEST_F(ConsoleShow, WhatWasRemovedAtARestartIsPaged) {
   givenConsole(site);
   ASSERT_TRUE(service->stop(true, err));
   for (char const* name : {"east", "west", "late"}) world().groupDel(name);
   world().start();
   request.rows = 2;
   request.json = true;
   auto const first = when("show restart");
   EXPECT_EQ(Json::parse(first.text)["gone"].size(), 2u);
   ASSERT_EQ(first.next, 2u);
   request.from = first.next;
   auto const second = when("show restart");
   EXPECT_EQ(Json::parse(second.text)["gone"].size(), 1u);
   EXPECT_EQ(second.next, 0u);
}

TEST_F(ConsoleShow, WhatIsInHardwareMakesNoPagesOfARestart) {
   givenConsole(site);
   request.rows = 1;
   EXPECT_EQ(when("show restart").next, 0u);
}

TEST_F(ConsoleShow, VerificationAndAuditFindNothingWrong) {
   givenConsole(small);
   thenText("verify", Status::ok, "Verification: nothing is wrong\n");
   thenText("audit", Status::ok, "Audit: nothing is wrong\n");
   EXPECT_EQ(whenJson("verify"), Json::parse(R"({"findings": []})"));
   EXPECT_EQ(whenJson("audit"), Json::parse(R"({"findings": []})"));
}

TEST_F(ConsoleShow, AnAuditFindsWhatHardwareHasLost) {
   givenConsole(small);
   hardware().table().clear();
   thenText("audit", Status::found,
            "Audit: 1 difference\n"
            "  gre 10.1.0.0/16 vrf default: accepted, and not in hardware\n");
   EXPECT_EQ(whenJson("audit", Status::found)["findings"].size(), 1u);
}

TEST_F(ConsoleShow, VerificationFindsAKeyThatIsHeldBack) {
   givenConsole(site);
   auto const reply = when("verify");
   EXPECT_EQ(reply.status, Status::found);
   EXPECT_TRUE(reply.text.starts_with("Verification: 1 difference\n")) << reply.text;
}

}  // namespace
}  // namespace Agent
