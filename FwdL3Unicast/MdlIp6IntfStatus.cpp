#include "FwdL3Unicast/MdlIp6IntfStatus.h"

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/Messages.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

using Tunnel::Decap::DecapGroup;
using Reactor = FwdDecapGroupSm::MdlIp6IntfStatus;

namespace {

AddressOrigin originOf(Pkt::IntfId const& intfId, Pkt::Ip6AddrWithMask const& addr) {
   return {intfId, AddressRole::ip6, Pkt::IpGenPrefix(addr.addr(), addr.length())};
}

}  // namespace

FwdDecapGroupSm::MdlIp6IntfStatus::MdlIp6IntfStatus(Mdl::Ptr<Ip6::IntfStatus const> const& status,
                                                    FwdDecapGroupSm* stateMachine)
    : NotifieeConst(status), stateMachine_(stateMachine), intfId_(status->intfId()) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlIp6IntfStatus::~MdlIp6IntfStatus() {
   FwdDecapGroupSm::MdlIp6IntfStatus::mdlDoZombieReactors(true);
}

Mdl::Ptr<Ip6::IntfStatus const> Reactor::status() const noexcept {
   return Mdl::staticPtrCast<Ip6::IntfStatus const>(notifier());
}

void Reactor::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<Ip6::IntfStatus const>(entity);
   auto const old = status();
   if (next == old) return;
   Mdl::Ptr<MdlIp6IntfStatus> const self(this);
   baseNotifierIs(next);
   isRegisteredNotifieeIs(true);
   // What changes before the machine is ready, it makes up for when it is.
   if (!old || stateMachine_ == nullptr || !stateMachine_->initializedAndReady()) return;
   FirstException errors;
   withdrawLost(*old, next.get(), errors);
   errors.rethrow();
}

void Reactor::onAttribute(Mdl::AttributeId attribute, void const* key) {
   if (isMarkedForDeletion() || stateMachine_ == nullptr) return;
   if (attribute != Ip6::IntfStatus::addrAttributeId) return;
   Mdl::Ptr<FwdDecapGroupSm> const alive(stateMachine_);
   handleAddr6WithMask(*static_cast<Pkt::Ip6AddrWithMask const*>(key));
}

void Reactor::mdlDoZombieReactors(bool zombie) {
   // In both directions of the transition, deliberately; the second time finds nothing held.
   zombieTransition(zombie, [this] { doIntfCleanup(); });
}

void Reactor::handleAddr6WithMask(Pkt::Ip6AddrWithMask const& addrArgument) {
   Mdl::Ptr<MdlIp6IntfStatus> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = status();
   Pkt::Ip6AddrWithMask const addr = addrArgument;
   // 1.
   if (!stateMachine || !watched || !stateMachine->initializedAndReady()) return;
   // 2.
   FWD_TRACE(2, "handleAddr6WithMask"
                    << "intfId: " << intfId_ << "ip6: " << addr.addr());
   // 3.
   if (addr.addr().isLinkLocal()) return;
   // 4.
   if (!Admission::takesPart(intfId_, watched->vrf())) return;
   Pkt::IpGenPrefix const prefix(addr.addr());
   AddressOrigin const origin = originOf(intfId_, addr);
   FirstException errors;
   auto const follow = [&](DecapGroup const& group, MdlDecapGroup& reactor) {
      // A hook may have put another status in the place of this one, which tells its own.
      if (isMarkedForDeletion() || status() != watched) return;
      // The group may have been changed by somebody who heard of this first.
      bool const admitted = Admission(group).uses(intfId_, Pkt::familyIpv6);
      if (!admitted) errors.attempt([&] { reactor.unheard().note({intfId_, Pkt::familyIpv6}); });
      if (!admitted && !reactor.holds(origin)) return;
      // Whether it came or went is for the status to say, not for the notification.
      reactor.handleIpIntfStatusChange(prefix, !admitted || !watched->addrHas(addr), origin);
   };
   forEachUser(*stateMachine, {intfId_, Pkt::familyIpv6}, errors, follow);
   errors.rethrow();
}

void Reactor::doIntfCleanup() {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   // 1.
   if (!stateMachine || !stateMachine->initializedAndReady()) return;
   // 2. The flag behind the gate, unlike for IPv4.
   if (stateMachine->disableCleanupOnRestart()) {
      FWD_TRACE(5, "Disabling FwdDecapGroupSm cleanup in case of restart");
      return;
   }
   // 3.
   FWD_TRACE(2, "doIntfCleanup"
                    << "intfId: " << intfId_);
   // 4. An interface that has left the default VRF unnoticed still has to give back what it gave.
   if (!Admission::isFrontPanel(intfId_)) return;
   // 5. The reactor's own status tells the addresses; the interface is no longer listed by now.
   auto const watched = status();
   if (!watched) return;
   // 6.
   FirstException errors;
   withdrawLost(*watched, nullptr, errors);
   errors.rethrow();
}

/// Withdraws what the groups hold for addresses of `old` that `next`, null for none, lacks.
void Reactor::withdrawLost(Ip6::IntfStatus const& old, Ip6::IntfStatus const* next,
                           FirstException& errors) {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   bool const stays = next != nullptr && Admission::takesPart(intfId_, next->vrf());
   auto const watched = status();
   auto const listed = stateMachine->mdlIp6IntfStatus(intfId_);
   // As for IPv4.
   auto const isSucceeded = [&] {
      return status() != watched || stateMachine->mdlIp6IntfStatus(intfId_) != listed;
   };
   auto const leave = [&](DecapGroup const&, MdlDecapGroup& reactor) {
      FirstException each;
      for (auto const& entry : old.addr().walk()) {
         if (isSucceeded()) break;
         Pkt::IpGenPrefix const prefix(entry.key.addr());
         if (entry.key.addr().isLinkLocal() || (stays && next->addrHas(entry.key))) continue;
         AddressOrigin const origin = originOf(intfId_, entry.key);
         if (!reactor.hasKeyOf(prefix) && !reactor.holds(origin)) continue;
         each.attempt([&] { reactor.handleIpIntfStatusChange(prefix, true, origin); });
      }
      each.rethrow();
   };
   Tunnel::Decap::DecapIntfKey const intf{intfId_, Pkt::familyIpv6};
   forEachUser(*stateMachine, intf, errors, leave);
   // What is held need not be what can still be read, as for IPv4.
   leaveRest(*stateMachine, intf, errors, [&] { return stays || isSucceeded(); });
}

}  // namespace Fwd
