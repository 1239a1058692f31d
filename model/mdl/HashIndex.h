#pragma once

#include "mdl/Export.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mdl {

/// Finds positions by hash: the index beside a dense array of entries, which knows neither keys
/// nor values. Positions are numbers of the array's choosing, each indexed once.
///
/// Owner: the collection whose entries it finds. Not shared.
///
/// Design. A slot is one byte of the hash (its tag, 0 for an empty slot) and a position; twelve
/// slots and a counter fill a cache line, a *group*. A probe matches all tags of a group at once
/// in plain integer arithmetic and touches an entry only where a tag agrees, so most lookups cost
/// one line here and one entry. A power of two of groups is a *table*. A table that is full at
/// `maxGroups` is split in two by the next bit of the hash, alone: a *directory*, indexed by the
/// leading bits, says which table answers for which hashes. So the index grows in steps of one
/// table, and no single insertion pays for the whole of it; doubling the directory copies one
/// small reference a table.
///
/// I1 (directory): it has 2^depth() places. A table of depth d stands at all neighbouring places
///    whose leading d bits are those that its hashes share.
/// I2 (probe): a position is in the first group with an empty slot, at the time of its insertion,
///    on the probe path of its hash. `passed` of a group counts exactly the positions whose path
///    leads over it to a later group. So a search may end at the first group that was never
///    passed, removal leaves no marks behind, and a table never needs cleaning.
/// I3 (room): a table holds at most ten positions a group, so a path always finds an empty slot.
/// I4 (proportion): the directory doubles only while that leaves at most
///    `directoryPerTable` places a table. Where splitting cannot help (crafted equal hashes, or
///    hashes that share their leading bits) the table grows beyond `maxGroups` instead: slow, but
///    correct, and in memory proportional to the number of positions.
///
/// Re-entrancy: none; the predicates and hash sources handed in must not call back.
/// Exceptions: only `makeRoom` allocates what it needs, before it changes anything. What the
/// others could use memory for (giving memory back) they leave undone when there is none.
/// Cost: 5.3 bytes a slot; 6.4 to 13 bytes a position once there are many, up to 26 after many
///   removals; no memory while empty.
///
/// Tried and left: tombstones instead of `passed` (searches for absent keys grow with churn until
/// a clean-up, which then is one more stall); eight slots a group (two lines for many probes).
class MDL_EXPORT HashIndex {
 public:
   static constexpr std::uint32_t npos = 0xffffffffU;

   /// Where the index reads the full hash of a position when it splits or shrinks a table.
   struct Hashes {
      void const* entries;
      std::uint32_t (*at)(void const* entries, std::uint32_t position) noexcept;
      void (*prefetch)(void const* entries, std::uint32_t position) noexcept;
   };

   HashIndex() noexcept = default;
   HashIndex(HashIndex const&) = delete;
   HashIndex& operator=(HashIndex const&) = delete;
   HashIndex(HashIndex&& other) noexcept;
   HashIndex& operator=(HashIndex&& other) noexcept;
   ~HashIndex();

   /// Whether there is any table, that is, whether room was ever made since the last `clear`.
   bool active() const noexcept { return !directory_.empty(); }

   /// The position with this hash for which `matches(position)` holds; npos when there is none.
   /// `matches` is asked about positions of the same tag, not only of the same hash.
   template <class Matches>
   std::uint32_t find(std::uint32_t hash, Matches const& matches) const;

   /// Makes sure that `insert` of this hash finds room. Throws std::bad_alloc, and then every
   /// position is still found.
   void makeRoom(std::uint32_t hash, Hashes const& hashes);

   /// Adds a position that is not indexed yet. `makeRoom` of the same hash came just before.
   void insert(std::uint32_t hash, std::uint32_t position) noexcept;

   /// Removes a position, which must be indexed under this hash. Gives memory back as tables empty.
   void erase(std::uint32_t hash, std::uint32_t position, Hashes const& hashes) noexcept;

