#pragma once

#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "tunnel/decap/DecapGroup.h"

namespace Tunnel::Decap {

/// The decap configuration: every configured group, and whether it is complete.
///
/// Owner: the agent, which writes it. The state machine only reads.
class MDL_EXPORT Config final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Tunnel::Decap::Config";

   Config() noexcept;

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   /// The groups by name.
   MDL_KEYED_ENTITIES(Mdl::String, DecapGroup const, name, decapGroup, 259);
   /// Whether the configuration is complete and may be acted on. Once the state machine has been
   /// initialized it must not fall back to false: that stops the process.
   MDL_SCALAR(bool, ready, 260);

 private:
   ~Config() override;
};

}  // namespace Tunnel::Decap
