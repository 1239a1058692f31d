#pragma once

// The bodies of EntryStore's templates; included by mdl/EntryStore.h alone.

#include "mdl/EntryStore.h"

namespace Mdl {

template <class K, class V>
EntryStore<K, V>::~EntryStore() {
   // Chunk by chunk in order, so that values go in the order in which they came.
   for (std::uint32_t number = head_; number != npos;) {
      Chunk* const chunk = chunks_[number].chunk;
      for (std::uint32_t place = 0; place < chunk->used; ++place) {
         if (hashes(*chunk)[place] != 0) std::destroy_at(&slot(*chunk, place));
      }
      number = chunk->next;
      release(chunk);
   }
}

template <class K, class V>
typename EntryStore<K, V>::Chunk* EntryStore<K, V>::allocate(std::uint32_t capacity) noexcept {
   void* const memory =
       ::operator new (bytesOf(capacity), std::align_val_t{alignment}, std::nothrow);
   return memory == nullptr ? nullptr : ::new (memory) Chunk{.capacity = capacity};
}

template <class K, class V>
std::uint32_t EntryStore<K, V>::room() {
   if (tail_ == npos || chunk(tail_).used == chunk(tail_).capacity) addChunk();
   return position(tail_, chunk(tail_).used);
}

template <class K, class V>
void EntryStore<K, V>::addChunk() {
   if (freeChunk_ == npos) {
      MDL_ASSERT(chunks_.size() < maxChunks);
      chunks_.push_back(Link{.nextFree = npos});
      freeChunk_ = static_cast<std::uint32_t>(chunks_.size() - 1);
   }
   Chunk* const added = allocate(std::clamp(std::bit_floor(live_), leastSlots, chunkSlots));
   if (added == nullptr) throw std::bad_alloc();
   std::uint32_t const number = std::exchange(freeChunk_, chunks_[freeChunk_].nextFree);
   chunks_[number].chunk = added;
   added->previous = tail_;
   (tail_ == npos ? head_ : mutableChunk(tail_).next) = number;
   tail_ = number;
}

template <class K, class V>
template <class Key, class... Args>
typename EntryStore<K, V>::Slot& EntryStore<K, V>::append(std::uint32_t hash, Key const& key,
                                                          Args&&... args) {
   static_assert(std::is_nothrow_move_constructible_v<K>, "compaction must not fail");
   static_assert(std::is_nothrow_move_constructible_v<V>, "compaction must not fail");
   Chunk& last = mutableChunk(tail_);
   Slot* const added = ::new (slotMemory(last, last.used)) Slot(key, std::forward<Args>(args)...);
   hashes(last)[last.used] = hash;
   ++last.used;
   ++last.live;
   ++live_;
   ++positions_;
   return *added;
}

template <class K, class V>
template <class Entry, class Form>
void EntryStore<K, V>::takeInto(std::optional<Entry>& taken, std::uint32_t position,
                                Form& form) noexcept {
   // Made where it is to stand: keys are large.
   struct Made {
      Slot& from;
      Form& form;
      operator Entry() const noexcept { return {form.take(from.key), std::move(from.value)}; }
   };
   taken.emplace(Made{at(position), form});
   leaveHole(position);
}

/// What was in the slot has been taken out.
template <class K, class V>
void EntryStore<K, V>::leaveHole(std::uint32_t position) noexcept {
   Chunk& chunk = mutableChunk(position >> chunkBits);
   std::uint32_t const place = position & (chunkSlots - 1);
   std::destroy_at(&slot(chunk, place));
   hashes(chunk)[place] = 0;
   --chunk.live;
   --live_;
}

template <class K, class V>
bool EntryStore<K, V>::lastHasManyHoles() const noexcept {
   Chunk const& c = chunk(tail_);
   // The only chunk also gives back what a larger collection has left.
   return (c.used - c.live) * 2 >= c.capacity ||
          (head_ == tail_ && c.live * 4 <= c.capacity && c.capacity > leastSlots);
}

template <class K, class V>
template <class Moved>
void EntryStore<K, V>::closeUp(std::uint32_t number, Moved const& moved) noexcept {
   if (number == tail_) dropHolesAtEnd();
   if (hasManyHoles(number)) {
      std::uint32_t const before = chunk(number).previous;
      if (chunk(number).live == 0 && number != tail_) {
         unlink(number);
      } else if (unitable(number, chunk(number).next)) {
         rewrite(number, true, moved);
      } else if (unitable(number, before)) {
         rewrite(before, true, moved);
      } else {
         rewrite(number, false, moved);
      }
   }
   // For a chunk that has just become the only one, other limits hold.
   if (head_ == tail_ && hasManyHoles(head_)) rewrite(head_, false, moved);
}

template <class K, class V>
template <class Moved>
void EntryStore<K, V>::tidy(Moved const& moved) noexcept {
   // From the end, because a chunk that is united with another goes by the number of the first.
   for (std::uint32_t number = tail_; number != npos;) {
      std::uint32_t const before = chunk(number).previous;
      compact(number, moved);
      number = before;
   }
}

template <class K, class V>
void EntryStore<K, V>::dropHolesAtEnd() noexcept {
   Chunk& last = mutableChunk(tail_);
   while (last.used != 0 && hashes(last)[last.used - 1] == 0) {
      --last.used;
      --positions_;
   }
}

template <class K, class V>
void EntryStore<K, V>::unlink(std::uint32_t number) noexcept {
   Chunk* const gone = chunks_[number].chunk;
   (gone->previous == npos ? head_ : mutableChunk(gone->previous).next) = gone->next;
   (gone->next == npos ? tail_ : mutableChunk(gone->next).previous) = gone->previous;
   positions_ -= gone->used;
   release(gone);
   chunks_[number].nextFree = std::exchange(freeChunk_, number);
}

/// Moves the entries of the chunk, and of the next one if wanted, to the beginning of one chunk,
/// which takes the place and the number of the first.
template <class K, class V>
template <class Moved>
void EntryStore<K, V>::rewrite(std::uint32_t number, bool withNext, Moved const& moved) noexcept {
   // 1. As large as needed; the last chunk with a quarter to spare, so that the next insertions
   //    pay for the next rewriting.
   Chunk& first = mutableChunk(number);
   std::uint32_t const next = withNext ? first.next : npos;
   std::uint32_t const live = first.live + (withNext ? chunk(next).live : 0);
   bool const last = (withNext ? next : number) == tail_;
   std::uint32_t const capacity =
       last ? std::clamp(std::bit_ceil(live + live / 3 + 1), leastSlots, chunkSlots) : live;
   Chunk* const into = capacity == first.capacity ? &first : allocate(capacity);
   if (into == nullptr) return;

   // 2. The entries, in order: each one's new position is free by then, or its own. What the index
   //    has on them lies all over it, so it is loaded at once before.
   prefetchIndex(first, moved);
   if (withNext) prefetchIndex(chunk(next), moved);
   std::uint32_t place = 0;
   moveEntries(first, number, *into, number, place, moved);
   positions_ = positions_ - first.used + live;
   first.used = first.live = 0;
   if (withNext) {
      moveEntries(mutableChunk(next), next, *into, number, place, moved);
      unlink(next);
   }

   // 3. The new chunk instead of the old one.
   into->used = into->live = live;
   if (into == &first) return;
   into->previous = first.previous;
   into->next = first.next;
   if (into->next != npos) mutableChunk(into->next).previous = number;
   chunks_[number].chunk = into;
   release(&first);
}

template <class K, class V>
template <class Moved>
void EntryStore<K, V>::prefetchIndex(Chunk const& chunk, Moved const& moved) noexcept {
   for (std::uint32_t i = 0; i < chunk.used; ++i) {
      if (std::uint32_t const hash = hashes(chunk)[i]; hash != 0) moved.prefetch(hash);
   }
}

template <class K, class V>
template <class Moved>
void EntryStore<K, V>::moveEntries(Chunk& from, std::uint32_t fromNumber, Chunk& to,
                                   std::uint32_t toNumber, std::uint32_t& place,
                                   Moved const& moved) noexcept {
   for (std::uint32_t i = 0; i < from.used; ++i) {
      std::uint32_t const hash = std::exchange(hashes(from)[i], 0);
      if (hash == 0) continue;
      Slot* const target = slotMemory(to, place);
      if (&from != &to || i != place) {
         Slot& source = slot(from, i);
         ::new (target) Slot(std::move(source));
         std::destroy_at(&source);
      }
      hashes(to)[place] = hash;
      std::uint32_t const oldPosition = position(fromNumber, i);
      std::uint32_t const newPosition = position(toNumber, place++);
      if (oldPosition != newPosition) moved(hash, oldPosition, newPosition);
   }
}

template <class K, class V>
std::size_t EntryStore<K, V>::bytes() const noexcept {
   std::size_t result = chunks_.capacity() * sizeof(Link);
   for (std::uint32_t number = head_; number != npos; number = chunk(number).next) {
      result += bytesOf(chunk(number).capacity);
   }
   return result;
}

template <class K, class V>
void EntryStore<K, V>::checkInvariants(bool tidied) const {
   std::uint32_t live = 0;
   std::uint32_t positions = 0;
   std::uint32_t previous = npos;
   for (std::uint32_t number = head_; number != npos; number = chunk(number).next) {
      Chunk const& c = chunk(number);
      MDL_ASSERT(c.previous == previous);
      MDL_ASSERT(c.used <= c.capacity && c.capacity <= chunkSlots);
      std::uint32_t liveHere = 0;
      for (std::uint32_t i = 0; i < c.used; ++i) liveHere += hashes(c)[i] != 0 ? 1U : 0U;
      MDL_ASSERT(c.live == liveHere);
      MDL_ASSERT(!tidied || !hasManyHoles(number));
      live += c.live;
      positions += c.used;
      previous = number;
   }
   MDL_ASSERT(previous == tail_);
   MDL_ASSERT(live == live_ && positions == positions_);
}

}  // namespace Mdl
