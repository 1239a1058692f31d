#include "agent/serve/ControlServer.h"

#include "support/ServerFixture.h"

#include <gtest/gtest.h>

#include <grp.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace Agent {
namespace {

constexpr char const* site =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']}]}";

/// A configuration of many prefixes, so that its tables are long.
std::string many(int prefixes) {
   std::string list;
   for (int i = 0; i < prefixes; ++i) {
      list += (i == 0 ? "'10." : ", '10.") + std::to_string(i / 256) + '.' +
              std::to_string(i % 256) + ".0/24'";
   }
   return "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': [" + list + "]}]}";
}

class ControlServerTest : public ServerFixture {
 protected:
   /// A regular file with a configuration; the descriptor is the caller's.
   int givenFileToSend(char const* content) {
      std::string const name = folder.path("sent.json");
      Support::writeFile(name, Support::quoted(content));
      return ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
   }
   /// The client asks for a dry run. The file is handed over with the line.
   void whenDiffIsAsked(Client& client, char const* content) {
      int const file = givenFileToSend(content);
      client.send(lineOf({"diff", "sent.json"}, "sent.json"), {file});
      ::close(file);
   }
   bool hasChild() const {
      siginfo_t facts{};
      return ::waitid(P_ALL, 0, &facts, WEXITED | WNOHANG | WNOWAIT) == 0;
   }
};

TEST_F(ControlServerTest, AnswersOneRequestAfterTheOther) {
   givenServer(site);
   Client client(address.path);
   EXPECT_EQ(ask(client, {"verify"}).text, "Verification: nothing is wrong\n");
   EXPECT_EQ(ask(client, {"fly"}).status, Status::refused);
   EXPECT_EQ(ask(client, {"audit"}).text, "Audit: nothing is wrong\n");
   EXPECT_EQ(server->clients(), 1u);
}

TEST_F(ControlServerTest, RequestsThatComeTogetherAreAnsweredInOrder) {
   givenServer(site);
   Client client(address.path);
   std::string lines;
   for (int i = 0; i < 200; ++i) lines += lineOf({"explain", "10.9.0." + std::to_string(i)});
   ASSERT_EQ(client.send(lines), lines.size());
   for (int i = 0; i < 200; ++i) {
      auto const reply = replyTo(client);
      ASSERT_TRUE(reply.text.starts_with("10.9.0." + std::to_string(i) + " is not")) << reply.text;
   }
   EXPECT_FALSE(client.ended());
}

TEST_F(ControlServerTest, ARequestMayComeByteByByte) {
   givenServer(site);
   Client client(address.path);
   for (char const byte : lineOf({"verify"})) {
      ASSERT_EQ(client.send({&byte, 1}), 1u);
      loop.restart();
      loop.poll();
   }
   EXPECT_EQ(replyTo(client).text, "Verification: nothing is wrong\n");
}

// Clients that do not keep to the protocol.

TEST_F(ControlServerTest, RubbishIsRefusedAndItsSenderDropped) {
   givenServer(site);
   for (std::string const& rubbish :
        {std::string("GET / HTTP/1.1\r\n"), std::string("\n"), std::string(1000, '\0') + '\n',
         std::string("{\"words\":[1]}\n")}) {
      Client client(address.path);
      ASSERT_EQ(client.send(rubbish), rubbish.size());
      EXPECT_EQ(replyTo(client).status, Status::refused);
      EXPECT_TRUE(until([&] { return client.ended(); }));
   }
   EXPECT_TRUE(until([&] { return server->clients() == 0; }));
   thenServesOthers();
}

TEST_F(ControlServerTest, HalfALineAndThenSilenceIsDropped) {
   limits.request = Milliseconds(50);
   givenServer(site);
   Client client(address.path);
   client.send("{\"words\":");
   EXPECT_TRUE(until([&] { return client.ended(); }));
   EXPECT_EQ(client.received(), "");
   EXPECT_TRUE(logHas("a client is dropped: it was silent for too long"));
   thenServesOthers();
}

TEST_F(ControlServerTest, ALineThatComesTooSlowlyIsDropped) {
   limits.request = Milliseconds(100);
   givenServer(site);
   Client client(address.path);
   // Never silent, and never done.
   EXPECT_TRUE(until([&] {
      client.send("x");
      return client.ended();
   }));
   EXPECT_TRUE(logHas("silent for too long"));
}

TEST_F(ControlServerTest, HalfALineBehindARequestIsDroppedToo) {
   limits.request = Milliseconds(50);
   givenServer(site);
   Client client(address.path);
   client.send(lineOf({"verify"}) + "{\"words\":");
   EXPECT_EQ(replyTo(client).status, Status::ok);
   EXPECT_TRUE(until([&] { return client.ended(); }));
}

TEST_F(ControlServerTest, SilenceBetweenRequestsIsDroppedInTheEnd) {
   limits.idle = Milliseconds(50);
   givenServer(site);
   Client client(address.path);
   EXPECT_EQ(ask(client, {"verify"}).status, Status::ok);
   EXPECT_TRUE(until([&] { return client.ended(); }));
   EXPECT_EQ(server->clients(), 0u);
}

TEST_F(ControlServerTest, ALineOfTheGreatestLengthIsTaken) {
   givenServer(site);
   std::string line = lineOf({"verify"});
   line.insert(line.size() - 1, std::string(Control::greatestRequest - line.size(), ' '));
   ASSERT_EQ(line.size(), Control::greatestRequest);
   Client client(address.path);
   std::size_t sent = 0;
   ASSERT_TRUE(until([&] {
      sent += client.send(std::string_view(line).substr(sent));
      return sent == line.size();
   }));
   EXPECT_EQ(replyTo(client).status, Status::ok);
}

TEST_F(ControlServerTest, ALineThatIsTooLongIsRefused) {
   givenServer(site);
   std::string line = lineOf({"verify"});
   line.insert(line.size() - 1, std::string(Control::greatestRequest + 1 - line.size(), ' '));
   Client client(address.path);
   std::size_t sent = 0;
   ASSERT_TRUE(until([&] {
      sent += client.send(std::string_view(line).substr(sent));
      return sent == line.size() || client.broken();
   }));
   auto const reply = replyTo(client);
   EXPECT_EQ(reply.status, Status::refused);
   EXPECT_EQ(reply.text, "a request is not so long\n");
   EXPECT_TRUE(until([&] { return client.ended(); }));
}

TEST_F(ControlServerTest, AGigabyteOfRubbishIsDroppedEarly) {
   givenServer(site);
   Client client(address.path);
   std::string const rubbish(std::size_t{1} << 20, 'x');
   std::size_t sent = 0;
   ASSERT_TRUE(until([&] {
      sent += client.send(rubbish);
      return client.broken() || sent >= std::size_t{1} << 30;
   }));
   EXPECT_TRUE(client.broken());
   EXPECT_LT(sent, std::size_t{4} << 20);
   thenServesOthers();
}

TEST_F(ControlServerTest, AClientThatNeverReadsIsDropped) {
   limits.reply = Milliseconds(100);
   givenServer(many(4000));
   Client client(address.path);
   Control::Request big;
   big.words = {"show", "entries"};
   big.rows = Control::greatestRows;
   big.json = true;
   client.send(Control::encode(big) + Control::encode(big));
   ASSERT_TRUE(until([&] { return server->clients() == 1; }));
   EXPECT_TRUE(until([&] { return server->clients() == 0; }));
   EXPECT_TRUE(logHas("silent for too long"));
   thenServesOthers();
}

TEST_F(ControlServerTest, AClientThatReadsSlowlyGetsItAll) {
   givenServer(many(4000));
   Client client(address.path);
   Control::Request big;
   big.words = {"show", "entries"};
   big.rows = Control::greatestRows;
   big.json = true;
   client.send(Control::encode(big));
   auto const reply = replyTo(client);
   EXPECT_EQ(Json::parse(reply.text)["entries"].size(), 4000u);
}

TEST_F(ControlServerTest, AClientMayHangUpAnywhere) {
   givenServer(many(4000));
   Control::Request big;
   big.words = {"show", "entries"};
   big.rows = Control::greatestRows;
   std::string const line = Control::encode(big);
   for (std::size_t const bytes : {std::size_t{0}, std::size_t{5}, line.size()}) {
      Client client(address.path);
      if (bytes != 0) client.send(std::string_view(line).substr(0, bytes));
      client.hangUp();
   }
   // In the middle of a reply.
   Client client(address.path);
   client.send(line);
   ASSERT_TRUE(until([&] {
      client.look();
      return !client.received().empty();
   }));
   client.hangUp();
   EXPECT_TRUE(until([&] { return server->clients() == 0; }));
   thenServesOthers();
}

// Files that come along.

TEST_F(ControlServerTest, AFileThatComesAlongIsLoaded) {
   givenServer("{'groups': []}");
   int const file = givenFileToSend(site);
   Client client(address.path);
   std::string const line = lineOf({"load", "sent.json"}, "sent.json");
   ASSERT_EQ(client.send(line, {file}), line.size());
   EXPECT_EQ(replyTo(client).text, "Applied: 1 group added, 2 prefixes added\n");
   ::close(file);
}

TEST_F(ControlServerTest, ADryRunIsAnsweredWhenItIsDone) {
   givenServer(site);
   Client client(address.path);
   whenDiffIsAsked(client, "{'groups': []}");
   Client other(address.path);
   EXPECT_EQ(ask(other, {"verify"}).status, Status::ok) << "others are served meanwhile";
   auto const reply = replyTo(client);
   EXPECT_EQ(reply.status, Status::found);
   EXPECT_TRUE(reply.text.starts_with("Configuration: 1 group removed, 2 prefixes removed\n"))
       << reply.text;
   EXPECT_EQ(table().size(), 2u);
}

TEST_F(ControlServerTest, MoreDryRunsThanTheLimitAreRefused) {
   limits.dryRuns = 0;
   givenServer(site);
   Client client(address.path);
   whenDiffIsAsked(client, site);
   auto const reply = replyTo(client);
   EXPECT_EQ(reply.status, Status::failed);
   EXPECT_EQ(reply.text, "too many dry runs are under way; try again\n");
   EXPECT_FALSE(hasChild());
}

TEST_F(ControlServerTest, ManyDryRunsMayFollowOneAnother) {
   limits.dryRuns = 1;
   givenServer(site);
   Client client(address.path);
   for (int i = 0; i < 5; ++i) {
      whenDiffIsAsked(client, site);
      EXPECT_EQ(replyTo(client).status, Status::ok) << i;
   }
   EXPECT_FALSE(hasChild());
}

TEST_F(ControlServerTest, ADryRunThatSaysTooMuchFails) {
   limits.dryRunText = 16;
   givenServer(site);
   Client client(address.path);
   whenDiffIsAsked(client, site);
   auto const reply = replyTo(client);
   EXPECT_EQ(reply.status, Status::failed);
   EXPECT_EQ(reply.text, "the dry run came to no end\n");
}

TEST_F(ControlServerTest, AClientMayHangUpDuringItsDryRun) {
   givenServer(site);
   {
      Client client(address.path);
      whenDiffIsAsked(client, site);
      ASSERT_TRUE(until([&] { return hasChild(); }));
   }
   EXPECT_TRUE(until([&] { return server->clients() == 0 && !hasChild(); }));
   thenServesOthers();
}

TEST_F(ControlServerTest, MayGoWhileADryRunIsUnderWay) {
   givenServer(site);
   Client client(address.path);
   whenDiffIsAsked(client, site);
   ASSERT_TRUE(until([&] { return hasChild(); }));
   server = nullptr;
   loop.restart();
   loop.run_for(patience);
   EXPECT_TRUE(client.ended());
   EXPECT_FALSE(hasChild());
}

TEST_F(ControlServerTest, WhatIsNoRegularFileIsRefused) {
   givenServer(site);
   int ends[2];
   ASSERT_EQ(::pipe(ends), 0);
   int const directory = ::open("/", O_RDONLY | O_CLOEXEC);
   Client client(address.path);
   for (int const file : {ends[0], directory}) {
      client.send(lineOf({"load", "x"}, "x"), {file});
      EXPECT_EQ(replyTo(client).text, "x: is not a regular file\n");
   }
   client.send(lineOf({"load", "x"}, "x"));
   EXPECT_EQ(replyTo(client).text, "x: did not come along with the command\n");
   for (int const file : {ends[0], ends[1], directory}) ::close(file);
}

TEST_F(ControlServerTest, DescriptorsDoNotPileUp) {
   givenServer(site);
   int const file = givenFileToSend(site);
   Client client(address.path);
   ASSERT_EQ(ask(client, {"verify"}).status, Status::ok);
   auto const before = openDescriptors();
   for (int i = 0; i < 10; ++i) {
      // One for a command that takes none, several, and more than are taken in at all.
      for (std::size_t const count : {1u, 3u, 10u}) {
         client.send(lineOf({"verify"}), std::vector<int>(count, file));
         EXPECT_EQ(replyTo(client).status, Status::ok);
         client.send(lineOf({"load", "x"}, "x"), std::vector<int>(count, file));
         EXPECT_EQ(replyTo(client).status, Status::ok);
      }
   }
   EXPECT_EQ(openDescriptors(), before);
   client.send("{\"words\":", {file});
   client.send("[\"ver", {file});
   client.send("ify\"]}\n", {file});
   EXPECT_EQ(replyTo(client).status, Status::ok);
   EXPECT_EQ(openDescriptors(), before);
   ::close(file);
}

TEST_F(ControlServerTest, DescriptorsOfAClientThatHangsUpAreClosed) {
   givenServer(site);
   int const file = givenFileToSend(site);
   auto const before = openDescriptors();
   for (int i = 0; i < 10; ++i) {
      Client client(address.path);
      client.send("{\"words\":", {file});
      ASSERT_TRUE(until([&] { return openDescriptors() >= before + 3; }));
      client.hangUp();
      ASSERT_TRUE(until([&] { return server->clients() == 0; }));
   }
   EXPECT_EQ(openDescriptors(), before);
   ::close(file);
}

TEST_F(ControlServerTest, AFileBelongsToTheRequestThatNamesIt) {
   givenServer(site);
   int const file = givenFileToSend("{'groups': []}");
   Client client(address.path);
   client.send(lineOf({"verify"}));
   client.send(lineOf({"load", "sent.json"}, "sent.json"), {file});
   EXPECT_EQ(replyTo(client).text, "Verification: nothing is wrong\n");
   EXPECT_EQ(replyTo(client).text, "Applied: 1 group removed, 2 prefixes removed\n");
   ::close(file);
}

// Many clients.

TEST_F(ControlServerTest, ClientsBeyondTheLimitWaitUntilOneLeaves) {
   limits.clients = 2;
   givenServer(site);
   Client first(address.path);
   Client second(address.path);
   Client third(address.path);
   EXPECT_EQ(ask(first, {"verify"}).status, Status::ok);
   third.send(lineOf({"verify"}));
   for (int i = 0; i < 20; ++i) EXPECT_EQ(ask(second, {"verify"}).status, Status::ok);
   EXPECT_FALSE(third.reply());
   EXPECT_EQ(server->clients(), 2u);
   first.hangUp();
   EXPECT_EQ(replyTo(third).status, Status::ok);
}

TEST_F(ControlServerTest, NobodyIsHeldUpByOneWhoAsksALot) {
   givenServer(many(1000));
   Client greedy(address.path);
   Control::Request big;
   big.words = {"show", "entries"};
   std::string lines;
   for (int i = 0; i < 500; ++i) lines += Control::encode(big);
   greedy.send(lines);
   Client modest(address.path);
   EXPECT_EQ(ask(modest, {"verify"}).status, Status::ok);
   int answered = 0;
   while (greedy.reply()) ++answered;
   EXPECT_LT(answered, 400) << "the other one had its turn";
}

// The socket file.

mode_t modeOf(std::string const& path) {
   struct stat facts {};
   EXPECT_EQ(::lstat(path.c_str(), &facts), 0);
   EXPECT_TRUE(S_ISSOCK(facts.st_mode));
   return facts.st_mode & 07777u;
}

TEST_F(ControlServerTest, TheSocketIsTheOwners) {
   mode_t const before = ::umask(0);
   givenServer(site);
   ::umask(before);
   EXPECT_EQ(modeOf(address.path), 0600u);
}

TEST_F(ControlServerTest, TheSocketIsTheGroupsWhereOneIsGiven) {
   // One that the process may give a file to, and not its own where that can be.
   gid_t const id = ::geteuid() == 0 ? 1 : ::getegid();
   address.group = std::to_string(id);
   givenServer(site);
   EXPECT_EQ(modeOf(address.path), 0660u);
   struct stat facts {};
   ASSERT_EQ(::stat(address.path.c_str(), &facts), 0);
   EXPECT_EQ(facts.st_gid, id);
}

TEST_F(ControlServerTest, AGroupThatIsNotThereIsRefused) {
   givenConsole(site);
   address.group = "nobody knows it";
   EXPECT_THROW(listen(), std::runtime_error);
   EXPECT_FALSE(std::filesystem::exists(address.path));
}

TEST_F(ControlServerTest, TheSocketGoesWithTheServer) {
   givenServer(site);
   Client client(address.path);
   ASSERT_EQ(ask(client, {"verify"}).status, Status::ok);
   server = nullptr;
   EXPECT_FALSE(std::filesystem::exists(address.path));
   EXPECT_TRUE(client.ended());
}

TEST_F(ControlServerTest, ASocketThatNobodyListensAtIsReplaced) {
   sockaddr_un name{};
   name.sun_family = AF_UNIX;
   std::memcpy(name.sun_path, address.path.data(), address.path.size());
   int const left = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   ASSERT_EQ(::bind(left, reinterpret_cast<sockaddr const*>(&name), sizeof name), 0);
   ASSERT_EQ(::listen(left, 1), 0);
   ::close(left);
   ASSERT_TRUE(std::filesystem::exists(address.path));
   givenServer(site);
   thenServesOthers();
}

TEST_F(ControlServerTest, ASocketThatSomebodyListensAtIsLeftAlone) {
   givenServer(site);
   try {
      ControlServer const second(loop, *console, address, sink());
      ADD_FAILURE() << "there are two";
   } catch (std::runtime_error const& error) {
      EXPECT_EQ(error.what(), "another agent listens at " + address.path);
   }
   thenServesOthers();
}

TEST_F(ControlServerTest, AFileThatIsNoSocketIsLeftAlone) {
   givenConsole(site);
   Support::writeFile(address.path, "precious");
   EXPECT_THROW(listen(), std::runtime_error);
   EXPECT_EQ(Support::readFile(address.path), "precious");
}

TEST_F(ControlServerTest, APlaceThatIsNotThereIsRefused) {
   givenConsole(site);
   address.path = folder.path("no/where");
   EXPECT_THROW(listen(), std::runtime_error);
   address.path = folder.path(std::string(200, 'x'));
   EXPECT_THROW(listen(), std::runtime_error);
}

}  // namespace
}  // namespace Agent
