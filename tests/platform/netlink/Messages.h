#pragma once

#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"
#include "platform/netlink/Message.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

namespace Netlink {

/// Messages as a kernel sends them.
using Bytes = std::vector<std::byte>;

struct LinkWords {
   std::uint32_t index = 0;
   std::string name = {};
   std::string kind = {};
   std::uint32_t master = 0;
   bool up = true;
   std::uint8_t family = AF_UNSPEC;
   bool wireless = false;
};

/// Room for a message, and what it begins with.
class Message {
 public:
   explicit Message(std::uint16_t type, std::uint32_t sequence = 0, std::uint32_t port = 0)
       : bytes_(512) {
      header_ = mnl_nlmsg_put_header(bytes_.data());
      header_->nlmsg_type = type;
      header_->nlmsg_seq = sequence;
      header_->nlmsg_pid = port;
   }
   nlmsghdr* header() { return header_; }
   template <class Fixed>
   Fixed& fixed() {
      return *static_cast<Fixed*>(mnl_nlmsg_put_extra_header(header_, sizeof(Fixed)));
   }
   Bytes bytes() {
      return {bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(header_->nlmsg_len)};
   }

 private:
   Bytes bytes_;
   nlmsghdr* header_ = nullptr;
};

inline Bytes link(LinkWords const& words) {
   Message message(RTM_NEWLINK);
   auto& fixed = message.fixed<ifinfomsg>();
   fixed.ifi_family = words.family;
   fixed.ifi_index = static_cast<int>(words.index);
   fixed.ifi_flags = words.up ? IFF_UP : 0;
   mnl_attr_put_strz(message.header(), IFLA_IFNAME, words.name.c_str());
   mnl_attr_put_u32(message.header(), IFLA_MTU, 1500);
   if (words.master != 0) mnl_attr_put_u32(message.header(), IFLA_MASTER, words.master);
   if (!words.kind.empty()) {
      nlattr* const info = mnl_attr_nest_start(message.header(), IFLA_LINKINFO);
      mnl_attr_put_strz(message.header(), IFLA_INFO_KIND, words.kind.c_str());
      mnl_attr_nest_end(message.header(), info);
   }
   if (words.wireless) mnl_attr_put_u32(message.header(), IFLA_WIRELESS, 1);
   return message.bytes();
}

inline Bytes linkGone(std::uint32_t index, std::uint8_t family = AF_UNSPEC) {
   Message message(RTM_DELLINK);
   auto& fixed = message.fixed<ifinfomsg>();
   fixed.ifi_family = family;
   fixed.ifi_index = static_cast<int>(index);
   return message.bytes();
}

inline void putAddress(nlmsghdr* header, std::uint16_t type, Pkt::IpAddr address) {
   std::uint32_t const value = address.value();
   std::uint8_t const bytes[] = {
       static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
       static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
   mnl_attr_put(header, type, sizeof bytes, bytes);
}

/// Of an IPv4 address. `peer` is empty where there is no other end.
inline Bytes ip4Message(std::uint16_t type, std::uint32_t index, std::string_view text,
                        std::uint32_t flags, std::string_view peer, std::uint8_t scope) {
   auto const address = Pkt::IpAddrWithMask::fromText(text);
   Message message(type);
   auto& fixed = message.fixed<ifaddrmsg>();
   fixed.ifa_family = AF_INET;
   fixed.ifa_prefixlen = static_cast<std::uint8_t>(address.length());
   fixed.ifa_flags = static_cast<std::uint8_t>(flags);
   fixed.ifa_scope = scope;
   fixed.ifa_index = index;
   putAddress(message.header(), IFA_ADDRESS,
              peer.empty() ? address.addr() : Pkt::IpAddr::fromText(peer));
   putAddress(message.header(), IFA_LOCAL, address.addr());
   mnl_attr_put_u32(message.header(), IFA_FLAGS, flags);
   return message.bytes();
}
inline Bytes ip4(std::uint32_t index, std::string_view text, std::uint32_t flags = 0,
                 std::string_view peer = {}, std::uint8_t scope = RT_SCOPE_UNIVERSE) {
   return ip4Message(RTM_NEWADDR, index, text, flags, peer, scope);
}
inline Bytes ip4Gone(std::uint32_t index, std::string_view text, std::string_view peer = {}) {
   return ip4Message(RTM_DELADDR, index, text, 0, peer, RT_SCOPE_UNIVERSE);
}

inline Bytes ip6Message(std::uint16_t type, std::uint32_t index, std::string_view text,
                        std::uint32_t flags) {
   auto const address = Pkt::Ip6AddrWithMask::fromText(text);
   Message message(type);
   auto& fixed = message.fixed<ifaddrmsg>();
   fixed.ifa_family = AF_INET6;
   fixed.ifa_prefixlen = static_cast<std::uint8_t>(address.length());
   fixed.ifa_index = index;
   // As the kernel does: this one alone, unless there is another end.
   mnl_attr_put(message.header(), IFA_ADDRESS, 16, address.addr().bytes().data());
   mnl_attr_put_u32(message.header(), IFA_FLAGS, flags);
   return message.bytes();
}
inline Bytes ip6(std::uint32_t index, std::string_view text, std::uint32_t flags = 0) {
   return ip6Message(RTM_NEWADDR, index, text, flags);
}
inline Bytes ip6Gone(std::uint32_t index, std::string_view text) {
   return ip6Message(RTM_DELADDR, index, text, 0);
}

/// The end of a list, or an error: `error` is the system's number, 0 for none.
inline Bytes ending(std::uint16_t type, int error = 0) {
   Message message(type);
   message.fixed<int>() = -error;
   return message.bytes();
}

/// Several messages in one datagram.
inline Bytes together(std::vector<Bytes> const& messages) {
   Bytes all;
   for (auto const& message : messages) {
      all.insert(all.end(), message.begin(), message.end());
      all.resize(MNL_ALIGN(all.size()));
   }
   return all;
}

inline nlmsghdr* headerOf(Bytes& bytes) { return reinterpret_cast<nlmsghdr*>(bytes.data()); }

}  // namespace Netlink
