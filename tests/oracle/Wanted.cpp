#include "oracle/Wanted.h"

#include <algorithm>

namespace Oracle {

namespace {

constexpr std::uint8_t bitOf(std::uint8_t index) { return static_cast<std::uint8_t>(1u << index); }
constexpr bool has(std::uint32_t set, std::uint8_t index) { return (set >> index & 1) != 0; }

}  // namespace

void Wanted::event(Event const& event) {
   before_ = groups_;
   started_ = passesThrough_ = false;
   derivedAnew_ = replaced_ = rekeyed_ = renewedIntfs_ = 0;

   if (event.kind == Kind::stop || event.kind == Kind::stopKeepingHardware) {
      forgetMachine();
   } else if (event.kind == Kind::configReplace) {
      configReplaced(event);
   } else if (event.kind >= Kind::ipPut) {
      intfEvent(event);
   } else if (event.kind >= Kind::groupPut && event.kind < Kind::configReplace) {
      groupEvent(event);
   }
   // Whatever is there is taken once, by the replay; from then on each change has a notice.
   if (scene_.active() && !running_) running_ = started_ = true;
   if (scene_.active() && !wasActive_ && !started_) caughtUp();
   wasActive_ = scene_.active();
}

void Wanted::groupEvent(Event const& event) {
   std::uint8_t const group = event.group;
   if (event.kind == Kind::groupReplace) {
      if (!scene_.isConfigured(group)) return;
      deriveAnew(group);
      replaced_ |= bitOf(group);
      passesThrough_ = true;
   } else if (event.kind == Kind::groupPut) {
      deriveAnew(group);
      passesThrough_ = true;
   } else if (event.kind == Kind::groupRemove || event.kind == Kind::tunnelType) {
      deriveAnew(group);
   } else if (event.kind == Kind::port) {
      revalue(group, &Values::port);
   } else if (event.kind == Kind::payload) {
      revalue(group, &Values::payload);
   } else if (event.kind == Kind::vrf) {
      revalue(group, &Values::vrf);
   } else if (event.kind == Kind::entrySet || event.kind == Kind::entryRemove ||
              event.kind == Kind::entryAgain) {
      entryApplied(event);
   } else if (event.kind == Kind::excludeSet || event.kind == Kind::excludeRemove) {
      if (looksAway()) driftGroup(group, event.family);
   }
}

void Wanted::configReplaced(Event const& event) {
   passesThrough_ = true;
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      // The entity that was there is kept, with what is held for it.
      if (event.fate(group) == Event::Fate::kept) continue;
      deriveAnew(group);
      if (event.fate(group) == Event::Fate::replaced) replaced_ |= bitOf(group);
   }
}

void Wanted::intfEvent(Event const& event) {
   std::uint8_t const intf = event.intf;
   std::uint8_t const addr = event.addr();
   bool const isIp6 = event.kind >= Kind::ip6Put && event.kind != Kind::ipReplace;
   if (event.kind == Kind::ipReplace) return intfReplaced(event, 1);
   if (event.kind == Kind::ip6Replace) return intfReplaced(event, 2);
   std::uint8_t const family = isIp6 ? 2 : 1;
   bool const leaves = event.kind == Kind::ipRemove || event.kind == Kind::ip6Remove;
   if (looksAway()) drift(intf, family, leaves ? Adrift::untilDerivedAnew : Adrift::untilItLeaves);
   if (event.kind == Kind::ipPut || event.kind == Kind::ip6Put) {
      appeared(intf, family);
   } else if (event.kind == Kind::ipRemove || event.kind == Kind::ip6Remove) {
      comesAshore(intf, family);
   } else if (event.kind == Kind::ipSecondaryAdd || event.kind == Kind::ipSecondaryRemove) {
      told({intf, Role::secondary, addr});
   } else if (event.kind == Kind::ip6AddrAdd || event.kind == Kind::ip6AddrRemove) {
      told({intf, Role::ip6, addr});
   } else if (event.kind == Kind::ipVrf || event.kind == Kind::ip6Vrf) {
      if (running_) drift(intf, family, Adrift::untilItLeaves);
   }
   if (event.kind == Kind::ipPut || event.kind == Kind::ipPrimary) evaluatedAnew(intf);
}

