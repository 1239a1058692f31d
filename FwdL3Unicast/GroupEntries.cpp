// One decap key of a group: how it is derived, and the one reference that the group takes on it
// and gives back.

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/GroupKeysImpl.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/Messages.h"

namespace Fwd {

using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

namespace {

/// A prefix of length zero is no destination.
Pkt::IpGenPrefix destinationOf(Pkt::IpGenPrefix const& prefix) noexcept {
   return prefix.length() != 0 ? prefix : Pkt::IpGenPrefix();
}

/// The source of all keys to a destination, which is never configured: any. An empty destination
/// goes with the IPv6 form.
Pkt::IpGenPrefix const& sourceFor(Pkt::IpGenPrefix const& destination) noexcept {
   static constexpr Pkt::IpGenPrefix anyIpv4{Pkt::IpAddr()};
   static constexpr Pkt::IpGenPrefix anyIpv6{Pkt::Ip6Addr()};
   return destination.isIpv4() ? anyIpv4 : anyIpv6;
}

}  // namespace

DecapKey FwdDecapGroupSm::MdlDecapGroup::createDecapKey(
    Pkt::IpGenPrefix const& prefix, Pkt::IntfId const& intfId, TunnelType tunnelType,
    std::uint16_t destPort, PayloadType payloadType, L3::VrfName const& forwardingVrf) {
   Pkt::IpGenPrefix destination;
   if (intfId == Pkt::emptyIntfId) {
      destination = destinationOf(prefix);
   } else if (stateMachine_ != nullptr) {
      auto const ip = stateMachine_->ipStatus();
      if (auto const status = ip ? ip->ipIntfStatus(intfId) : nullptr) {
         Pkt::IpAddr const primary = status->addrWithMask().addr();
         destination = Pkt::IpGenPrefix(primary);
         stateMachine_->decapIntfIpIs(intfId)->primaryIpIs(primary);
      }
   }
   return DecapKey(sourceFor(destination), destination, tunnelType, destPort, payloadType,
                   forwardingVrf);
}

DecapKey FwdDecapGroupSm::MdlDecapGroup::keyOf(Pkt::IpGenPrefix const& prefix) const {
   // A reference is enough: nobody is called.
   auto const& watched = static_cast<DecapGroup const&>(*notifier());
   Pkt::IpGenPrefix const destination = destinationOf(prefix);
   return DecapKey(sourceFor(destination), destination, watched.tunnelType(), watched.destPort(),
                   watched.payloadType(), watched.forwardingVrf());
}

/// Whether a key is never counted, or not yet.
bool FwdDecapGroupSm::MdlDecapGroup::isStopped(DecapKey const& key) const {
   if (key == invalidDecapKey || key == emptyDecapKey) return true;
   auto const& helper = stateMachine_->decapHelper();
   bool const waits = helper->waitForDstPortPayloadTypeForUdpTunnel();
   bool const incomplete = key.destPort() == 0 || key.payloadType() == PayloadType::unset;
   if (!waits || key.tunnelType() != TunnelType::udp || !incomplete) return false;
   FWD_TRACE(2, "tunnelType udp with destPort: " << key.destPort()
                                                 << " and payloadType: " << key.payloadType());
   return true;
}

void FwdDecapGroupSm::MdlDecapGroup::createDecapEntry(DecapKey const& key) {
   if (stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   // 1.
   FWD_TRACE(2, "createDecapEntry"
                    << " decapKey=" << key);
   // 2., 3.
   if (isStopped(key)) return;
   // 4. to 10.
   RefCount count = stateMachine->refCountAt(hashedKey(key));
   stateMachine->referenceTaken(count, stateMachine->changeRefCount(count, true));
}

void FwdDecapGroupSm::MdlDecapGroup::deleteDecapEntry(DecapKey const& key) {
   if (stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   // 1.
   traceWithdrawal(key);
   // 2.
   RefCount count = stateMachine->refCountAt(hashedKey(key));
   if (referencesOf(count) == 0) return;
   // 3. to 9.
   stateMachine->referenceReleased(count, stateMachine->changeRefCount(count, false));
}

void FwdDecapGroupSm::MdlDecapGroup::traceWithdrawal(DecapKey const& key) const {
   if (stateMachine_ == nullptr) return;
   FWD_TRACE_AS("deleteDecapEntry", 2,
                "deleteDecapEntry"
                    << " decapKey=" << key << " refCount=" << stateMachine_->refCount(key));
}

void FwdDecapGroupSm::MdlDecapGroup::takeOrigin(DecapKey const& keyOfNow,
                                                AddressOrigin const& origin) {
   // An origin whose key kept its old values has its reference. Inside a re-keying, the walk moves
   // the old key.
   DecapKey const heldKey = rekeyDepth_ == 0 ? keyOfOrigin(keyOfNow, origin) : keyOfNow;
   HashedKey const key = hashedKey(heldKey);
   auto entry = fromIntf_.at(key);
   IntfKeyUse& use = entry.orInsert();
   if (!use.hasOrigin(origin)) use.origins.push_back(origin);
   FirstException errors;
   errors.attempt([&] { hold(entry); });
   // A hook may have taken the address away again.
   IntfKeyUse const* const now = entry.find();
   if (now != nullptr && now->isWanted()) fromIntf_.list(entry, true);
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::leaveOrigin(DecapKey const& keyOfNow,
                                                 AddressOrigin const& origin) {
   DecapKey const heldKey = keyOfOrigin(keyOfNow, origin);
   HashedKey const key = hashedKey(heldKey);
   auto entry = fromIntf_.at(key);
   IntfKeyUse* const use = entry.find();
   if (use == nullptr || !use->hasOrigin(origin)) {
      traceWithdrawal(heldKey);
      return;
   }
   std::erase(use->origins, origin);
   if (use->isWanted()) {
      traceWithdrawal(heldKey);
      return;
   }
   use->leaving = true;
   FirstException errors;
   errors.attempt([&] { letGo(entry); });
   // A hook may have brought the address back.
   IntfKeyUse const* const now = entry.find();
   if (now != nullptr && !now->isWanted()) fromIntf_.unlist(entry);
   errors.rethrow();
}

/// The key under which an origin is held: the one of the group's values of now, or perhaps still an
/// old one.
DecapKey FwdDecapGroupSm::MdlDecapGroup::keyOfOrigin(DecapKey const& key,
                                                     AddressOrigin const& origin) const {
   IntfKeyUse const* const use = fromIntf_.find(hashedKey(key));
   if (!mayHaveOldKeys() || (use != nullptr && use->hasOrigin(origin))) return key;
   for (auto const& entry : fromIntf_.walk()) {
      if (entry.key.dstIp() == key.dstIp() && entry.value.hasOrigin(origin)) return entry.key;
   }
   return key;
}

template <class Which>
void FwdDecapGroupSm::MdlDecapGroup::leaveOrigins(Which const& which) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   FirstException errors;
   for (auto const& entry : fromIntf_.walk()) {
      for (auto const& origin : entry.value.origins) {
         if (which(origin)) errors.attempt([&] { leaveOrigin(entry.key, origin); });
      }
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::leaveIntf(Pkt::IntfId const& intfId, std::uint32_t family) {
   leaveOrigins([&](AddressOrigin const& origin) {
      return origin.intfId == intfId && origin.address.family() == family;
   });
}

void FwdDecapGroupSm::MdlDecapGroup::leaveStrays(Pkt::IntfId const& intfId, std::uint32_t family) {
   leaveOrigins([&](AddressOrigin const& origin) {
      return origin.intfId == intfId && origin.address.family() == family && isStray(origin);
   });
}

void FwdDecapGroupSm::MdlDecapGroup::leaveStrays() {
   leaveOrigins([this](AddressOrigin const& origin) { return isStray(origin); });
}

/// Whether the interface does not have the address in that role, or the group does not admit it. A
/// group that a hook has put to rest has given everything back.
bool FwdDecapGroupSm::MdlDecapGroup::isStray(AddressOrigin const& origin) const {
   auto const watched = group();
   // Whoever reported an address without saying why takes it back.
   if (!watched || isMarkedForDeletion() || origin.role == AddressRole::unnamed) return false;
   if (!Admission(*watched).admits(origin.intfId, origin.role)) return true;
   Pkt::IpGenPrefix const& address = origin.address;
   if (origin.role == AddressRole::ip6) {
      auto const status = stateMachine_->ip6IntfStatus(origin.intfId);
      return !status || !Admission::takesPart(origin.intfId, status->vrf()) ||
             !status->addrHas(Pkt::Ip6AddrWithMask(address.ip6Addr(), address.length()));
   }
   auto const status = stateMachine_->ipIntfStatus(origin.intfId);
   if (!status || !Admission::takesPart(origin.intfId, status->vrf())) return true;
   if (origin.role == AddressRole::primary)
      return status->addrWithMask().addr() != address.ipAddr();
   if (origin.role == AddressRole::virtualIp) return status->virtualIp() != address.ipAddr();
   return !status->activeSecondaryWithMaskHas(
       Pkt::IpAddrWithMask(address.ipAddr(), address.length()));
}

}  // namespace Fwd
