#include "FwdL3Unicast/MdlIpIntfStatus.h"

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/Messages.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

using Tunnel::Decap::DecapGroup;
using Reactor = FwdDecapGroupSm::MdlIpIntfStatus;

FwdDecapGroupSm::MdlIpIntfStatus::MdlIpIntfStatus(Mdl::Ptr<Ip::IpIntfStatus const> const& status,
                                                  FwdDecapGroupSm* stateMachine)
    : NotifieeConst(status), stateMachine_(stateMachine), intfId_(status->intfId()) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlIpIntfStatus::~MdlIpIntfStatus() {
   FwdDecapGroupSm::MdlIpIntfStatus::mdlDoZombieReactors(true);
}

Mdl::Ptr<Ip::IpIntfStatus const> Reactor::status() const noexcept {
   return Mdl::staticPtrCast<Ip::IpIntfStatus const>(notifier());
}

void Reactor::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<Ip::IpIntfStatus const>(entity);
   auto const old = status();
   if (next == old) return;
   Mdl::Ptr<MdlIpIntfStatus> const self(this);
   baseNotifierIs(next);
   isRegisteredNotifieeIs(true);
   FirstException errors;
   // What changes before the machine is ready, it makes up for when it is.
   if (old && isReady()) withdrawLost(*old, next.get(), errors);
   if (next) errors.attempt([&] { evaluate(); });
   errors.rethrow();
}

