#pragma once

#include "FwdL3Unicast/FwdDecapGroupSm.h"

namespace Fwd {

/// Keeps one reactor for each interface with IPv6 status.
///
/// Owner: the state machine; the way back is cleared when the reactor leaves it.
class FWD_EXPORT FwdDecapGroupSm::MdlIp6Status final : public Mdl::PtrInterface::NotifieeConst {
 public:
   MdlIp6Status(Mdl::Ptr<Ip6::Status const> const& status, FwdDecapGroupSm* stateMachine);

   Mdl::Ptr<Ip6::Status const> status() const noexcept;

   /// Another status: its interfaces are taken over first, then those that it lacks are removed.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& status) override;
   void onAttribute(Mdl::AttributeId attribute, void const* key) override;

   void stateMachineIs(FwdDecapGroupSm* stateMachine) noexcept { stateMachine_ = stateMachine; }

 private:
   ~MdlIp6Status() override;

   FwdDecapGroupSm* stateMachine_;
};

}  // namespace Fwd