void Wanted::intfReplaced(Event const& event, std::uint8_t family) {
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      Event::Fate const fate = event.fate(intf);
      if (fate == Event::Fate::kept) continue;
      bool const leaves = fate == Event::Fate::lost;
      if (looksAway()) {
         drift(intf, family, leaves ? Adrift::untilDerivedAnew : Adrift::untilItLeaves);
      }
      if (fate == Event::Fate::lost) comesAshore(intf, family);
      if (fate == Event::Fate::replaced) {
         appeared(intf, family);
         if (family == 1) evaluatedAnew(intf);
      }
   }
}

/// Whatever nobody could follow is made up for, and what nobody was told of is found.
void Wanted::caughtUp() {
   untold_.clear();
   adrift_.clear();
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      Values const& now = scene_.group(group).values;
      for (auto& entry : groups_[group].prefixes) entry.second = now;
      for (auto& entry : groups_[group].origins) entry.second = now;
   }
}

/// The primary address, and the virtual one with it, are given back and taken again, changed or
/// not.
void Wanted::evaluatedAnew(std::uint8_t intf) {
   if (!scene_.active()) return;
   renewedIntfs_ |= bitOf(intf);
   for (GroupRefs& refs : groups_) {
      std::erase_if(refs.origins, [intf](auto const& entry) {
         Role const role = entry.first.role;
         return entry.first.intf == intf && (role == Role::primary || role == Role::virtualIp);
      });
   }
}

void Wanted::forgetMachine() {
   running_ = false;
   groups_ = {};
   untold_.clear();
   adrift_.clear();
}

void Wanted::deriveAnew(std::uint8_t group) {
   groups_[group] = {};
   derivedAnew_ |= bitOf(group);
   std::erase_if(untold_, [&](auto const& untold) { return untold.first == group; });
   std::erase_if(adrift_, [&](auto const& entry) { return entry.first.group == group; });
}

void Wanted::revalue(std::uint8_t group, std::uint8_t Values::*value) {
   if (!scene_.active() || !running_) return;
   derivedAnew_ |= bitOf(group);
   rekeyed_ |= bitOf(group);
   std::uint8_t const now = scene_.group(group).values.*value;
   for (auto& entry : groups_[group].prefixes) entry.second.*value = now;
   for (auto& entry : groups_[group].origins) entry.second.*value = now;
}

void Wanted::appeared(std::uint8_t intf, std::uint8_t family) {
   if (isAdrift(intf, family)) landed_.emplace_back(intf, family);
   for (std::uint8_t group = 0; group < groupCount; ++group) untoldOf(group, intf, family);
}

/// Addresses of a status object that just came: only the primary one is looked at.
void Wanted::untoldOf(std::uint8_t group, std::uint8_t intf, std::uint8_t family) {
   for (Origin const& origin : admitted(group)) {
      if (origin.intf != intf || origin.family() != family) continue;
      if (origin.role == Role::primary || origin.role == Role::virtualIp) continue;
      // What the group has already from the object before, it keeps.
      if (!holds(group, origin)) untold_.insert({group, origin});
   }
}

bool Wanted::isAdrift(std::uint8_t intf, std::uint8_t family) const {
   return std::ranges::any_of(adrift_, [&](auto const& entry) {
      Place const& place = entry.first;
      return place.intf == intf && place.family == family && entry.second == Adrift::untilItLeaves;
   });
}

void Wanted::comesAshore(std::uint8_t intf, std::uint8_t family) {
   if (looksAway()) return;
   std::erase_if(adrift_, [&](auto const& entry) {
      Place const& place = entry.first;
      return place.intf == intf && place.family == family && entry.second == Adrift::untilItLeaves;
   });
}