void Reactor::onAttribute(Mdl::AttributeId attribute, void const* key) {
   if (isMarkedForDeletion() || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const alive(stateMachine_);
   if (attribute == Ip::IpIntfStatus::addrWithMaskAttributeId) {
      FirstException errors;
      errors.attempt([&] { handlePrimaryAddrWithMask(); });
      // While it is flagged, the primary address is the virtual one too and moves it along.
      if (auto const watched = status(); watched && watched->virtualAddr()) {
         errors.attempt([&] { handleVirtualAddrWithMask(); });
      }
      errors.rethrow();
   } else if (attribute == Ip::IpIntfStatus::activeSecondaryWithMaskAttributeId) {
      handleSecondaryAddrWithMask(*static_cast<Pkt::IpAddrWithMask const*>(key));
   } else if (attribute == Ip::IpIntfStatus::virtualAddrAttributeId) {
      handleVirtualAddrWithMask();
   }
}

void Reactor::mdlDoZombieReactors(bool zombie) {
   // Only on the way out; a revived interface has nothing to withdraw.
   zombieTransition(zombie, [this, zombie] {
      if (zombie) doIntfCleanup();
   });
}

void Reactor::evaluate() {
   FirstException errors;
   if (!isMarkedForDeletion()) errors.attempt([&] { handlePrimaryAddrWithMask(); });
   if (!isMarkedForDeletion()) errors.attempt([&] { handleVirtualAddrWithMask(); });
   errors.rethrow();
}

void Reactor::catchUp() {
   if (!gate()) return;
   auto const watched = status();
   auto const record = stateMachine_->decapIntfIp(watched->intfId());
   if (!record) return;
   FirstException errors;
   Pkt::IpAddr const primary = record->primaryIp();
   if (!primary.isZero() && primary != watched->addrWithMask().addr()) {
      errors.attempt([&] { handlePrimaryAddrWithMask(); });
   }
   Pkt::IpAddr const virtualAddr = record->virtualIp();
   if (!virtualAddr.isZero() && virtualAddr != watched->virtualIp()) {
      errors.attempt([&] { handleVirtualAddrWithMask(); });
   }
   errors.rethrow();
}

bool Reactor::isReady() const {
   return stateMachine_ != nullptr && stateMachine_->initializedAndReady();
}

bool Reactor::gate() const {
   auto const watched = status();
   return isReady() && watched && Admission::takesPart(watched->intfId(), watched->vrf());
}

void Reactor::handlePrimaryAddrWithMask() {
   Mdl::Ptr<MdlIpIntfStatus> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = status();
   // 1.
   if (!gate()) return;
   FWD_TRACE(2, "handlePrimaryAddrWithMask"
                    << " intf " << watched->intfId());
   // 2.
   auto const record = stateMachine->decapIntfIpIs(watched->intfId());
   Pkt::IpAddr const oldAddr = record->primaryIp();
   Pkt::IpAddr const oldVirtual = record->virtualIp();
   FirstException errors;
   errors.attempt([&] { record->primaryIpIs(watched->addrWithMask().addr()); });
   // The old address may be held as the virtual one too. That goes first, so that the old key
   // leaves hardware before the new one comes.
   if (!oldVirtual.isZero() && oldVirtual != watched->virtualIp()) {
      errors.attempt([&] { record->virtualIpIs(Pkt::IpAddr()); });
      withdraw(oldVirtual, AddressRole::virtualIp, Pkt::IpAddr::bits, errors);
   }
   // 3.
   replaceAddress(oldAddr, AddressRole::primary, errors);
   errors.rethrow();
}

void Reactor::handleVirtualAddrWithMask() {
   Mdl::Ptr<MdlIpIntfStatus> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = status();
   // 1.
   if (!gate()) return;
   FWD_TRACE(2, "handleVirtualAddrWithMask"
                    << " virtualIp: " << watched->virtualIp());
   // 2.
   auto const record = stateMachine->decapIntfIpIs(watched->intfId());
   Pkt::IpAddr const oldAddr = record->virtualIp();
   FirstException errors;
   errors.attempt([&] { record->virtualIpIs(watched->virtualIp()); });
   // 3.
   replaceAddress(oldAddr, AddressRole::virtualIp, errors);
   errors.rethrow();
}

/// Withdraws the old address and adds the current one, group by group. They are not compared: an
/// unchanged address is withdrawn and added again, deliberately. Prefixes are host prefixes; the
/// mask of the interface address plays no part.
void Reactor::replaceAddress(Pkt::IpAddr oldAddr, AddressRole role, FirstException& errors) {
   if (stateMachine_ == nullptr) return;  // a hook or a watcher removed the interface
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = status();
   Pkt::IntfId const& intfId = watched->intfId();
   auto const replace = [&](DecapGroup const& group, MdlDecapGroup& reactor) {
      // A hook may have put another status in the place of this one, which has told its own.
      if (isMarkedForDeletion() || status() != watched) return;
      Pkt::IpGenPrefix const old(oldAddr);
      AddressOrigin const oldOrigin{intfId, role, old};
      // The group may have been changed by somebody who heard of this first.
      bool const admitted = Admission(group).admits(intfId, role);
      if (!admitted) errors.attempt([&] { reactor.unheard().note({intfId, Pkt::familyIpv4}); });
      if (!admitted && !reactor.holds(oldOrigin)) return;
      FirstException both;
      if (!oldAddr.isZero()) {
         both.attempt([&] { reactor.handleIpIntfStatusChange(old, true, oldOrigin); });
      }
      // What it is by now: a hook may have changed it since the walk began.
      Pkt::IpAddr const addr =
          role == AddressRole::primary ? watched->addrWithMask().addr() : watched->virtualIp();
      auto const groupNow = reactor.group();
      bool const current = !isMarkedForDeletion() && status() == watched && groupNow;
      if (!addr.isZero() && current && Admission(*groupNow).admits(intfId, role)) {
         Pkt::IpGenPrefix const prefix(addr);
         both.attempt([&] {
            reactor.handleIpIntfStatusChange(prefix, false, {intfId, role, prefix});
         });
      }
      both.rethrow();
   };
   forEachUser(*stateMachine, {intfId, Pkt::familyIpv4}, errors, replace);
}

void Reactor::handleSecondaryAddrWithMask(Pkt::IpAddrWithMask const& addrArgument) {
   Mdl::Ptr<MdlIpIntfStatus> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = status();
   Pkt::IpAddrWithMask const addr = addrArgument;
   // 1.
   if (!gate()) return;
   FWD_TRACE(2, "handleSecondaryAddrWithMask"
                    << " secondaryIp: " << addr);
   Pkt::IntfId const& intfId = watched->intfId();
   Pkt::IpGenPrefix const prefix(addr.addr());
   AddressOrigin const origin{intfId, AddressRole::secondary,
                              Pkt::IpGenPrefix(addr.addr(), addr.length())};
   FirstException errors;
   auto const follow = [&](DecapGroup const& group, MdlDecapGroup& reactor) {
      // A hook may have put another status in the place of this one, which tells its own.
      if (isMarkedForDeletion() || status() != watched) return;
      bool const admitted = Admission(group).admits(intfId, AddressRole::secondary);
      if (!admitted) errors.attempt([&] { reactor.unheard().note({intfId, Pkt::familyIpv4}); });
      if (!admitted && !reactor.holds(origin)) return;
      // 2.
      FWD_TRACE_AS("handleSecondaryAddrWithMask", 2, " intf: " << intfId);
      bool const present = admitted && watched->activeSecondaryWithMaskHas(addr);
      // 3., 4.
      FWD_TRACE_AS("handleSecondaryAddrWithMask", 2, " secondaryIp: " << addr);
      if (present && addr.isZero()) return;
      reactor.handleIpIntfStatusChange(prefix, !present, origin);
   };
   forEachUser(*stateMachine, {intfId, Pkt::familyIpv4}, errors, follow);
   errors.rethrow();
}

void Reactor::doIntfCleanup() {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = status();
   if (!stateMachine || !watched) return;
   // 1. The flag before the gate, unlike for IPv6: an interface that would withdraw nothing says
   //    so too.
   if (stateMachine->disableCleanupOnRestart()) {
      FWD_TRACE(5, "Disabling FwdDecapGroupSm cleanup in case of restart");
      return;
   }
   // 2. The VRF closes the gate for the trace only: an interface that has left the default VRF
   //    unnoticed still has to give back what it gave.
   if (!isReady() || !Admission::isFrontPanel(watched->intfId())) return;
   if (gate())
      FWD_TRACE(2, "doIntfCleanup"
                       << " intf " << watched->intfId());
   // 3.
   FirstException errors;
   withdrawLost(*watched, nullptr, errors);
   errors.rethrow();
}

/// Withdraws what the groups hold for addresses of `old` that `next`, null for none, lacks: from
/// each group its primary address, secondary addresses in ascending order, virtual address.
void Reactor::withdrawLost(Ip::IpIntfStatus const& old, Ip::IpIntfStatus const* next,
                           FirstException& errors) {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   bool const stays = next != nullptr && Admission::takesPart(next->intfId(), next->vrf());
   // With a status to follow, primary and virtual address are replaced by its evaluation.
   auto const record = stays ? nullptr : stateMachine->decapIntfIp(old.intfId());
   Pkt::IpAddr const primary = record ? record->primaryIp() : Pkt::IpAddr();
   Pkt::IpAddr const virtualAddr = record ? record->virtualIp() : Pkt::IpAddr();
   auto const watched = status();
   auto const listed = stateMachine->mdlIpIntfStatus(intfId_);
   // A hook may bring the interface back, or another in its place; then only what that one lacks
   // is to go.
   auto const isSucceeded = [&] {
      return status() != watched || stateMachine->mdlIpIntfStatus(intfId_) != listed;
   };
   auto const leave = [&](DecapGroup const&, MdlDecapGroup& reactor) {
      FirstException each;
      auto const leaveOne = [&](Pkt::IpAddr addr, AddressRole role, std::uint32_t length) {
         if (!isSucceeded()) withdrawFrom(reactor, addr, role, length, each);
      };
      leaveOne(primary, AddressRole::primary, Pkt::IpAddr::bits);
      for (auto const& entry : old.activeSecondaryWithMask().walkSorted()) {
         if (stays && next->activeSecondaryWithMaskHas(entry.key)) continue;
         leaveOne(entry.key.addr(), AddressRole::secondary, entry.key.length());
      }
      leaveOne(virtualAddr, AddressRole::virtualIp, Pkt::IpAddr::bits);
      each.rethrow();
   };
   Tunnel::Decap::DecapIntfKey const intf{intfId_, Pkt::familyIpv4};
   forEachUser(*stateMachine, intf, errors, leave);
   // What is held need not be what can still be read: addresses may have gone, or the VRF, while
   // nobody could follow, or so that somebody who heard of it first made this change.
   leaveRest(*stateMachine, intf, errors, [&] { return stays || isSucceeded(); });
}

/// Withdraws one address from every group that got its key from an interface.
void Reactor::withdraw(Pkt::IpAddr addr, AddressRole role, std::uint32_t length,
                       FirstException& errors) {
   if (stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const leave = [&](DecapGroup const&, MdlDecapGroup& reactor) {
      withdrawFrom(reactor, addr, role, length, errors);
   };
   forEachUser(*stateMachine, {intfId_, Pkt::familyIpv4}, errors, leave);
}

void Reactor::withdrawFrom(MdlDecapGroup& group, Pkt::IpAddr addr, AddressRole role,
                           std::uint32_t length, FirstException& errors) {
   if (addr.isZero()) return;
   Pkt::IpGenPrefix const prefix(addr);
   AddressOrigin const origin{intfId_, role, Pkt::IpGenPrefix(addr, length)};
   if (!group.hasKeyOf(prefix) && !group.holds(origin)) return;
   errors.attempt([&] { group.handleIpIntfStatusChange(prefix, true, origin); });
}

}  // namespace Fwd
