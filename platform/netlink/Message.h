#pragma once

#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddr.h"
#include "pkt/IpAddrWithMask.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

struct nlmsghdr;

namespace Netlink {

/// The number by which the kernel knows a link, never 0.
using LinkIndex = std::uint32_t;

/// The bytes of one datagram, which begin where a `nlmsghdr` may: on a multiple of four. Nothing
/// else is expected of them.
using Datagram = std::span<std::byte const>;

/// A link as a message tells of it. The texts point into the message; of one that is gone only the
/// index is known.
struct LinkFact {
   LinkIndex index = 0;
   bool gone = false;
   bool up = false;
   std::string_view name;
   /// What kind of virtual device it is, "vrf"; empty for hardware.
   std::string_view kind;
   /// The device it is enslaved to, 0 for none.
   LinkIndex master = 0;
};

/// An IPv4 address on a link.
struct Ip4Fact {
   LinkIndex index = 0;
   bool gone = false;
   /// The link's own address. On a point-to-point link the length is that of the other end's
   /// prefix.
   Pkt::IpAddrWithMask address;
   /// The other end; elsewhere the own address once more. The kernel tells addresses apart by it.
   Pkt::IpAddr peer;
   bool secondary = false;
   std::uint8_t scope = 0;
};

/// An IPv6 address on a link.
struct Ip6Fact {
   LinkIndex index = 0;
   bool gone = false;
   Pkt::Ip6AddrWithMask address;
   /// Whether packets to it are taken: not while the link is still asked whether somebody has it,
   /// unless the kernel is optimistic about that, and not once somebody has.
   bool usable = false;
};

/// What a message says. `monostate`: nothing about links' names, masters or addresses.
using Fact = std::variant<std::monostate, LinkFact, Ip4Fact, Ip6Fact>;

/// Reads a whole message. Nothing when it is malformed: an attribute that is needed is missing, too
/// short or too long.
std::optional<Fact> readFact(nlmsghdr const& message);

/// The error number in a message that reports the end of a dump or an error; 0 for none.
int errorOf(nlmsghdr const& message);

/// Walks the messages of a datagram and looks at no byte beyond it, whatever the messages say about
/// their lengths.
class MessageWalk {
 public:
   explicit MessageWalk(Datagram datagram) : rest_(datagram) {}

   /// The next message, whole; null after the last one, or where a message is cut short.
   nlmsghdr const* next();
   /// Whether the walk ended before the end of the datagram.
   bool damaged() const noexcept { return damaged_; }

 private:
   Datagram rest_;
   bool damaged_ = false;
};

}  // namespace Netlink