/// An interface that was adrift has another status now, of which the primary address counts and the
/// others are untold. What the groups kept from the one before is what they hold.
void Wanted::land() {
   for (auto const& [intf, family] : landed_) {
      comesAshore(intf, family);
      for (std::uint8_t group = 0; group < groupCount; ++group) untoldOf(group, intf, family);
   }
   landed_.clear();
}

void Wanted::told(Origin const& origin) {
   std::erase_if(untold_, [&](auto const& untold) { return untold.second == origin; });
}

void Wanted::entryApplied(Event const& event) {
   if (event.family > 2) return;
   if (looksAway()) driftGroup(event.group, event.family);
   // An unchanged IPv4 entry is no work; an unchanged IPv6 one picks up what came meanwhile.
   if (event.kind == Kind::entryAgain && event.family == 1) return;
   // The addresses of an interface whose own entry goes are handed over as they are now.
   if (event.kind == Kind::entryRemove && event.all) return;
   Group const& group = scene_.group(event.group);
   std::erase_if(untold_, [&](auto const& untold) {
      Origin const& origin = untold.second;
      if (untold.first != event.group || origin.family() != event.family) return false;
      if (!event.all) return origin.intf == event.intf;
      // The entry for all decides for interfaces without one of their own.
      return group.entry(event.family, origin.intf) == Group::noEntry;
   });
}

void Wanted::drift(std::uint8_t intf, std::uint8_t family, Adrift until) {
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      Adrift& entry = adrift_.try_emplace({group, intf, family}, until).first->second;
      if (until == Adrift::untilDerivedAnew) entry = until;
   }
}

void Wanted::driftGroup(std::uint8_t group, std::uint8_t family) {
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      adrift_[{group, intf, family}] = Adrift::untilDerivedAnew;
   }
}

std::int8_t Wanted::addressType(Group const& group, std::uint8_t intf, std::uint8_t family) const {
   std::int8_t const own = group.entry(family, intf);
   if (own != Group::noEntry) return own;
   auto const& excluded = group.excludes[family - 1u];
   if (excluded && has(*excluded, intf)) return Group::noEntry;
   return group.entry(family, intfCount);
}

void Wanted::admitIp(Group const& group, std::uint8_t intf, std::vector<Origin>& origins) const {
   auto const& status = scene_.ip(intf);
   if (!status || takesNoPart(intf) || status->vrf != 0) return;
   std::int8_t const type = addressType(group, intf, 1);
   if (type == Group::noEntry) return;
   std::uint8_t const primary = hostOf(status->primary);
   if (primary != 0) {
      origins.push_back({intf, Role::primary, primary});
      if (type != 0 && status->isVirtual) origins.push_back({intf, Role::virtualIp, primary});
   }
   if (type == 0) return;
   for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
      if (hostOf(addr) != 0 && has(status->secondaries, addr)) {
         origins.push_back({intf, Role::secondary, addr});
      }
   }
}

void Wanted::admitIp6(Group const& group, std::uint8_t intf, std::vector<Origin>& origins) const {
   auto const& status = scene_.ip6(intf);
   if (!status || takesNoPart(intf) || status->vrf != 0) return;
   if (addressType(group, intf, 2) == Group::noEntry) return;
   for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
      if (!isLinkLocal(addr) && has(status->addrs, addr)) {
         origins.push_back({intf, Role::ip6, addr});
      }
   }
}

std::vector<Origin> Wanted::admitted(std::uint8_t group) const {
   std::vector<Origin> origins;
   Group const& wanting = scene_.group(group);
   if (!running_ || !scene_.isConfigured(group) || wanting.type == 0) return origins;
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      if (!adrift_.contains({group, intf, 1})) admitIp(wanting, intf, origins);
      if (!adrift_.contains({group, intf, 2})) admitIp6(wanting, intf, origins);
   }
   std::ranges::sort(origins);
   return origins;
}

