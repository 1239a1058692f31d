#pragma once

// The bodies of Collection's templates; included by mdl/Collection.h alone.

#include "mdl/Collection.h"

namespace Mdl {

template <class K, class V, class Hasher>
Collection<K, V, Hasher>::Collection(Collection&& other) noexcept
    : form_(std::exchange(other.form_, Form())), store_(std::move(other.store_)),
      index_(std::move(other.index_)), seed_(other.seed_) {
   other.walks_.endAll();
   ++other.removals_;
   other.untidy_ = false;
}

template <class K, class V, class Hasher>
Collection<K, V, Hasher>& Collection<K, V, Hasher>::operator=(Collection&& other) noexcept {
   // The old entries die last; what their destructors do finds both collections whole.
   Collection arrived(std::move(other));
   walks_.endAll();
   ++removals_;
   untidy_ = false;
   std::swap(form_, arrived.form_);
   store_.swap(arrived.store_);
   std::swap(index_, arrived.index_);
   std::swap(seed_, arrived.seed_);
   return *this;
}

// ---- Finding ------------------------------------------------------------------------------------

template <class K, class V, class Hasher>
std::uint32_t Collection<K, V, Hasher>::positionOf(Hashed const& key) const {
   checkHash(key);
   return index_.active() ? index_.find(key.hash(), isOf(key.key())) : positionOfUnindexed(key);
}

template <class K, class V, class Hasher>
std::uint32_t Collection<K, V, Hasher>::positionOfUnindexed(Hashed const& key) const {
   for (std::uint32_t number = store_.head(); number != npos;) {
      auto const& chunk = store_.chunk(number);
      for (std::uint32_t place = 0; place < chunk.used; ++place) {
         if (store_.hashes(chunk)[place] == key.hash() &&
             form_.isSame(store_.slot(chunk, place).key, key.key())) {
            return store_.position(number, place);
         }
      }
      number = chunk.next;
   }
   return npos;
}

// ---- Inserting ----------------------------------------------------------------------------------

template <class K, class V, class Hasher>
Change Collection<K, V, Hasher>::insertOrAssign(Hashed const& key, V value) {
   std::uint32_t at = positionOf(key);
   if (at == npos) {
      insertAbsent(key, at, std::move(value));
      return Change::inserted;
   }
   return assignAt(at, std::move(value));
}

template <class K, class V, class Hasher>
Change Collection<K, V, Hasher>::assignAt(std::uint32_t at, V value) {
   V& stored = store_.at(at).value;
   if constexpr (std::equality_comparable<V>) {
      if (stored == value) return Change::none;
   }
   // I5: the old value dies at the end, when the new one has its place.
   [[maybe_unused]] V const old(std::move(stored));
   std::destroy_at(std::addressof(stored));
   std::construct_at(std::addressof(stored), std::move(value));
   return Change::assigned;
}

template <class K, class V, class Hasher>
template <class... Args>
typename Collection<K, V, Hasher>::Place Collection<K, V, Hasher>::tryInsert(Hashed const& key,
                                                                             Args&&... args) {
   std::uint32_t at = positionOf(key);
   if (at != npos) return {std::addressof(store_.at(at).value), false};
   return {std::addressof(insertAbsent(key, at, std::forward<Args>(args)...).value), true};
}

/// Adds an entry for a key that has none and says where. All that can fail comes before the entry
/// exists; adding it to the index cannot.
template <class K, class V, class Hasher>
template <class... Args>
typename Collection<K, V, Hasher>::Slot& Collection<K, V, Hasher>::insertAbsent(Hashed const& key,
                                                                                std::uint32_t& at,
                                                                                Args&&... args) {
   std::uint32_t const free = store_.room();
   if (!index_.active() && store_.positions() == mostUnindexed) buildIndex();
   if (index_.active()) index_.makeRoom(key.hash(), hashes());
   Slot& slot = appendKept(key, std::forward<Args>(args)...);
   if (index_.active()) index_.insert(key.hash(), free);
   at = free;
   return slot;
}

/// The entry with its key in the form in which it is kept.
template <class K, class V, class Hasher>
template <class... Args>
[[gnu::always_inline]] inline typename Collection<K, V, Hasher>::Slot&
Collection<K, V, Hasher>::appendKept(Hashed const& key, Args&&... args) {
   auto&& kept = form_.keep(key.key());
   if constexpr (std::is_nothrow_constructible_v<V, Args...>) {
      return store_.append(key.hash(), kept, std::forward<Args>(args)...);
   } else {
      try {
         return store_.append(key.hash(), kept, std::forward<Args>(args)...);
      } catch (...) {
         form_.drop(kept);
         throw;
      }
   }
}

template <class K, class V, class Hasher>
void Collection<K, V, Hasher>::buildIndex() {
   static_assert(mostUnindexed <= HashIndex::leastRoom);
   HashIndex index;
   index.makeRoom(0, hashes());
   forEachPosition([&](std::uint32_t at) { index.insert(store_.hashAt(at), at); });
   index_ = std::move(index);
}

// ---- Removing -----------------------------------------------------------------------------------

template <class K, class V, class Hasher>
std::optional<CollectionEntry<K, V>> Collection<K, V, Hasher>::extract(Hashed const& key) {
   // The key may be the entry's own, so it is not read once the entry is taken.
   std::optional<Entry> gone;
   if (std::uint32_t const at = takeFromIndex(key); at != npos) extractAt(gone, at);
   return gone;
}

template <class K, class V, class Hasher>
bool Collection<K, V, Hasher>::erase(Hashed const& key) {
   std::uint32_t const at = takeFromIndex(key);
   if (at == npos) return false;
   [[maybe_unused]] auto const gone = eraseAt(at);
   return true;
}

/// Where the key's entry is, which is no longer in the index; npos when there is none.
template <class K, class V, class Hasher>
std::uint32_t Collection<K, V, Hasher>::takeFromIndex(Hashed const& key) {
   checkHash(key);
   return index_.active() ? index_.take(key.hash(), isOf(key.key()), hashes())
                          : positionOfUnindexed(key);
}

template <class K, class V, class Hasher>
void Collection<K, V, Hasher>::extractAt(std::optional<Entry>& gone, std::uint32_t at) {
   store_.takeInto(gone, at, form_);
   holeLeft(at);
}

/// As `extractAt` for an entry that the index has no more. Gives what must die last: the entry, or
/// only its value if the key is kept in another form, which has nothing to do with the world.
template <class K, class V, class Hasher>
auto Collection<K, V, Hasher>::eraseAt(std::uint32_t at) {
   if constexpr (std::is_reference_v<typename Form::Shown>) {
      std::optional<Entry> gone;
      extractAt(gone, at);
      return gone;
   } else {
      V gone = store_.takeValue(at, form_);
      holeLeft(at);
      return gone;
   }
}

template <class K, class V, class Hasher>
void Collection<K, V, Hasher>::clear() noexcept {
   // The entries die with `old`, after the last use of this collection.
   [[maybe_unused]] Form const oldForm(std::exchange(form_, Form()));
   Store const old(std::move(store_));
   index_.clear();
   walks_.endAll();
   ++removals_;
   untidy_ = false;
}

/// After a removal from `chunk`.
template <class K, class V, class Hasher>
void Collection<K, V, Hasher>::closeHoles(std::uint32_t chunk) noexcept {
   if (empty()) {
      clear();  // Walks have nothing more to see, so they need not hold the memory.
      return;
   }
   if (!walks_.empty()) {
      untidy_ = true;
      return;
   }
   store_.compact(chunk, Moved{index_});
   if (store_.positions() <= mostUnindexed / 2) index_.clear();
}

/// A walk has ended; the last one does what was left undone because of it. Only removals leave
/// something undone, so a collection that is const for everybody is not written to.
template <class K, class V, class Hasher>
void Collection<K, V, Hasher>::walkLeft() const noexcept {
   if (!untidy_ || !walks_.empty()) return;
   auto& self = const_cast<Collection&>(*this);
   self.untidy_ = false;
   ++self.removals_;
   self.store_.tidy(Moved{self.index_});
   if (store_.positions() <= mostUnindexed / 2) self.index_.clear();
}

template <class K, class V, class Hasher>
HashIndex::Hashes Collection<K, V, Hasher>::hashes() const noexcept {
   return {&store_, [](void const* store, std::uint32_t at) noexcept {
              return static_cast<Store const*>(store)->hashAt(at);
           }};
}

template <class K, class V, class Hasher>
template <class Visit>
void Collection<K, V, Hasher>::forEachPosition(Visit const& visit) const {
   for (std::uint32_t number = store_.head(); number != npos;) {
      auto const& chunk = store_.chunk(number);
      for (std::uint32_t place = 0; place < chunk.used; ++place) {
         if (store_.hashes(chunk)[place] != 0) visit(store_.position(number, place));
      }
      number = chunk.next;
   }
}

template <class K, class V, class Hasher>
void Collection<K, V, Hasher>::checkInvariants() const {
   store_.checkInvariants(walks_.empty());
   MDL_ASSERT(walks_.empty() || !empty());
   MDL_ASSERT(!untidy_ || !walks_.empty());
   MDL_ASSERT(index_.active() || store_.positions() <= mostUnindexed);
   index_.checkInvariants(index_.active() ? size() : 0, hashes());
   forEachPosition([&](std::uint32_t at) {
      K const& key = form_.show(store_.at(at).key);
      MDL_ASSERT(store_.hashAt(at) == hashed(key).hash());
      MDL_ASSERT(positionOf(hashed(key)) == at);
   });
}

}  // namespace Mdl
