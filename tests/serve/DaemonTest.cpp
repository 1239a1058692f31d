// The programs themselves: an agent that runs, and clients that speak to it.

#include "support/Daemon.h"
#include "support/Reloads.h"
#include "support/StateFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <set>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using Json = nlohmann::json;
using Support::eventually;
using Texts = std::vector<std::string>;

constexpr char const* two =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']}]}";
constexpr char const* three =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16', "
    "'10.3.0.0/16']}]}";

class Daemon : public testing::Test {
 protected:
   void givenFile(std::string const& text) const {
      Support::writeFile(file, Support::quoted(text));
   }
   void givenAgent(std::string const& text, Texts const& more = {}) {
      givenFile(text);
      agent = start(more);
      ASSERT_TRUE(eventually([&] { return agent->says(readyLine()) || agent->hasEnded(); }));
      ASSERT_FALSE(agent->hasEnded()) << agent->err();
   }
   std::unique_ptr<Support::RunningProgram> start(Texts const& more = {}) const {
      Texts arguments = {DECAP_AGENT_PROGRAM, "serve", "--config", file, "--socket", socket};
      arguments.insert(arguments.end(), more.begin(), more.end());
      return std::make_unique<Support::RunningProgram>(arguments, notify);
   }
   std::string readyLine() const { return "ready: commands are taken at " + socket; }

   Support::ProgramEnd ask(Texts const& words) const {
      Texts arguments = {DECAPCTL_PROGRAM, "--socket", socket};
      arguments.insert(arguments.end(), words.begin(), words.end());
      return Support::runProgram(arguments);
   }
   static Support::ProgramEnd shell(std::string const& script) {
      return Support::runProgram({"/bin/bash", "-c", script});
   }
   /// What the state folder's table has, after the agent has ended.
   Texts kept() const { return Support::fileTexts(state + "/hardware.state"); }

   Support::TempFolder const folder;
   std::string const file = folder.path("agent.json");
   std::string const socket = folder.path("control.sock");
   std::string const state = folder.path("state");
   std::string notify;
   std::unique_ptr<Support::RunningProgram> agent;
};

// The agent.

TEST_F(Daemon, TakesCommandsOnceItSaysSo) {
   givenAgent(two);
   auto const end = ask({"show", "entries"});
   EXPECT_EQ(end.code, 0) << end.err;
   EXPECT_NE(end.out.find("Entries: 2 in hardware, 0 waiting, 0 not programmed\n"),
             std::string::npos)
       << end.out;
   EXPECT_EQ(end.err, "");
}

TEST_F(Daemon, DoesNotBeginOnABadFile) {
   givenFile("{'groups': [{'name': 7}]}");
   agent = start({"--state", state});
   EXPECT_EQ(agent->code(), 2);
   EXPECT_TRUE(agent->says("decap-agent: " + file + ":1: groups[0].name: ")) << agent->err();
   EXPECT_FALSE(std::filesystem::exists(socket));
   EXPECT_FALSE(std::filesystem::exists(state + "/hardware.state"));
}

TEST_F(Daemon, ReadsItsFileAgainWhenItIsToldTo) {
   givenAgent(two);
   givenFile(three);
   agent->signal(SIGHUP);
   ASSERT_TRUE(eventually([&] {
      return agent->says("configuration applied: 1 group changed, 1 prefix added");
   })) << agent->err();
   EXPECT_NE(ask({"show", "entries"}).out.find("10.3.0.0/16"), std::string::npos);
}

TEST_F(Daemon, KeepsWhatItHasWhenItsFileIsBad) {
   givenAgent(two);
   givenFile("{'groups': [{'name': 7}]}");
   agent->signal(SIGHUP);
   ASSERT_TRUE(eventually([&] {
      return agent->says("nothing has changed: " + file + ":1: groups[0].name: ");
   })) << agent->err();
   EXPECT_NE(ask({"show", "entries"}).out.find("Entries: 2 in hardware"), std::string::npos);
   EXPECT_FALSE(agent->hasEnded());
}

