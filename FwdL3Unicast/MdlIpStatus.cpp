#include "FwdL3Unicast/MdlIpStatus.h"

#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

FwdDecapGroupSm::MdlIpStatus::MdlIpStatus(Mdl::Ptr<Ip::Status const> const& status,
                                          FwdDecapGroupSm* stateMachine)
    : NotifieeConst(status), stateMachine_(stateMachine) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlIpStatus::~MdlIpStatus() = default;

Mdl::Ptr<Ip::Status const> FwdDecapGroupSm::MdlIpStatus::status() const noexcept {
   return Mdl::staticPtrCast<Ip::Status const>(notifier());
}

void FwdDecapGroupSm::MdlIpStatus::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<Ip::Status const>(entity);
   if (next == notifier()) return;
   baseNotifierIs(next);
   isRegisteredNotifieeIs(true);
   if (!next || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   for (auto const& entry : next->ipIntfStatus().walk()) stateMachine->ipIntfStatusIs(entry.value);
   for (auto const& entry : stateMachine->mdlIpIntfStatus().walk()) {
      if (!next->ipIntfStatusHas(entry.key)) stateMachine->ipIntfStatusDel(entry.key);
   }
}

void FwdDecapGroupSm::MdlIpStatus::onAttribute(Mdl::AttributeId attribute, void const* key) {
   if (attribute != Ip::Status::ipIntfStatusAttributeId) return;
   auto const watched = status();
   if (isMarkedForDeletion() || !watched || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   Tunnel::Decap::DecapIntfKey const intf{*static_cast<Pkt::IntfId const*>(key), Pkt::familyIpv4};
   FirstException errors;
   errors.attempt([&] {
      auto const intfStatus = watched->ipIntfStatus(intf.intfId());
      if (!intfStatus) {
         stateMachine->ipIntfStatusDel(intf.intfId());
      } else if (stateMachine->ipIntfStatus(intf.intfId()) == intfStatus) {
         deriveReturned(*stateMachine, intf);
      } else {
         stateMachine->ipIntfStatusIs(intfStatus);
      }
   });
   errors.attempt([&] { leaveStraysOf(*stateMachine, intf); });
   errors.rethrow();
}

}  // namespace Fwd
