#pragma once

// What HashIndex does in line; included by mdl/HashIndex.h alone.

#include "mdl/HashIndex.h"
#include "mdl/Prefetch.h"

namespace Mdl {

template <class Matches>
inline std::uint32_t HashIndex::find(std::uint32_t hash, Matches const& matches) const {
   // Nearly every search ends in its first group, with the first slot of that tag or without one.
   Place const& place = placeOf(hash);
   std::uint32_t const group = hash & place.groupMask;
   std::uint32_t const* const positions = place.positions + std::size_t{group} * positionsPerGroup;
   __builtin_prefetch(positions);
   TagGroup const& tags = place.tags[group];
   Chosen const some = tags.matching(tagOf(hash));
   if (some.any()) {
      std::uint32_t const position = positionIn(positions[some.first()]);
      if (matches(position)) [[likely]]
         return position;
   } else if ((tags.passed & passBitOf(hash)) == 0) [[likely]] {
      return npos;
   }
   return findFurther(place, hash, matches);
}

inline void HashIndex::prefetch(std::uint32_t hash) const noexcept {
   Place const& place = placeOf(hash);
   std::uint32_t const group = hash & place.groupMask;
   Mdl::prefetch(place.tags + group);
   Mdl::prefetch(place.positions + std::size_t{group} * positionsPerGroup);
}

inline std::uint32_t HashIndex::candidate(std::uint32_t hash) const noexcept {
   Place const& place = placeOf(hash);
   std::uint32_t const group = hash & place.groupMask;
   std::uint32_t const* const positions = place.positions + std::size_t{group} * positionsPerGroup;
   Mdl::prefetch(positions);
   Chosen const some = place.tags[group].matching(tagOf(hash));
   return some.any() ? positionIn(positions[some.first()]) : npos;
}

/// The slot of what `find` gives, in the group on which `probe` then stands; npos when there is
/// none.
template <class Matches>
std::uint32_t HashIndex::seek(Place const& place, Probe& probe, std::uint32_t hash,
                              Matches const& matches) {
   for (std::uint32_t left = place.groupMask;; --left, probe.next()) {
      TagGroup const& tags = place.tags[probe.group];
      for (Chosen some = tags.matching(probe.tag); some.any(); some.dropFirst()) {
         if (matches(place.positionAt(probe.group, some.first()))) return some.first();
      }
      if ((tags.passed & passBitOf(hash)) == 0 || left == 0) return npos;
   }
}

template <class Matches>
[[gnu::noinline]] std::uint32_t HashIndex::findFurther(Place const& place, std::uint32_t hash,
                                                       Matches const& matches) {
   Probe probe(hash, place.groupMask);
   std::uint32_t const slot = seek(place, probe, hash, matches);
   return slot == npos ? npos : place.positionAt(probe.group, slot);
}

/// The slot in the table of what is sought, if it is in the first group and the first slot of its
/// tag there, as most are; otherwise npos.
template <class Matches>
std::uint32_t HashIndex::firstSlot(Place const& place, std::uint32_t hash, Matches const& matches) {
   std::uint32_t const group = hash & place.groupMask;
   __builtin_prefetch(place.positions + std::size_t{group} * positionsPerGroup);
   Chosen const some = place.tags[group].matching(tagOf(hash));
   if (!some.any()) return npos;
   std::uint32_t const slot = group * positionsPerGroup + some.first();
   return matches(positionIn(place.positions[slot])) ? slot : npos;
}

/// Nothing passed other groups to get to this one.
inline void HashIndex::emptySlot(Place const& place, std::uint32_t slot) noexcept {
   place.tags[slot / positionsPerGroup].tags[slot % positionsPerGroup] = 0;
   --place.table().count;
}

template <class Matches>
std::uint32_t HashIndex::take(std::uint32_t hash, Matches const& matches, Hashes const& hashes) {
   Place const& place = placeOf(hash);
   std::uint32_t position = npos;
   if (std::uint32_t const slot = firstSlot(place, hash, matches); slot != npos) [[likely]] {
      position = positionIn(place.positions[slot]);
      emptySlot(place, slot);
   } else {
      position = findFurther(place, hash, matches);
      if (position == npos) return npos;
      eraseFurther(hash, position);
   }
   if (place.table().sparse()) [[unlikely]]
      giveBack(hash, hashes);
   return position;
}

inline void HashIndex::erase(std::uint32_t hash, std::uint32_t position,
                             Hashes const& hashes) noexcept {
   Place const& place = placeOf(hash);
   auto const isIt = [=](std::uint32_t at) { return at == position; };
   if (std::uint32_t const slot = firstSlot(place, hash, isIt); slot != npos) [[likely]] {
      emptySlot(place, slot);
   } else {
      eraseFurther(hash, position);
   }
   if (place.table().sparse()) [[unlikely]]
      giveBack(hash, hashes);
}

inline void HashIndex::move(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept {
   Place const& place = placeOf(hash);
   auto const isIt = [=](std::uint32_t at) { return at == from; };
   if (std::uint32_t const slot = firstSlot(place, hash, isIt); slot != npos) [[likely]] {
      place.positions[slot] ^= from ^ to;
   } else {
      moveFurther(hash, from, to);
   }
}

inline void HashIndex::makeRoom(std::uint32_t hash, Hashes const& hashes) {
   if (!active() || tableOf(hash).full()) [[unlikely]]
      grow(hash, hashes);
}

inline void HashIndex::insert(std::uint32_t hash, std::uint32_t position) noexcept {
   Place const& place = placeOf(hash);
   std::uint32_t const group = hash & place.groupMask;
   TagGroup& tags = place.tags[group];
   Table& table = place.table();
   Chosen const empty = tags.matching(0);
   if (!empty.any()) [[unlikely]]
      return put(table, hash, position);
   ++table.count;
   tags.tags[empty.first()] = static_cast<std::uint8_t>(tagOf(hash));
   place.positions[group * positionsPerGroup + empty.first()] = position | table.foretold(hash);
}

/// Keeps I2 and I4. The table is not full (I3).
[[gnu::noinline]] inline void HashIndex::put(Table& table, std::uint32_t hash,
                                             std::uint32_t position) noexcept {
   ++table.count;
   std::uint32_t slot = position | table.foretold(hash);
   for (Probe probe(hash, table.groupCount - 1);; probe.next()) {
      TagGroup& tags = table.tags()[probe.group];
      if (Chosen const empty = tags.matching(0); empty.any()) [[likely]] {
         tags.tags[empty.first()] = static_cast<std::uint8_t>(probe.tag);
         table.positions()[probe.group * positionsPerGroup + empty.first()] = slot;
         return;
      }
      table.pass(probe.group, passClassOf(hash));
      slot = position;
   }
}

/// Keeps I2: the path no longer leads over the groups before the one that `probe` stands on.
inline void HashIndex::removeSlot(Table& table, std::uint32_t hash, Probe const& probe,
                                  std::uint32_t slot) noexcept {
   table.tags()[probe.group].tags[slot] = 0;
   --table.count;
   for (Probe back(hash, probe.mask); back.group != probe.group; back.next()) {
      table.unpass(back.group, passClassOf(hash));
   }
}

}  // namespace Mdl
