#pragma once

#include "mdl/Assert.h"
#include "mdl/HashBits.h"
#include "mdl/Prefetch.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace Mdl {

/// A key and the value that a collection keeps under it.
template <class K, class V>
struct CollectionEntry {
   K key;
   V value;
};

/// The entries of one collection, dense and in the order of their insertion.
///
/// Owner: the collection. Not shared. `K` is the form in which it keeps its keys.
///
/// Design. Entries stand in *chunks* of up to `chunkSlots`, linked in order; new ones go to the
/// end of the last chunk, and a new chunk is as large as all before it, up to that limit. So a
/// small collection is small, and insertion moves nothing. A position is a chunk's number and a
/// place in it. A removed entry leaves an empty slot, a *hole*; a chunk of which a quarter is left
/// is rewritten, or united with a neighbour that is not much larger, on request (`compact`). That
/// is all the compaction there is: one step moves at most one chunk's worth of entries. For each
/// that goes some half of one moves, hardly ever one; closed up at half it would always be one.
///
/// I1 (order): reading the chunks along their links, and each from its first slot to `used`,
///    gives the live entries in the order of their insertion.
/// I2 (holes): a slot holds a key and a value exactly if its hash is not 0. The hashes of a chunk
///    stand together, behind its slots, so that key and value fill no more memory than they need:
///    a value that fits into the padding at the end of a key costs nothing.
/// I3 (still): an entry moves only in `compact` and `tidy`.
/// I4 (memory): after `tidy`, every chunk but the last is more than a quarter full, and the last
///    has fewer holes than half its slots; a removal that is followed by `compact` keeps that.
///
/// Re-entrancy: none; copies of keys and values must not call back. `takeInto` hands the
/// removed entry out, so that the caller decides when it is destroyed.
/// Exceptions: `room` and `append` throw and then have changed nothing that can be seen; the rest
/// cannot fail, for which moving a key or a value must not throw. Compaction that finds no memory
/// is left for later.
/// Cost: 4 bytes an entry beside key and value.
template <class K, class V>
class EntryStore {
 public:
   static constexpr std::uint32_t npos = 0xffffffffU;
   static constexpr unsigned chunkBits = 10;
   static constexpr std::uint32_t maxChunks = 1U << (HashBits::positionBits - chunkBits);
   static constexpr std::uint32_t chunkSlots = 1U << chunkBits;
   static constexpr std::uint32_t leastSlots = 4;

   /// One entry. Nobody assigns to the key, which would write over the value in its padding.
   struct Slot {
      template <class Key, class... Args>
      explicit Slot(Key const& k, Args&&... args) : key(k), value(std::forward<Args>(args)...) {}
      Slot(Slot&& other) noexcept : key(std::move(other.key)), value(std::move(other.value)) {}
      Slot(Slot const&) = delete;
      Slot& operator=(Slot const&) = delete;

      [[no_unique_address]] K key;
      [[no_unique_address]] V value;
   };

   struct Chunk {
      std::uint32_t previous = npos;
      std::uint32_t next = npos;
      std::uint32_t capacity;
      std::uint32_t used = 0;  ///< slots in use, holes included
      std::uint32_t live = 0;
   };

   EntryStore() noexcept = default;
   EntryStore(EntryStore const&) = delete;
   EntryStore& operator=(EntryStore const&) = delete;
   EntryStore(EntryStore&& other) noexcept { swap(other); }
   EntryStore& operator=(EntryStore&& other) noexcept {
      EntryStore(std::move(other)).swap(*this);
      return *this;
   }
   ~EntryStore();

   void swap(EntryStore& other) noexcept {
      std::swap(chunks_, other.chunks_);
      std::swap(head_, other.head_);
      std::swap(tail_, other.tail_);
      std::swap(freeChunk_, other.freeChunk_);
      std::swap(live_, other.live_);
      std::swap(positions_, other.positions_);
   }

   std::uint32_t live() const noexcept { return live_; }
   /// Slots in use, holes included.
   std::uint32_t positions() const noexcept { return positions_; }

   std::uint32_t head() const noexcept { return head_; }
   std::uint32_t tail() const noexcept { return tail_; }
   Chunk const& chunk(std::uint32_t number) const noexcept { return *chunks_[number].chunk; }
   static std::uint32_t position(std::uint32_t number, std::uint32_t place) noexcept {
      return number << chunkBits | place;
   }

   Slot& at(std::uint32_t position) noexcept {
      return slot(*chunks_[position >> chunkBits].chunk, position & (chunkSlots - 1));
   }
   Slot const& at(std::uint32_t position) const noexcept {
      return slot(*chunks_[position >> chunkBits].chunk, position & (chunkSlots - 1));
   }
   /// 0 for a hole.
   std::uint32_t hashAt(std::uint32_t position) const noexcept { return *hashPlace(position); }
   /// Has the processor load an entry and its hash.
   void prefetch(std::uint32_t position) const noexcept {
      Chunk const& chunk = *chunks_[position >> chunkBits].chunk;
      std::uint32_t const place = position & (chunkSlots - 1);
      Slot const& entry = slot(chunk, place);
      Mdl::prefetch(&entry);
      if constexpr (!evenlyPlaced) Mdl::prefetch(reinterpret_cast<char const*>(&entry + 1) - 1);
      Mdl::prefetch(hashes(chunk) + place);
   }

