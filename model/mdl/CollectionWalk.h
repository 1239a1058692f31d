#pragma once

#include "mdl/Assert.h"
#include "mdl/Lookup.h"
#include "mdl/WalkList.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace Mdl {

/// What the walks over a collection share: the entry they stand on, and being known to it.
///
/// For `for (auto const& entry : collection.walk())`; made by the collection, lives for one loop.
///
/// I1 (pin): the loop body reads a copy of the entry, held until the walk goes on; so the body may
///    remove that entry, any other or all, insert, destroy the collection and its owner, or throw.
/// I2 (what is seen): each entry that was there when the walk began, once, with its value of the
///    time when the walk reaches it, unless it is removed before. Nothing else; in particular not
///    an entry that was removed and came back.
/// I3 (still): while any walk over a collection is alive, its entries keep their positions and
///    positions are not used again.
/// Re-entrancy: walks may nest and interleave, and end in any order.
/// Cost: a copy of key and value an entry.
template <class Collection, class Derived>
class PinnedWalk : private WalkList::Link {
 public:
   /// The copy of an entry, and its hash, which nobody needs to compute again.
   struct Entry : Collection::Entry {
      std::uint32_t hash;
      typename Collection::Hashed hashed() const noexcept {
         return typename Collection::Hashed(this->key, hash);
      }
   };

   class Cursor {
    public:
      using value_type = Entry;
      using difference_type = std::ptrdiff_t;

      explicit Cursor(PinnedWalk& walk) noexcept : walk_(&walk) {}
      Entry const& operator*() const noexcept { return *walk_->pin_; }
      Entry const* operator->() const noexcept { return &*walk_->pin_; }
      Cursor& operator++() {
         walk_->advance();
         return *this;
      }
      void operator++(int) { walk_->advance(); }
      bool operator==(std::default_sentinel_t) const noexcept { return !walk_->pin_; }

    private:
      PinnedWalk* walk_;
   };

   /// Goes to the first entry; for one loop, once.
   Cursor begin() {
      advance();
      return Cursor(*this);
   }
   std::default_sentinel_t end() const noexcept { return {}; }

   /// The entry that the walk stands on, as a lookup in the collection that is walked; without a
   /// search while the entry is there.
   Lookup<Collection> lookup(Collection& collection) const {
      MDL_ASSERT(&collection == collection_);
      bool const stands = !ended() && collection.store_.hashAt(position_) != 0;
      return stands ? Lookup<Collection>(collection, pin_->hashed(), position_)
                    : Lookup<Collection>(collection, pin_->hashed());
   }

 protected:
   using Link::ended;
   explicit PinnedWalk(Collection const& collection)
       : Link(collection.walks_), collection_(&collection) {}
   ~PinnedWalk() {
      if (ended()) return;
      leave();
      collection_->walkLeft();
   }

   Collection const& collection() const noexcept { return *collection_; }

 private:
   /// Made where it is to stand: keys are large.
   struct Copied {
      Collection const& collection;
      std::uint32_t position;
      operator Entry() const {
         auto const& slot = collection.store_.at(position);
         return {{collection.form_.show(slot.key), slot.value}, collection.store_.hashAt(position)};
      }
   };

   /// Lets go of the current entry and pins the next one. What the current one held may die here
   /// and may act, so the walk asks only then what there is.
   void advance() {
      pin_.reset();
      if (ended()) return;
      std::uint32_t const position = static_cast<Derived*>(this)->nextLive();
      if (position == Collection::npos) return;
      position_ = position;
      pin_.emplace(Copied{*collection_, position});
   }

   Collection const* collection_;
   std::optional<Entry> pin_;
   std::uint32_t position_ = Collection::npos;
};

/// A walk in the order of insertion.
template <class Collection>
class Walk : public PinnedWalk<Collection, Walk<Collection>> {
 public:
   explicit Walk(Collection const& collection)
       : PinnedWalk<Collection, Walk>(collection), chunk_(collection.store_.head()),
         lastChunk_(collection.store_.tail()),
         lastPlace_(lastChunk_ == Collection::npos ? 0 : collection.store_.chunk(lastChunk_).used) {
   }

   /// Calls `visit(key)` for the entry `steps` places further on, if one stands there just now and
   /// in the same chunk of memory: so that a body can load ahead what it will ask for.
   template <class Visit>
   void ahead(std::uint32_t steps, Visit const& visit) const {
      if (this->ended() || chunk_ == Collection::npos) return;
      auto const& store = this->collection().store_;
      auto const& chunk = store.chunk(chunk_);
      std::uint32_t const place = place_ + steps - 1;
      if (place >= chunk.used || store.hashes(chunk)[place] == 0) return;
      typename Collection::Key const& key =
          this->collection().form_.show(store.slot(chunk, place).key);
      visit(typename Collection::Hashed(key, store.hashes(chunk)[place]));
   }

 private:
   friend PinnedWalk<Collection, Walk>;

   std::uint32_t nextLive() noexcept {
      auto const& store = this->collection().store_;
      while (chunk_ != Collection::npos) {
         auto const& chunk = store.chunk(chunk_);
         std::uint32_t const end = chunk_ == lastChunk_ ? lastPlace_ : chunk.used;
         while (place_ < end) {
            std::uint32_t const here = place_++;
            if (store.hashes(chunk)[here] != 0) return store.position(chunk_, here);
         }
         chunk_ = chunk_ == lastChunk_ ? Collection::npos : chunk.next;
         place_ = 0;
      }
      return Collection::npos;
   }

   std::uint32_t chunk_;
   std::uint32_t place_ = 0;
   std::uint32_t lastChunk_;
   std::uint32_t lastPlace_;
};

/// A walk by ascending key. Beginning it sorts: O(n log n) and four bytes an entry.
template <class Collection>
class SortedWalk : public PinnedWalk<Collection, SortedWalk<Collection>> {
 public:
   explicit SortedWalk(Collection const& collection)
       : PinnedWalk<Collection, SortedWalk>(collection) {
      auto const& store = collection.store_;
      order_.reserve(collection.size());
      collection.forEachPosition([&](std::uint32_t at) { order_.push_back(at); });
      auto const& form = collection.form_;
      std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
         return form.show(store.at(a).key) < form.show(store.at(b).key);
      });
   }

 private:
   friend PinnedWalk<Collection, SortedWalk>;

   std::uint32_t nextLive() noexcept {
      while (next_ < order_.size()) {
         std::uint32_t const here = order_[next_++];
         if (this->collection().store_.hashAt(here) != 0) return here;
      }
      return Collection::npos;
   }

   std::vector<std::uint32_t> order_;
   std::size_t next_ = 0;
};

}  // namespace Mdl
