// While the machine is not initialized, or has no configuration, groups hear of changes and follow
// few of them. Afterwards each group compares what it holds with what it should.

#include "FwdL3Unicast/CatchingUp.h"

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/UsingGroups.h"

namespace Fwd {

using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::TunnelType;

void catchUp(FwdDecapGroupSm& stateMachine, FirstException& errors) {
   forEachGroup(
       stateMachine, errors,
       [&](DecapGroup const&, FwdDecapGroupSm::MdlDecapGroup& group) { group.catchUp(errors); });
}

void FwdDecapGroupSm::MdlDecapGroup::catchUp(FirstException& errors) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (!following_ || tunnelType() == TunnelType::unknown) return;
   // What is no longer called for goes first: it makes room.
   for (std::uint32_t const family : {Pkt::familyIpv4, Pkt::familyIpv6}) {
      errors.attempt([&] { leaveStrays({Pkt::emptyIntfId, family}); });
   }
   if (missedChanges_) errors.attempt([&] { rekeyStale(); });
   if (auto const ip = stateMachine->ipStatus()) {
      for (auto const& entry : ip->ipIntfStatus().walk()) {
         auto const watched = group();
         if (!watched || isMarkedForDeletion()) return;
         if (!Admission::takesPart(entry.key, entry.value->vrf())) continue;
         DecapIntfKey const intf{entry.key, Pkt::familyIpv4};
         if (Admission(*watched).uses(entry.key, Pkt::familyIpv4)) {
            errors.attempt([&] { updateIntfIp(intf, entry.value, true, true, true); });
         } else {
            errors.attempt([&] { unheard_.note(intf); });
         }
      }
   }
   if (auto const ip6 = stateMachine->ip6Status()) {
      for (auto const& entry : ip6->intf().walk()) {
         auto const watched = group();
         if (!watched || isMarkedForDeletion()) return;
         DecapIntfKey const intf{entry.key, Pkt::familyIpv6};
         if (Admission(*watched).uses(entry.key, Pkt::familyIpv6)) {
            errors.attempt([&] { updateIntfIp6(intf, *entry.value); });
         } else {
            errors.attempt([&] { unheard_.note(intf); });
         }
      }
   }
}

void FwdDecapGroupSm::MdlDecapGroup::resume() {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (!stateMachine || !following_) return;
   FirstException errors;
   // Prefixes are followed at any time, interfaces when the machine is initialized again.
   if (stateMachine->initializedAndReady()) catchUp(errors);
   for (auto const& entry : fromIp_.walk()) {
      if (isMarkedForDeletion() || !group()) break;
      bool const isCalledFor = isConfigured(entry.key.dstIp()) || anotherCallsFor(entry.key);
      if (entry.value.wanted && !isCalledFor) withdrawPrefixKey(entry.hashed(), errors);
   }
   if (auto const watched = group()) {
      for (auto const& entry : watched->decapIp().walk()) {
         if (isMarkedForDeletion()) break;
         errors.attempt([&] { handleUpdateIp(entry.key); });
      }
   }
   errors.rethrow();
}

}  // namespace Fwd