   /// An entry of a chunk, not a hole.
   static Slot& slot(Chunk const& chunk, std::uint32_t place) noexcept {
      return *std::launder(slotMemory(const_cast<Chunk&>(chunk), place));
   }
   /// The hashes of a chunk's slots, in their order.
   static std::uint32_t* hashes(Chunk const& chunk) noexcept {
      return reinterpret_cast<std::uint32_t*>(
          reinterpret_cast<std::byte*>(&const_cast<Chunk&>(chunk)) + slotBytes(chunk.capacity));
   }

   /// Makes sure that `append` has a slot, and gives the position that it will use.
   std::uint32_t room();

   /// Adds an entry at the end, whose value is made from `args`. `room` came before.
   template <class Key, class... Args>
   Slot& append(std::uint32_t hash, Key const& key, Args&&... args);

   /// Removes the entry at `position` and hands it out, its key as `form` gives it; its slot is a
   /// hole.
   template <class Entry, class Form>
   void takeInto(std::optional<Entry>& taken, std::uint32_t position, Form& form) noexcept;
   /// The same for an entry whose key nobody wants to see.
   template <class Form>
   V takeValue(std::uint32_t position, Form& form) noexcept {
      Slot& entry = at(position);
      form.drop(entry.key);
      V value(std::move(entry.value));
      leaveHole(position);
      return value;
   }

   /// Closes up the chunk `number` if its holes are worth it, and frees it if it is empty.
   /// `moved(hash, from, to)` is told of each entry that gets another position, after
   /// `moved.prefetch(hash)` for all of them. Not while anybody remembers positions.
   template <class Moved>
   void compact(std::uint32_t number, Moved const& moved) noexcept {
      if (number == tail_ || hasManyHoles(number)) closeUp(number, moved);
   }

   /// `compact` for every chunk.
   template <class Moved>
   void tidy(Moved const& moved) noexcept;

   std::size_t bytes() const noexcept;  ///< heap memory held

   /// Asserts I1, I2 and what is counted; with `tidied` also I4. Reads everything; for tests.
   void checkInvariants(bool tidied) const;

 private:
   /// Entries that can share out cache lines evenly do not straddle them.
   static constexpr bool evenlyPlaced = sizeof(Slot) <= 64 && std::has_single_bit(sizeof(Slot));
   static constexpr std::size_t slotAlignment = evenlyPlaced ? sizeof(Slot) : alignof(Slot);
   static constexpr std::size_t alignment = std::max(slotAlignment, alignof(Chunk));
   static constexpr std::size_t headBytes =
       (sizeof(Chunk) + slotAlignment - 1) / slotAlignment * slotAlignment;
   /// Two chunks are united when their entries leave a quarter of a full chunk free, and the
   /// neighbour has at most twice the entries of the one that has lost most of its own.
   static constexpr std::uint32_t unitedSlots = chunkSlots / 4 * 3;

   /// A chunk's place in the table: the chunk, or the next number that is free.
   union Link {
      Chunk* chunk;
      std::uint32_t nextFree;
   };

   static Slot* slotMemory(Chunk& chunk, std::uint32_t place) noexcept {
      return reinterpret_cast<Slot*>(reinterpret_cast<std::byte*>(&chunk) + headBytes) + place;
   }
   /// Where the hashes begin.
   static std::size_t slotBytes(std::uint32_t capacity) noexcept {
      constexpr std::size_t unit = alignof(std::uint32_t);
      return (headBytes + capacity * sizeof(Slot) + unit - 1) / unit * unit;
   }
   static std::size_t bytesOf(std::uint32_t capacity) noexcept {
      return slotBytes(capacity) + capacity * sizeof(std::uint32_t);
   }
   std::uint32_t* hashPlace(std::uint32_t position) const noexcept {
      return hashes(*chunks_[position >> chunkBits].chunk) + (position & (chunkSlots - 1));
   }
   Chunk& mutableChunk(std::uint32_t number) noexcept { return *chunks_[number].chunk; }
   void leaveHole(std::uint32_t position) noexcept;
   static Chunk* allocate(std::uint32_t capacity) noexcept;
   static void release(Chunk* chunk) noexcept {
      ::operator delete (static_cast<void*>(chunk), std::align_val_t{alignment});
   }
   void addChunk();
   void unlink(std::uint32_t number) noexcept;
   bool hasManyHoles(std::uint32_t number) const noexcept {
      Chunk const& c = chunk(number);
      return number == tail_ ? lastHasManyHoles() : c.live * 4 <= c.capacity;
   }
   bool lastHasManyHoles() const noexcept;
   template <class Moved>
   void closeUp(std::uint32_t number, Moved const& moved) noexcept;
   bool unitable(std::uint32_t number, std::uint32_t neighbour) const noexcept {
      if (neighbour == npos) return false;
      std::uint32_t const own = chunk(number).live;
      std::uint32_t const others = chunk(neighbour).live;
      return others <= own * 2 && own + others <= unitedSlots;
   }
   template <class Moved>
   void rewrite(std::uint32_t number, bool withNext, Moved const& moved) noexcept;
   template <class Moved>
   static void prefetchIndex(Chunk const& chunk, Moved const& moved) noexcept;
   template <class Moved>
   static void moveEntries(Chunk& from, std::uint32_t fromNumber, Chunk& to, std::uint32_t toNumber,
                           std::uint32_t& place, Moved const& moved) noexcept;
   void dropHolesAtEnd() noexcept;

   std::vector<Link> chunks_;
   std::uint32_t head_ = npos;
   std::uint32_t tail_ = npos;
   std::uint32_t freeChunk_ = npos;
   std::uint32_t live_ = 0;
   std::uint32_t positions_ = 0;
};

}  // namespace Mdl

#include "mdl/EntryStoreImpl.h"
