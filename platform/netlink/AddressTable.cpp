#include "platform/netlink/AddressTable.h"

#include "platform/netlink/InterfaceObserver.h"

#include <limits>
#include <utility>
#include <variant>

#include <linux/netlink.h>

namespace Netlink {

void AddressTable::apply(nlmsghdr const& message) {
   auto const fact = readFact(message);
   if (!fact) {
      ++malformed_;
      return;
   }
   std::visit([this](auto const& known) { change(known); }, *fact);
}

bool AddressTable::apply(Datagram datagram) {
   MessageWalk walk(datagram);
   bool overrun = false;
   while (auto const* const message = walk.next()) {
      if (message->nlmsg_type == NLMSG_OVERRUN) overrun = true;
      apply(*message);
   }
   return !overrun && !walk.damaged();
}

void AddressTable::clear() {
   for (auto const& [name, state] : told_) released_.insert(name);
   rows_.clear();
   byName_.clear();
   changed_.clear();
}

void AddressTable::clearIp4() {
   for (auto& [index, row] : rows_) {
      if (row.ip4.empty()) continue;
      row.ip4.clear();
      changed_.insert(index);
   }
}

void AddressTable::clearIp6() {
   for (auto& [index, row] : rows_) {
      if (row.ip6.empty()) continue;
      row.ip6.clear();
      changed_.insert(index);
   }
}

// ---- links --------------------------------------------------------------------------------------

void AddressTable::change(LinkFact const& fact) {
   if (fact.gone) {
      linkDel(fact.index);
   } else {
      linkIs(fact);
   }
}

void AddressTable::linkIs(LinkFact const& fact) {
   Link link{Pkt::IntfId(Mdl::String(fact.name)), fact.master, fact.kind == "vrf", fact.up};
   auto& row = rows_[fact.index];
   if (row.link == link) return;
   bool const concernsMembers = link.isVrf || (row.link && row.link->isVrf);
   if (!row.link || row.link->name != link.name) {
      if (row.link) release(row.link->name);
      claim(link.name, fact.index);
   }
   row.link = std::move(link);
   changed_.insert(fact.index);
   if (concernsMembers) membersChanged(fact.index);
}

/// Its addresses go with it.
void AddressTable::linkDel(LinkIndex index) {
   auto const found = rows_.find(index);
   if (found == rows_.end()) return;
   bool const concernsMembers = found->second.link && found->second.link->isVrf;
   if (found->second.link) release(found->second.link->name);
   rows_.erase(found);
   changed_.erase(index);
   if (concernsMembers) membersChanged(index);
}

void AddressTable::claim(Pkt::IntfId const& name, LinkIndex index) {
   auto const [entry, isNew] = byName_.try_emplace(name, index);
   if (isNew) return;
   // A message that is still to come gives the other one its new name, or says that it is gone.
   auto const loser = std::exchange(entry->second, index);
   rows_[loser].link.reset();
   membersChanged(loser);
}

void AddressTable::release(Pkt::IntfId const& name) {
   byName_.erase(name);
   released_.insert(name);
}

void AddressTable::membersChanged(LinkIndex vrf) {
   for (auto const& [index, row] : rows_) {
      if (row.link && row.link->master == vrf) changed_.insert(index);
   }
}

// ---- addresses ----------------------------------------------------------------------------------

void AddressTable::change(Ip4Fact const& fact) {
   Ip4Key const key{fact.address, fact.peer};
   if (fact.gone) {
      auto const row = rows_.find(fact.index);
      if (row == rows_.end() || row->second.ip4.erase(key) == 0) return;
      changed_.insert(fact.index);
      ++moves_;
      return;
   }
   constexpr std::uint8_t narrowest = std::numeric_limits<std::uint8_t>::max();
   auto const wideness = static_cast<std::uint8_t>(fact.secondary ? 0 : narrowest - fact.scope);
   auto const [entry, isNew] = rows_[fact.index].ip4.try_emplace(key);
   auto& place = entry->second;
   // One that is told again stays where it is. One that is promoted goes behind its new peers.
   if (!isNew && place.secondary == fact.secondary && place.wideness == wideness) return;
   if (!isNew) ++moves_;
   place = {fact.secondary, wideness, ++arrivals_};
   changed_.insert(fact.index);
}

void AddressTable::change(Ip6Fact const& fact) {
   auto const& address = fact.address.addr();
   if (fact.gone) {
      auto const row = rows_.find(fact.index);
      if (row != rows_.end() && row->second.ip6.erase(address) != 0) changed_.insert(fact.index);
      return;
   }
   auto& entry = rows_[fact.index].ip6[address];
   entry = {fact.address.length(), fact.usable};
   changed_.insert(fact.index);
}

// ---- telling ------------------------------------------------------------------------------------

void AddressTable::tell(InterfaceObserver& observer) {
   tellGone(observer);
   tellChanged(observer);
}

/// Takes each name off the list before the call: the observer may do anything, throw included.
void AddressTable::tellGone(InterfaceObserver& observer) {
   while (!released_.empty()) {
      auto const name = *released_.begin();
      released_.erase(released_.begin());
      // Somebody else may have the name by now: then the interface is not gone, it differs.
      if (!byName_.contains(name) && told_.erase(name) != 0) observer.interfaceDel(name);
   }
}

void AddressTable::tellChanged(InterfaceObserver& observer) {
   while (!changed_.empty()) {
      auto const found = rows_.find(*changed_.begin());
      changed_.erase(changed_.begin());
      if (found == rows_.end() || !found->second.link) continue;
      auto const state = stateOf(found->second);
      auto const [told, isNew] = told_.try_emplace(state.name);
      if (!isNew && told->second == state) continue;
      told->second = state;
      observer.interfaceIs(state);
   }
}

/// Of a row that has its link.
InterfaceState AddressTable::stateOf(Row const& row) const {
   InterfaceState state;
   state.name = row.link->name;
   state.vrf = vrfOf(*row.link);

   std::map<Ip4Place, Pkt::IpAddrWithMask> inOrder;
   for (auto const& [key, place] : row.ip4) inOrder.emplace(place, key.address);
   // One address may be there towards several other ends.
   std::set<Pkt::IpAddrWithMask> seen;
   for (auto const& [place, address] : inOrder) {
      if (!seen.insert(address).second) continue;
      if (state.primary.isZero() && !place.secondary) {
         state.primary = address;
      } else {
         state.secondary.push_back(address);
      }
   }

   for (auto const& [address, entry] : row.ip6) {
      if (entry.usable) state.ipv6.emplace_back(address, entry.length);
   }
   return state;
}

L3::VrfName AddressTable::vrfOf(Link const& link) const {
   if (link.isVrf) return L3::VrfName(link.name.name());
   auto const master = rows_.find(link.master);
   if (master == rows_.end() || !master->second.link || !master->second.link->isVrf) {
      return L3::VrfName::defaultVrf();
   }
   return L3::VrfName(master->second.link->name.name());
}

bool AddressTable::isUp(Pkt::IntfId const& name) const {
   auto const entry = byName_.find(name);
   return entry != byName_.end() && rows_.at(entry->second).link->up;
}

}  // namespace Netlink
