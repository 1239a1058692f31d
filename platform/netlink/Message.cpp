#include "platform/netlink/Message.h"

#include <algorithm>
#include <cstring>

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

namespace Netlink {

namespace {

/// Visits the attributes in `size` bytes, and stops where one is cut short: the bytes that may
/// follow the last attribute are padding.
template <class Visit>
void forEachAttribute(void const* begin, std::size_t size, Visit visit) {
   auto const* const end = static_cast<char const*>(begin) + size;
   auto const* attribute = static_cast<nlattr const*>(begin);
   auto const left = [&] {
      return static_cast<int>(end - reinterpret_cast<char const*>(attribute));
   };
   while (mnl_attr_ok(attribute, left())) {
      visit(*attribute);
      attribute = mnl_attr_next(attribute);
   }
}

/// The attributes of a message of which a fixed part comes first.
template <class Fixed, class Visit>
void forEachAttributeBehind(nlmsghdr const& message, Visit visit) {
   std::size_t const fixed = MNL_ALIGN(sizeof(Fixed));
   std::size_t const size = mnl_nlmsg_get_payload_len(&message);
   if (size < fixed) return;
   forEachAttribute(mnl_nlmsg_get_payload_offset(&message, fixed), size - fixed, visit);
}

template <class Fixed>
Fixed const* fixedPart(nlmsghdr const& message) {
   if (mnl_nlmsg_get_payload_len(&message) < sizeof(Fixed)) return nullptr;
   return static_cast<Fixed const*>(mnl_nlmsg_get_payload(&message));
}

/// Each `get` stores the attribute's value, or says that it is none of its type.
bool get(nlattr const& attribute, std::string_view& text) {
   if (mnl_attr_validate(&attribute, MNL_TYPE_NUL_STRING) < 0) return false;
   text = mnl_attr_get_str(&attribute);
   return true;
}

bool get(nlattr const& attribute, std::uint32_t& number) {
   if (mnl_attr_validate(&attribute, MNL_TYPE_U32) < 0) return false;
   number = mnl_attr_get_u32(&attribute);
   return true;
}

bool get(nlattr const& attribute, std::optional<Pkt::IpAddr>& address) {
   if (mnl_attr_validate2(&attribute, MNL_TYPE_BINARY, 4) < 0) return false;
   auto const* const bytes = static_cast<std::uint8_t const*>(mnl_attr_get_payload(&attribute));
   std::uint32_t value = 0;
   for (int i = 0; i < 4; ++i) value = value << 8 | bytes[i];
   address = Pkt::IpAddr(value);
   return true;
}

bool get(nlattr const& attribute, std::optional<Pkt::Ip6Addr>& address) {
   if (mnl_attr_validate2(&attribute, MNL_TYPE_BINARY, 16) < 0) return false;
   Pkt::Ip6Addr::Bytes bytes;
   std::memcpy(bytes.data(), mnl_attr_get_payload(&attribute), bytes.size());
   address = Pkt::Ip6Addr(bytes);
   return true;
}

/// The kind of device inside the attribute that describes a virtual one.
bool getKind(nlattr const& info, std::string_view& kind) {
   if (mnl_attr_validate(&info, MNL_TYPE_NESTED) < 0) return false;
   bool sound = true;
   forEachAttribute(mnl_attr_get_payload(&info), mnl_attr_get_payload_len(&info),
                    [&](nlattr const& attribute) {
                       if (mnl_attr_get_type(&attribute) == IFLA_INFO_KIND) {
                          sound = get(attribute, kind) && sound;
                       }
                    });
   return sound;
}

std::optional<Fact> readLink(nlmsghdr const& message) {
   auto const* const fixed = fixedPart<ifinfomsg>(message);
   if (fixed == nullptr) return std::nullopt;
   // A bridge tells in its own name what becomes of its ports: that a port left it is "link
   // deleted", too.
   if (fixed->ifi_family != AF_UNSPEC) return Fact();
   if (fixed->ifi_index <= 0) return std::nullopt;

   LinkFact link;
   link.index = static_cast<LinkIndex>(fixed->ifi_index);
   link.gone = message.nlmsg_type == RTM_DELLINK;
   link.up = (fixed->ifi_flags & IFF_UP) != 0;
   bool sound = true;
   bool partial = false;
   forEachAttributeBehind<ifinfomsg>(message, [&](nlattr const& attribute) {
      switch (mnl_attr_get_type(&attribute)) {
         case IFLA_IFNAME: sound = get(attribute, link.name) && sound; break;
         case IFLA_MASTER: sound = get(attribute, link.master) && sound; break;
         case IFLA_LINKINFO: sound = getKind(attribute, link.kind) && sound; break;
         // Comes with a radio's own news, in a message that has neither master nor kind.
         case IFLA_WIRELESS: partial = true; break;
         default: break;
      }
   });
   if (link.gone) return Fact(link);
   if (!sound || link.name.empty()) return std::nullopt;
   return partial ? Fact() : Fact(link);
}

/// What messages of both families have in common.
template <class Addr>
struct AddressParts {
   std::optional<Addr> local;
   std::optional<Addr> other;
   std::uint32_t flags = 0;

