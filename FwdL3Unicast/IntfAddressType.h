#pragma once

#include "FwdL3Unicast/Export.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "pkt/IntfId.h"
#include "tunnel/decap/AddressType.h"
#include "tunnel/decap/TunnelType.h"

namespace Fwd {

/// What a group last applied of one of its IPv4 decap interface entries.
///
/// Owner: the group reactor's `intfAddressType`. The all-interfaces entry is recorded under the
/// empty interface id.
class FWD_EXPORT IntfAddressType final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Fwd::IntfAddressType";

   explicit IntfAddressType(Pkt::IntfId intfId);

   Pkt::IntfId const& intfId() const noexcept { return intfId_; }

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_SCALAR(Tunnel::Decap::AddressType, addrType, 258);
   /// The group's tunnel type at that time.
   MDL_SCALAR(Tunnel::Decap::TunnelType, tunnelType, 259);

 private:
   ~IntfAddressType() override;

   Pkt::IntfId const intfId_;
};

}  // namespace Fwd
