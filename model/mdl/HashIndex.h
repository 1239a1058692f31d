#pragma once

#include "mdl/Export.h"
#include "mdl/HashBits.h"
#include "mdl/TagGroup.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace Mdl {

/// Finds positions by hash: the index beside a dense array of entries, which knows neither keys
/// nor values. Positions are numbers of the array's choosing, below 2^28 and each indexed once.
///
/// Owner: the collection whose entries it finds. Not shared.
///
/// Design. A slot is one byte of the hash (its tag) and a position. Fifteen slots make a *group*
/// (mdl/TagGroup.h), whose tags are compared at once, and whose positions fill a cache line; a
/// power of two of groups is a *table*, whose tags stand behind its positions. So the tags of a
/// million entries take less than two megabytes, a search for an absent key reads nothing else, and
/// one that finds its key reads one position and one entry more. A table that is full at
/// `maxGroups` is split in two by the next bit of the hash, alone: a *directory*, indexed by the
/// bits above those that choose the group, says which table answers for which hashes. So the index
/// grows in steps of one table, and no single insertion pays for the whole of it; doubling the
/// directory copies one small reference a table.
///
/// A table that grows asks each hash for one more bit, and hashes stand with the entries, all over
/// memory. So a slot has the next three bits of its hash above its position, as a number whose
/// leading one is a mark (1xyz, 1xy, 1x, 1): it is *foretold* where it goes. Growing moves foretold
/// positions group by group, without a search and without the hash, and uses up a bit; shrinking
/// gives it back. Only for one that is not foretold any more, or not in its first group, the hash
/// is read.
///
/// I1 (directory): it has 2^depth() places. A table of depth d stands at all places whose last d
///    bits are those that its hashes share.
/// I2 (probe): a position is in the first group with an empty slot, at the time of its insertion,
///    on the probe path of its hash. A group counts the positions whose path leads over it to a
///    later group, by eight classes of hashes, and `passed` has the bits of those that are not
///    zero. So a search may end at the first group that its class never passed, removal leaves no
///    marks behind, and a table never needs cleaning. A count that has reached 15, which only
///    crafted hashes bring about, stays there: searches then go on where they could end.
/// I3 (room): a table holds at most 13 positions a group, so a path always finds an empty slot.
/// I4 (foretold): a position that has a mark is in the first group of its path, and the bits behind
///    the mark are those at `level` of its table.
/// I5 (proportion): a table is split only when it is full with at least `maxGroups` groups, and
///    then leaves each half a third of room. So a directory of 2^d places takes some 6000 * 2^d
///    positions, however their hashes are crafted. Where splitting cannot help (equal hashes) the
///    table grows beyond `maxGroups` instead: slow, but correct.
///
/// Re-entrancy: none; the predicates and hash sources handed in must not call back.
/// Exceptions: only `makeRoom` allocates what it needs, before it changes anything. What the
/// others could use memory for (giving memory back) they leave undone when there is none.
/// Cost: 5.3 bytes a slot; 6 to 12 bytes a position once there are many, up to 24 after many
///   removals, or 48 while a table waits for its buddy to become sparse; no memory while empty.
///
/// Tried and left: tombstones instead of `passed` (searches for absent keys grow with churn until
/// a clean-up, which then is one more stall); tags and positions of a group in one cache line (five
/// times as much memory to miss in, for one line less when a key is found).
class MDL_EXPORT HashIndex : private HashBits {
 public:
   static constexpr std::uint32_t npos = 0xffffffffU;
   static constexpr std::uint32_t leastRoom = 13;  ///< what the first `makeRoom` makes room for
   using HashBits::positionBits;

   /// Where the index reads the full hash of a position when it splits or shrinks a table.
   struct Hashes {
      void const* entries;
      std::uint32_t (*at)(void const* entries, std::uint32_t position) noexcept;
   };

   HashIndex() noexcept = default;
   HashIndex(HashIndex const&) = delete;
   HashIndex& operator=(HashIndex const&) = delete;
   HashIndex(HashIndex&& other) noexcept;
   HashIndex& operator=(HashIndex&& other) noexcept;
   ~HashIndex();

