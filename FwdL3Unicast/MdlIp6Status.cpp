#include "FwdL3Unicast/MdlIp6Status.h"

#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

FwdDecapGroupSm::MdlIp6Status::MdlIp6Status(Mdl::Ptr<Ip6::Status const> const& status,
                                            FwdDecapGroupSm* stateMachine)
    : NotifieeConst(status), stateMachine_(stateMachine) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlIp6Status::~MdlIp6Status() = default;

Mdl::Ptr<Ip6::Status const> FwdDecapGroupSm::MdlIp6Status::status() const noexcept {
   return Mdl::staticPtrCast<Ip6::Status const>(notifier());
}

void FwdDecapGroupSm::MdlIp6Status::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<Ip6::Status const>(entity);
   if (next == notifier()) return;
   baseNotifierIs(next);
   isRegisteredNotifieeIs(true);
   if (!next || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   for (auto const& entry : next->intf().walk()) stateMachine->ip6IntfStatusIs(entry.value);
   for (auto const& entry : stateMachine->mdlIp6IntfStatus().walk()) {
      if (!next->intfHas(entry.key)) stateMachine->ip6IntfStatusDel(entry.key);
   }
}

void FwdDecapGroupSm::MdlIp6Status::onAttribute(Mdl::AttributeId attribute, void const* key) {
   if (attribute != Ip6::Status::intfAttributeId) return;
   auto const watched = status();
   if (isMarkedForDeletion() || !watched || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   Tunnel::Decap::DecapIntfKey const intf{*static_cast<Pkt::IntfId const*>(key), Pkt::familyIpv6};
   FirstException errors;
   errors.attempt([&] {
      auto const intfStatus = watched->intf(intf.intfId());
      if (!intfStatus) {
         stateMachine->ip6IntfStatusDel(intf.intfId());
      } else if (stateMachine->ip6IntfStatus(intf.intfId()) == intfStatus) {
         deriveReturned(*stateMachine, intf);
      } else {
         stateMachine->ip6IntfStatusIs(intfStatus);
      }
   });
   errors.attempt([&] { leaveStraysOf(*stateMachine, intf); });
   errors.rethrow();
}

}  // namespace Fwd
