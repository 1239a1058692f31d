#pragma once

#include "l3/VrfName.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "pkt/IntfId.h"
#include "pkt/IpAddrWithMask.h"

namespace Ip {

/// The IPv4 status of one interface (addresses as of RFC 791).
///
/// Owner: the `Status` that lists it. Written by the agent.
class MDL_EXPORT IpIntfStatus final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Ip::IpIntfStatus";

   explicit IpIntfStatus(Pkt::IntfId intfId, L3::VrfName vrf = {});

   /// The interface: its key in the status. Never changes.
   Pkt::IntfId const& intfId() const noexcept { return intfId_; }

   /// The VRF that the interface is in; the empty name when it has none. A change of it is not
   /// notified: an interface that moves is removed and appears again.
   L3::VrfName const& vrf() const noexcept { return vrf_; }
   void vrfIs(L3::VrfName vrf);

   /// The interface's virtual address: the primary one while it is flagged so, zero otherwise.
   Pkt::IpAddr virtualIp() const noexcept;

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   /// The primary address; zero when there is none.
   MDL_SCALAR(Pkt::IpAddrWithMask, addrWithMask, 259);
   /// The secondary addresses in use. `walkSorted()` gives them in ascending order.
   MDL_SET(Pkt::IpAddrWithMask, activeSecondaryWithMask, 260);
   /// Whether the primary address is a virtual one.
   MDL_SCALAR(bool, virtualAddr, 261);

 private:
   ~IpIntfStatus() override;

   Pkt::IntfId const intfId_;
   L3::VrfName vrf_;
};

}  // namespace Ip
