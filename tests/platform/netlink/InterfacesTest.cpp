#include "platform/netlink/Interfaces.h"

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

/// Waits until `fd` is readable, or the time has come.
bool waitFor(int fd, steady_clock::time_point deadline) {
   auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
   if (left.count() <= 0) return false;
   pollfd look{fd, POLLIN, 0};
   return ::poll(&look, 1, static_cast<int>(left.count())) > 0;
}

/// An event loop around a follower, in a network of its own.
class Host {
 public:
   explicit Host(std::size_t receiveBytes = Interfaces::defaultReceiveBytes)
       : interfaces(listener, receiveBytes) {}

   /// Reads until it holds. False when it does not within some seconds.
   template <class Holds>
   bool until(Holds holds) {
      auto const deadline = steady_clock::now() + std::chrono::seconds(20);
      while (!holds()) {
         if (!waitFor(interfaces.fd(), deadline)) return false;
         interfaces.read();
         ++reads;
      }
      return true;
   }
   /// Reads whatever there is to read now.
   void catchUp() {
      while (waitFor(interfaces.fd(), steady_clock::now() + std::chrono::milliseconds(1))) {
         interfaces.read();
      }
   }
   bool synchronise() {
      auto const before = listener.synchronisations();
      interfaces.start();
      return until([&] { return listener.synchronisations() > before; });
   }
   /// Whether the interface, once all is read, is told like this; empty for not there.
   bool becomes(std::string const& name, std::string const& text) {
      return until([&] { return is(name) == text; });
   }
   std::string is(std::string const& name) const {
      auto const* const state = listener.find(name);
      return state == nullptr ? std::string() : textOf(*state);
   }

   Listener listener;
   Interfaces interfaces;
   std::size_t reads = 0;
};

/// Runs `ip` once for many commands.
bool ipBatch(std::string const& commands) {
   Support::TempFolder const folder;
   Support::writeFile(folder.path("batch"), commands);
   return OtherNetwork::ip("-batch " + folder.path("batch"));
}

/// An interface that has no addresses but those it is given, which are usable at once.
void makeInterface(std::string const& name) {
   OtherNetwork::set("ipv6/conf/all/disable_ipv6", "0");
   OtherNetwork::set("ipv6/conf/default/disable_ipv6", "0");
   OtherNetwork::set("ipv6/conf/default/accept_dad", "0");
   OtherNetwork::set("ipv6/conf/default/addr_gen_mode", "1");
   if (!OtherNetwork::addInterface(name)) OtherNetwork::skip("no kind of interface to test with");
}

/// "10.1.0.7/32", and so on.
std::string numbered(std::size_t n) {
   return "10.1." + std::to_string(n / 250) + "." + std::to_string(n % 250 + 1) + "/32";
}

TEST(Interfaces, TellsWhatIsThereThenThatThisIsAll) {
   OtherNetwork::run([] {
      makeInterface("port0");
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      ASSERT_TRUE(OtherNetwork::ip("link set lo up"));
      Host host;
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.listener.heard(),
                (Lines{"lo 127.0.0.1/8 v6 ::1/128", "port0 10.0.0.1/24", "synchronised"}));
      EXPECT_TRUE(host.interfaces.isUp(Pkt::IntfId("lo")));
      EXPECT_FALSE(host.interfaces.isUp(Pkt::IntfId("port0")));
   });
}

TEST(Interfaces, NothingIsReadableWhenThereIsNothingToDo) {
   OtherNetwork::run([] {
      Host host;
      host.interfaces.read();
      EXPECT_EQ(host.listener.heard(), Lines());
      ASSERT_TRUE(host.synchronise());
      host.catchUp();
      EXPECT_FALSE(
          waitFor(host.interfaces.fd(), steady_clock::now() + std::chrono::milliseconds(1)));
      host.listener.heard();
      host.interfaces.read();
      EXPECT_EQ(host.listener.heard(), Lines());
   });
}

