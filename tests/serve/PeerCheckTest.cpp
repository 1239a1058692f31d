#include "agent/serve/PeerCheck.h"

#include "support/ServerFixture.h"

#include <gtest/gtest.h>

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace Agent {
namespace {

constexpr uid_t somebodyElse = 65534;

TEST(PeerCheck, TheOwnUserMayGiveCommands) {
   int ends[2];
   ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
   Peer const peer = peerOf(ends[0], std::nullopt);
   EXPECT_EQ(peer.process, ::getpid());
   EXPECT_EQ(peer.user, ::geteuid());
   EXPECT_TRUE(peer.allowed);
   ::close(ends[0]);
   ::close(ends[1]);
}

TEST(PeerCheck, WhatIsNoSocketHasNoPeer) {
   EXPECT_THROW(peerOf(-1, std::nullopt), std::system_error);
}

TEST(PeerCheck, AGroupIsKnownByItsName) {
   ::setgrent();
   group const* const some = ::getgrent();
   ASSERT_NE(some, nullptr) << "the system has no groups";
   gid_t const id = some->gr_gid;
   EXPECT_EQ(groupId(std::string(some->gr_name)), id);
   ::endgrent();
   EXPECT_THROW(groupId("nobody knows it"), std::runtime_error);
   EXPECT_THROW(groupId(""), std::runtime_error);
}

TEST(PeerCheck, ANumberIsAGroupsId) {
   EXPECT_EQ(groupId("0"), 0u);
   EXPECT_EQ(groupId("65000"), 65000u);
   EXPECT_THROW(groupId("12x"), std::runtime_error);
   EXPECT_THROW(groupId("99999999999"), std::runtime_error);
}

/// A server, and clients that are other users. Nobody but root becomes somebody else: run by
/// others, the client is the own user, who may give commands whatever the group.
class OtherUsers : public ServerFixture {
 protected:
   bool const isRoot = ::geteuid() == 0;

   /// What the client is told, which as another user has this as its one more group, if any.
   std::string toldTo(std::optional<gid_t> group) {
      int ends[2];
      if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
      std::string const line = lineOf({"verify"});
      pid_t const child = ::fork();
      if (child == 0) {
         gid_t const list = group.value_or(0);
         bool const isReady =
             !isRoot || (::setgroups(group ? 1 : 0, &list) == 0 && ::setgid(somebodyElse) == 0 &&
                         ::setuid(somebodyElse) == 0);
         if (!isReady) ::_exit(3);
         sockaddr_un name{};
         name.sun_family = AF_UNIX;
         std::memcpy(name.sun_path, address.path.data(), address.path.size());
         int const socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
         if (::connect(socket, reinterpret_cast<sockaddr const*>(&name), sizeof name) != 0) {
            ::_exit(4);
         }
         // The server may have hung up already.
         if (::send(socket, line.data(), line.size(), MSG_NOSIGNAL) < 0 && errno != EPIPE) {
            ::_exit(5);
         }
         char bytes[512];
         ssize_t const count = ::recv(socket, bytes, sizeof bytes, MSG_WAITALL);
         if (count > 0 && ::write(ends[1], bytes, static_cast<std::size_t>(count)) != count) {
            ::_exit(6);
         }
         ::_exit(0);
      }
      ::close(ends[1]);
      int status = 0;
      EXPECT_TRUE(until([&] { return ::waitpid(child, &status, WNOHANG) == child; }));
      EXPECT_EQ(status, 0);
      char bytes[512];
      ssize_t const count = ::read(ends[0], bytes, sizeof bytes);
      ::close(ends[0]);
      return {bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
   }
   void givenOpenServer() {
      limits.idle = Milliseconds(200);
      givenServer("{'groups': []}");
      ::chmod(folder.path().c_str(), 0755);
      ::chmod(address.path.c_str(), 0666);
   }
};

TEST_F(OtherUsers, MayNotGiveCommands) {
   givenOpenServer();
   std::string const told = toldTo(std::nullopt);
   std::string const expected =
       isRoot ? "you may not give commands to this agent" : "nothing is wrong";
   EXPECT_NE(told.find(expected), std::string::npos) << told;
   EXPECT_EQ(logHas("4 user 65534 may not give commands"), isRoot);
   EXPECT_TRUE(until([&] { return server->clients() == 0; }));
}

TEST_F(OtherUsers, OfTheGroupMayGiveCommands) {
   gid_t const id = isRoot ? 1 : ::getegid();
   address.group = std::to_string(id);
   givenOpenServer();
   EXPECT_NE(toldTo(id).find("nothing is wrong"), std::string::npos);
   EXPECT_EQ(toldTo(std::nullopt).find("you may not give commands") == std::string::npos, !isRoot);
}

}  // namespace
}  // namespace Agent
