#pragma once

#include "mdl/Assert.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Mdl {

/// What a scan shows of an entry: references into the collection, but for a key that is kept in
/// another form.
template <class Shown, class V>
struct CollectionEntryRef {
   Shown key;
   V const& value;
};

/// The iterator of `for (auto const& entry : collection)`: in the order of insertion, without
/// copies, for loops that only read.
///
/// The loop body may look up, insert and assign; what it inserts is not shown, what it assigns is.
/// It must not remove from the collection: going on after a removal is an assertion. Nor may it
/// destroy the collection. A body that calls anything that may do either takes `walk()`.
/// Cost: a test an entry; nothing to begin or to end.
template <class Collection>
class CollectionScan {
   using Store = typename Collection::Store;

 public:
   using value_type = typename Collection::EntryRef;
   using difference_type = std::ptrdiff_t;

   CollectionScan() noexcept = default;
   explicit CollectionScan(Collection const& collection) noexcept
       : collection_(&collection), removals_(collection.removals_),
         chunk_(collection.store_.head()), lastChunk_(collection.store_.tail()) {
      if (chunk_ == Collection::npos) return;
      lastUsed_ = collection.store_.chunk(lastChunk_).used;
      enterChunk();
      skipHoles();
   }

   value_type operator*() const noexcept {
      auto const& slot = Store::slot(*slots_, place_);
      return {collection_->form_.show(slot.key), slot.value};
   }

   CollectionScan& operator++() {
      bool const nothingWasRemoved = removals_ == collection_->removals_;
      MDL_ASSERT(nothingWasRemoved);
      ++place_;
      skipHoles();
      return *this;
   }
   CollectionScan operator++(int) {
      CollectionScan const before = *this;
      ++*this;
      return before;
   }

   bool operator==(CollectionScan const& other) const noexcept {
      return chunk_ == other.chunk_ && place_ == other.place_;
   }
   bool operator==(std::default_sentinel_t) const noexcept { return place_ == end_; }

 private:
   void enterChunk() noexcept {
      auto const& chunk = collection_->store_.chunk(chunk_);
      slots_ = &chunk;
      hashes_ = Store::hashes(chunk);
      place_ = 0;
      end_ = chunk_ == lastChunk_ ? lastUsed_ : chunk.used;
   }
   void skipHoles() noexcept {
      for (;;) {
         while (place_ != end_ && hashes_[place_] == 0) ++place_;
         if (place_ != end_ || chunk_ == lastChunk_) return;
         chunk_ = collection_->store_.chunk(chunk_).next;
         enterChunk();
      }
   }

   Collection const* collection_ = nullptr;
   std::uint32_t removals_ = 0;
   std::uint32_t chunk_ = Collection::npos;
   std::uint32_t lastChunk_ = Collection::npos;
   std::uint32_t lastUsed_ = 0;
   typename Store::Chunk const* slots_ = nullptr;
   std::uint32_t const* hashes_ = nullptr;
   std::uint32_t place_ = 0;
   std::uint32_t end_ = 0;
};

}  // namespace Mdl
