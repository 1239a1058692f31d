// A group's decap interface entries: which addresses of which interfaces become destinations.

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/Messages.h"

namespace Fwd {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::TunnelType;

/// An entry came, went or changed. What the handler finds is configuration and status of now; what
/// it does not find there any more, because somebody was told of a change first and made another,
/// is given back all the same, and what is there after all is taken.
void FwdDecapGroupSm::MdlDecapGroup::handleIntfEntry(DecapIntfKey const& keyArgument) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   DecapIntfKey const decapIntfKey = keyArgument;
   FirstException errors;
   errors.attempt([&] { handleUpdateIntf(decapIntfKey); });
   errors.attempt([&] { leaveStrays(decapIntfKey); });
   errors.attempt([&] { unheard_.derive(decapIntfKey); });
   listIntf(decapIntfKey);
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateIntf() { FWD_TRACE(2, "handleUpdateIntf"); }

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateIntf(DecapIntfKey const& keyArgument) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = group();
   if (!stateMachine || !watched) return;
   DecapIntfKey const decapIntfKey = keyArgument;
   Pkt::IntfId const& intfId = decapIntfKey.intfId();
   // 1.
   FWD_TRACE(2, "handleUpdateIntf" << decapIntfKey << " tunnelType : " << watched->tunnelType());
   // 2.
   if (watched->tunnelType() == TunnelType::unknown) return;
   // 3. An entry of no known family names no address.
   if (decapIntfKey.family() == Pkt::familyIpv6) return handleUpdateIntfV6(decapIntfKey);
   if (decapIntfKey.family() != Pkt::familyIpv4) return;
   // 4.
   if (!Admission::isFrontPanel(intfId)) return;
   // 5. A record without its tunnel type is that of an entry that was applied in part.
   auto const before = intfAddressType(intfId);
   bool const inPart = before && before->tunnelType() == TunnelType::unknown;
   Record const outcome = updateRecord(decapIntfKey);
   if (outcome == Record::upToDate || outcome == Record::missing) return;
   bool const update = outcome == Record::changed;
   // 6.
   auto const record = intfAddressType(intfId);
   FWD_TRACE(2, "handleUpdateIntf" << decapIntfKey << " address-type : " << record->addrType()
                                   << " tunnelType: " << record->tunnelType()
                                   << " update : " << update);
   // While its addresses are given back an entry that is gone does not pass for applied: a hook
   // may configure it again.
   if (!watched->decapIntfHas(decapIntfKey)) record->tunnelTypeIs(TunnelType::unknown);
   try {
      if (intfId == Pkt::emptyIntfId) {
         // 7. In part may be any part: all roles are looked at then.
         FirstException errors;
         if (inPart) errors.attempt([&] { handleUpdateIntfAll(decapIntfKey, !update); });
         errors.attempt([&] { handleUpdateIntfAll(decapIntfKey, update); });
         errors.rethrow();
      } else if (!applyNamedEntry(decapIntfKey)) {
         return;
      }
   } catch (...) {
      // Applied in part, whatever the record says. It stays, so that an entry that goes gives back
      // what it took; and the next time must not pass for a repetition.
      if (record) record->tunnelTypeIs(TunnelType::unknown);
      if (!watched->decapIntfHas(decapIntfKey)) intfAddressTypeDel(intfId);
      throw;
   }
   // 11.
   if (!watched->decapIntfHas(decapIntfKey)) intfAddressTypeDel(intfId);
}

/// Brings the record of an entry in line with the configuration, and says what that means.
FwdDecapGroupSm::MdlDecapGroup::Record FwdDecapGroupSm::MdlDecapGroup::updateRecord(
    DecapIntfKey const& decapIntfKey) {
   auto const watched = group();
   auto record = intfAddressType(decapIntfKey.intfId());
   auto const* const entry = watched->decapIntf().find(decapIntfKey);
   if (entry == nullptr) return record ? Record::applied : Record::missing;
   auto outcome = Record::applied;
   if (!record) {
      record = intfAddressTypeIs(decapIntfKey.intfId());
   } else if (record->addrType() != entry->addressType()) {
      outcome = Record::changed;
   } else if (record->tunnelType() == watched->tunnelType()) {
      FWD_TRACE_AS("handleUpdateIntf", 2,
                   "handleUpdateIntf" << decapIntfKey << " address-type : " << entry->addressType()
                                      << " No Op");
      return Record::upToDate;
   }
   record->addrTypeIs(entry->addressType());
   record->tunnelTypeIs(watched->tunnelType());
   return outcome;
}

