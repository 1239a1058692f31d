// Why a group holds keys from interfaces: each address is taken and left once, and what is held can
// be given back whatever configuration and status say by then.

#include "FwdL3Unicast/Admission.h"
#include "FwdL3Unicast/GroupKeysImpl.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlDgConfig.h"

namespace Fwd {

void FwdDecapGroupSm::MdlDecapGroup::takeOrigin(DecapKey const& keyOfNow,
                                                AddressOrigin const& origin) {
   // An origin whose key kept its old values has its reference. Inside a re-keying, the walk moves
   // the old key.
   DecapKey const heldKey = rekeyDepth_ == 0 ? keyOfOrigin(keyOfNow, origin) : keyOfNow;
   HashedKey const key = hashedKey(heldKey);
   origins_.add(origin);
   listIntf(HeldOrigins::interfaceOf(origin));
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
   DecapIntfKey const intf = HeldOrigins::interfaceOf(origin);
   FirstException errors;
   // Noted first: a hook that is called for the address may take back what it is left for.
   errors.attempt([&] { unheard_.note(intf); });
   origins_.remove(origin);
   listIntf(intf);
   errors.attempt([&] { leaveOriginAt(heldKey, origin); });
   if (rekeyDepth_ != 0 || missedChanges_) {
      // It may stand under its old key and a new one, unless a hook has brought it back.
      for (auto const& entry : fromIntf_.walk()) {
         if (origins_.has(origin)) break;
         if (entry.value.hasOrigin(origin)) {
            errors.attempt([&] { leaveOriginAt(entry.key, origin); });
         }
      }
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::leaveOriginAt(DecapKey const& heldKey,
                                                   AddressOrigin const& origin) {
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
   if ((use != nullptr && use->hasOrigin(origin)) || !origins_.has(origin)) return key;
   for (auto const& entry : fromIntf_.walk()) {
      if (entry.value.hasOrigin(origin)) return entry.key;
   }
   return key;
}

template <class Which>
void FwdDecapGroupSm::MdlDecapGroup::leaveEach(HeldOrigins::Origins const& held,
                                               Which const& which) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   FirstException errors;
   for (AddressOrigin const& origin : held) {
      if (!which(origin)) continue;
      // A reactor that was detached has no values, and finds the key by the origin.
      DecapKey const key = group() ? keyOf(origin.destination()) : DecapKey();
      errors.attempt([&] { leaveOrigin(key, origin); });
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::leaveIntf(DecapIntfKey const& intf,
                                               std::function<bool()> const& onlyStrays) {
   leaveEach(origins_.of(intf),
             [&](AddressOrigin const& origin) { return !onlyStrays() || isStray(origin); });
}

void FwdDecapGroupSm::MdlDecapGroup::leaveStrays(DecapIntfKey const& intf) {
   auto const stray = [this](AddressOrigin const& origin) { return isStray(origin); };
   bool const allIntfs = intf.intfId() == Pkt::emptyIntfId;
   leaveEach(allIntfs ? origins_.of(intf.family()) : origins_.of(intf), stray);
}

/// Whether the interface does not have the address in that role, or the group does not admit it. As
/// for what is taken, it is the status that counts, heard of or not. A group that a hook has put to
/// rest has given everything back.
bool FwdDecapGroupSm::MdlDecapGroup::isStray(AddressOrigin const& origin) const {
   auto const watched = group();
   // Whoever reported an address without saying why takes it back.
   if (!watched || isMarkedForDeletion() || origin.role == AddressRole::unnamed) return false;
   if (!Admission(*watched).admits(origin.intfId, origin.role)) return true;
   Pkt::IpGenPrefix const& address = origin.address;
   if (origin.role == AddressRole::ip6) {
      auto const ip6 = stateMachine_->ip6Status();
      auto const status = ip6 ? ip6->intf(origin.intfId) : nullptr;
      return !status || !Admission::takesPart(origin.intfId, status->vrf()) ||
             !status->addrHas(Pkt::Ip6AddrWithMask(address.ip6Addr(), address.length()));
   }
   auto const ip = stateMachine_->ipStatus();
   auto const status = ip ? ip->ipIntfStatus(origin.intfId) : nullptr;
   if (!status || !Admission::takesPart(origin.intfId, status->vrf())) return true;
   if (origin.role == AddressRole::primary)
      return status->addrWithMask().addr() != address.ipAddr();
   if (origin.role == AddressRole::virtualIp) return status->virtualIp() != address.ipAddr();
   return !status->activeSecondaryWithMaskHas(
       Pkt::IpAddrWithMask(address.ipAddr(), address.length()));
}

// Under which interfaces the group is listed.

void FwdDecapGroupSm::MdlDecapGroup::stateMachineIs(FwdDecapGroupSm* stateMachine) {
   if (stateMachine == nullptr && stateMachine_ != nullptr) {
      for (auto const& entry : listed_) strikeOff(entry.key);
      listed_.clear();
   }
   stateMachine_ = stateMachine;
}

/// Lists the group as a user of an interface exactly while it has an entry for it, or has not heard
/// yet that the entry has gone, or holds a key for one of its addresses.
void FwdDecapGroupSm::MdlDecapGroup::listIntf(DecapIntfKey const& intf) noexcept {
   auto const config = stateMachine_ == nullptr ? nullptr : stateMachine_->mdlDgConfig();
   if (!config) return;
   auto const* const watched = static_cast<DecapGroup const*>(notifier().get());
   bool const uses = origins_.hasAny(intf) || (watched != nullptr && watched->decapIntfHas(intf)) ||
                     isApplied(intf);
   if (uses == listed_.contains(intf)) return;
   if (uses) {
      config->interfaceUsers().add(intf, name_);
      try {
         listed_.tryInsert(intf, true);
      } catch (...) {
         // It stays listed as long as the machine lives, which costs others a look at it.
      }
   } else {
      listed_.erase(intf);
      strikeOff(intf);
   }
}

/// Of IPv6 entries there is no record, and no need: each that is heard of is applied anew.
bool FwdDecapGroupSm::MdlDecapGroup::isApplied(DecapIntfKey const& intf) const noexcept {
   if (intf.family() != Pkt::familyIpv4) return false;
   // Without its tunnel type a record may outlive the entry.
   auto const* const record = intfAddressType_.find(intf.intfId());
   return record != nullptr && (*record)->tunnelType() != Tunnel::Decap::TunnelType::unknown;
}

/// A hook may have put another group of the same name in the place of this one, and that one may
/// stand under the same interface.
void FwdDecapGroupSm::MdlDecapGroup::strikeOff(DecapIntfKey const& intf) noexcept {
   auto const& config = stateMachine_->mdlDgConfig();
   if (!config) return;
   auto const successor = stateMachine_->mdlDecapGroup(name_);
   bool const isTakenOver =
       successor && successor.get() != this && successor->listed_.contains(intf);
   if (!isTakenOver) config->interfaceUsers().remove(intf, name_);
}

void FwdDecapGroupSm::MdlDecapGroup::listIntfs() noexcept {
   for (auto const& entry : listed_.walk()) listIntf(entry.key);
   auto const watched = group();
   if (!watched) return;
   for (auto const& entry : watched->decapIntf()) listIntf(entry.key);
}

}  // namespace Fwd
