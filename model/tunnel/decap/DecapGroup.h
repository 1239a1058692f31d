#pragma once

#include "l3/VrfName.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/DecapExcludeIntfSet.h"
#include "tunnel/decap/DecapIntf.h"
#include "tunnel/decap/DecapIntfKey.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <cstdint>

namespace Tunnel::Decap {

/// One configured decap group: which destinations are decapsulated, and what the hardware entries
/// for them carry.
///
/// Owner: the configuration that lists it. Written by the agent, read by the state machine.
class MDL_EXPORT DecapGroup final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Tunnel::Decap::DecapGroup";

   explicit DecapGroup(Mdl::String name);

   /// The group's name: its key in the configuration. Never changes.
   Mdl::String const& name() const noexcept { return name_; }

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   /// Destination prefixes to decapsulate.
   MDL_SET(Pkt::IpGenPrefix, decapIp, 258);
   /// Interfaces whose addresses are decapsulated, per address family; the empty interface id
   /// stands for all interfaces of the family.
   MDL_KEYED_VALUES(DecapIntfKey, DecapIntf, key, decapIntf, 259);
   /// Interfaces left out of an all-interfaces entry.
   MDL_KEYED_VALUES(DecapIntfKey, DecapExcludeIntfSet, key, decapExcludeIntfSet, 260);
   MDL_SCALAR(TunnelType, tunnelType, 261);
   /// UDP destination port (RFC 768); 0 while not set.
   MDL_SCALAR(std::uint16_t, destPort, 262);
   MDL_SCALAR(PayloadType, payloadType, 263);
   /// The VRF into which decapsulated packets are forwarded.
   MDL_SCALAR(L3::VrfName, forwardingVrf, 264);

 private:
   ~DecapGroup() override;

   Mdl::String const name_;
};

}  // namespace Tunnel::Decap
