#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace Mdl {

/// Where some entries of a collection stand in its order, for a caller who has their keys in
/// another order and does not want to walk all the entries to find out.
///
/// Owner: the stack. Valid until an entry is inserted or removed.
/// Cost: a step for every 1024 entries to make it; a search for each key that is asked about.
template <class Collection>
class CollectionOrder {
 public:
   explicit CollectionOrder(Collection const& collection) : collection_(collection) {
      auto const& store = collection.store_;
      std::uint32_t ordinal = 0;
      for (std::uint32_t number = store.head(); number != Collection::npos;) {
         if (number >= ordinals_.size()) ordinals_.resize(number + 1);
         ordinals_[number] = ordinal++;
         number = store.chunk(number).next;
      }
   }

   /// A number that is greater for entries further on; none for a key that is not there.
   std::optional<std::uint64_t> rankOf(typename Collection::Key const& key) const {
      using Store = typename Collection::Store;
      std::uint32_t const at =
          collection_.empty() ? Collection::npos : collection_.positionOf(collection_.hashed(key));
      if (at == Collection::npos) return std::nullopt;
      std::uint64_t const ordinal = ordinals_[at >> Store::chunkBits];
      return ordinal << Store::chunkBits | (at & (Store::chunkSlots - 1));
   }

 private:
   Collection const& collection_;
   std::vector<std::uint32_t> ordinals_;  ///< which in the order each chunk is, by its number
};

}  // namespace Mdl