   /// Whether there is any table, that is, whether room was ever made since the last `clear`.
   /// Without one nothing can be searched for, moved or erased.
   bool active() const noexcept { return tables_ != 0; }

   /// The position with this hash for which `matches(position)` holds; npos when there is none.
   /// `matches` is asked about positions of the same tag, not only of the same hash.
   template <class Matches>
   std::uint32_t find(std::uint32_t hash, Matches const& matches) const;

   /// Has the processor load what a search of this hash reads first. Waits for nothing.
   void prefetch(std::uint32_t hash) const noexcept;
   /// The position that a search would look at first; npos when there is none.
   std::uint32_t candidate(std::uint32_t hash) const noexcept;

   /// Makes sure that `insert` of this hash finds room. Throws std::bad_alloc, and then every
   /// position is still found.
   void makeRoom(std::uint32_t hash, Hashes const& hashes);

   /// Adds a position that is not indexed yet. `makeRoom` of the same hash came just before.
   void insert(std::uint32_t hash, std::uint32_t position) noexcept;

   /// Removes a position, which must be indexed under this hash. Gives memory back as tables empty.
   void erase(std::uint32_t hash, std::uint32_t position, Hashes const& hashes) noexcept;
   /// Removes the position that `find` would give, and gives it; npos when there is none.
   template <class Matches>
   std::uint32_t take(std::uint32_t hash, Matches const& matches, Hashes const& hashes);

