#pragma once

#include "FwdL3Unicast/FwdDecapGroupSm.h"

namespace Fwd {

/// Watches the verify requests.
///
/// Owner: the state machine; the way back is cleared when the reactor leaves it.
class FWD_EXPORT FwdDecapGroupSm::MdlVerifyData final : public Mdl::PtrInterface::NotifieeConst {
 public:
   MdlVerifyData(Mdl::Ptr<VerifyData const> const& verifyData, FwdDecapGroupSm* stateMachine);

   Mdl::Ptr<VerifyData const> verifyData() const noexcept;

   /// Other verify data; verifies once when it is there and not on its way out.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& verifyData) override;
   void onAttribute(Mdl::AttributeId attribute, void const* key) override;

   void stateMachineIs(FwdDecapGroupSm* stateMachine) noexcept { stateMachine_ = stateMachine; }

 private:
   ~MdlVerifyData() override;

   FwdDecapGroupSm* stateMachine_;
};

}  // namespace Fwd
