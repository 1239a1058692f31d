// Bursts, losses, errors, and whatever else gets in the way.

#include "platform/netlink/Interfaces.h"

#include "platform/netlink/Host.h"
#include "platform/netlink/Listener.h"
#include "platform/netlink/Messages.h"
#include "platform/netlink/NetlinkError.h"
#include "platform/netlink/OtherNetwork.h"
#include "support/Share.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>

namespace Netlink {
namespace {

using std::chrono::steady_clock;

TEST(Interfaces, ABurstCostsFewCalls) {
   OtherNetwork::run([] {
      makeInterface("port0");
      Host host;
      ASSERT_TRUE(host.synchronise());
      host.listener.heard();
      constexpr std::size_t addresses = 1000;
      std::string commands;
      for (std::size_t n = 0; n < addresses; ++n) {
         commands += "address add " + numbered(n) + " dev port0\n";
      }
      ASSERT_TRUE(ipBatch(commands));
      host.reads = 0;
      EXPECT_TRUE(host.until([&] {
         auto const* const state = host.listener.find("port0");
         return state != nullptr && state->secondary.size() == addresses - 1;
      }));
      EXPECT_EQ(host.listener.find("port0")->primary.stringValue(), numbered(0));
      EXPECT_EQ(host.listener.find("port0")->secondary.back().stringValue(), numbered(999));
      EXPECT_LE(host.listener.heard().size(), host.reads);
      EXPECT_LE(host.reads, 2 + addresses / Interfaces::announcementsAtOnce);
      EXPECT_EQ(host.interfaces.counts().losses, 0u);
      // A list of this length takes several datagrams; a look says nothing new.
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.listener.heard(), Lines{"synchronised"});
   });
}

TEST(Interfaces, ALongListTakesSeveralReads) {
   OtherNetwork::run([] {
      makeInterface("port0");
      std::string commands;
      std::size_t const addresses = 6000;
      for (std::size_t n = 0; n < addresses; ++n) {
         commands += "address add " + numbered(n) + " dev port0\n";
      }
      ASSERT_TRUE(ipBatch(commands));
      Host host;
      ASSERT_TRUE(host.synchronise());
      EXPECT_GT(host.reads, 1u);
      EXPECT_EQ(host.listener.heard().size(), 3u);
      EXPECT_EQ(host.listener.find("port0")->secondary.size(), addresses - 1);
   });
}

TEST(Interfaces, LostAnnouncementsLeadToAFreshLookAndTheRightEnd) {
   OtherNetwork::run([] {
      makeInterface("port0");
      makeInterface("port1");
      Host host(2048);
      ASSERT_TRUE(host.synchronise());
      host.listener.heard();
      for (std::size_t round = 1; round <= 3; ++round) {
         std::string commands;
         for (std::size_t n = 0; n < 400; ++n) {
            commands += "address add " + numbered(n) + " dev port0\n";
         }
         for (std::size_t n = 0; n < 400; ++n) {
            if (n != round) commands += "address del " + numbered(n) + " dev port0\n";
         }
         ASSERT_TRUE(ipBatch(commands));
         EXPECT_TRUE(host.becomes("port0", "port0 " + numbered(round)));
         EXPECT_GE(host.interfaces.counts().losses, round);
         // Back to following: what happens now is told without a look.
         host.catchUp();
         auto const looks = host.interfaces.counts().synchronisations;
         ASSERT_TRUE(OtherNetwork::ip("address del " + numbered(round) + " dev port0"));
         EXPECT_TRUE(host.becomes("port0", "port0"));
         EXPECT_EQ(host.interfaces.counts().synchronisations, looks);
      }
      // Nothing was told of what did not change.
      for (auto const& line : host.listener.lines())
         EXPECT_FALSE(line.starts_with("port1")) << line;
   });
}

/// While somebody else changes all the time, every list is out of date when it is complete.
TEST(Interfaces, ComesToRestWhenTheHostDoes) {
   OtherNetwork::run([] {
      makeInterface("port0");
      std::string commands;
      std::size_t const rounds = Support::shareOf(1000);
      for (std::size_t n = 0; n < rounds; ++n) {
         commands += "address add " + numbered(n % 7) + " dev port0\n";
         commands += "link set port0 name port1\nlink set port1 name port0\n";
         commands += "address del " + numbered(n % 7) + " dev port0\n";
      }
      commands += "address add 10.0.0.1/24 dev port0\n";
      Support::TempFolder const folder;
      Support::writeFile(folder.path("batch"), commands);
      Host host(8192);
      ASSERT_TRUE(host.synchronise());
      ASSERT_TRUE(OtherNetwork::ip("-batch " + folder.path("batch") + " &"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.1/24"));
      host.catchUp();
      EXPECT_EQ(host.is("port0"), "port0 10.0.0.1/24");
      EXPECT_EQ(host.is("port1"), "");
   });
}

TEST(Interfaces, StartedAgainAmidAListItBeginsAnew) {
   OtherNetwork::run([] {
      makeInterface("port0");
      Host host;
      host.interfaces.start();
      host.interfaces.start();
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.listener.heard(), (Lines{"lo", "port0", "synchronised"}));
      ASSERT_TRUE(OtherNetwork::ip("link del port0"));
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.listener.heard(), (Lines{"no port0", "synchronised"}));
   });
}

// ---- trouble ------------------------------------------------------------------------------------

/// Where the kernel announces to this process: the port of the socket with all three groups.
std::uint32_t announcedTo() {
   std::ifstream table("/proc/self/net/netlink");
   std::string line;
   while (std::getline(table, line)) {
      std::istringstream words(line);
      std::string address;
      std::string groups;
      std::uint32_t protocol = 0;
      std::uint32_t at = 0;
      words >> address >> protocol >> at >> groups;
      if (protocol == NETLINK_ROUTE && groups == "00000111") return at;
   }
   return 0;
}

TEST(Interfaces, WhatOtherProcessesSendIsNotRead) {
   OtherNetwork::run([] {
      Host host;
      ASSERT_TRUE(host.synchronise());
      host.listener.heard();
      Socket const other(0);
      sockaddr_nl target{};
      target.nl_family = AF_NETLINK;
      target.nl_pid = announcedTo();
      ASSERT_NE(target.nl_pid, 0u);
      auto const lie = link({.index = 99, .name = "eth99"});
      ASSERT_EQ(::sendto(other.fd(), lie.data(), lie.size(), 0,
                         reinterpret_cast<sockaddr const*>(&target), sizeof target),
                static_cast<ssize_t>(lie.size()));
      EXPECT_TRUE(host.until([&] { return host.interfaces.counts().foreign == 1; }));
      EXPECT_EQ(host.listener.heard(), Lines());
   });
}

/// While this object lives the system gives no descriptor.
class NoDescriptors {
 public:
   NoDescriptors() {
      // A sanitizer needs descriptors when it meets an object of a type for the first time.
      NetlinkError const met(NetlinkError::Kind::system, "met", EMFILE);
      EXPECT_EQ(met.kind(), NetlinkError::Kind::system);
      EXPECT_EQ(met.code(), EMFILE);
      EXPECT_STREQ(met.what(), "netlink: met: Too many open files");
      ::getrlimit(RLIMIT_NOFILE, &before_);
      rlimit none = before_;
      none.rlim_cur = 0;
      EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
   }
   NoDescriptors(NoDescriptors const&) = delete;
   NoDescriptors& operator=(NoDescriptors const&) = delete;
   ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