TEST_F(Daemon, WithdrawsEverythingWhenItIsEnded) {
   givenAgent(two, {"--state", state});
   agent->signal(SIGTERM);
   EXPECT_EQ(agent->code(), 0) << agent->err();
   EXPECT_EQ(kept(), Texts());
   EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST_F(Daemon, AnInterruptEndsItToo) {
   givenAgent(two);
   agent->signal(SIGINT);
   EXPECT_EQ(agent->code(), 0) << agent->err();
}

TEST_F(Daemon, AShutdownMayKeepHardware) {
   givenAgent(two, {"--state", state});
   auto const end = ask({"shutdown", "--keep-hardware"});
   EXPECT_EQ(end.code, 0) << end.err;
   EXPECT_EQ(end.out, "The agent ends, hardware forwards on\n");
   EXPECT_EQ(agent->code(), 0) << agent->err();
   EXPECT_EQ(kept().size(), 2u);
}

TEST_F(Daemon, TheNextOneTakesOverWhatWasKept) {
   givenAgent(two, {"--state", state});
   ask({"shutdown", "--keep-hardware"});
   ASSERT_EQ(agent->code(), 0);
   givenAgent(three, {"--state", state});
   auto const end = ask({"--json", "show", "restart"});
   EXPECT_EQ(Json::parse(end.out)["restart"]["takenOver"], 2) << end.out;
}

TEST_F(Daemon, WhatAKilledOneHadProgrammedIsTakenOver) {
   givenAgent(two, {"--state", state});
   agent->signal(SIGKILL);
   ASSERT_EQ(agent->code(), -SIGKILL);
   ASSERT_TRUE(std::filesystem::exists(socket)) << "it could not clean up";
   givenAgent(two, {"--state", state});
   auto const end = ask({"--json", "show", "restart"});
   EXPECT_EQ(Json::parse(end.out)["restart"]["takenOver"], 2) << end.out;
}

TEST_F(Daemon, ASecondOneAtTheSameSocketTouchesNothing) {
   givenAgent(two, {"--state", state});
   std::string const before = Support::readFile(state + "/hardware.state");
   auto const second = start({"--state", state});
   EXPECT_EQ(second->code(), 3);
   EXPECT_TRUE(second->says("another agent listens at " + socket)) << second->err();
   EXPECT_EQ(Support::readFile(state + "/hardware.state"), before);
   EXPECT_EQ(ask({"verify"}).code, 0) << "the first one goes on";
}

TEST_F(Daemon, ASecondOneOnTheSameStateTouchesNothing) {
   givenAgent(two, {"--state", state});
   std::string const before = Support::readFile(state + "/hardware.state");
   Support::RunningProgram second({DECAP_AGENT_PROGRAM, "serve", "--config", file, "--socket",
                                   folder.path("other.sock"), "--state", state});
   EXPECT_EQ(second.code(), 2);
   EXPECT_TRUE(second.says("in use by another table")) << second.err();
   EXPECT_EQ(Support::readFile(state + "/hardware.state"), before);
}

TEST_F(Daemon, AReviewRunsByItself) {
   givenAgent(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'latency': 0.2}}");
   EXPECT_TRUE(eventually([&] { return ask({"explain", "10.1.1.1"}).code == 0; }));
}

TEST_F(Daemon, AReviewInTheFarFutureLetsItSleep) {
   givenAgent(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16']}],"
       "'hardware': {'capacity': 0}, 'review': {'interval': 1e300}}");
   EXPECT_EQ(ask({"explain", "10.1.1.1"}).code, 1);
   EXPECT_EQ(ask({"set", "review-interval", "0.1"}).code, 0);
   EXPECT_EQ(ask({"set", "hardware-capacity", "1"}).code, 0);
}

