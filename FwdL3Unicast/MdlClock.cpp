#include "FwdL3Unicast/MdlClock.h"

namespace Fwd {

FwdDecapGroupSm::MdlClock::MdlClock(Mdl::Ptr<Mdl::Clock const> const& clock,
                                    FwdDecapGroupSm* stateMachine)
    : Mdl::Clock::NotifieeConst(clock), stateMachine_(stateMachine) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlClock::~MdlClock() = default;

void FwdDecapGroupSm::MdlClock::notifierIs(Mdl::Ptr<Mdl::Entity const> const& clock) {
   auto const next = Mdl::dynamicPtrCast<Mdl::Clock const>(clock);
   if (next == notifier()) return;
   baseNotifierIs(next);
   isRegisteredNotifieeIs(true);
   if (next) onTimeMin();
}

void FwdDecapGroupSm::MdlClock::onTimeMin() {
   if (isMarkedForDeletion() || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   stateMachine->doReview();
}

}  // namespace Fwd
