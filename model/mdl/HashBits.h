#pragma once

#include <cstdint>

namespace Mdl {

/// Which bits of a hash decide what in a `HashIndex`, and what a slot of one holds.
///
/// A hash, from its lowest bit on: nine for the group of a table, then those for the table, as many
/// as the directory is deep; from its highest bit down: eight for the tag, three for the class of
/// who goes past a group. Depths of more than 12 share bits with the latter, which costs a little
/// time.
struct HashBits {
   static constexpr unsigned groupBits = 9;
   static constexpr unsigned positionBits = 28;
   static constexpr std::uint32_t positionMask = (1U << positionBits) - 1;

   static std::uint32_t tagOf(std::uint32_t hash) noexcept {
      std::uint32_t const byte = hash >> 24;
      return byte + (byte < 1);  // 0 is that of an empty slot
   }
   static std::uint32_t passClassOf(std::uint32_t hash) noexcept { return (hash >> 21) & 7U; }
   static std::uint8_t passBitOf(std::uint32_t hash) noexcept {
      return static_cast<std::uint8_t>(1U << passClassOf(hash));
   }

   /// Where a search starts and how it goes on: from a group to its neighbour, whose tags are in
   /// the same cache line, and from there to another pair. The step is odd, in pairs, so that it
   /// visits every group.
   struct Probe {
      Probe(std::uint32_t hash, std::uint32_t groupMask) noexcept
          : tag(tagOf(hash)), group(hash & groupMask), mask(groupMask) {}
      void next() noexcept {
         group = (group ^ 1U) & mask;
         if (atNeighbour) group = (group + 4 * tag + 2) & mask;
         atNeighbour = !atNeighbour;
      }
      std::uint32_t tag, group, mask;
      bool atNeighbour = false;
   };

   // A slot: a position, and above it a mark with what is foretold (see HashIndex) behind it.

   static std::uint32_t positionIn(std::uint32_t slot) noexcept { return slot & positionMask; }
   static bool isInFirstGroup(std::uint32_t slot) noexcept { return slot >> positionBits != 0; }
   /// The mark alone, without a bit left, foretells nothing.
   static bool isForetold(std::uint32_t slot) noexcept { return slot >> positionBits > 1; }
};

}  // namespace Mdl