/// Steps 8 to 10 for one named interface. False when the record is to stay whatever becomes of the
/// entry.
bool FwdDecapGroupSm::MdlDecapGroup::applyNamedEntry(DecapIntfKey const& decapIntfKey) {
   // 8.
   auto const ip = stateMachine_->ipStatus();
   auto const status = ip ? ip->ipIntfStatus(decapIntfKey.intfId()) : nullptr;
   stateMachine_->decapIntfIpIs(decapIntfKey.intfId());
   if (!status) return true;
   // The record of an interface outside the default VRF stays, deliberately. Without its tunnel
   // type it does not pass for applied when the entry is configured again.
   if (status->vrf() != L3::VrfName::defaultVrf()) return false;
   // 9., 10. Admission decides for each address, by this entry while it exists and by the
   //         all-interfaces entry from then on. So an entry that comes takes the interface over,
   //         one that changes its type gains or loses the secondary and virtual addresses, and
   //         one that goes hands back what the all-interfaces entry admits.
   updateIntfIp(decapIntfKey, status, true, true, true);
   return true;
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateIntfAll(DecapIntfKey const& decapIntfKey,
                                                         bool update) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = group();
   auto const record = intfAddressType(Pkt::emptyIntfId);
   // 1.
   if (!stateMachine || !record || tunnelType() == TunnelType::unknown) return;
   FWD_TRACE(2, "handleUpdateIntfAll" << decapIntfKey << " address-type : " << record->addrType());
   bool const allAddresses = update || record->addrType() != AddressType::primary;
   auto const ip = stateMachine->ipStatus();
   if (!ip) return;
   // 2., 3.
   FirstException errors;
   for (auto const& entry : ip->ipIntfStatus().walk()) {
      if (isMarkedForDeletion()) break;
      auto const& status = *entry.value;
      if (!Admission::takesPart(entry.key, status.vrf())) continue;
      DecapIntfKey const intf{entry.key, Pkt::familyIpv4};
      if (!Admission(*watched).isLeftToAll(intf)) {
         errors.attempt([&] { unheard_.note(intf); });
         continue;
      }
      errors.attempt(
          [&] { updateIntfIp(decapIntfKey, entry.value, !update, allAddresses, allAddresses); });
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::updateIntfIp(DecapIntfKey const& decapIntfKey,
                                                  Mdl::Ptr<Ip::IpIntfStatus const> const& status,
                                                  bool primaryIp, bool secondaryIp,
                                                  bool virtualIp) {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (!stateMachine) return;  // who watches the machine's records may have removed the group
   Pkt::IntfId const& intfId = status->intfId();
   FirstException errors;
   // A hook may have put the group to rest, or taken its type, or the interface, whose next status
   // is followed by then.
   auto const isCurrent = [&] {
      auto const ip = stateMachine->ipStatus();
      return !isMarkedForDeletion() && tunnelType() != TunnelType::unknown && ip &&
             ip->ipIntfStatus(intfId) == status;
   };
   // What other groups hold goes by the recorded address; one that is not the current one is
   // theirs to give back before the record changes.
   if (auto const reactor = stateMachine->mdlIpIntfStatus(intfId)) {
      errors.attempt([&] { reactor->catchUp(); });
   }
   auto const apply = [&](Pkt::IpAddr addr, AddressRole role, std::uint32_t length) {
      if (!isCurrent()) return;
      errors.attempt([&] {
         updateDecapKeyFromIntf(decapIntfKey, keyOf(Pkt::IpGenPrefix(addr)),
                                {intfId, role, Pkt::IpGenPrefix(addr, length)});
      });
   };
   Pkt::IpAddr const primary = status->addrWithMask().addr();
   if (primaryIp && !primary.isZero() && isCurrent()) {
      errors.attempt([&] { stateMachine->decapIntfIpIs(intfId)->primaryIpIs(primary); });
      apply(primary, AddressRole::primary, Pkt::IpAddr::bits);
   }
   if (secondaryIp) {
      for (auto const& entry : status->activeSecondaryWithMask().walkSorted()) {
         if (!entry.key.isZero()) {
            apply(entry.key.addr(), AddressRole::secondary, entry.key.length());
         }
      }
   }
   Pkt::IpAddr const virtualAddr = status->virtualIp();
   if (virtualIp && !virtualAddr.isZero() && isCurrent()) {
      errors.attempt([&] { stateMachine->decapIntfIpIs(intfId)->virtualIpIs(virtualAddr); });
      apply(virtualAddr, AddressRole::virtualIp, Pkt::IpAddr::bits);
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::updateDecapKeyFromIntf(DecapIntfKey const& decapIntfKey,
                                                            DecapKey const& key) {
   updateDecapKeyFromIntf(decapIntfKey, key,
                          {decapIntfKey.intfId(), AddressRole::unnamed, key.dstIp()});
}

void FwdDecapGroupSm::MdlDecapGroup::updateDecapKeyFromIntf(DecapIntfKey const& decapIntfKey,
                                                            DecapKey const& key,
                                                            AddressOrigin const& origin) {
   FWD_TRACE(5, "updateDecapKeyFromIntf" << decapIntfKey << " decapKey=" << key);
   auto const watched = group();
   bool const admitted = origin.role == AddressRole::unnamed
                             ? watched->decapIntfHas(decapIntfKey)
                             : Admission(*watched).admits(origin.intfId, origin.role);
   if (admitted) {
      takeOrigin(key, origin);
   } else {
      leaveOrigin(key, origin);
   }
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateIntfV6(DecapIntfKey const& decapIntfKey) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = group();
   // 1.
   FWD_TRACE(2, "handleUpdateIntfV6");
   // 2.
   auto const ip6 = stateMachine ? stateMachine->ip6Status() : nullptr;
   if (!ip6 || !watched) return;
   if (decapIntfKey.intfId() != Pkt::emptyIntfId) {
      auto const status = ip6->intf(decapIntfKey.intfId());
      if (status) updateIntfIp6(decapIntfKey, *status);
      return;
   }
   FirstException errors;
   for (auto const& entry : ip6->intf().walk()) {
      if (isMarkedForDeletion()) break;
      DecapIntfKey const intf{entry.key, Pkt::familyIpv6};
      if (!Admission(*watched).isLeftToAll(intf)) {
         errors.attempt([&] { unheard_.note(intf); });
         continue;
      }
      errors.attempt([&] { updateIntfIp6(decapIntfKey, *entry.value); });
   }
   errors.rethrow();
}

/// Step 3 for one interface.
void FwdDecapGroupSm::MdlDecapGroup::updateIntfIp6(DecapIntfKey const& decapIntfKey,
                                                   Ip6::IntfStatus const& status) {
   if (!Admission::takesPart(status.intfId(), status.vrf())) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   FirstException errors;
   for (auto const& entry : status.addr().walk()) {
      // As for IPv4, a hook may have changed whatever this stands on.
      auto const ip6 = stateMachine->ip6Status();
      bool const isCurrent = !isMarkedForDeletion() && tunnelType() != TunnelType::unknown && ip6 &&
                             ip6->intf(status.intfId()).get() == &status;
      if (!isCurrent) break;
      Pkt::Ip6Addr const& addr = entry.key.addr();
      if (addr.isLinkLocal()) continue;
      errors.attempt([&] {
         updateDecapKeyFromIntf(
             decapIntfKey, keyOf(Pkt::IpGenPrefix(addr)),
             {status.intfId(), AddressRole::ip6, Pkt::IpGenPrefix(addr, entry.key.length())});
      });
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::deriveIntf(DecapIntfKey const& intf) {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (!stateMachine) return;
   FirstException errors;
   if (intf.family() == Pkt::familyIpv6) {
      if (auto const status = stateMachine->ip6IntfStatus(intf.intfId())) {
         errors.attempt([&] { updateIntfIp6(intf, *status); });
      }
   } else {
      auto const status = stateMachine->ipIntfStatus(intf.intfId());
      if (status && Admission::takesPart(intf.intfId(), status->vrf())) {
         errors.attempt([&] { updateIntfIp(intf, status, true, true, true); });
      }
   }
   // Nothing was refused, and nothing taken, where the interface has another status by now.
   errors.attempt([&] { unheard_.note(intf); });
   errors.rethrow();
}

bool FwdDecapGroupSm::MdlDecapGroup::hasKeyOf(Pkt::IpGenPrefix const& prefix) {
   if (!group()) return false;
   DecapKey const key = keyOf(prefix);
   IntfKeyUse const* const use = fromIntf_.find(hashedKey(key));
   if (use != nullptr && use->isMember()) return true;
   // The address may still have its old key.
   if (!mayHaveOldKeys()) return false;
   for (auto const& entry : fromIntf_.walk()) {
      if (entry.key.dstIp() == key.dstIp() && entry.value.isMember()) return true;
   }
   return false;
}

/// Handles every decap interface entry, those that name an interface first: they decide for their
/// interface, and the all-interfaces entry then finds it taken.
void FwdDecapGroupSm::MdlDecapGroup::forEachIntfEntry(FirstException& errors, bool withExcludes) {
   auto const watched = group();
   for (bool const allInterfaces : {false, true}) {
      for (auto const& entry : watched->decapIntf().walk()) {
         if (isMarkedForDeletion() || tunnelType() == TunnelType::unknown) return;
         if ((entry.key.intfId() == Pkt::emptyIntfId) != allInterfaces) continue;
         errors.attempt([&] { handleUpdateIntf(entry.key); });
         if (allInterfaces && withExcludes) {
            errors.attempt([&] { handleUpdateExcludeIntf(entry.key); });
         }
      }
   }
   // Entries are applied one by one: those that came last had not been heard of by the first.
   unheard_.dropHeard();
}

Mdl::Ptr<IntfAddressType> FwdDecapGroupSm::MdlDecapGroup::intfAddressType(
    Pkt::IntfId const& intfId) const {
   auto const* const record = intfAddressType_.find(intfId);
   return record == nullptr ? nullptr : *record;
}

Mdl::Ptr<IntfAddressType> FwdDecapGroupSm::MdlDecapGroup::intfAddressTypeIs(
    Pkt::IntfId const& intfId) {
   if (auto known = intfAddressType(intfId)) return known;
   auto record = Mdl::allocate<IntfAddressType>(intfId);
   intfAddressType_.insertOrAssign(intfId, record);
   return record;
}

}  // namespace Fwd
