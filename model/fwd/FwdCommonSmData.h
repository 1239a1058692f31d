#pragma once

#include "fwd/VerifyData.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"

namespace Fwd {

/// What the state machines of a forwarding agent share.
class MDL_EXPORT FwdCommonSmData final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Fwd::FwdCommonSmData";

   explicit FwdCommonSmData(Mdl::Ptr<VerifyData> verifyData = nullptr);

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   /// The verify requests; null when the agent offers none.
   MDL_SCALAR(Mdl::Ptr<VerifyData>, verifyData, 258);

 private:
   ~FwdCommonSmData() override;
};

}  // namespace Fwd
