// An agent that runs, from its start to its end.

#include "support/DaemonFixture.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using Json = nlohmann::json;
using Support::eventually;

class Daemon : public DaemonFixture {};

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

TEST_F(Daemon, WhatWasSaidToBeKeptIsKeptWhateverComesAfterwards) {
   givenAgent(two, {"--state", state});
   ASSERT_EQ(ask({"shutdown", "--keep-hardware"}).code, 0);
   agent->signal(SIGTERM);
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

TEST_F(Daemon, AReviewThatIsAlwaysDueKeepsNobodyOut) {
   givenAgent(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', "
       "'10.2.0.0/16']}], 'hardware': {'capacity': 1}, 'review': {'interval': 0}}");
   Support::RunningProgram client({DECAPCTL_PROGRAM, "--socket", socket, "show", "summary"});
   EXPECT_EQ(client.code(), 0) << client.err();
   agent->signal(SIGTERM);
   EXPECT_EQ(agent->code(), 0) << agent->err();
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
   std::vector<std::string> const& messages() {
      char bytes[4096];
      for (;;) {
         ssize_t const count = ::recv(socket_, bytes, sizeof bytes, 0);
         if (count < 0) return messages_;
         messages_.emplace_back(bytes, static_cast<std::size_t>(count));
      }
   }

 private:
   int const socket_;
   std::vector<std::string> messages_;
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

}  // namespace
