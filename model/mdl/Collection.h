#pragma once

#include "mdl/Assert.h"
#include "mdl/CollectionOrder.h"
#include "mdl/CollectionScan.h"
#include "mdl/CollectionWalk.h"
#include "mdl/EntryStore.h"
#include "mdl/HashIndex.h"
#include "mdl/KeyForm.h"
#include "mdl/KeyHash.h"
#include "mdl/Lookup.h"
#include "mdl/WalkList.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace Mdl {

/// A key whose hash is known: hash once, use it in every collection with the same seed. Refers to
/// the key, so it is for the arguments of calls.
template <class K>
class Hashed {
 public:
   explicit Hashed(K const& key, std::uint32_t hash) noexcept
       : key_(key), hash_(hash + (hash == 0)) {}  // 0 marks a hole
   K const& key() const noexcept { return key_; }
   std::uint32_t hash() const noexcept { return hash_; }

 private:
   K const& key_;
   std::uint32_t hash_;
};

/// A map with unique keys that may be changed while it is walked, and whose order never varies.
///
/// Owner: whoever declares it; usually an entity, a collection an attribute. One thread.
///
/// Design. Three ideas, a file each. The entries stand in an array in the order of insertion
/// (mdl/EntryStore.h), where removal leaves holes. An index of one byte of hash and a position an
/// entry finds them (mdl/HashIndex.h); up to `mostUnindexed` entries have none and are compared in
/// turn. A walk (mdl/CollectionWalk.h) remembers positions and holds a copy of the entry it stands
/// on; while one is alive nothing moves, and the last one closes the holes. Beside them stand a
/// search that can be used again (mdl/Lookup.h), loops that only read (mdl/CollectionScan.h), and
/// who comes before whom (mdl/CollectionOrder.h). No single call does
/// more than one chunk of compaction or one table of index growth; the last walk's end and
/// `clear` may do more.
///
/// I1 (unique): no two entries have equal keys.
/// I2 (order): walks and scans go in the order of insertion whatever the seed. Assigning a value
///    keeps an entry's place; a key that was removed and comes back is the last.
/// I3 (found): each entry is in the index under its hash, if there is an index.
/// I4 (still): an entry never moves because another is inserted or assigned. Removing others may
///    move it, but not while a walk is alive. So what `find` returns is valid until a removal, and
///    in the body of a walk until that entry's own removal.
/// I5 (late death): what an entry held dies when the collection is whole again and the call has
///    nothing more to do with it. Destructors may therefore use the collection, or destroy it.
///
/// Re-entrancy: as I4, I5 and walks say. Hashing, comparing and copying keys and values must not
///   call back.
/// Exceptions: an insertion that fails has changed nothing. Moving a key or a value must not throw.
/// Keys may be kept in a form of their own (mdl/KeyForm.h), which takes less room.
/// Cost: find, insert, remove O(1); 104 bytes empty, then an entry and 4 bytes each, and from nine
///   entries on 6 to 13 bytes of index. Memory follows the number of entries down as well.
///
/// `Hasher{}(key, seed)` hashes a key; each collection has the process's seed, varied by a
/// constant of its own. Collections with equal constants share hashes: see `Hashed`.
template <class K, class V, class Hasher = KeyHash<K>>
class Collection {
 public:
   using Key = K;
   using Value = V;
   using Entry = CollectionEntry<K, V>;
   using EntryRef = CollectionEntryRef<typename KeyForm<K>::Shown, V>;

   static constexpr std::uint32_t mostUnindexed = 8;

   using Hashed = Mdl::Hashed<K>;

   /// What `tryInsert` found or made. The pointer is valid as I4 says.
   struct Place {
      V* value;
      bool inserted;
   };

   explicit Collection(std::uint32_t seedConstant = 0) : seed_(hashSeed32() ^ seedConstant) {}
   Collection(Collection const&) = delete;
   Collection& operator=(Collection const&) = delete;
   /// Walks over a collection that is moved from or assigned to end.
   Collection(Collection&& other) noexcept;
   Collection& operator=(Collection&& other) noexcept;
   /// Destroys the entries in their order. Should their destructors insert, those go as well.
   ~Collection() {
      while (!empty()) clear();
   }

   std::size_t size() const noexcept { return store_.live(); }
   bool empty() const noexcept { return store_.live() == 0; }

   std::uint32_t seed() const noexcept { return seed_; }
   Hashed hashed(K const& key) const { return Hashed(key, Hasher{}(key, seed_)); }

   /// The value under the key, null when absent. Valid as I4 says.
   V const* find(K const& key) const { return empty() ? nullptr : find(hashed(key)); }
   V* find(K const& key) { return empty() ? nullptr : find(hashed(key)); }
   V const* find(Hashed const& key) const {
      std::uint32_t const at = positionOf(key);
      return at == npos ? nullptr : std::addressof(store_.at(at).value);
   }
   V* find(Hashed const& key) { return const_cast<V*>(std::as_const(*this).find(key)); }
   bool contains(K const& key) const { return find(key) != nullptr; }
   bool contains(Hashed const& key) const { return find(key) != nullptr; }

