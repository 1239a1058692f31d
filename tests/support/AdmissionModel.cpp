#include "support/AdmissionModel.h"

#include <algorithm>
#include <string>

namespace Support {

namespace {

using Fwd::AddressRole;
using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::TunnelType;
using Group = AdmissionModel::Group;

bool neverTakesPart(Pkt::IntfId const& intfId, L3::VrfName const& vrf) {
   std::string_view const name = intfId.name().view();
   return name.starts_with("Management") || name.starts_with("Internal") ||
          vrf.name().view() != "default";
}

/// The entry that decides for an interface: its own, or the one for all that it is not left out of.
DecapIntf const* decider(Group const& group, Pkt::IntfId const& intfId, std::uint32_t family) {
   if (DecapIntf const* const own = group.decapIntf().find({intfId, family})) return own;
   Tunnel::Decap::DecapIntfKey const all(Pkt::emptyIntfId, family);
   auto const* const excluded = group.decapExcludeIntfSet().find(all);
   if (excluded != nullptr && excluded->excludeIntf(intfId)) return nullptr;
   return group.decapIntf().find(all);
}

char const* roleText(AddressRole role) {
   switch (role) {
      case AddressRole::primary: return "primary";
      case AddressRole::secondary: return "secondary";
      case AddressRole::virtualIp: return "virtual";
      case AddressRole::ip6: return "ip6";
      case AddressRole::unnamed: return "unnamed";
   }
   return "?";
}

}  // namespace

Pkt::IpGenPrefix ModelOrigin::destination() const {
   return address.isIpv4() ? Pkt::IpGenPrefix(address.ipAddr())
                           : Pkt::IpGenPrefix(address.ip6Addr());
}

std::string modelOriginText(ModelOrigin const& origin) {
   return origin.intfId.name().stdString() + " " + roleText(origin.role) + " " +
          origin.address.stringValue().stdString();
}

void AdmissionModel::admitIp(Group const& group, Ip::IpIntfStatus const& status,
                             Origins& origins) const {
   Pkt::IntfId const& intfId = status.intfId();
   if (neverTakesPart(intfId, status.vrf()) || isAdrift(intfId, 1)) return;
   DecapIntf const* const entry = decider(group, intfId, 1);
   if (entry == nullptr) return;
   Pkt::IpAddr const primary = status.addrWithMask().addr();
   bool const all = entry->addressType() != AddressType::primary;
   if (!primary.isZero()) {
      origins.push_back({intfId, AddressRole::primary, Pkt::IpGenPrefix(primary)});
      if (all && status.virtualAddr()) {
         origins.push_back({intfId, AddressRole::virtualIp, Pkt::IpGenPrefix(primary)});
      }
   }
   if (!all) return;
   for (auto const& secondary : status.activeSecondaryWithMask()) {
      if (secondary.key.addr().isZero()) continue;
      origins.push_back({intfId, AddressRole::secondary,
                         Pkt::IpGenPrefix(secondary.key.addr(), secondary.key.length())});
   }
}

void AdmissionModel::admitIp6(Group const& group, Ip6::IntfStatus const& status,
                              Origins& origins) const {
   Pkt::IntfId const& intfId = status.intfId();
   if (neverTakesPart(intfId, status.vrf()) || isAdrift(intfId, 2)) return;
   if (decider(group, intfId, 2) == nullptr) return;
   for (auto const& addr : status.addr()) {
      if (addr.key.addr().isLinkLocal()) continue;
      origins.push_back(
          {intfId, AddressRole::ip6, Pkt::IpGenPrefix(addr.key.addr(), addr.key.length())});
   }
}

AdmissionModel::Origins AdmissionModel::admitted(Group const& group) const {
   Origins origins;
   if (!running_ || group.tunnelType() == TunnelType::unknown) return origins;
   for (auto const& entry : ip_->ipIntfStatus()) admitIp(group, *entry.value, origins);
   for (auto const& entry : ip6_->intf()) admitIp6(group, *entry.value, origins);
   std::ranges::sort(origins);
   return origins;
}

void AdmissionModel::appeared(Pkt::IntfId const& intfId, std::uint32_t family) {
   for (auto const& group : config_->decapGroup()) {
      Origins const& before = held(*group.value);
      for (ModelOrigin const& origin : admitted(*group.value)) {
         if (origin.intfId != intfId || origin.family() != family) continue;
         if (origin.role == AddressRole::primary || origin.role == AddressRole::virtualIp) continue;
         // What the group has already from the object before, it keeps.
         if (std::ranges::binary_search(before, origin)) continue;
         untold_.insert({group.key, origin});
      }
   }
}

void AdmissionModel::removed(Pkt::IntfId const& intfId, std::uint32_t family) {
   adrift_.erase({intfId, family});
}

void AdmissionModel::told(ModelOrigin const& origin) {
   std::erase_if(untold_, [&](Untold const& untold) { return untold.second == origin; });
}

void AdmissionModel::applied(Group const& group, EntryKey const& key) {
   std::erase_if(untold_, [&](Untold const& untold) {
      if (untold.first != group.name() || untold.second.family() != key.family()) return false;
      DecapIntf const* const entry = decider(group, untold.second.intfId, untold.second.family());
      return entry != nullptr && entry->key() == key;
   });
}

void AdmissionModel::appliedTo(Group const& group, Pkt::IntfId const& intfId,
                               std::uint32_t family) {
   std::erase_if(untold_, [&](Untold const& untold) {
      return untold.first == group.name() && untold.second.intfId == intfId &&
             untold.second.family() == family;
   });
}

void AdmissionModel::rebuilt(Group const& group) {
   std::erase_if(untold_, [&](Untold const& untold) { return untold.first == group.name(); });
}

void AdmissionModel::vrfChangedSilently(Pkt::IntfId const& intfId, std::uint32_t family) {
   adrift_.insert({intfId, family});
}

void AdmissionModel::settle() {
   held_.clear();
   std::set<Untold> still;
   for (auto const& group : config_->decapGroup()) {
      Origins& held = held_[group.key];
      held = admitted(*group.value);
      if (untold_.empty()) continue;
      std::erase_if(held, [&](ModelOrigin const& origin) {
         if (!untold_.contains({group.key, origin})) return false;
         still.insert({group.key, origin});
         return true;
      });
   }
   // An address that a group no longer admits is taken when it is admitted again.
   untold_ = std::move(still);
}

AdmissionModel::Origins const& AdmissionModel::held(Group const& group) const {
   static Origins const none;
   auto const found = held_.find(group.name());
   return found == held_.end() ? none : found->second;
}

}  // namespace Support
