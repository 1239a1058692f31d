// While the machine is not initialized, or has no configuration, groups hear of changes and follow
// few of them. Afterwards each group compares what it holds with what it should.

#include "FwdL3Unicast/CatchingUp.h"

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::TunnelType;

void catchUp(FwdDecapGroupSm& stateMachine, FirstException& errors) {
   for (auto const& entry : stateMachine.mdlIpIntfStatus()) {
      entry.value->missedChangesAreMadeUpFor();
   }
   for (auto const& entry : stateMachine.mdlIp6IntfStatus()) {
      entry.value->missedChangesAreMadeUpFor();
   }
   forEachGroup(stateMachine, errors, [&](DecapGroup const&, FwdDecapGroupSm::MdlDecapGroup& group) {
      group.catchUp(errors);
   });
}

void FwdDecapGroupSm::MdlDecapGroup::catchUp(FirstException& errors) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (!following_ || tunnelType() == TunnelType::unknown) return;
   // What is no longer called for goes first: it makes room.
   leaveStrayOrigins(errors);
   if (missedChanges_) errors.attempt([&] { rekeyStale(); });
   errors.attempt([&] { followExcludeSets(); });
   if (auto const ip = stateMachine->ipStatus()) {
      for (auto const& entry : ip->ipIntfStatus().walk()) {
         auto const watched = group();
         if (!watched || isMarkedForDeletion()) return;
         if (!Admission::takesPart(entry.key, entry.value->vrf())) continue;
         if (!Admission(*watched).uses(entry.key, Pkt::familyIpv4)) continue;
         errors.attempt([&] {
            updateIntfIp({entry.key, Pkt::familyIpv4}, entry.value, true, true, true);
         });
      }
   }
   if (auto const ip6 = stateMachine->ip6Status()) {
      for (auto const& entry : ip6->intf().walk()) {
         auto const watched = group();
         if (!watched || isMarkedForDeletion()) return;
         if (!Admission(*watched).uses(entry.key, Pkt::familyIpv6)) continue;
         errors.attempt([&] { updateIntfIp6({entry.key, Pkt::familyIpv6}, *entry.value); });
      }
   }
}

void FwdDecapGroupSm::MdlDecapGroup::leaveStrayOrigins(FirstException& errors) {
   for (auto const& entry : fromIntf_.walk()) {
      for (auto const& origin : entry.value.origins) {
         if (!group() || isMarkedForDeletion()) return;
         if (!isCalledFor(origin)) errors.attempt([&] { leaveOrigin(entry.key, origin); });
      }
   }
}

/// Whether the interface has the address in that role, and the group admits it.
bool FwdDecapGroupSm::MdlDecapGroup::isCalledFor(AddressOrigin const& origin) const {
   // Whoever reported an address without saying why takes it back.
   if (origin.role == AddressRole::unnamed) return true;
   if (!Admission(*group()).admits(origin.intfId, origin.role)) return false;
   Pkt::IpGenPrefix const& address = origin.address;
   if (origin.role == AddressRole::ip6) {
      auto const status = stateMachine_->ip6IntfStatus(origin.intfId);
      return status && Admission::takesPart(origin.intfId, status->vrf()) &&
             status->addrHas(Pkt::Ip6AddrWithMask(address.ip6Addr(), address.length()));
   }
   auto const status = stateMachine_->ipIntfStatus(origin.intfId);
   if (!status || !Admission::takesPart(origin.intfId, status->vrf())) return false;
   switch (origin.role) {
      case AddressRole::primary: return status->addrWithMask().addr() == address.ipAddr();
      case AddressRole::virtualIp: return status->virtualIp() == address.ipAddr();
      case AddressRole::secondary:
         return status->activeSecondaryWithMaskHas(
             Pkt::IpAddrWithMask(address.ipAddr(), address.length()));
      case AddressRole::ip6:
      case AddressRole::unnamed: break;
   }
   return false;
}

}  // namespace Fwd
