#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Mdl {

/// What an insertion has done.
enum class Change : std::uint8_t {
   none,      ///< an equal entry was there
   inserted,  ///< the key is new
   assigned,  ///< the key was there with another value
};

/// One key of a collection, looked for once and looked at several times: for a function that calls
/// others, who may change the collection, between its uses of an entry.
///
/// Made by `collection.lookup(key)`, lives on the stack. Neither the collection nor the key may go
/// before it. It remembers where the entry stands, and how many removals and entries the collection
/// had then. Removals are all that can move an entry and insertions all that can bring one, so
/// while neither number has changed nothing needs to be searched for again.
///
/// Re-entrancy: between two calls anything may happen to the collection and to the entry.
/// Exceptions: `orInsert` as the collection's own; the rest cannot fail.
/// Cost: two comparisons where nothing has changed, otherwise one search.
template <class Collection>
class Lookup {
 public:
   using Key = typename Collection::Key;
   using Value = typename Collection::Value;
   using Entry = typename Collection::Entry;
   using Hashed = typename Collection::Hashed;

   Lookup(Collection& collection, Hashed const& key) : collection_(&collection), key_(key) {
      look();
   }
   /// The same entry under an equal key that lives longer.
   Lookup(Lookup const& other, Hashed const& key) noexcept
       : collection_(other.collection_), key_(key), position_(other.position_),
         removals_(other.removals_), size_(other.size_) {}
   /// For a walk, which knows where the entry is.
   Lookup(Collection& collection, Hashed const& key, std::uint32_t position) noexcept
       : collection_(&collection), key_(key), position_(position) {
      note();
   }
   Lookup(Lookup const&) = delete;
   Lookup& operator=(Lookup const&) = delete;
   ~Lookup() = default;

   Hashed const& key() const noexcept { return key_; }

   /// The value as it is now, null when there is no entry. Valid as the collection's `find` says.
   Value* find() {
      refresh();
      return position_ == npos ? nullptr : &collection_->store_.at(position_).value;
   }
   bool exists() {
      refresh();
      return position_ != npos;
   }

   /// The value, made from `args` if there is no entry.
   template <class... Args>
   Value& orInsert(Args&&... args) {
      if (Value* const there = find()) return *there;
      auto& added = collection_->insertAbsent(key_, position_, std::forward<Args>(args)...);
      size_ = collection_->size();
      return added.value;
   }

   /// Inserts, or gives the entry another value. An equal value is no change, where values compare.
   Change assign(Value value) {
      refresh();
      if (position_ != npos) return collection_->assignAt(position_, std::move(value));
      collection_->insertAbsent(key_, position_, std::move(value));
      size_ = collection_->size();
      return Change::inserted;
   }

   /// Removes the entry and hands it out; nothing when there is none.
   std::optional<Entry> extract() {
      std::optional<Entry> gone;
      refresh();
      if (position_ == npos) return gone;
      collection_->unindex(key_.hash(), position_);
      collection_->extractAt(gone, std::exchange(position_, npos));
      note();
      return gone;
   }
   bool erase() {
      refresh();
      if (position_ == npos) return false;
      collection_->unindex(key_.hash(), position_);
      [[maybe_unused]] auto const gone = collection_->eraseAt(std::exchange(position_, npos));
      note();
      return true;
   }

 private:
   static constexpr std::uint32_t npos = Collection::npos;

   void refresh() {
      bool const unmoved = removals_ == collection_->removals_;
      if (!unmoved || (position_ == npos && size_ != collection_->size())) [[unlikely]]
         look();
   }
   void look() {
      position_ = collection_->empty() ? npos : collection_->positionOf(key_);
      note();
   }
   void note() noexcept {
      removals_ = collection_->removals_;
      size_ = collection_->size();
   }

   Collection* collection_;
   Hashed key_;
   std::uint32_t position_;
   std::uint32_t removals_;
   std::size_t size_;
};

}  // namespace Mdl