   /// A search whose result can be used again after others have changed the collection.
   Lookup<Collection> lookup(Hashed const& key) { return Lookup<Collection>(*this, key); }

   /// For who knows what will be searched for soon. `prefetchIndex` has the processor load what a
   /// search for this hash reads first, `prefetchEntry` what it reads next; the latter waits for
   /// the former. Searches whose loads run side by side take a fraction of the time.
   void prefetchIndex(std::uint32_t hash) const noexcept {
      if (index_.active()) index_.prefetch(hash);
   }
   void prefetchEntry(std::uint32_t hash) const noexcept {
      if (!index_.active()) return;
      if (std::uint32_t const at = index_.candidate(hash); at != npos) store_.prefetch(at);
   }

   /// Inserts, or gives the key another value. An equal value is no change, where values compare.
   Change insertOrAssign(K const& key, V value) {
      return insertOrAssign(hashed(key), std::move(value));
   }
   Change insertOrAssign(Hashed const& key, V value);

   /// Inserts a value made from `args` unless the key is there.
   template <class... Args>
   Place tryInsert(K const& key, Args&&... args) {
      return tryInsert(hashed(key), std::forward<Args>(args)...);
   }
   template <class... Args>
   Place tryInsert(Hashed const& key, Args&&... args);

   /// Removes the entry; false when absent.
   bool erase(K const& key) { return !empty() && erase(hashed(key)); }
   bool erase(Hashed const& key);

   /// Removes the entry and hands it out, so that the caller decides when it dies.
   std::optional<Entry> extract(K const& key) {
      return empty() ? std::nullopt : extract(hashed(key));
   }
   std::optional<Entry> extract(Hashed const& key);

   /// Removes every entry at once and frees all memory. Walks end. The entries die in their order,
   /// once the collection is empty.
   void clear() noexcept;

   /// For loops whose body may do anything: in the order of insertion, or by ascending key.
   Walk<Collection> walk() const { return Walk<Collection>(*this); }
   SortedWalk<Collection> walkSorted() const { return SortedWalk<Collection>(*this); }

   /// For loops that only read; see CollectionScan for what the body may do.
   CollectionScan<Collection> begin() const noexcept { return CollectionScan<Collection>(*this); }
   std::default_sentinel_t end() const noexcept { return {}; }

   /// Heap memory held, without what keys and values hold themselves.
   std::size_t bytes() const noexcept { return store_.bytes() + index_.bytes(); }

   /// Asserts the invariants of all parts. Reads everything; for tests.
   void checkInvariants() const;

 private:
   template <class C, class D>
   friend class PinnedWalk;
   friend Walk<Collection>;
   friend SortedWalk<Collection>;
   friend CollectionScan<Collection>;
   friend Lookup<Collection>;
   friend CollectionOrder<Collection>;

   using Form = KeyForm<K>;
   using Store = EntryStore<typename Form::Kept, V>;
   using Slot = typename Store::Slot;
   static constexpr std::uint32_t npos = Store::npos;

   /// Keeps the index in step with entries that move.
   struct Moved {
      HashIndex& index;
      void prefetch(std::uint32_t hash) const noexcept {
         if (index.active()) index.prefetch(hash);
      }
      void operator()(std::uint32_t hash, std::uint32_t from, std::uint32_t to) const noexcept {
         if (index.active()) index.move(hash, from, to);
      }
   };

   /// Whether the entry at a position has this key.
   auto isOf(K const& key) const noexcept {
      return [this, &key](std::uint32_t at) { return form_.isSame(store_.at(at).key, key); };
   }
   void checkHash([[maybe_unused]] Hashed const& key) const {
#ifndef NDEBUG
      MDL_ASSERT(key.hash() == hashed(key.key()).hash());
#endif
   }
   std::uint32_t positionOf(Hashed const& key) const;
   [[gnu::noinline]] std::uint32_t positionOfUnindexed(Hashed const& key) const;
   template <class... Args>
   Slot& insertAbsent(Hashed const& key, std::uint32_t& at, Args&&... args);
   template <class... Args>
   Slot& appendKept(Hashed const& key, Args&&... args);
   Change assignAt(std::uint32_t at, V value);
   void extractAt(std::optional<Entry>& gone, std::uint32_t at);
   std::uint32_t takeFromIndex(Hashed const& key);
   auto eraseAt(std::uint32_t at);
   void unindex(std::uint32_t hash, std::uint32_t at) {
      if (index_.active()) index_.erase(hash, at, hashes());
   }
   void holeLeft(std::uint32_t at) {
      ++removals_;
      closeHoles(at >> Store::chunkBits);
   }
   void buildIndex();
   void walkLeft() const noexcept;
   void closeHoles(std::uint32_t chunk) noexcept;
   HashIndex::Hashes hashes() const noexcept;
   template <class Visit>
   void forEachPosition(Visit const& visit) const;

   [[no_unique_address]] Form form_;
   Store store_;
   HashIndex index_;
   mutable WalkList walks_;
   std::uint32_t seed_;
   std::uint32_t removals_ = 0;  ///< and whatever else moves entries; so that others notice
   bool untidy_ = false;         ///< holes were left because of walks
};

}  // namespace Mdl

#include "mdl/CollectionImpl.h"
