#include "agent/serve/Console.h"

#include "agent/serve/DryRun.h"
#include "serve/ConsoleSites.h"
#include "support/ConsoleFixture.h"
#include "support/SmallDisk.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace Agent {
namespace {

class ConsoleTest : public ConsoleFixture {};

constexpr char const* next =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.5.0.0/16']}],"
    "'hardware': {'capacity': 1}}";

TEST_F(ConsoleTest, ALoadAppliesTheFileThatComesAlong) {
   givenConsole(small);
   auto const outcome = whenWith("load", next);
   auto const& reply = std::get<Control::Reply>(outcome);
   EXPECT_EQ(reply.status, Status::ok);
   EXPECT_EQ(reply.text, "Applied: 1 group changed, 1 prefix added, 1 prefix removed\n");
   EXPECT_TRUE(world().group("a")->decapIpHas(Pkt::IpGenPrefix::fromText("10.5.0.0/16")));
}

TEST_F(ConsoleTest, ALoadTellsPrograms) {
   givenConsole(small);
   request.json = true;
   auto const outcome = whenWith("load", small);
   EXPECT_EQ(Json::parse(std::get<Control::Reply>(outcome).text), (Json{{"applied", "nothing"}}));
}

TEST_F(ConsoleTest, ALoadOfABadFileSaysWhereAndChangesNothing) {
   givenConsole(small);
   std::uint64_t const before = hardware().journal().begun();
   for (char const* command : {"load", "diff"}) {
      auto const outcome = whenWith(command, "{'groups': [{'name': 7}]}");
      auto const& reply = std::get<Control::Reply>(outcome);
      EXPECT_EQ(reply.status, Status::refused);
      EXPECT_TRUE(reply.text.starts_with("given.json:1: groups[0].name: ")) << reply.text;
   }
   EXPECT_EQ(hardware().journal().begun(), before);
}

TEST_F(ConsoleTest, ALoadNeedsTheFile) {
   givenConsole(small);
   thenRefused("load some.json", "some.json: did not come along with the command");
   thenRefused("diff some.json", "some.json: did not come along with the command");
   thenRefused("load", "usage: load FILE");
}

TEST_F(ConsoleTest, ALoadTakesRegularFilesOnly) {
   givenConsole(small);
   int ends[2];
   ASSERT_EQ(::pipe(ends), 0);
   int const directory = ::open("/", O_RDONLY | O_CLOEXEC);
   for (int const descriptor : {ends[0], ends[1], directory}) {
      request.words = {"load", "x"};
      auto const outcome = console->execute(request, descriptor);
      EXPECT_EQ(std::get<Control::Reply>(outcome).status, Status::refused);
      EXPECT_EQ(std::get<Control::Reply>(outcome).text, "x: is not a regular file\n");
   }
   for (int const descriptor : {ends[0], ends[1], directory}) ::close(descriptor);
}

TEST_F(ConsoleTest, ALoadRefusesAFileThatIsFarTooLong) {
   givenConsole(small);
   std::string const name = folder.path("long");
   Support::writeFile(name, "");
   std::filesystem::resize_file(name, Console::greatestFile + 1);
   int const descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
   request.words = {"load", "long"};
   auto const outcome = console->execute(request, descriptor);
   ::close(descriptor);
   EXPECT_EQ(std::get<Control::Reply>(outcome).status, Status::refused);
   EXPECT_NE(std::get<Control::Reply>(outcome).text.find("is longer than"), std::string::npos);
}

TEST_F(ConsoleTest, ALoadRefusesAFileThatItCannotRead) {
   givenConsole(small);
   std::string const name = folder.path("written");
   int const descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
   ASSERT_EQ(::write(descriptor, "{}", 2), 2);
   request.words = {"load", "written"};
   auto const outcome = console->execute(request, descriptor);
   ::close(descriptor);
   EXPECT_EQ(std::get<Control::Reply>(outcome).status, Status::refused);
   EXPECT_NE(std::get<Control::Reply>(outcome).text.find("cannot be read"), std::string::npos);
}

TEST_F(ConsoleTest, AReloadReadsTheAgentsOwnFile) {
   givenConsole(small);
   thenText("reload", Status::ok, "Applied: nothing\n");
   givenFile(next);
   EXPECT_EQ(whenJson("reload")["applied"], "1 group changed, 1 prefix added, 1 prefix removed");
   givenFile("{");
   auto const reply = when("reload");
   EXPECT_EQ(reply.status, Status::refused);
   EXPECT_TRUE(reply.text.starts_with(configurationFile + ":1:")) << reply.text;
}

TEST_F(ConsoleTest, ARestartMayKeepHardware) {
   givenConsole(small);
   std::uint64_t const removed = hardware().removeCalls();
   thenText("restart --keep-hardware", Status::ok,
            "The machine has started anew: 1 entry in hardware\n");
   EXPECT_EQ(hardware().removeCalls(), removed);
   thenText("restart", Status::ok, "The machine has started anew: 1 entry in hardware\n");
   EXPECT_EQ(hardware().removeCalls(), removed + 1);
   thenRefused("restart --now", "'--now' is not --keep-hardware");
}

TEST_F(ConsoleTest, AShutdownTellsTheDaemon) {
   givenConsole(small);
   thenRefused("shutdown now", "'now' is not --keep-hardware");
   EXPECT_EQ(ended, std::nullopt);
   thenText("shutdown", Status::ok, "The agent ends\n");
   EXPECT_EQ(ended, false);
   thenText("shutdown --keep-hardware", Status::ok, "The agent ends, hardware forwards on\n");
   EXPECT_EQ(ended, true);
}

TEST_F(ConsoleTest, TheReviewIsSet) {
   givenConsole(small);
   thenText("set review-interval 2.5", Status::ok,
            "Keys that wait are tried again after 2.500 s\n");
   EXPECT_EQ(world().machine()->reviewInterval(), 2.5);
   thenText("set review-budget 0.125", Status::ok, "One pass may take 0.125 s\n");
   EXPECT_EQ(world().machine()->reviewQuanta(), 0.125);
}

TEST_F(ConsoleTest, HardwareIsSet) {
   givenConsole(small);
   thenText("set hardware-capacity 7", Status::ok, "The hardware table takes 7 entries\n");
   EXPECT_EQ(hardware().table().capacity(), 7u);
   thenText("set hardware-capacity 3 gre", Status::ok,
            "The hardware table takes 3 entries of type gre\n");
   EXPECT_EQ(hardware().table().capacity(Tunnel::Decap::TunnelType::gre), 3u);
   thenText("set hardware-capacity none", Status::ok,
            "The hardware table takes any number of entries\n");
   EXPECT_EQ(hardware().table().capacity(), Sim::HardwareTable::unlimited);
   thenText("set hardware-latency 0.5", Status::ok, "Hardware prepares an entry for 0.500 s\n");
   EXPECT_EQ(hardware().latency(), 0.5);
}

TEST_F(ConsoleTest, MoreRoomIsUsedByTheNextReview) {
   givenConsole(small);
   when("set hardware-capacity 2");
   whenTimePasses(1.0);
   EXPECT_EQ(table().size(), 2u);
}

TEST_F(ConsoleTest, NumbersThatAreNoneAreRefused) {
   givenConsole(small);
   for (char const* number :
        {"-1", "abc", "''", "1x", "nan", "inf", "1e999", "86401", "0x10", "' 1'", "1,5"}) {
      std::string const typed = Control::wordsOf(number)[0];
      std::string const what = "'" + typed + "' is not a number of seconds from 0 to 86400";
      thenRefused(std::string("set review-interval ") + number, what);
      thenRefused(std::string("set review-budget ") + number, what);
      thenRefused(std::string("set hardware-latency ") + number, what);
   }
   for (char const* number : {"-1", "abc", "1.5", "4294967296", "99999999999999999999999"}) {
      thenRefused(std::string("set hardware-capacity ") + number,
                  std::string("'") + number + "' is not a number of entries, and not none");
   }
   EXPECT_EQ(world().review(), ReviewConfiguration());
   EXPECT_EQ(hardware().table().capacity(), 1u);
}

TEST_F(ConsoleTest, ATunnelTypeThatIsNoneIsRefused) {
   givenConsole(small);
   for (char const* type : {"mpls", "''", "4294967295"}) {
      auto const reply = when(std::string("set hardware-capacity 3 ") + type);
      EXPECT_EQ(reply.status, Status::refused) << type << ": " << reply.text;
   }
}

TEST_F(ConsoleTest, TracesAreSwitched) {
   givenConsole(small);
   thenText("trace 2", Status::ok, "Traces of the levels 0 to 2 go to the agent's log\n");
   when("restart");
   EXPECT_TRUE(logHas("7 trace 2"));
   thenText("trace off", Status::ok, "Traces are off\n");
   log.clear();
   when("restart");
   EXPECT_FALSE(logHas("trace"));
   thenText("trace 31", Status::ok, "Traces of the levels 0 to 31 go to the agent's log\n");
   thenRefused("trace 32", "'32' is not a level from 0 to 31, and not off");
   thenRefused("trace on", "'on' is not a level from 0 to 31, and not off");
}

TEST_F(ConsoleTest, JournalsBeginAndEnd) {
   givenConsole(small);
   std::string const name = folder.path("j");
   thenRefused("journal stop", "there is no journal");
   thenText("journal start " + name, Status::ok, "A journal goes to " + name + '\n');
   thenText("journal stop", Status::ok, "The journal " + name + " is complete\n");
   EXPECT_TRUE(Support::readFile(name).ends_with("[\"end\"]\n"));
   std::string const nowhere = folder.path("no/where");
   thenRefused("journal start " + nowhere, nowhere + ": did not come along with the command");
   thenRefused("journal start /dev/null", "/dev/null: is not a regular file");
}

TEST_F(ConsoleTest, AJournalThatIsNotWholeIsNotCalledComplete) {
   givenConsole(small);
   Support::SmallDisk const disk(100);
   when("journal start " + folder.path("j"));
   auto const reply = when("journal stop");
   EXPECT_EQ(reply.status, Status::failed);
   EXPECT_NE(reply.text.find("/j: the journal is not whole"), std::string::npos) << reply.text;
   EXPECT_EQ(service->journal(), "");
}

TEST_F(ConsoleTest, HelpListsCommandsAndExplainsOne) {
   givenConsole(small);
   thenText("help", Status::ok, Control::helpText());
   thenText("help show groups", Status::ok,
            "show groups [NAME]\nThe decap groups, or one of them with its keys\n");
   thenText("help ver", Status::ok, "verify\nHave the machine verify its books\n");
   thenRefused("help fly", "'fly' is no command; 'help' lists them");
}

TEST_F(ConsoleTest, EveryCommandOfTheTableIsObeyedOrAsksForItsArguments) {
   givenConsole(small);
   for (Control::Command const& command : Control::commands()) {
      auto const reply = when(std::string(command.words));
      EXPECT_EQ(reply.text.find("does not know"), std::string::npos) << command.words;
      if (command.least != 0) {
         EXPECT_EQ(reply.text, "usage: " + usageOf(command) + '\n');
      }
   }
}

TEST_F(ConsoleTest, WhatIsNoCommandIsRefused) {
   givenConsole(small);
   thenRefused("", "no command; 'help' lists them");
   thenRefused("fly", "'fly' is no command; 'help' lists them");
   thenRefused("show re", "'show re' may be: show resources, show restart");
   thenRefused("verify all", "usage: verify");
   thenRefused("explain", "usage: explain ADDRESS|PREFIX");
}

TEST_F(ConsoleTest, EverythingThatIsShownCanBeHadAsJson) {
   givenConsole(site);
   for (Control::Command const& command : Control::commands()) {
      if (!command.words.starts_with("show")) continue;
      EXPECT_TRUE(whenJson(std::string(command.words)).is_object()) << command.words;
   }
}

}  // namespace
}  // namespace Agent
