#include "FwdL3Unicast/MdlVerifyData.h"

namespace Fwd {

FwdDecapGroupSm::MdlVerifyData::MdlVerifyData(Mdl::Ptr<VerifyData const> const& verifyData,
                                              FwdDecapGroupSm* stateMachine)
    : NotifieeConst(verifyData), stateMachine_(stateMachine) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlVerifyData::~MdlVerifyData() = default;

Mdl::Ptr<VerifyData const> FwdDecapGroupSm::MdlVerifyData::verifyData() const noexcept {
   return Mdl::staticPtrCast<VerifyData const>(notifier());
}

void FwdDecapGroupSm::MdlVerifyData::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<VerifyData const>(entity);
   if (next == notifier()) return;
   baseNotifierIs(next);
   isRegisteredNotifieeIs(true);
   if (!next || next->isMarkedForDeletion() || stateMachine_ == nullptr) return;
   if (isMarkedForDeletion()) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   stateMachine->handleVerify();
}

void FwdDecapGroupSm::MdlVerifyData::onAttribute(Mdl::AttributeId attribute, void const*) {
   if (attribute != VerifyData::requestVerifyAttributeId) return;
   if (isMarkedForDeletion() || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   stateMachine->handleVerify();
}

}  // namespace Fwd