   /// The entry at `from` now stands at `to`.
   void move(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept;

   /// Forgets everything and frees all memory.
   void clear() noexcept;

   /// Starts to load the group in which a search for this hash begins.
   void prefetch(std::uint32_t hash) const noexcept;

   std::size_t bytes() const noexcept;  ///< heap memory held
   unsigned depth() const noexcept { return depth_; }
   std::size_t tableCount() const noexcept { return tables_; }

   /// Asserts I1 to I4, and that exactly `count` positions are indexed, each under the hash that
   /// `hashes` gives. Reads everything; for tests.
   void checkInvariants(std::size_t count, Hashes const& hashes) const;

 private:
   static constexpr unsigned slotsPerGroup = 12;
   static constexpr std::uint32_t fillPerGroup = 10;
   static constexpr std::uint32_t maxGroups = 64;
   static constexpr std::size_t directoryPerTable = 8;
   static constexpr unsigned maxDepth = 24;

   /// The slots of a group that a comparison chose, as bits. Slots 0 to 7 are at bits 0, 8, .. 56,
   /// slots 8 to 11 at bits 1, 9, 17, 25.
   class Chosen {
    public:
      explicit Chosen(std::uint64_t bits) noexcept : bits_(bits) {}
      bool any() const noexcept { return bits_ != 0; }
      unsigned first() const noexcept {
         unsigned const bit = static_cast<unsigned>(std::countr_zero(bits_));
         return (bit >> 3) + (bit & 1) * 8;
      }
      void dropFirst() noexcept { bits_ &= bits_ - 1; }

    private:
      std::uint64_t bits_;
   };

   struct alignas(64) Group {
      std::uint64_t tags = 0;      ///< of slots 0 to 7, the first in the lowest byte
      std::uint32_t moreTags = 0;  ///< of slots 8 to 11
      std::uint32_t passed = 0;    ///< I2
      std::uint32_t positions[slotsPerGroup];

      Chosen matching(std::uint32_t tag) const noexcept {
         // A byte of x is zero exactly where the tag agrees. Adding 0x7f carries into the top bit
         // of every other byte and never beyond it, so there are no false matches.
         std::uint64_t constexpr low7 = 0x7f7f7f7f7f7f7f7fU;
         std::uint64_t const pattern = tag * std::uint64_t{0x0101010101010101};
         std::uint64_t const x = tags ^ pattern;
         std::uint64_t const y = moreTags ^ (pattern & 0xffffffffU);
         std::uint64_t const xs = ~(((x & low7) + low7) | x | low7);
         std::uint64_t const ys = ~(((y & low7) + low7) | y | low7) & 0xffffffffU;
         return Chosen((xs >> 7) | (ys >> 6));
      }
      void tagIs(unsigned slot, std::uint32_t tag) noexcept;
   };

   /// The head of a table; its groups follow it in memory.
   struct alignas(64) Table {
      std::uint32_t groupCount;
      std::uint32_t count = 0;
      unsigned depth;
      Group* groups() noexcept { return reinterpret_cast<Group*>(this + 1); }
      bool full() const noexcept { return count >= groupCount * fillPerGroup; }
      bool sparse() const noexcept { return count * 4 < groupCount * fillPerGroup; }
   };

   /// Where a search starts and how it goes on. The step is odd, so that it visits every group.
   struct Probe {
      Probe(std::uint32_t hash, std::uint32_t groupMask) noexcept
          : tag(tagOf(hash)), group(hash & groupMask), step(2 * tag + 1), mask(groupMask) {}
      void next() noexcept { group = (group + step) & mask; }
      std::uint32_t tag, group, step, mask;
   };

   /// A place of the directory. A search needs no more than this and a group.
   struct Place {
      Table* table;
      std::uint32_t groupMask;
   };

   /// From bits that choose neither the table nor, in tables up to 256 groups, the group.
   static std::uint32_t tagOf(std::uint32_t hash) noexcept {
      std::uint32_t const byte = (hash >> 8) & 0xffU;
      return byte + (byte == 0);
   }
   std::size_t placeOf(std::uint32_t hash) const noexcept {
      return static_cast<std::size_t>(std::uint64_t{hash} >> (32 - depth_));
   }

   static std::uint32_t groupsFor(std::uint32_t count) noexcept;
   static Table* allocate(std::uint32_t groupCount, unsigned depth) noexcept;
   static Table* allocateOrThrow(std::uint32_t groupCount, unsigned depth);
   static void release(Table* table) noexcept;
   static void put(Table& table, std::uint32_t hash, std::uint32_t position) noexcept;
   static unsigned locate(Table& table, Probe& probe, std::uint32_t position) noexcept;
   template <class Visit>
   static void forEach(Table& table, Visit const& visit);

   void publish(std::size_t place, Table* table) noexcept;
   bool split(std::size_t place, Hashes const& hashes);
   void resize(std::size_t place, Table* into, Hashes const& hashes) noexcept;
   void doubleDirectory();
   void maybeHalveDirectory() noexcept;
   void giveBack(std::uint32_t hash, Hashes const& hashes) noexcept;
   bool unite(std::size_t place, Hashes const& hashes) noexcept;
   void checkTable(Table& table, std::size_t place, Hashes const& hashes) const;

   std::vector<Place> directory_;
   std::uint32_t tables_ = 0;
   unsigned depth_ = 0;
};

template <class Matches>
inline std::uint32_t HashIndex::find(std::uint32_t hash, Matches const& matches) const {
   Place const& place = directory_[placeOf(hash)];
   Group const* const groups = place.table->groups();
   Probe probe(hash, place.groupMask);
   for (std::uint32_t left = place.groupMask + 1; left != 0; --left) {
      Group const& group = groups[probe.group];
      for (Chosen some = group.matching(probe.tag); some.any(); some.dropFirst()) {
         std::uint32_t const position = group.positions[some.first()];
         if (matches(position)) return position;
      }
      if (group.passed == 0) return npos;
      probe.next();
   }
   return npos;
}

inline void HashIndex::prefetch(std::uint32_t hash) const noexcept {
   if (!active()) return;
   Place const& place = directory_[placeOf(hash)];
   __builtin_prefetch(place.table->groups() + (hash & place.groupMask));
}

}  // namespace Mdl
