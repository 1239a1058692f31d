#pragma once

#include "mdl/Attribute.h"
#include "mdl/Reflection.h"

namespace Tunnel::Decap::Hardware {

/// What the state machine reports of the hardware. Written by the state machine, read by the rest
/// of the agent.
class MDL_EXPORT Status final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Tunnel::Decap::Hardware::Status";

   Status() noexcept;

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   /// Hardware has refused a key for lack of room, and keys still wait.
   MDL_SCALAR(bool, hwResourceFull, 258);

 private:
   ~Status() override;
};

}  // namespace Tunnel::Decap::Hardware