TEST(Interfaces, FollowsAddressesAsTheyComeAndGo) {
   OtherNetwork::run([] {
      makeInterface("port0");
      Host host;
      ASSERT_TRUE(host.synchronise());
      ASSERT_TRUE(OtherNetwork::ip("link set port0 up"));
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.1/24"));
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.2/24 dev port0"));
      ASSERT_TRUE(OtherNetwork::ip("address add 192.168.0.1/16 dev port0"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.1/24 2nd 192.168.0.1/16 2nd 10.0.0.2/24"));
      ASSERT_TRUE(OtherNetwork::ip("address add 2001:db8::1/64 dev port0 nodad"));
      EXPECT_TRUE(host.becomes(
          "port0", "port0 10.0.0.1/24 2nd 192.168.0.1/16 2nd 10.0.0.2/24 v6 2001:db8::1/64"));
      ASSERT_TRUE(OtherNetwork::ip("address flush dev port0"));
      EXPECT_TRUE(host.becomes("port0", "port0"));
   });
}

TEST(Interfaces, FollowsAPromotion) {
   OtherNetwork::run([] {
      makeInterface("port0");
      OtherNetwork::set("ipv4/conf/port0/promote_secondaries", "1");
      for (int i = 1; i < 4; ++i) {
         ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0." + std::to_string(i) + "/24 dev port0"));
      }
      Host host;
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.is("port0"), "port0 10.0.0.1/24 2nd 10.0.0.2/24 2nd 10.0.0.3/24");
      ASSERT_TRUE(OtherNetwork::ip("address del 10.0.0.1/24 dev port0"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.2/24 2nd 10.0.0.3/24"));
   });
}

TEST(Interfaces, WithoutPromotionASubnetGoesWithItsPrimaryAddress) {
   OtherNetwork::run([] {
      makeInterface("port0");
      OtherNetwork::set("ipv4/conf/all/promote_secondaries", "0");
      OtherNetwork::set("ipv4/conf/port0/promote_secondaries", "0");
      for (char const* const address : {"10.0.0.1/24", "10.0.0.2/24", "10.9.0.1/24"}) {
         ASSERT_TRUE(OtherNetwork::ip(std::string("address add ") + address + " dev port0"));
      }
      Host host;
      ASSERT_TRUE(host.synchronise());
      ASSERT_TRUE(OtherNetwork::ip("address del 10.0.0.1/24 dev port0"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.9.0.1/24"));
   });
}

/// What is followed change by change is what a fresh look finds.
TEST(Interfaces, FollowingAndLookingAgainAgree) {
   OtherNetwork::run([] {
      makeInterface("port0");
      OtherNetwork::set("ipv4/conf/port0/promote_secondaries", "1");
      Host host;
      ASSERT_TRUE(host.synchronise());
      std::string commands;
      for (char const* const what :
           {"add 10.0.0.1/24", "add 10.0.0.2/24", "add 10.1.0.1/24 scope link",
            "add 10.2.0.1/24 scope host", "add 10.3.0.1/24", "add 10.3.0.2/24", "del 10.0.0.1/24",
            "add 10.4.0.1 peer 10.4.0.2/32", "add 10.3.0.3/24", "del 10.3.0.1/24",
            "add 2001:db8::1/64", "add 2001:db8::2/64", "del 2001:db8::1/64"}) {
         commands += std::string("address ") + what + " dev port0\n";
      }
      ASSERT_TRUE(ipBatch(commands));
      host.catchUp();
      EXPECT_TRUE(host.becomes("port0", host.is("port0")));
      host.listener.heard();
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.listener.heard(), Lines{"synchronised"}) << host.is("port0");
   });
}

/// What is announced between the request and the list is in the list already.
TEST(Interfaces, ChangesAmidAListDoNotSpoilTheOrder) {
   OtherNetwork::run([] {
      makeInterface("port0");
      OtherNetwork::set("ipv4/conf/port0/promote_secondaries", "1");
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      Host host;
      host.interfaces.start();
      ASSERT_TRUE(
          ipBatch("address add 10.0.0.2/24 dev port0\n"
                  "address del 10.0.0.1/24 dev port0\n"
                  "address add 10.9.0.1/24 dev port0\n"));
      ASSERT_TRUE(host.until([&] { return host.listener.synchronisations() == 1; }));
      EXPECT_EQ(host.listener.heard(),
                (Lines{"lo", "port0 10.0.0.2/24 2nd 10.9.0.1/24", "synchronised"}));
      EXPECT_EQ(host.interfaces.counts().unsettledLists, 1u);

      host.interfaces.start();
      ASSERT_TRUE(
          ipBatch("address del 10.9.0.1/24 dev port0\n"
                  "address add 10.9.0.1/24 dev port0\n"
                  "address add 10.8.0.1/24 dev port0\n"));
      ASSERT_TRUE(host.until([&] { return host.listener.synchronisations() == 2; }));
      EXPECT_EQ(host.is("port0"), "port0 10.0.0.2/24 2nd 10.9.0.1/24 2nd 10.8.0.1/24");
      EXPECT_EQ(host.interfaces.counts().unsettledLists, 2u);
   });
}

TEST(Interfaces, ATentativeAddressWaits) {
   OtherNetwork::run([] {
      // As long as the other end is down, no address of this one is ever settled.
      OtherNetwork::set("ipv6/conf/all/disable_ipv6", "0");
      OtherNetwork::set("ipv6/conf/default/disable_ipv6", "0");
      if (!OtherNetwork::tryIp("link add left type veth peer name right")) {
         OtherNetwork::skip("no veth interfaces");
      }
      OtherNetwork::set("ipv6/conf/left/accept_dad", "1");
      OtherNetwork::set("ipv6/conf/left/addr_gen_mode", "1");
      Host host;
      ASSERT_TRUE(host.synchronise());
      ASSERT_TRUE(OtherNetwork::ip("link set left up"));
      ASSERT_TRUE(OtherNetwork::ip("address add 2001:db8::1/64 dev left"));
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev left"));
      // Told in order: when the later one is there, the earlier one has been looked at.
      EXPECT_TRUE(host.becomes("left", "left 10.0.0.1/24"));
      ASSERT_TRUE(OtherNetwork::ip("link set right up"));
      EXPECT_TRUE(host.becomes("left", "left 10.0.0.1/24 v6 2001:db8::1/64"));
   });
}

TEST(Interfaces, ARenamedInterfaceIsAnotherOne) {
   OtherNetwork::run([] {
      makeInterface("port0");
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      Host host;
      ASSERT_TRUE(host.synchronise());
      host.listener.heard();
      ASSERT_TRUE(OtherNetwork::ip("link set port0 name uplink"));
      EXPECT_TRUE(host.becomes("uplink", "uplink 10.0.0.1/24"));
      EXPECT_EQ(host.listener.heard(), (Lines{"no port0", "uplink 10.0.0.1/24"}));
   });
}

TEST(Interfaces, ARemovedInterfaceIsToldOnce) {
   OtherNetwork::run([] {
      makeInterface("port0");
      ASSERT_TRUE(OtherNetwork::ip("link set port0 up"));
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      Host host;
      ASSERT_TRUE(host.synchronise());
      host.listener.heard();
      ASSERT_TRUE(OtherNetwork::ip("link del port0"));
      EXPECT_TRUE(host.becomes("port0", ""));
      host.catchUp();
      auto const heard = host.listener.heard();
      EXPECT_EQ(std::ranges::count(heard, "no port0"), 1);
      EXPECT_EQ(heard.back(), "no port0");
   });
}

TEST(Interfaces, ABridgePortIsInTheDefaultVrfAndStaysWhenItLeaves) {
   OtherNetwork::run([] {
      makeInterface("port0");
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      if (!OtherNetwork::tryIp("link add br0 type bridge")) OtherNetwork::skip("no bridges");
      if (!OtherNetwork::tryIp("link set port0 master br0")) {
         OtherNetwork::skip("no interface that a bridge takes");
      }
      Host host;
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.is("port0"), "port0 10.0.0.1/24");
      host.listener.heard();
      ASSERT_TRUE(OtherNetwork::ip("link set port0 nomaster"));
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.1.1/24 dev port0"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.1/24 2nd 10.0.1.1/24"));
      EXPECT_EQ(host.listener.heard(), Lines{"port0 10.0.0.1/24 2nd 10.0.1.1/24"});
   });
}

TEST(Interfaces, FollowsAnInterfaceIntoItsVrfAndOut) {
   OtherNetwork::run([] {
      makeInterface("port0");
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      if (!OtherNetwork::tryIp("link add red type vrf table 10")) {
         OtherNetwork::skip("this kernel has no VRFs");
      }
      ASSERT_TRUE(OtherNetwork::ip("link set port0 master red"));
      Host host;
      ASSERT_TRUE(host.synchronise());
      EXPECT_EQ(host.is("red"), "red in red");
      EXPECT_EQ(host.is("port0"), "port0 in red 10.0.0.1/24");
      ASSERT_TRUE(OtherNetwork::ip("link set port0 nomaster"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.1/24"));
      ASSERT_TRUE(OtherNetwork::ip("link set port0 master red"));
      EXPECT_TRUE(host.becomes("port0", "port0 in red 10.0.0.1/24"));
      ASSERT_TRUE(OtherNetwork::ip("link del red"));
      EXPECT_TRUE(host.becomes("port0", "port0 10.0.0.1/24"));
      EXPECT_TRUE(host.becomes("red", ""));
   });
}

// ---- many at once -------------------------------------------------------------------------------

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