   /// The entry at `from` now stands at `to`.
   void move(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept;

   /// Forgets everything and frees all memory.
   void clear() noexcept;

   std::size_t bytes() const noexcept;  ///< heap memory held
   unsigned depth() const noexcept { return static_cast<unsigned>(std::popcount(mask_)); }
   std::size_t tableCount() const noexcept { return tables_; }

   /// Asserts I1 to I5, and that exactly `count` positions are indexed, each under the hash that
   /// `hashes` gives. Reads everything; for tests.
   void checkInvariants(std::size_t count, Hashes const& hashes) const;

 private:
   static constexpr std::align_val_t alignment{64};
   static constexpr std::uint32_t positionsPerGroup = 16;  ///< the last has the counts of I2
   static constexpr std::uint32_t fillPerGroup = leastRoom;
   static constexpr std::uint32_t stuck = 15;
   static constexpr std::uint32_t maxGroups = 1U << groupBits;
   static constexpr unsigned maxDepth = 32 - groupBits;

   using Chosen = TagGroup::Chosen;

   /// The head of a table. Its tags stand before it in memory, and the positions before these.
   struct alignas(16) Table {
      Table(std::uint32_t groups, unsigned ownDepth) noexcept
          : groupCount(groups), depth(ownDepth), level(levelOf(groups, ownDepth)) {}

      std::uint32_t groupCount;
      std::uint32_t count = 0;
      unsigned depth;
      unsigned level;  ///< which bit of a hash the next growth asks for
      TagGroup* tags() noexcept { return reinterpret_cast<TagGroup*>(this) - groupCount; }
      std::uint32_t* positions() noexcept {
         return reinterpret_cast<std::uint32_t*>(tags()) -
                std::size_t{groupCount} * positionsPerGroup;
      }
      bool full() const noexcept { return count >= groupCount * fillPerGroup; }
      bool sparse() const noexcept { return count * 4 < groupCount * fillPerGroup; }
      bool verySparse() const noexcept { return count * 8 < groupCount * fillPerGroup; }
      /// What is foretold of a hash in its first group, above where its position stands.
      std::uint32_t foretold(std::uint32_t hash) const noexcept {
         return level >= 32 ? 0 : (8U | (hash >> level & 7U)) << positionBits;
      }
      void pass(std::uint32_t group, std::uint32_t passClass) noexcept;
      void unpass(std::uint32_t group, std::uint32_t passClass) noexcept;
   };

   /// A place of the directory. A search needs no more than this of a table.
   struct Place {
      TagGroup* tags;
      std::uint32_t* positions;
      std::uint32_t groupMask;

      explicit Place(Table& table) noexcept
          : tags(table.tags()), positions(table.positions()), groupMask(table.groupCount - 1) {}
      Table& table() const noexcept { return *reinterpret_cast<Table*>(tags + groupMask + 1); }
      std::uint32_t positionAt(std::uint32_t group, std::uint32_t slot) const noexcept {
         return positionIn(positions[group * positionsPerGroup + slot]);
      }
   };

   std::size_t placeNumber(std::uint32_t hash) const noexcept { return hash >> groupBits & mask_; }
   /// While there is one table, it is loaded before the hash is known.
   Place const& placeOf(std::uint32_t hash) const noexcept {
      if (mask_ == 0) return directory_.front();
      return directory_[placeNumber(hash)];
   }
   Table& tableOf(std::uint32_t hash) const noexcept { return placeOf(hash).table(); }

   /// The level of a table in whose growth the bits have another order.
   static constexpr unsigned outOfOrder = 64;
   static unsigned levelOf(std::uint32_t groupCount, unsigned depth) noexcept;
   static std::size_t bytesOf(std::uint32_t groupCount) noexcept;
   static std::uint32_t groupsFor(std::uint32_t count) noexcept;
   static Table* allocate(std::uint32_t groupCount, unsigned depth) noexcept;
   static Table* allocateOrThrow(std::uint32_t groupCount, unsigned depth);
   static void release(Table* table) noexcept;
   static void put(Table& table, std::uint32_t hash, std::uint32_t position) noexcept;
   static std::uint32_t locate(Table& table, Probe& probe, std::uint32_t position) noexcept;
   static void removeSlot(Table& table, std::uint32_t hash, Probe const& probe,
                          std::uint32_t slot) noexcept;
   template <class Visit>
   static void forEachSlot(Table& table, std::uint32_t groups, Visit const& visit);
   /// Positions by how much is known of their hashes without reading them.
   enum class Which : std::uint32_t {
      notInFirstGroup = 1,
      notForetold = 2,
      all = 1U << (32 - positionBits)
   };
   template <class Visit>
   static void forEachHashed(Table& table, Which which, Hashes const& hashes, Visit const& visit);
   static bool looksEven(Table& table);
   static std::uint32_t countUpper(Table& table, Hashes const& hashes);
   static std::array<Table*, 2> halvesOf(Table& old, std::uint32_t upper, Hashes const& hashes);
   struct Half;
   static void divide(Table& old, Half low, Half high, Hashes const& hashes) noexcept;
   static void join(Half low, Half high, Table& into, Hashes const& hashes) noexcept;
   static void joinHalf(Half half, std::uint32_t bit, Table& into, Hashes const& hashes) noexcept;

   template <class Matches>
   static std::uint32_t firstSlot(Place const& place, std::uint32_t hash, Matches const& matches);
   static void emptySlot(Place const& place, std::uint32_t slot) noexcept;
   void eraseFurther(std::uint32_t hash, std::uint32_t position) noexcept;
   void moveFurther(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept;
   template <class Matches>
   static std::uint32_t seek(Place const& place, Probe& probe, std::uint32_t hash,
                             Matches const& matches);
   template <class Matches>
   static std::uint32_t findFurther(Place const& place, std::uint32_t hash, Matches const& matches);
   void grow(std::uint32_t hash, Hashes const& hashes);

   void publish(std::size_t number, Table* table) noexcept;
   bool split(std::size_t number, Hashes const& hashes);
   void resize(std::size_t number, Table* into, Hashes const& hashes) noexcept;
   void doubleDirectory();
   void maybeHalveDirectory() noexcept;
   void giveBack(std::uint32_t hash, Hashes const& hashes) noexcept;
   bool unite(std::size_t number, Hashes const& hashes) noexcept;
   template <class Visit>
   void forEachTable(Visit const& visit) const;
   void checkTable(Table& table, std::size_t number, Hashes const& hashes) const;
   static void checkForetold(Table const& table, std::uint32_t hash, std::uint32_t slot,
                             std::uint32_t group);

   std::vector<Place> directory_;
   std::uint32_t tables_ = 0;
   std::uint32_t mask_ = 0;  ///< of the directory: as many ones as it is deep
};

}  // namespace Mdl

#include "mdl/HashIndexImpl.h"
