#pragma once

#include "FwdL3Unicast/Export.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "pkt/IntfId.h"
#include "pkt/IpAddr.h"

namespace Fwd {

/// The IPv4 addresses of one interface as last seen, so that a change can withdraw the keys of the
/// old ones.
///
/// Owner: the state machine's `decapIntfIp`. A record outlives its interface and keeps its last
/// addresses.
class FWD_EXPORT DecapIntfIp final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Fwd::DecapIntfIp";

   explicit DecapIntfIp(Pkt::IntfId intfId);

   Pkt::IntfId const& intfId() const noexcept { return intfId_; }

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   /// Zero when there is none.
   MDL_SCALAR(Pkt::IpAddr, primaryIp, 258);
   /// Zero when there is none.
   MDL_SCALAR(Pkt::IpAddr, virtualIp, 259);

 private:
   ~DecapIntfIp() override;

   Pkt::IntfId const intfId_;
};

}  // namespace Fwd
