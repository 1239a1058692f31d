#include "agent/Reload.h"

#include "agent/World.h"
#include "mdl/Collection.h"

#include <unordered_set>
#include <vector>

namespace Agent {

namespace {

using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;

/// The members of a list, for looking up whether something is one.
template <class Key>
Mdl::Collection<Key, bool> members(std::vector<Key> const& list) {
   Mdl::Collection<Key, bool> found;
   for (Key const& key : list) found.tryInsert(key, true);
   return found;
}

template <class Value>
Value const* withKey(std::vector<Value> const& list, DecapIntfKey const& key) {
   for (Value const& each : list) {
      if (each.key() == key) return &each;
   }
   return nullptr;
}

}  // namespace

template <class Change>
void Reload::attempt(Change const& change) {
   ++made_;
   try {
      change();
   } catch (Mdl::Exception const& fault) {
      onFault_(fault);
   }
}

void Reload::groupsAre(std::vector<GroupConfiguration> const& groups) {
   std::unordered_set<Mdl::String> wanted;
   for (auto const& group : groups) wanted.insert(group.name);
   for (auto const& entry : world_.groups().walk()) {
      if (wanted.contains(entry.key)) continue;
      Mdl::String const name = entry.key;
      changes_.prefixesRemoved += entry.value->decapIp().size();
      ++changes_.groupsRemoved;
      attempt([&] { world_.groupDel(name); });
   }
   for (auto const& group : groups) groupIs(group);
}

void Reload::groupIs(GroupConfiguration const& wanted) {
   bool const known = world_.group(wanted.name) != nullptr;
   // One that comes with its keys has them programmed anew for each of its attributes.
   if (!known) attempt([&] { world_.groupIs(World::newGroup(wanted.name)); });
   Mdl::Ptr<DecapGroup> const group = world_.group(wanted.name);
   std::size_t const before = made_;
   thin(*group, wanted);
   exclude(*group, wanted);
   recast(*group, wanted);
   fill(*group, wanted);
   if (!known) {
      ++changes_.groupsAdded;
   } else if (made_ != before) {
      ++changes_.groupsChanged;
   }
}

/// What goes.
void Reload::thin(DecapGroup& group, GroupConfiguration const& wanted) {
   auto const prefixes = members(wanted.decapIps);
   std::vector<Pkt::IpGenPrefix> gone;
   for (auto const& entry : group.decapIp()) {
      if (!prefixes.contains(entry.key)) gone.push_back(entry.key);
   }
   changes_.prefixesRemoved += gone.size();
   if (!gone.empty()) attempt([&] { group.decapIpDelEach(gone); });
   for (auto const& entry : group.decapIntf().walk()) {
      if (withKey(wanted.decapInterfaces, entry.key) != nullptr) continue;
      attempt([&, key = entry.key] { group.decapIntfDel(key); });
   }
}

/// Exclusions, which may make others go and others come.
void Reload::exclude(DecapGroup& group, GroupConfiguration const& wanted) {
   for (auto const& entry : group.decapExcludeIntfSet().walk()) {
      if (withKey(wanted.excludeInterfaces, entry.key) != nullptr) continue;
      attempt([&, key = entry.key] { group.decapExcludeIntfSetDel(key); });
   }
   for (DecapExcludeIntfSet const& set : wanted.excludeInterfaces) {
      DecapExcludeIntfSet const* const known = group.decapExcludeIntfSet().find(set.key());
      if (known != nullptr && *known == set) continue;
      attempt([&] { group.decapExcludeIntfSetIs(set); });
   }
}

/// What every key carries. Each change takes all keys of the group out and in again.
void Reload::recast(DecapGroup& group, GroupConfiguration const& wanted) {
   if (group.tunnelType() != wanted.tunnelType) {
      attempt([&] { group.tunnelTypeIs(wanted.tunnelType); });
   }
   if (group.destPort() != wanted.destPort) attempt([&] { group.destPortIs(wanted.destPort); });
   if (group.payloadType() != wanted.payloadType) {
      attempt([&] { group.payloadTypeIs(wanted.payloadType); });
   }
   if (group.forwardingVrf() != wanted.vrf) attempt([&] { group.forwardingVrfIs(wanted.vrf); });
}

/// What comes.
void Reload::fill(DecapGroup& group, GroupConfiguration const& wanted) {
   std::vector<Pkt::IpGenPrefix> fresh;
   for (auto const& prefix : wanted.decapIps) {
      if (!group.decapIpHas(prefix)) fresh.push_back(prefix);
   }
   changes_.prefixesAdded += fresh.size();
   if (!fresh.empty()) attempt([&] { group.decapIpIsEach(fresh); });
   for (DecapIntf const& entry : wanted.decapInterfaces) {
      DecapIntf const* const known = group.decapIntf().find(entry.key());
      if (known != nullptr && *known == entry) continue;
      attempt([&] { group.decapIntfIs(entry); });
   }
}

void Reload::interfaceIs(InterfaceConfiguration const& wanted) {
   Interface const* const known = world_.interfaces().find(wanted.name);
   if (known == nullptr) {
      ++changes_.interfacesAdded;
      enter(wanted);
      return;
   }
   Interface const interface = *known;
   if (interface.vrf() != wanted.vrf) {
      ++changes_.interfacesChanged;
      attempt([&] { world_.interfaceDel(wanted.name); });
      enter(wanted);
      return;
   }
   std::size_t const before = made_;
   bring(interface, wanted);
   if (made_ != before) ++changes_.interfacesChanged;
}

/// A machine that runs looks at the primary address alone when an interface appears, and hears of
/// the others only as they come: so the interface appears without any.
void Reload::enter(InterfaceConfiguration const& wanted) {
   Interface const interface = world_.interfaceFor(wanted.name);
   world_.vrfIs(interface, wanted.vrf);
   attempt([&] { world_.interfaceIs(interface); });
   bring(interface, wanted);
}

void Reload::bring(Interface const& interface, InterfaceConfiguration const& wanted) {
   Ip::IpIntfStatus& ip = *interface.ip;
   Ip6::IntfStatus& ip6 = *interface.ip6;
   auto const secondary = members(wanted.secondary);
   for (auto const& entry : ip.activeSecondaryWithMask().walk()) {
      if (secondary.contains(entry.key)) continue;
      attempt([&, addr = entry.key] { ip.activeSecondaryWithMaskDel(addr); });
   }
   auto const addrs6 = members(wanted.ipv6);
   for (auto const& entry : ip6.addr().walk()) {
      if (addrs6.contains(entry.key)) continue;
      attempt([&, addr = entry.key] { ip6.addrDel(addr); });
   }
   if (ip.addrWithMask() != wanted.primary) attempt([&] { ip.addrWithMaskIs(wanted.primary); });
   if (ip.virtualAddr() != wanted.isVirtual) attempt([&] { ip.virtualAddrIs(wanted.isVirtual); });
   for (auto const& addr : wanted.secondary) {
      if (ip.activeSecondaryWithMaskHas(addr)) continue;
      attempt([&] { ip.activeSecondaryWithMaskIs(addr); });
   }
   for (auto const& addr : wanted.ipv6) {
      if (!ip6.addrHas(addr)) attempt([&] { ip6.addrIs(addr, {}); });
   }
}

void Reload::interfaceDel(Pkt::IntfId const& name) {
   if (!world_.interfaces().contains(name)) return;
   ++changes_.interfacesRemoved;
   attempt([&] { world_.interfaceDel(name); });
}

void Reload::reviewIs(ReviewConfiguration const& review) {
   if (world_.review() == review) return;
   changes_.settings = true;
   world_.review() = review;
   world_.reviewChanged();
}

}  // namespace Agent
