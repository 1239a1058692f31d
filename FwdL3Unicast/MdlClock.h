#pragma once

#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "mdl/Clock.h"

namespace Fwd {

/// Wakes the review of the keys that wait.
///
/// Owner: the state machine, which arms it; the way back is cleared when the reactor leaves it.
class FWD_EXPORT FwdDecapGroupSm::MdlClock final : public Mdl::Clock::NotifieeConst {
 public:
   MdlClock(Mdl::Ptr<Mdl::Clock const> const& clock, FwdDecapGroupSm* stateMachine);

   /// Another clock, and a review at once when it is not null: the wake-up was on the old scale.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& clock) override;

   void stateMachineIs(FwdDecapGroupSm* stateMachine) noexcept { stateMachine_ = stateMachine; }

 private:
   ~MdlClock() override;
   void onTimeMin() override;

   FwdDecapGroupSm* stateMachine_;
};

}  // namespace Fwd
