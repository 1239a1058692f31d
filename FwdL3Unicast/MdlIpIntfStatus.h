#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"

namespace Fwd {

/// Watches the IPv4 addresses of one interface and tells the groups that use it.
///
/// Owner: the state machine's registry; the way back is cleared when the reactor leaves it.
/// I1: what a group holds as this interface's primary or virtual address is the recorded one
///    (`decapIntfIp`); the record changes before any group is told.
/// Re-entrancy: the hook may change the interface, the configuration or anything else inside a
///   handler. A group that has not been told yet is then told of the address as it is by now.
class FWD_EXPORT FwdDecapGroupSm::MdlIpIntfStatus final : public Mdl::PtrInterface::NotifieeConst {
 public:
   /// `status` is not null.
   MdlIpIntfStatus(Mdl::Ptr<Ip::IpIntfStatus const> const& status, FwdDecapGroupSm* stateMachine);

   Mdl::Ptr<Ip::IpIntfStatus const> status() const noexcept;
   void ipIntfStatusIs(Mdl::Ptr<Ip::IpIntfStatus const> const& status) { notifierIs(status); }

   /// Another status of the same interface: what only the old one had is withdrawn, then primary
   /// and virtual address of the new one are evaluated.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& status) override;
   void onAttribute(Mdl::AttributeId attribute, void const* key) override;
   void mdlDoZombieReactors(bool zombie) override;

   void stateMachineIs(FwdDecapGroupSm* stateMachine) noexcept { stateMachine_ = stateMachine; }

   /// Evaluates primary and virtual address, when the reactor is new. Secondary addresses are not
   /// looked at here, deliberately: they are told of one by one.
   void evaluate();
   /// Has every group give back an address that is recorded but no longer there.
   void catchUp();

   void handlePrimaryAddrWithMask();
   void handleSecondaryAddrWithMask(Pkt::IpAddrWithMask const& addr);
   void handleVirtualAddrWithMask();
   /// The interface's status goes: withdraws what the groups hold for its addresses.
   void doIntfCleanup();

 private:
   ~MdlIpIntfStatus() override;

   bool isReady() const;
   bool gate() const;
   void withdraw(Pkt::IpAddr addr, AddressRole role, std::uint32_t length, FirstException& errors);
   void withdrawLost(Ip::IpIntfStatus const& old, Ip::IpIntfStatus const* next,
                     FirstException& errors);
   void withdrawFrom(MdlDecapGroup& group, Pkt::IpAddr addr, AddressRole role, std::uint32_t length,
                     FirstException& errors);
   void replaceAddress(Pkt::IpAddr oldAddr, AddressRole role, FirstException& errors);

   FwdDecapGroupSm* stateMachine_;
   Pkt::IntfId const intfId_;
};

}  // namespace Fwd