/// The other end of what a service manager gives to its services.
class NotifySocket {
 public:
   explicit NotifySocket(std::string const& path)
       : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::copy(path.begin(), path.end(), address.sun_path);
      EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
   }
   NotifySocket(NotifySocket const&) = delete;
   NotifySocket& operator=(NotifySocket const&) = delete;
   ~NotifySocket() { ::close(socket_); }

   /// The messages so far, in their order.
   Texts const& messages() {
      char bytes[4096];
      for (;;) {
         ssize_t const count = ::recv(socket_, bytes, sizeof bytes, 0);
         if (count < 0) return messages_;
         messages_.emplace_back(bytes, static_cast<std::size_t>(count));
      }
   }

 private:
   int const socket_;
   Texts messages_;
};

TEST_F(Daemon, TellsTheServiceManagerHowItIs) {
   notify = folder.path("notify");
   NotifySocket manager(notify);
   givenAgent(two);
   ASSERT_TRUE(eventually([&] { return !manager.messages().empty(); }));
   EXPECT_EQ(manager.messages(), Texts{"READY=1"});
   agent->signal(SIGHUP);
   ASSERT_TRUE(eventually([&] { return manager.messages().size() == 3; }));
   agent->signal(SIGTERM);
   EXPECT_EQ(agent->code(), 0);
   EXPECT_EQ(manager.messages(), (Texts{"READY=1", "RELOADING=1", "READY=1", "STOPPING=1"}));
}

// The client.

TEST_F(Daemon, TheClientsExitCodeTellsHowItWent) {
   givenAgent(two);
   EXPECT_EQ(ask({"verify"}).code, 0);
   EXPECT_EQ(ask({"explain", "10.1.1.1"}).code, 0);
   EXPECT_EQ(ask({"explain", "192.0.2.1"}).code, 1);
   EXPECT_EQ(ask({"explain", "house"}).code, 2);
   EXPECT_EQ(ask({"fly"}).code, 2);
   EXPECT_EQ(ask({"--rows", "many", "verify"}).code, 2);
   EXPECT_EQ(ask({"--rows", "-1", "verify"}).code, 2);
   EXPECT_EQ(ask({"--nonsense"}).code, 2);
   EXPECT_EQ(ask({"load", folder.path("none")}).code, 3);
   EXPECT_EQ(ask({"--help"}).code, 0);
   agent = nullptr;
   EXPECT_EQ(ask({"verify"}).code, 3);
}

TEST_F(Daemon, TheClientSaysWhatIsWrongOnStandardError) {
   givenAgent(two);
   auto const refused = ask({"explain", "house"});
   EXPECT_EQ(refused.out, "");
   EXPECT_NE(refused.err.find("house"), std::string::npos) << refused.err;
   agent->signal(SIGTERM);
   ASSERT_EQ(agent->code(), 0);
   EXPECT_EQ(ask({"verify"}).err,
             "decapctl: no agent at " + socket + ": No such file or directory\n");
}

TEST_F(Daemon, TheClientHandsOverFiles) {
   givenAgent(two);
   std::string const next = folder.path("next.json");
   Support::writeFile(next, Support::quoted(three));
   auto const difference = ask({"diff", next});
   EXPECT_EQ(difference.code, 1) << difference.err;
   EXPECT_NE(difference.out.find("  + gre 10.3.0.0/16 vrf default\n"), std::string::npos)
       << difference.out;
   EXPECT_FALSE(agent->says("configuration applied")) << "it was a dry run";
   EXPECT_EQ(ask({"load", next}).out, "Applied: 1 group changed, 1 prefix added\n");
   EXPECT_EQ(ask({"diff", next}).code, 0);
   Support::writeFile(next, "{");
   auto const bad = ask({"load", next});
   EXPECT_EQ(bad.code, 2);
   EXPECT_TRUE(bad.err.starts_with(next + ":1:")) << bad.err;
}

