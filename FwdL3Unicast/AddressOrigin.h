#pragma once

#include "pkt/IntfId.h"
#include "pkt/IpGenPrefix.h"

#include <cstdint>

namespace Fwd {

/// What an address is to its interface.
enum class AddressRole : std::uint8_t {
   primary,
   secondary,
   virtualIp,
   ip6,
   /// Reported without saying why; see `handleIpIntfStatusChange`.
   unnamed,
};

/// Why a group holds a key that comes from an interface: which address, in which role, of which
/// interface. One key may have several origins (an address that is primary and virtual, or stands
/// on two interfaces, or with two masks), and is held while it has one.
struct AddressOrigin {
   Pkt::IntfId intfId;
   AddressRole role = AddressRole::unnamed;
   /// The address with the mask that it has on the interface. Primary and virtual addresses are
   /// told apart by their address alone and carry the host length: an interface has one of each.
   Pkt::IpGenPrefix address;

   /// What is decapsulated: the address alone, or a prefix that was reported without saying why.
   Pkt::IpGenPrefix destination() const noexcept {
      if (role == AddressRole::unnamed) return address;
      return address.isIpv4() ? Pkt::IpGenPrefix(address.ipAddr())
                              : Pkt::IpGenPrefix(address.ip6Addr());
   }

   friend bool operator==(AddressOrigin const&, AddressOrigin const&) = default;
};

}  // namespace Fwd