   explicit AddressParts(nlmsghdr const& message, ifaddrmsg const& fixed) : flags(fixed.ifa_flags) {
      forEachAttributeBehind<ifaddrmsg>(message, [this](nlattr const& attribute) {
         switch (mnl_attr_get_type(&attribute)) {
            case IFA_LOCAL: sound_ = get(attribute, local) && sound_; break;
            case IFA_ADDRESS: sound_ = get(attribute, other) && sound_; break;
            // All of them; the fixed part has room for eight.
            case IFA_FLAGS: sound_ = get(attribute, flags) && sound_; break;
            default: break;
         }
      });
      // Where there is no other end, some messages have the own address in one place only.
      if (!local) local = other;
      if (!other) other = local;
      // What belongs to no address is no address: the model's zero says "none".
      sound_ = sound_ && local && !local->isZero() && fixed.ifa_prefixlen <= Addr::bits &&
               fixed.ifa_index != 0;
   }

   bool sound() const { return sound_; }

 private:
   bool sound_ = true;
};

std::optional<Fact> readIp4(nlmsghdr const& message, ifaddrmsg const& fixed) {
   AddressParts<Pkt::IpAddr> const parts(message, fixed);
   if (!parts.sound()) return std::nullopt;
   Ip4Fact fact;
   fact.index = fixed.ifa_index;
   fact.gone = message.nlmsg_type == RTM_DELADDR;
   fact.address = {*parts.local, fixed.ifa_prefixlen};
   fact.peer = *parts.other;
   fact.secondary = (parts.flags & IFA_F_SECONDARY) != 0;
   fact.scope = fixed.ifa_scope;
   return Fact(fact);
}

std::optional<Fact> readIp6(nlmsghdr const& message, ifaddrmsg const& fixed) {
   AddressParts<Pkt::Ip6Addr> const parts(message, fixed);
   if (!parts.sound()) return std::nullopt;
   Ip6Fact fact;
   fact.index = fixed.ifa_index;
   fact.gone = message.nlmsg_type == RTM_DELADDR;
   fact.address = {*parts.local, fixed.ifa_prefixlen};
   bool const undecided = (parts.flags & IFA_F_TENTATIVE) != 0;
   bool const optimistic = (parts.flags & IFA_F_OPTIMISTIC) != 0;
   bool const refused = (parts.flags & IFA_F_DADFAILED) != 0;
   fact.usable = !refused && (!undecided || optimistic);
   return Fact(fact);
}

std::optional<Fact> readAddress(nlmsghdr const& message) {
   auto const* const fixed = fixedPart<ifaddrmsg>(message);
   if (fixed == nullptr) return std::nullopt;
   switch (fixed->ifa_family) {
      case AF_INET: return readIp4(message, *fixed);
      case AF_INET6: return readIp6(message, *fixed);
      default: return Fact();
   }
}

}  // namespace

std::optional<Fact> readFact(nlmsghdr const& message) {
   switch (message.nlmsg_type) {
      case RTM_NEWLINK:
      case RTM_DELLINK: return readLink(message);
      case RTM_NEWADDR:
      case RTM_DELADDR: return readAddress(message);
      default: return Fact();
   }
}

int errorOf(nlmsghdr const& message) {
   // Both kinds of message begin with the number, negative.
   auto const* const number = fixedPart<int>(message);
   return number == nullptr || *number >= 0 || *number < -4095 ? 0 : -*number;
}

nlmsghdr const* MessageWalk::next() {
   if (rest_.empty() || damaged_) return nullptr;
   auto const* const message = reinterpret_cast<nlmsghdr const*>(rest_.data());
   if (rest_.size() < sizeof(nlmsghdr) || message->nlmsg_len < sizeof(nlmsghdr) ||
       message->nlmsg_len > rest_.size()) {
      damaged_ = true;
      return nullptr;
   }
   // The last one may come without its padding.
   std::size_t const length = MNL_ALIGN(std::size_t{message->nlmsg_len});
   rest_ = rest_.subspan(std::min(length, rest_.size()));
   return message;
}

}  // namespace Netlink
