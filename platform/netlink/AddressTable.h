#pragma once

#include "pkt/IntfId.h"
#include "platform/netlink/InterfaceState.h"
#include "platform/netlink/Message.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>

namespace Netlink {

class InterfaceObserver;

/// The links and addresses of a host as its kernel's messages leave them, and what of them was
/// told. Messages change the table, `tell` passes on how it differs from what was told before; so a
/// burst of messages costs the observer one call an interface, and a table that was filled anew
/// only the differences.
///
/// What is told:
///  - Every link with a name, whether up or down: addresses are configured, and an interface that
///  is
///    down keeps its IPv4 ones.
///  - The VRF is the link's direct master, when that is a VRF device; of a VRF device itself its
///    own, as its addresses are that VRF's. All else is in the default VRF: so the kernel looks
///    addresses up. The port of a bridge is no member of the VRF that the bridge is in; nobody
///    should give it an address. While the master's own message is still to come the VRF is the
///    default one. A VRF device with the name of the default VRF cannot be told from it.
///  - The primary address is the first one, in the kernel's order, that is not flagged secondary.
///  In
///    the kernel each subnet has one that is not; those of further subnets are secondary here.
///  - IPv6 addresses once they are usable. Deprecated, temporary and link-local ones are among
///  them.
///
/// The kernel's order: addresses that are not flagged first, those of narrower scope ahead, then in
/// order of arrival; flagged ones behind, in order of arrival. The table keeps it by the same rule,
/// so that changes followed one by one and a fresh list agree on which address is primary.
///
/// Owner: `Interfaces`, or a test.
/// I1: a name belongs to one link at most; the last one to claim it has it.
/// I2: what was told differs from the table only for links in `changed_` and names in `released_`.
/// I3: a link of which only addresses are known yet has no name and is not told.
/// Re-entrancy: `tell` may be called, and the table changed, out of the observer.
/// Cost: O(log n) a message, but O(links) when a VRF device changes; telling is O(k log k) for each
///   changed interface with k addresses. About 100 bytes an address, held twice.
class AddressTable {
 public:
   AddressTable() = default;
   AddressTable(AddressTable const&) = delete;
   AddressTable& operator=(AddressTable const&) = delete;

   /// Applies one message. One that says nothing on links and addresses, or is malformed, changes
   /// nothing; the latter is counted.
   void apply(nlmsghdr const& message);
   /// Applies the messages of a datagram. False when messages were lost: it ends amid one, or says
   /// so itself.
   bool apply(Datagram datagram);

   /// Forgets everything but what was told.
   void clear();
   /// Forgets the addresses of a family.
   void clearIp4();
   void clearIp6();

   /// Tells how the table differs from what was told last: what is gone, then what is, by index.
   void tell(InterfaceObserver& observer);

   /// Whether an interface of the name is there and administratively up.
   bool isUp(Pkt::IntfId const& name) const;
   /// How often a message took an IPv4 address from its place: it went, or was promoted. Where the
   /// message is older than what it is applied to, the order may come out wrong.
   std::uint64_t moves() const noexcept { return moves_; }
   /// How many messages were malformed.
   std::uint64_t malformed() const noexcept { return malformed_; }

 private:
   struct Link {
      Pkt::IntfId name;
      LinkIndex master = 0;
      bool isVrf = false;
      bool up = false;
      friend bool operator==(Link const&, Link const&) = default;
   };
   /// What makes an address the same one for the kernel.
   struct Ip4Key {
      Pkt::IpAddrWithMask address;
      Pkt::IpAddr peer;
      friend auto operator<=>(Ip4Key const&, Ip4Key const&) = default;
   };
   /// Its place: in the kernel's order.
   struct Ip4Place {
      bool secondary = false;
      /// 0 among the secondary ones.
      std::uint8_t wideness = 0;
      std::uint64_t arrival = 0;
      friend auto operator<=>(Ip4Place const&, Ip4Place const&) = default;
   };
   struct Ip6Entry {
      std::uint32_t length = 0;
      bool usable = false;
      friend bool operator==(Ip6Entry const&, Ip6Entry const&) = default;
   };
   struct Row {
      std::optional<Link> link;
      std::map<Ip4Key, Ip4Place> ip4;
      std::map<Pkt::Ip6Addr, Ip6Entry> ip6;
   };

   void change(std::monostate) {}
   void change(LinkFact const& fact);
   void change(Ip4Fact const& fact);
   void change(Ip6Fact const& fact);

   void linkIs(LinkFact const& fact);
   void linkDel(LinkIndex index);
   void claim(Pkt::IntfId const& name, LinkIndex index);
   void release(Pkt::IntfId const& name);
   void membersChanged(LinkIndex vrf);

   void tellGone(InterfaceObserver& observer);
   void tellChanged(InterfaceObserver& observer);
   InterfaceState stateOf(Row const& row) const;
   L3::VrfName vrfOf(Link const& link) const;

   std::map<LinkIndex, Row> rows_;
   std::map<Pkt::IntfId, LinkIndex> byName_;
   std::map<Pkt::IntfId, InterfaceState> told_;
   std::set<LinkIndex> changed_;
   std::set<Pkt::IntfId> released_;
   std::uint64_t arrivals_ = 0;
   std::uint64_t moves_ = 0;
   std::uint64_t malformed_ = 0;
};

}  // namespace Netlink
