#pragma once

#include "l3/VrfName.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"

#include <vector>

namespace Netlink {

/// What a host's kernel says about one interface and its addresses, as far as it is told.
struct InterfaceState {
   /// The kernel's name, unchanged.
   Pkt::IntfId name;
   L3::VrfName vrf = L3::VrfName::defaultVrf();
   /// The zero address for none.
   Pkt::IpAddrWithMask primary;
   /// In the kernel's order, each once.
   std::vector<Pkt::IpAddrWithMask> secondary;
   /// Those in use, in ascending order: the kernel keeps its newest first, which says nothing.
   std::vector<Pkt::Ip6AddrWithMask> ipv6;

   friend bool operator==(InterfaceState const&, InterfaceState const&) = default;
};

}  // namespace Netlink