bool Wanted::holds(std::uint8_t group, Origin const& origin) const {
   auto const& held = groups_[group].origins;
   auto const at =
       std::ranges::lower_bound(held, origin, {}, [](auto const& entry) { return entry.first; });
   return at != held.end() && at->first == origin;
}

namespace {

/// Prefixes that share a key are one to the group: it is derived with the first and goes with the
/// last.
std::uint8_t canonical(std::uint8_t prefix) {
   std::uint8_t first = 0;
   while (destinationOfPrefix(first) != destinationOfPrefix(prefix)) ++first;
   return first;
}

/// The held ones of `now`, with the values that they were taken with; new ones come with `fresh`.
template <class T>
void follow(Wanted::Held<T>& held, std::vector<T> const& now, Values const& fresh) {
   Wanted::Held<T> next;
   next.reserve(now.size());
   auto at = held.begin();
   for (T const& what : now) {
      while (at != held.end() && at->first < what) ++at;
      bool const wasHeld = at != held.end() && at->first == what;
      next.emplace_back(what, wasHeld ? at->second : fresh);
   }
   held = std::move(next);
}

}  // namespace

std::vector<std::string> Wanted::settle(Ask const& machine) {
   std::vector<std::string> complaints;
   std::set<std::pair<std::uint8_t, Origin>> still;
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      Group const& wanting = scene_.group(group);
      groups_[group].type = wanting.type;
      std::vector<Origin> origins = admitted(group);
      std::erase_if(origins, [&](Origin const& origin) {
         if (untold_.empty() || !untold_.contains({group, origin})) return false;
         still.insert({group, origin});
         return true;
      });
      std::vector<std::uint8_t> prefixes;
      if (running_ && scene_.isConfigured(group) && wanting.type != 0) {
         for (std::uint8_t prefix = 0; prefix < prefixCount; ++prefix) {
            if (has(wanting.prefixes, prefix)) prefixes.push_back(canonical(prefix));
         }
      }
      std::ranges::sort(prefixes);
      prefixes.erase(std::unique(prefixes.begin(), prefixes.end()), prefixes.end());
      follow(groups_[group].prefixes, prefixes, wanting.values);
      follow(groups_[group].origins, origins, wanting.values);
      if (!adrift_.empty()) adopt(group, machine, complaints);
   }
   // An address that a group does not admit any more is taken when it is admitted again.
   untold_ = std::move(still);
   land();
   return complaints;
}

/// Takes over what the machine holds for interfaces that are adrift.
void Wanted::adopt(std::uint8_t group, Ask const& machine, std::vector<std::string>& complaints) {
   bool any = false;
   for (auto const& [place, until] : adrift_) {
      if (place.group != group || !running_ || !scene_.isConfigured(group)) continue;
      for (auto const& entry : machine(group, place.intf, place.family)) {
         bool const held = std::ranges::any_of(before_[group].origins, [&](auto const& before) {
            return before.first == entry.first;
         });
         if (!held && !couldBe(group, entry.first)) {
            complaints.push_back(groupName(group) + " has no reason at all for " +
                                 Oracle::text(entry.first));
         }
         groups_[group].origins.push_back(entry);
         any = true;
      }
   }
   if (any) std::ranges::sort(groups_[group].origins);
}

/// Whether the interface has the address in that role now.
bool Wanted::couldBe(std::uint8_t group, Origin const& origin) const {
   if (takesNoPart(origin.intf) || scene_.group(group).type == 0) return false;
   auto const& ip = scene_.ip(origin.intf);
   auto const& ip6 = scene_.ip6(origin.intf);
   switch (origin.role) {
      case Role::ip6: return ip6 && has(ip6->addrs, origin.addr) && !isLinkLocal(origin.addr);
      case Role::secondary: return ip && has(ip->secondaries, origin.addr);
      case Role::primary: return ip && hostOf(ip->primary) == origin.addr;
      case Role::virtualIp: return ip && ip->isVirtual && hostOf(ip->primary) == origin.addr;
   }
   return false;
}

}  // namespace Oracle
