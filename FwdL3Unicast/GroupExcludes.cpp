// The interfaces that a group leaves out of its all-interfaces entries.

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/Messages.h"
#include "mdl/Assert.h"

namespace Fwd {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::TunnelType;

/// An exclude set came, went or changed. A hook may change it again while the change is followed,
/// so what is left out in the end is given back here, and interfaces that were decided on without
/// the set are looked at again; while the machine is not initialized, later, with all that it
/// missed.
void FwdDecapGroupSm::MdlDecapGroup::handleExcludeSet(DecapIntfKey const& keyArgument) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   DecapIntfKey const decapIntfKey = keyArgument;
   FirstException errors;
   auto const settle = [&](DecapExcludeIntfSet const& set, DecapExcludeIntfSet const& settled) {
      for (auto const& intfId : set.excludeIntf()) {
         if (settled.excludeIntf(intfId)) continue;
         DecapIntfKey const intf{intfId, decapIntfKey.family()};
         errors.attempt([&] { leaveStrays(intf); });
         errors.attempt([&] { unheard_.note(intf); });
      }
   };
   DecapExcludeIntfSet const before = prevDecapExcludeIntfSet(decapIntfKey);
   errors.attempt([&] { handleUpdateExcludeIntf(decapIntfKey); });
   if (stateMachine->initializedAndReady()) {
      settle(before, DecapExcludeIntfSet());
      settle(prevDecapExcludeIntfSet(decapIntfKey), before);
      errors.attempt([&] { unheard_.derive(decapIntfKey); });
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateExcludeIntf(DecapIntfKey const& keyArgument) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = group();
   if (!stateMachine || !watched) return;
   DecapIntfKey const decapIntfKey = keyArgument;
   // 1.
   FWD_TRACE(2, "handleUpdateExcludeIntf"
                    << " decapIntfKey: " << decapIntfKey);
   // 2. Only an all-interfaces entry can leave interfaces out: a hard rule, on purpose.
   MDL_ASSERT_IN(decapIntfKey.intfId() == emptyIntfId, sourceFile);
   FirstException errors;
   // 3.
   if (watched->decapIntfHas(decapIntfKey) && watched->tunnelType() != TunnelType::unknown) {
      // 4.
      DecapExcludeIntfSet const now = watched->decapExcludeIntfSet(decapIntfKey);
      DecapExcludeIntfSet const before = prevDecapExcludeIntfSet(decapIntfKey);
      // A hook that changes the set back is to find a change.
      errors.attempt([&] { prevDecapExcludeIntfSetIs(decapIntfKey, now); });
      // 5.
      auto const changed = [&](DecapExcludeIntfSet const& in, DecapExcludeIntfSet const& notIn,
                               bool excluded) {
         for (auto const& intfId : in.excludeIntf()) {
            if (notIn.excludeIntf(intfId) || isMarkedForDeletion()) continue;
            errors.attempt([&] {
               handleExcludeIntfStatusChange({intfId, decapIntfKey.family()}, excluded);
            });
         }
      };
      changed(now, before, true);
      changed(before, now, false);
   }
   // 6.
   errors.attempt([&] {
      auto const* const current = watched->decapExcludeIntfSet().find(decapIntfKey);
      prevDecapExcludeIntfSetIs(decapIntfKey,
                                current != nullptr ? *current : DecapExcludeIntfSet(decapIntfKey));
   });
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::handleExcludeIntfStatusChange(DecapIntfKey const& keyArgument,
                                                                   bool excluded) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (!stateMachine || !group()) return;
   DecapIntfKey const decapIntfKey = keyArgument;
   // 1.
   FWD_TRACE(2, "handleExcludeIntfStatusChange" << decapIntfKey << excluded);
   FirstException errors;
   if (decapIntfKey.family() == Pkt::familyIpv6) {
      // 2.
      excludeIntfIp6(decapIntfKey.intfId(), excluded, errors);
   } else if (decapIntfKey.family() == Pkt::familyIpv4) {
      // 3.
      excludeIntfIp(decapIntfKey.intfId(), excluded, errors);
   } else {
      // 4.
      MDL_ASSERT_IN(decapIntfKey.family() == Pkt::familyIpv4, sourceFile);
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::excludeIntfIp(Pkt::IntfId const& intfId, bool excluded,
                                                   FirstException& errors) {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const reactor = stateMachine->mdlIpIntfStatus(intfId);
   auto const status = reactor ? reactor->status() : nullptr;
   if (!status || !Admission::takesPart(intfId, status->vrf())) return;
   // An interface that has an entry of its own is none of the exclude set's business.
   if (group()->decapIntfHas({intfId, Pkt::familyIpv4})) return;
   // The current addresses are the recorded ones from here on, so that the next change withdraws
   // the right ones.
   errors.attempt([&] { reactor->catchUp(); });
   // A hook may have taken the interface, whose next status is followed by then.
   auto const isCurrent = [&] { return group() && stateMachine->ipIntfStatus(intfId) == status; };
   auto const apply = [&](Pkt::IpAddr addr, AddressRole role, std::uint32_t length) {
      if (!isCurrent()) return;
      if (Admission(*group()).admits(intfId, role) == excluded) return;
      errors.attempt([&] {
         handleIpIntfStatusChange(Pkt::IpGenPrefix(addr), excluded,
                                  {intfId, role, Pkt::IpGenPrefix(addr, length)});
      });
   };
   Pkt::IpAddr const primary = status->addrWithMask().addr();
   if (!primary.isZero() && isCurrent()) {
      errors.attempt([&] { stateMachine->decapIntfIpIs(intfId)->primaryIpIs(primary); });
      apply(primary, AddressRole::primary, Pkt::IpAddr::bits);
   }
   auto const record = intfAddressType(Pkt::emptyIntfId);
   if (!record || record->addrType() == AddressType::primary) return;
   for (auto const& entry : status->activeSecondaryWithMask().walkSorted()) {
      if (!entry.key.isZero()) apply(entry.key.addr(), AddressRole::secondary, entry.key.length());
   }
   Pkt::IpAddr const virtualAddr = status->virtualIp();
   if (!virtualAddr.isZero() && isCurrent()) {
      errors.attempt([&] { stateMachine->decapIntfIpIs(intfId)->virtualIpIs(virtualAddr); });
      apply(virtualAddr, AddressRole::virtualIp, Pkt::IpAddr::bits);
   }
}

void FwdDecapGroupSm::MdlDecapGroup::excludeIntfIp6(Pkt::IntfId const& intfId, bool excluded,
                                                    FirstException& errors) {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const status = stateMachine->ip6IntfStatus(intfId);
   if (!status || !Admission::takesPart(intfId, status->vrf())) return;
   if (group()->decapIntfHas({intfId, Pkt::familyIpv6})) return;
   for (auto const& entry : status->addr().walk()) {
      Pkt::Ip6Addr const& addr = entry.key.addr();
      if (addr.isLinkLocal()) continue;
      if (!group() || stateMachine->ip6IntfStatus(intfId) != status) break;
      if (Admission(*group()).admits(intfId, AddressRole::ip6) == excluded) continue;
      errors.attempt([&] {
         handleIpIntfStatusChange(
             Pkt::IpGenPrefix(addr), excluded,
             {intfId, AddressRole::ip6, Pkt::IpGenPrefix(addr, entry.key.length())});
      });
   }
}

/// Records the sets that the configuration has now, for a group whose keys are derived anew: the
/// walks go by the configuration, and the next change is a change against it.
void FwdDecapGroupSm::MdlDecapGroup::followExcludeSets() {
   prevDecapExcludeIntfSetDelAll();
   if (!following_) return;  // the replay records them
   if (auto const watched = group()) {
      for (auto const& entry : watched->decapExcludeIntfSet()) {
         prevDecapExcludeIntfSetIs(entry.key, entry.value);
      }
   }
}

Tunnel::Decap::DecapExcludeIntfSet FwdDecapGroupSm::MdlDecapGroup::prevDecapExcludeIntfSet(
    DecapIntfKey const& decapIntfKey) const {
   auto const* const set = prevExclude_.find(decapIntfKey);
   return set != nullptr ? *set : DecapExcludeIntfSet(decapIntfKey);
}

bool FwdDecapGroupSm::MdlDecapGroup::wasExcluded(DecapIntfKey const& intf) const {
   auto const* const set = prevExclude_.find({Pkt::emptyIntfId, intf.family()});
   return set != nullptr && set->excludeIntf(intf.intfId());
}

void FwdDecapGroupSm::MdlDecapGroup::prevDecapExcludeIntfSetIs(DecapIntfKey const& key,
                                                               DecapExcludeIntfSet const& set) {
   prevExclude_.insertOrAssign(key, set);
}

}  // namespace Fwd
