#pragma once

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"

namespace Fwd {

/// Watches the IPv6 addresses of one interface and tells the groups that use it.
///
/// Owner: the state machine's registry; the way back is cleared when the reactor leaves it. It
///   keeps no addresses: what is held for them is known to the groups.
class FWD_EXPORT FwdDecapGroupSm::MdlIp6IntfStatus final : public Mdl::PtrInterface::NotifieeConst {
 public:
   /// `status` is not null.
   MdlIp6IntfStatus(Mdl::Ptr<Ip6::IntfStatus const> const& status, FwdDecapGroupSm* stateMachine);

   Mdl::Ptr<Ip6::IntfStatus const> status() const noexcept;
   void ip6IntfStatusIs(Mdl::Ptr<Ip6::IntfStatus const> const& status) { notifierIs(status); }

   /// Another status of the same interface: what only the old one had is withdrawn. The addresses
   /// of the new one are told of one by one, or taken when an entry is applied.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& status) override;
   void onAttribute(Mdl::AttributeId attribute, void const* key) override;
   void mdlDoZombieReactors(bool zombie) override;

   void stateMachineIs(FwdDecapGroupSm* stateMachine) noexcept { stateMachine_ = stateMachine; }

   /// Nothing, deliberately: addresses that are there already when the reactor is made are taken
   /// when an entry is applied.
   void evaluate() noexcept {}

   void handleAddr6WithMask(Pkt::Ip6AddrWithMask const& addr);
   /// Withdraws what the groups hold for the interface's addresses.
   void doIntfCleanup();

 private:
   ~MdlIp6IntfStatus() override;

   void withdrawLost(Ip6::IntfStatus const& old, Ip6::IntfStatus const* next,
                     FirstException& errors);

   FwdDecapGroupSm* stateMachine_;
   Pkt::IntfId const intfId_;
};

}  // namespace Fwd