TEST_F(Daemon, TheClientHandsOverStandardInput) {
   givenAgent(two);
   std::string const next = folder.path("next.json");
   Support::writeFile(next, Support::quoted(three));
   auto const end =
       shell("cat " + next + " | " + DECAPCTL_PROGRAM + " --socket " + socket + " load -");
   EXPECT_EQ(end.code, 0) << end.err;
   EXPECT_EQ(end.out, "Applied: 1 group changed, 1 prefix added\n");
}

TEST_F(Daemon, TheClientObeysLinesFromAPipe) {
   givenAgent(two);
   auto const end = shell(std::string("printf 'verify\\n\\n# a comment\\nfly\\nexplain 192.0.2.1\\n"
                                      "audit\\nquit\\nreload\\n' | ") +
                          DECAPCTL_PROGRAM + " --socket " + socket);
   EXPECT_EQ(end.code, 2) << "the worst of all";
   EXPECT_EQ(end.err, "'fly' is no command; 'help' lists them\n");
   EXPECT_EQ(end.out,
             "Verification: nothing is wrong\n"
             "192.0.2.1 is not decapsulated: no group has a prefix around it, and no interface has "
             "the address.\n"
             "Audit: nothing is wrong\n");
}

TEST_F(Daemon, TheClientWatches) {
   givenAgent(two);
   Support::RunningProgram watch(
       {DECAPCTL_PROGRAM, "--socket", socket, "--watch", "0.1", "verify"});
   auto const times = [&] {
      std::size_t count = 0;
      std::string const out = watch.out();
      for (std::size_t at = out.find("wrong\n"); at != std::string::npos;
           at = out.find("wrong\n", at + 1)) {
         ++count;
      }
      return count;
   };
   EXPECT_TRUE(eventually([&] { return times() >= 3; })) << watch.out() << watch.err();
   agent->signal(SIGTERM);
   EXPECT_EQ(watch.code(), 3) << "nobody is there to be watched";
}

/// A group of many prefixes, 10.0.0.0/24 and so on.
std::string many(int prefixes) {
   std::string list;
   for (int i = 0; i < prefixes; ++i) {
      list += (i == 0 ? "'10." : ", '10.") + std::to_string(i / 256) + '.' +
              std::to_string(i % 256) + ".0/24'";
   }
   return "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': [" + list + "]}]}";
}

