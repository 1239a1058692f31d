#pragma once

#include "ip6/IntfStatus.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"

namespace Ip6 {

/// The IPv6 status of the switch: one entry for each interface that runs IPv6.
class MDL_EXPORT Status final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Ip6::Status";

   Status() noexcept;

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_KEYED_ENTITIES(Pkt::IntfId, IntfStatus const, intfId, intf, 259);

 private:
   ~Status() override;
};

}  // namespace Ip6
