#pragma once

#include "ip/IpIntfStatus.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"

namespace Ip {

/// The IPv4 status of the switch: one entry for each interface that runs IPv4.
class MDL_EXPORT Status final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Ip::Status";

   Status() noexcept;

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_KEYED_ENTITIES(Pkt::IntfId, IpIntfStatus const, intfId, ipIntfStatus, 258);

 private:
   ~Status() override;
};

}  // namespace Ip