TEST_F(Daemon, TheClientGetsAllRowsPageByPage) {
   givenAgent(many(25'000));
   auto const end = ask({"--all", "--json", "show", "entries"});
   ASSERT_EQ(end.code, 0) << end.err;
   Json const document = Json::parse(end.out);
   std::set<std::string> destinations;
   for (Json const& entry : document["entries"]) destinations.insert(entry["destination"]);
   EXPECT_EQ(document["entries"].size(), 25'000u);
   EXPECT_EQ(destinations.size(), 25'000u);
   EXPECT_EQ(document["matching"], 25'000);
}

TEST_F(Daemon, TheClientNamesAGroupOnceAboveAllItsPages) {
   givenAgent(many(11'000));
   auto const end = ask({"--all", "--json", "show", "groups", "a"});
   ASSERT_EQ(end.code, 0) << end.err;
   Json const document = Json::parse(end.out);
   EXPECT_EQ(document["entries"].size(), 11'000u);
   EXPECT_EQ(document["groups"].size(), 1u);
}

TEST_F(Daemon, TheClientShowsAllRowsAsText) {
   givenAgent(many(11'000));
   auto const end = ask({"--all", "show", "entries"});
   EXPECT_NE(end.out.find(" 10.0.0.0/24 "), std::string::npos);
   EXPECT_NE(end.out.find("... and 1000 more\n"), std::string::npos) << "below the first page";
   EXPECT_NE(end.out.find(" 10.42.247.0/24 "), std::string::npos);
}

TEST_F(Daemon, CommandsThatOnlySaySomethingSayItInADocumentToo) {
   givenAgent(two);
   auto const plain = ask({"help"});
   for (Texts const& words : {Texts{"--all", "--json", "help"}, Texts{"--json", "help"}}) {
      auto const end = ask(words);
      EXPECT_EQ(end.code, 0) << end.err;
      Json const document = Json::parse(end.out, nullptr, false);
      ASSERT_FALSE(document.is_discarded()) << end.out;
      EXPECT_EQ(document["text"].get<std::string>() + '\n', plain.out);
   }
}

// What the system says of the agent's process.

TEST_F(Daemon, GivesUpEveryPrivilege) {
   givenAgent(two);
   std::string const facts = agent->status();
   EXPECT_NE(facts.find("\nCapEff:\t0000000000000000\n"), std::string::npos) << facts;
   EXPECT_NE(facts.find("\nCapPrm:\t0000000000000000\n"), std::string::npos) << facts;
   EXPECT_NE(facts.find("\nNoNewPrivs:\t1\n"), std::string::npos) << facts;
}

TEST_F(Daemon, BecomesAnotherUser) {
   if (::geteuid() != 0) {
      // Nobody but root becomes somebody else: that is an error, and no agent of another user.
      givenFile(two);
      agent = start({"--user", "nobody"});
      EXPECT_EQ(agent->code(), 3);
      return;
   }
   std::filesystem::permissions(folder.path("."), std::filesystem::perms::all);
   givenFile(two);
   std::filesystem::permissions(file, std::filesystem::perms::others_read,
                                std::filesystem::perm_options::add);
   agent = start({"--user", "nobody"});
   ASSERT_TRUE(eventually([&] { return agent->says(readyLine()) || agent->hasEnded(); }));
   ASSERT_FALSE(agent->hasEnded()) << agent->err();
   std::string const facts = agent->status();
   EXPECT_NE(facts.find("\nUid:\t65534\t65534\t65534\t65534\n"), std::string::npos) << facts;
   EXPECT_EQ(ask({"show", "summary"}).code, 0) << "root may still give commands";
   EXPECT_EQ(ask({"reload"}).code, 0);
}

TEST_F(Daemon, DoesNotBeginAsSomebodyWhoIsNotThere) {
   givenFile(two);
   agent = start({"--user", "nobody-of-that-name"});
   EXPECT_EQ(agent->code(), 3);
   EXPECT_NE(agent->err().find("there is no user 'nobody-of-that-name'"), std::string::npos);
}

TEST_F(Daemon, BashCompletesCommands) {
   std::string const programs = std::filesystem::path(DECAPCTL_PROGRAM).parent_path();
   auto const completed = [&](std::string const& words, int at) {
      auto const end = shell("PATH=" + programs +
                             ":$PATH; source <(decapctl completion bash) && "
                             "complete -p decapctl >&2 && COMP_WORDS=(decapctl " +
                             words + ") && COMP_CWORD=" + std::to_string(at) +
                             " && _decapctl && printf '%s\\n' \"${COMPREPLY[@]}\"");
      EXPECT_EQ(end.code, 0) << end.err;
      EXPECT_EQ(end.err, "complete -F _decapctl decapctl\n");
      return end.out;
   };
   EXPECT_EQ(completed("sh", 1), "show\nshutdown\n");
   EXPECT_EQ(completed("show gr", 2), "groups\n");
   EXPECT_EQ(completed("show re", 2), "resources\nrestart\n");
   EXPECT_EQ(completed("trace ''", 2), "0\n2\n5\n7\noff\n");
   EXPECT_EQ(completed("--js", 1), "--json\n");
}

TEST_F(Daemon, TheClientsCompletionNeedsNoAgent) {
   EXPECT_EQ(ask({"complete", "jour"}).out, "journal\n");
   EXPECT_EQ(ask({"completion"}).code, 2);
   EXPECT_EQ(ask({"completion", "fish"}).code, 2);
}

}  // namespace