 private:
   rlimit before_{};
};

TEST(Interfaces, AProcessWithoutDescriptorsGetsAClearWord) {
   OtherNetwork::run([] {
      Listener listener;
      NoDescriptors const none;
      try {
         Interfaces const interfaces(listener);
         ADD_FAILURE() << "no descriptor, and no word about it";
      } catch (NetlinkError const& error) {
         EXPECT_EQ(error.kind(), NetlinkError::Kind::system);
         EXPECT_EQ(error.code(), EMFILE);
         EXPECT_STREQ(error.what(),
                      "netlink: cannot make a descriptor to wait for: Too many open files");
      }
   });
}

TEST(Interfaces, AfterAnErrorNothingIsToldUntilItIsStartedAgain) {
   OtherNetwork::run([] {
      makeInterface("port0");
      Host host(2048);
      ASSERT_TRUE(host.synchronise());
      host.listener.heard();
      std::string commands;
      for (std::size_t n = 0; n < 100; ++n) {
         commands += "address add " + numbered(n) + " dev port0\n";
      }
      ASSERT_TRUE(ipBatch(commands));
      {
         // The loss calls for new sockets, and there are none.
         NoDescriptors const none;
         EXPECT_THROW(host.interfaces.read(), NetlinkError);
      }
      host.interfaces.read();
      EXPECT_EQ(host.listener.heard(), Lines());
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.listener.heard().size(), 2u);
      EXPECT_EQ(host.listener.find("port0")->secondary.size(), 99u);
   });
}

TEST(Interfaces, ItsDescriptorsAreClosedInAnotherProgram) {
   OtherNetwork::run([] {
      Host host;
      ASSERT_TRUE(host.synchronise());
      EXPECT_NE(::fcntl(host.interfaces.fd(), F_GETFD) & FD_CLOEXEC, 0);
      Socket const socket(0);
      EXPECT_NE(::fcntl(socket.fd(), F_GETFD) & FD_CLOEXEC, 0);
      EXPECT_NE(::fcntl(socket.fd(), F_GETFL) & O_NONBLOCK, 0);
   });
}

/// Reads again out of each call, and fails in the first one.
class Nested final : public InterfaceObserver {
 public:
   void interfaceIs(InterfaceState const& state) override {
      interfaces->read();
      if (++calls == 1) throw std::runtime_error("enough");
      listener.interfaceIs(state);
   }
   void interfaceDel(Pkt::IntfId const& name) override { listener.interfaceDel(name); }
   void synchronised() override { listener.synchronised(); }

   Interfaces* interfaces = nullptr;
   Listener listener;
   int calls = 0;
};

TEST(Interfaces, AnExceptionOfTheObserverLeavesTheReadAndTheNextOneGoesOn) {
   OtherNetwork::run([] {
      makeInterface("port0");
      Nested nested;
      Interfaces interfaces(nested);
      nested.interfaces = &interfaces;
      interfaces.start();
      auto const deadline = steady_clock::now() + std::chrono::seconds(20);
      bool thrown = false;
      while (!thrown && waitFor(interfaces.fd(), deadline)) {
         try {
            interfaces.read();
         } catch (std::runtime_error const&) {
            thrown = true;
         }
      }
      EXPECT_TRUE(thrown);
      interfaces.read();
      EXPECT_EQ(nested.listener.heard(), (Lines{"port0", "synchronised"}));
   });
}

}  // namespace
}  // namespace Netlink
