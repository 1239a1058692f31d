#pragma once

// What HashIndex does in line; included by mdl/HashIndex.h alone.

#include "mdl/HashIndex.h"
#include "mdl/Prefetch.h"

namespace Mdl {

template <class Matches>
inline std::uint32_t HashIndex::find(std::uint32_t hash, Matches const& matches) const {
   // Nearly every search ends in its first group, with the first slot of that tag or without one.
   Place const& place = directory_[placeOf(hash)];
   std::uint32_t const group = hash & place.groupMask;
   std::uint32_t const* const positions = place.positions + std::size_t{group} * positionsPerGroup;
   __builtin_prefetch(positions);
   TagGroup const& tags = place.tags[group];
   Chosen const some = tags.matching(tagOf(hash));
   if (some.any()) {
      std::uint32_t const position = positions[some.first()];
      if (matches(position)) [[likely]]
         return position;
   } else if ((tags.passed & passBitOf(hash)) == 0) [[likely]] {
      return npos;
   }
   return findFurther(place, hash, matches);
}

inline void HashIndex::prefetch(std::uint32_t hash) const noexcept {
   Place const& place = directory_[placeOf(hash)];
   std::uint32_t const group = hash & place.groupMask;
   Mdl::prefetch(place.tags + group);
   Mdl::prefetch(place.positions + std::size_t{group} * positionsPerGroup);
}

inline std::uint32_t HashIndex::candidate(std::uint32_t hash) const noexcept {
   Place const& place = directory_[placeOf(hash)];
   std::uint32_t const group = hash & place.groupMask;
   std::uint32_t const* const positions = place.positions + std::size_t{group} * positionsPerGroup;
   Mdl::prefetch(positions);
   Chosen const some = place.tags[group].matching(tagOf(hash));
   return some.any() ? positions[some.first()] : npos;
}

template <class Matches>
std::uint32_t HashIndex::findFurther(Place const& place, std::uint32_t hash,
                                     Matches const& matches) {
   Probe probe(hash, place.groupMask);
   for (std::uint32_t left = place.groupMask;; --left, probe.next()) {
      TagGroup const& tags = place.tags[probe.group];
      for (Chosen some = tags.matching(probe.tag); some.any(); some.dropFirst()) {
         std::uint32_t const position =
             place.positions[probe.group * positionsPerGroup + some.first()];
         if (matches(position)) return position;
      }
      if ((tags.passed & passBitOf(hash)) == 0 || left == 0) return npos;
   }
}

inline void HashIndex::makeRoom(std::uint32_t hash, Hashes const& hashes) {
   if (!active() || tableOf(hash).full()) [[unlikely]]
      grow(hash, hashes);
}

inline void HashIndex::insert(std::uint32_t hash, std::uint32_t position) noexcept {
   put(tableOf(hash), hash, position);
}

/// Keeps I2. The table is not full (I3).
inline void HashIndex::put(Table& table, std::uint32_t hash, std::uint32_t position) noexcept {
   ++table.count;
   for (Probe probe(hash, table.groupCount - 1);; probe.next()) {
      TagGroup& tags = table.tags()[probe.group];
      if (Chosen const empty = tags.matching(0); empty.any()) [[likely]] {
         tags.tags[empty.first()] = static_cast<std::uint8_t>(probe.tag);
         table.positions()[probe.group * positionsPerGroup + empty.first()] = position;
         return;
      }
      table.pass(probe.group, passClassOf(hash));
   }
}

}  // namespace Mdl
