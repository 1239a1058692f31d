// One decap key of a group: how it is derived, and the one reference that the group takes on it
// and gives back.

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

}  // namespace Fwd
