#pragma once

#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/InterfaceUsers.h"

namespace Fwd {

/// Watches the decap configuration: which groups there are, and whether it is ready.
///
/// Owner: the state machine; the way back is cleared when the reactor leaves it.
class FWD_EXPORT FwdDecapGroupSm::MdlDgConfig final : public Mdl::PtrInterface::NotifieeConst {
 public:
   MdlDgConfig(Mdl::Ptr<Tunnel::Decap::Config const> const& config, FwdDecapGroupSm* stateMachine);

   Mdl::Ptr<Tunnel::Decap::Config const> config() const noexcept;

   /// Another configuration: its groups are taken over, those it no longer holds are removed, and
   /// readiness is handled. Null only detaches.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& config) override;
   void onAttribute(Mdl::AttributeId attribute, void const* key) override;

   /// Which groups say something of an interface or hold something of it, as their reactors write
   /// it down.
   InterfaceUsers& interfaceUsers() noexcept { return interfaceUsers_; }

   void stateMachineIs(FwdDecapGroupSm* stateMachine) noexcept { stateMachine_ = stateMachine; }

 private:
   ~MdlDgConfig() override;
   void handleDecapGroup(Mdl::String const& name);

   FwdDecapGroupSm* stateMachine_;
   InterfaceUsers interfaceUsers_;
};

}  // namespace Fwd
