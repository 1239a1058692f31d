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
         OtherNetwork::lacks("no veth interfaces");
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
      if (!OtherNetwork::tryIp("link add br0 type bridge")) OtherNetwork::lacks("no bridges");
      if (!OtherNetwork::tryIp("link set port0 master br0")) {
         OtherNetwork::lacks("no interface that a bridge takes");
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

/// What `FollowsAnInterfaceIntoItsVrfAndOut` expects, of the messages that a kernel with VRFs sends
/// meanwhile, for one that has none.
void followsMessagesOfAVrf() {
   AddressTable table;
   Listener listener;
   auto const toldOf = [&](Bytes const& message) {
      static_cast<void>(table.apply(Datagram(message)));
      table.tell(listener);
      return listener.heard();
   };
   Bytes const outside = link({.index = 2, .name = "port0"});
   Bytes const inside = link({.index = 2, .name = "port0", .master = 9});
   EXPECT_EQ(toldOf(inside), Lines{"port0"});
   EXPECT_EQ(toldOf(ip4(2, "10.0.0.1/24")), Lines{"port0 10.0.0.1/24"});
   EXPECT_EQ(toldOf(link({.index = 9, .name = "red", .kind = "vrf"})),
             (Lines{"port0 in red 10.0.0.1/24", "red in red"}));
   EXPECT_EQ(toldOf(outside), Lines{"port0 10.0.0.1/24"});
   EXPECT_EQ(toldOf(inside), Lines{"port0 in red 10.0.0.1/24"});
   EXPECT_EQ(toldOf(linkGone(9)), (Lines{"no red", "port0 10.0.0.1/24"}));
}

TEST(Interfaces, FollowsAnInterfaceIntoItsVrfAndOut) {
   OtherNetwork::run([] {
      makeInterface("port0");
      ASSERT_TRUE(OtherNetwork::ip("address add 10.0.0.1/24 dev port0"));
      if (!OtherNetwork::tryIp("link add red type vrf table 10")) return followsMessagesOfAVrf();
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

}  // namespace
}  // namespace Netlink
