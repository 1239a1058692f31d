#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/Export.h"
#include "l3/VrfName.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6Addr.h"
#include "tunnel/decap/DecapGroup.h"

#include <cstdint>

namespace Fwd {

/// Which interface addresses a decap group admits. The one place that decides it.
///
/// For an interface and a family the entry that names the interface decides alone when there is
/// one; otherwise the all-interfaces entry does, for interfaces outside its exclude set; otherwise
/// nothing is admitted. The address type of the deciding entry says which roles count: the primary
/// address always, secondary and virtual ones when it is not "primary only"; IPv6 addresses have
/// one role. Management and internal interfaces, and interfaces outside the default VRF, are never
/// admitted.
///
/// Owner: the stack. Looks at the group's configuration each time it is asked.
class FWD_EXPORT Admission {
 public:
   explicit Admission(Tunnel::Decap::DecapGroup const& group) noexcept : group_(group) {}

   /// Whether something is admitted, and if not, what is in its way.
   enum class Verdict : std::uint8_t {
      admitted,
      management,  ///< a management interface
      internal,    ///< an internal interface
      otherVrf,    ///< the interface is outside the default VRF
      noEntry,     ///< no entry names the interface or all of its family
      excluded,    ///< only the all-interfaces entry would, and the interface is in its exclude set
      addressType,  ///< the deciding entry is for other roles
   };

   /// Whether an interface takes part in decapsulation at all: for any group, with any address.
   static Verdict ofInterface(Pkt::IntfId const& intfId, L3::VrfName const& vrf) noexcept;
   static bool takesPart(Pkt::IntfId const& intfId, L3::VrfName const& vrf) noexcept {
      return ofInterface(intfId, vrf) == Verdict::admitted;
   }
   /// The same without the VRF: neither a management nor an internal interface.
   static bool isFrontPanel(Pkt::IntfId const& intfId) noexcept;

   /// Whether the all-interfaces entry of its family leaves the interface out.
   bool excludes(Tunnel::Decap::DecapIntfKey const& intf) const;
   /// Whether the all-interfaces entry of its family, if there is one, decides for the interface.
   bool isLeftToAll(Tunnel::Decap::DecapIntfKey const& intf) const {
      return !group_.decapIntfHas(intf) && !excludes(intf);
   }

   /// Whether the group uses the interface for a family, in whatever role.
   bool uses(Pkt::IntfId const& intfId, std::uint32_t family) const;

   /// Whether the group admits the addresses of a role of the interface. The interface takes part.
   Verdict ofRole(Pkt::IntfId const& intfId, AddressRole role) const;
   bool admits(Pkt::IntfId const& intfId, AddressRole role) const {
      return ofRole(intfId, role) == Verdict::admitted;
   }

 private:
   Tunnel::Decap::DecapIntf const* decidingEntry(Pkt::IntfId const& intfId,
                                                 std::uint32_t family) const;
   Verdict withoutEntry(Pkt::IntfId const& intfId, std::uint32_t family) const;

   Tunnel::Decap::DecapGroup const& group_;
};

}  // namespace Fwd
