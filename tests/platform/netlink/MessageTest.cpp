#include "platform/netlink/Message.h"

#include "platform/netlink/AddressTable.h"
#include "platform/netlink/Listener.h"
#include "platform/netlink/Messages.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace Netlink {
namespace {

std::optional<Fact> read(Bytes bytes) { return readFact(*headerOf(bytes)); }

/// A message with one attribute more.
template <class Fixed>
Bytes with(std::uint16_t type, std::uint16_t attribute, std::size_t size, Fixed const& fixed) {
   Message message(type);
   message.fixed<Fixed>() = fixed;
   Bytes const zeros(size);
   mnl_attr_put(message.header(), attribute, size, zeros.data());
   return message.bytes();
}

ifinfomsg someLink() {
   ifinfomsg fixed{};
   fixed.ifi_index = 2;
   return fixed;
}
ifaddrmsg someAddress(std::uint8_t family, std::uint8_t length) {
   ifaddrmsg fixed{};
   fixed.ifa_family = family;
   fixed.ifa_prefixlen = length;
   fixed.ifa_index = 2;
   return fixed;
}

TEST(NetlinkMessage, SaysNothingWhenItIsOfAnotherKind) {
   auto const fact = read(ending(RTM_NEWROUTE));
   ASSERT_TRUE(fact);
   EXPECT_TRUE(std::holds_alternative<std::monostate>(*fact));
   EXPECT_TRUE(read(with(RTM_NEWADDR, IFA_LOCAL, 4, someAddress(AF_BRIDGE, 24))));
}

TEST(NetlinkMessage, IsMalformedWithoutItsFixedPart) {
   for (std::uint16_t const type : {RTM_NEWLINK, RTM_DELLINK, RTM_NEWADDR, RTM_DELADDR}) {
      EXPECT_FALSE(read(Message(type).bytes())) << type;
   }
}

TEST(NetlinkMessage, OfALinkNeedsANameAndANumber) {
   EXPECT_FALSE(read(with(RTM_NEWLINK, IFLA_MTU, 4, someLink())));
   EXPECT_FALSE(read(with(RTM_NEWLINK, IFLA_IFNAME, 1, someLink())));
   EXPECT_FALSE(read(link({.index = 0, .name = "eth0"})));
   EXPECT_FALSE(read(link({.index = 0x80000000, .name = "eth0"})));
   EXPECT_FALSE(read(linkGone(0)));
}

TEST(NetlinkMessage, IsMalformedWithAnAttributeOfTheWrongLength) {
   EXPECT_FALSE(read(with(RTM_NEWLINK, IFLA_IFNAME, 0, someLink())));
   for (std::size_t const size : {0U, 3U, 5U, 8U, 17U}) {
      EXPECT_FALSE(read(with(RTM_NEWADDR, IFA_LOCAL, size, someAddress(AF_INET, 24)))) << size;
      EXPECT_FALSE(read(with(RTM_DELADDR, IFA_ADDRESS, size, someAddress(AF_INET6, 64)))) << size;
   }
   auto message = Message(RTM_NEWLINK);
   message.fixed<ifinfomsg>() = someLink();
   mnl_attr_put_strz(message.header(), IFLA_IFNAME, "eth0");
   mnl_attr_put_u16(message.header(), IFLA_MASTER, 9);
   EXPECT_FALSE(read(message.bytes()));
}

TEST(NetlinkMessage, OfALinkNeedsTheEndOfItsName) {
   auto message = Message(RTM_NEWLINK);
   message.fixed<ifinfomsg>() = someLink();
   mnl_attr_put_str(message.header(), IFLA_IFNAME, "eth0");
   EXPECT_FALSE(read(message.bytes()));
}

TEST(NetlinkMessage, OfALinkMayHaveNoKindInItsDescription) {
   auto message = Message(RTM_NEWLINK);
   message.fixed<ifinfomsg>() = someLink();
   mnl_attr_put_strz(message.header(), IFLA_IFNAME, "eth0");
   mnl_attr_put(message.header(), IFLA_LINKINFO, 0, nullptr);
   EXPECT_TRUE(read(message.bytes()));
   auto bad = Message(RTM_NEWLINK);
   bad.fixed<ifinfomsg>() = someLink();
   mnl_attr_put_strz(bad.header(), IFLA_IFNAME, "eth0");
   mnl_attr_put(bad.header(), IFLA_LINKINFO, 2, "xx");
   EXPECT_FALSE(read(bad.bytes()));
}

TEST(NetlinkMessage, OfAnAddressNeedsOneThatFitsItsLength) {
   EXPECT_FALSE(read(with(RTM_NEWADDR, IFA_LABEL, 4, someAddress(AF_INET, 24))));
   EXPECT_FALSE(read(with(RTM_NEWADDR, IFA_LOCAL, 4, someAddress(AF_INET, 24))));  // zero
   auto bytes = ip4(2, "10.0.0.1/24");
   EXPECT_TRUE(read(bytes));
   static_cast<ifaddrmsg*>(mnl_nlmsg_get_payload(headerOf(bytes)))->ifa_prefixlen = 33;
   EXPECT_FALSE(read(bytes));
   bytes = ip6(2, "2001:db8::1/64");
   EXPECT_TRUE(read(bytes));
   static_cast<ifaddrmsg*>(mnl_nlmsg_get_payload(headerOf(bytes)))->ifa_prefixlen = 129;
   EXPECT_FALSE(read(bytes));
   EXPECT_FALSE(read(ip4(0, "10.0.0.1/24")));
}

TEST(NetlinkMessage, TheOwnAddressMayStandInEitherPlace) {
   for (std::uint16_t const place : {IFA_LOCAL, IFA_ADDRESS}) {
      auto message = Message(RTM_NEWADDR);
      message.fixed<ifaddrmsg>() = someAddress(AF_INET, 24);
      putAddress(message.header(), place, Pkt::IpAddr(0x0a000001));
      auto const fact = read(message.bytes());
      ASSERT_TRUE(fact);
      auto const& address = std::get<Ip4Fact>(*fact);
      EXPECT_EQ(address.address.stringValue(), "10.0.0.1/24");
      EXPECT_EQ(address.peer, address.address.addr());
   }
}

TEST(NetlinkMessage, FlagsThatTheFixedPartHasNoRoomForCount) {
   // Old kernels say them in the fixed part only.
   auto message = Message(RTM_NEWADDR);
   auto fixed = someAddress(AF_INET, 24);
   fixed.ifa_flags = IFA_F_SECONDARY;
   message.fixed<ifaddrmsg>() = fixed;
   putAddress(message.header(), IFA_LOCAL, Pkt::IpAddr(0x0a000001));
   EXPECT_TRUE(std::get<Ip4Fact>(*read(message.bytes())).secondary);
   mnl_attr_put_u32(message.header(), IFA_FLAGS, IFA_F_NOPREFIXROUTE);
   EXPECT_FALSE(std::get<Ip4Fact>(*read(message.bytes())).secondary);
}

TEST(NetlinkMessage, AnErrorsNumberIsRead) {
   auto bytes = ending(NLMSG_ERROR, EPERM);
   EXPECT_EQ(errorOf(*headerOf(bytes)), EPERM);
   bytes = ending(NLMSG_DONE);
   EXPECT_EQ(errorOf(*headerOf(bytes)), 0);
   bytes = Message(NLMSG_DONE).bytes();
   EXPECT_EQ(errorOf(*headerOf(bytes)), 0);
   bytes = ending(NLMSG_ERROR, -5);
   EXPECT_EQ(errorOf(*headerOf(bytes)), 0);
   bytes = ending(NLMSG_ERROR, 0x7fffffff);
   EXPECT_EQ(errorOf(*headerOf(bytes)), 0);
}

// ---- datagrams ----------------------------------------------------------------------------------

std::size_t messagesIn(Datagram datagram, bool damaged) {
   MessageWalk walk(datagram);
   std::size_t count = 0;
   while (walk.next() != nullptr) ++count;
   EXPECT_EQ(walk.damaged(), damaged);
   EXPECT_EQ(walk.next(), nullptr);
   return count;
}

TEST(NetlinkMessageWalk, FindsEachMessage) {
   EXPECT_EQ(messagesIn({}, false), 0u);
   auto const bytes = together({linkGone(2), ip4(2, "10.0.0.1/24"), linkGone(3)});
   EXPECT_EQ(messagesIn(bytes, false), 3u);
}

TEST(NetlinkMessageWalk, TheLastMessageMayLackItsPadding) {
   Bytes bytes(sizeof(nlmsghdr) + 3);
   mnl_nlmsg_put_header(bytes.data())->nlmsg_len = static_cast<std::uint32_t>(bytes.size());
   EXPECT_EQ(messagesIn(bytes, false), 1u);
}

TEST(NetlinkMessageWalk, StopsBeforeAMessageThatIsCutShort) {
   auto const bytes = together({linkGone(2), linkGone(3)});
   auto const one = linkGone(2).size();
   for (std::size_t size = 1; size < bytes.size(); ++size) {
      Bytes const cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_EQ(messagesIn(cut, size != one), size >= one ? 1u : 0u) << size;
   }
}

TEST(NetlinkMessageWalk, StopsAtALengthThatCannotBe) {
   for (std::uint32_t const length : {0U, 15U, 1000U, 0x7fffffffU, 0x80000010U, 0xffffffffU}) {
      auto bytes = linkGone(2);
      headerOf(bytes)->nlmsg_len = length;
      EXPECT_EQ(messagesIn(bytes, true), 0u) << length;
   }
}

// ---- whatever comes -----------------------------------------------------------------------------

std::vector<Bytes> examples() {
   return {link({.index = 2, .name = "red", .kind = "vrf"}),
           link({.index = 3, .name = "eth0", .master = 2}),
           ip4(3, "10.0.0.1/24"),
           ip4(3, "10.0.0.2/32", IFA_F_SECONDARY, "10.9.9.9"),
           ip6(3, "2001:db8::1/64", IFA_F_TENTATIVE),
           ip6Gone(3, "2001:db8::1/64"),
           ip4Gone(3, "10.0.0.1/24"),
           linkGone(3)};
}

TEST(NetlinkMessage, EveryTruncationIsReadOrRefused) {
   for (auto const& example : examples()) {
      for (std::size_t size = sizeof(nlmsghdr); size < example.size(); ++size) {
         // Of exactly this size, for a sanitizer to see what is read beyond it.
         Bytes cut(example.begin(), example.begin() + static_cast<std::ptrdiff_t>(size));
         headerOf(cut)->nlmsg_len = static_cast<std::uint32_t>(size);
         readFact(*headerOf(cut));
      }
   }
}

TEST(NetlinkMessage, EveryByteMayBeAnyOther) {
   AddressTable table;
   Listener listener;
   std::mt19937 random(1);
   auto const all = examples();
   for (std::uint32_t round = Support::shareOf(100'000); round != 0; --round) {
      auto bytes = all[random() % all.size()];
      for (std::uint32_t i = random() % 4; i != 0; --i) {
         bytes[random() % bytes.size()] = static_cast<std::byte>(random());
      }
      static_cast<void>(table.apply(Datagram(bytes)));
      if (round % 64 == 0) table.tell(listener);
      if (round % 1024 == 0) listener.heard();
   }
   EXPECT_GT(table.malformed(), 0u);
}

TEST(NetlinkMessage, NoiseIsRefused) {
   AddressTable table;
   std::mt19937 random(2);
   for (std::uint32_t round = Support::shareOf(50'000); round != 0; --round) {
      Bytes bytes(random() % 96);
      std::ranges::generate(bytes, [&] { return static_cast<std::byte>(random()); });
      if (bytes.size() >= sizeof(nlmsghdr) && random() % 4 != 0) {
         headerOf(bytes)->nlmsg_len = static_cast<std::uint32_t>(bytes.size());
         headerOf(bytes)->nlmsg_type = static_cast<std::uint16_t>(RTM_BASE + random() % 8);
      }
      static_cast<void>(table.apply(Datagram(bytes)));
   }
}

TEST(NetlinkMessage, AnAnnouncementOfALossIsOne) {
   AddressTable table;
   EXPECT_TRUE(table.apply(Datagram(ending(NLMSG_NOOP))));
   EXPECT_FALSE(table.apply(Datagram(ending(NLMSG_OVERRUN))));
   Bytes cut = linkGone(2);
   cut.pop_back();
   EXPECT_FALSE(table.apply(Datagram(cut)));
}

}  // namespace
}  // namespace Netlink
