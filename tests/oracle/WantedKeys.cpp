// From references to keys.

#include "oracle/Wanted.h"

#include <algorithm>
#include <iterator>

namespace Oracle {

namespace {

constexpr std::uint8_t udp = 3;

template <class T>
void sortUnique(std::vector<T>& values) {
   std::ranges::sort(values);
   values.erase(std::unique(values.begin(), values.end()), values.end());
}

char const* roleText(Role role) {
   switch (role) {
      case Role::primary: return " primary ";
      case Role::secondary: return " secondary ";
      case Role::virtualIp: return " virtual ";
      case Role::ip6: return " ip6 ";
   }
   return " ? ";
}

}  // namespace

std::string text(Origin const& origin) {
   std::string const addr = origin.role == Role::ip6
                                ? ip6AddrOf(origin.addr).stringValue().stdString()
                                : ipAddrOf(origin.addr).stringValue().stdString();
   return intfIdOf(origin.intf).name().stdString() + roleText(origin.role) + addr;
}

bool Wanted::isStopped(Key const& key) const {
   return scene_.udpWait() && key.type == udp && (key.port == 0 || key.payload == 0);
}

/// One for each reference, stopped ones left out: the keys of the prefixes, each once, and those of
/// the interfaces, each once.
Wanted::Keys Wanted::keysOf(GroupRefs const& refs) const {
   Keys fromPrefixes;
   for (auto const& [prefix, values] : refs.prefixes) {
      fromPrefixes.push_back(keyOf(refs, destinationOfPrefix(prefix), values));
   }
   sortUnique(fromPrefixes);
   Keys keys;
   for (auto const& [origin, values] : refs.origins) {
      keys.push_back(keyOf(refs, origin.destination(), values));
   }
   sortUnique(keys);
   keys.insert(keys.end(), fromPrefixes.begin(), fromPrefixes.end());
   std::erase_if(keys, [this](Key const& key) { return isStopped(key); });
   return keys;
}

Wanted::Counts Wanted::countsOf(Groups const& groups) const {
   Keys all;
   for (GroupRefs const& refs : groups) {
      Keys const keys = keysOf(refs);
      all.insert(all.end(), keys.begin(), keys.end());
   }
   std::ranges::sort(all);
   Counts counts;
   for (Key const& key : all) {
      if (counts.empty() || counts.back().first != key) counts.emplace_back(key, 0);
      ++counts.back().second;
   }
   return counts;
}

Wanted::Keys Wanted::stableKeys() const {
   Keys stable;
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      if ((derivedAnew_ >> group & 1) != 0) continue;
      GroupRefs const& before = before_[group];
      GroupRefs const& now = groups_[group];
      for (auto const& entry : now.prefixes) {
         if (std::ranges::binary_search(before.prefixes, entry)) {
            stable.push_back(keyOf(now, destinationOfPrefix(entry.first), entry.second));
         }
      }
      for (auto const& entry : now.origins) {
         Origin const& origin = entry.first;
         bool const moves = origin.role == Role::primary || origin.role == Role::virtualIp;
         if (moves && (renewedIntfs_ >> origin.intf & 1) != 0) continue;
         if (adrift_.contains({group, origin.intf, origin.family()})) continue;
         if (std::ranges::binary_search(before.origins, entry)) {
            stable.push_back(keyOf(now, origin.destination(), entry.second));
         }
      }
   }
   sortUnique(stable);
   std::erase_if(stable, [this](Key const& key) { return isStopped(key); });
   return stable;
}

Wanted::Keys Wanted::renewedKeys() const {
   Keys renewed;
   if (replaced_ == 0 && rekeyed_ == 0 && renewedIntfs_ == 0) return renewed;
   Counts const before = countsBefore();
   Counts const after = counts();
   auto const countIn = [](Counts const& counts, Key const& key) {
      auto const at =
          std::ranges::lower_bound(counts, key, {}, [](auto const& entry) { return entry.first; });
      return at != counts.end() && at->first == key ? at->second : 0;
   };
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      Keys const had = keysOf(before_[group]);
      Keys const has = keysOf(groups_[group]);
      for (Key const& key : has) {
         auto const own = static_cast<std::uint32_t>(std::ranges::count(had, key));
         auto const ownNow = static_cast<std::uint32_t>(std::ranges::count(has, key));
         // Others keep the entry in hardware.
         bool const alone = own == countIn(before, key) && ownNow == countIn(after, key);
         if (own == 0 || own != ownNow || !alone) continue;
         bool const isReplaced = (replaced_ >> group & 1) != 0;
         // Prefix and interface give the same key, and one of the two stays while the other goes.
         bool const isRekeyed = own == 1 && (rekeyed_ >> group & 1) != 0;
         bool const isSole = own == 1 && isSoleRenewed(group, key);
         if (isReplaced || isRekeyed || isSole) renewed.push_back(key);
      }
   }
   sortUnique(renewed);
   return renewed;
}

/// The one origin that a group's key stands on, null when there are others or a prefix.
Origin const* Wanted::soleOrigin(GroupRefs const& refs, Key const& key) {
   for (auto const& [prefix, values] : refs.prefixes) {
      if (keyOf(refs, destinationOfPrefix(prefix), values) == key) return nullptr;
   }
   Origin const* only = nullptr;
   for (auto const& [origin, values] : refs.origins) {
      if (keyOf(refs, origin.destination(), values) != key) continue;
      if (only != nullptr) return nullptr;
      only = &origin;
   }
   return only;
}

/// Whether a primary address that the event evaluates anew is all that the group's key stands on,
/// before and after.
bool Wanted::isSoleRenewed(std::uint8_t group, Key const& key) const {
   Origin const* const before = soleOrigin(before_[group], key);
   Origin const* const now = soleOrigin(groups_[group], key);
   return before != nullptr && now != nullptr && *before == *now && now->role == Role::primary &&
          (renewedIntfs_ >> now->intf & 1) != 0 && !adrift_.contains({group, now->intf, 1});
}

bool Wanted::anyStopped() const {
   for (GroupRefs const& refs : groups_) {
      for (auto const& [prefix, values] : refs.prefixes) {
         if (isStopped(keyOf(refs, destinationOfPrefix(prefix), values))) return true;
      }
      for (auto const& [origin, values] : refs.origins) {
         if (isStopped(keyOf(refs, origin.destination(), values))) return true;
      }
   }
   return false;
}

std::string Wanted::text() const {
   std::string lines;
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      GroupRefs const& refs = groups_[group];
      auto const line = [&](std::string const& what, std::uint8_t destination,
                            Values const& values) {
         Key const key = keyOf(refs, destination, values);
         lines += "  " + groupName(group) + " " + what + ": " + keyText(key) +
                  (isStopped(key) ? ", stopped\n" : "\n");
      };
      for (auto const& [prefix, values] : refs.prefixes) {
         line(prefixOf(prefix).stringValue().stdString(), destinationOfPrefix(prefix), values);
      }
      for (auto const& [origin, values] : refs.origins) {
         line(Oracle::text(origin), origin.destination(), values);
      }
   }
   return lines;
}

}  // namespace Oracle
