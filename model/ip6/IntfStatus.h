#pragma once

#include "ip6/AddressInfo.h"
#include "l3/VrfName.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6AddrWithMask.h"

namespace Ip6 {

/// The IPv6 status of one interface (addresses as of RFC 4291).
///
/// Owner: the `Status` that lists it. Written by the agent.
class MDL_EXPORT IntfStatus final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Ip6::IntfStatus";

   explicit IntfStatus(Pkt::IntfId intfId, L3::VrfName vrf = {});

   /// The interface: its key in the status. Never changes.
   Pkt::IntfId const& intfId() const noexcept { return intfId_; }

   /// The VRF that the interface is in; the empty name when it has none. A change of it is not
   /// notified: an interface that moves is removed and appears again.
   L3::VrfName const& vrf() const noexcept { return vrf_; }
   void vrfIs(L3::VrfName vrf);

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_MAP(Pkt::Ip6AddrWithMask, AddressInfo, addr, 260);

 private:
   ~IntfStatus() override;

   Pkt::IntfId const intfId_;
   L3::VrfName vrf_;
};

}  // namespace Ip6
