#pragma once

#include "mdl/Collection.h"
#include "mdl/Export.h"
#include "mdl/NotifieeList.h"
#include "mdl/Ptr.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <utility>

namespace Mdl {

class Type;

/// Base of every model object: counted, reflected, and watched by reactors.
///
/// Notification is synchronous and depth first, after the change. It goes to the reactors
/// registered when it began, in order of registration; the entity stays alive meanwhile. An
/// entity starts with its notifications active.
///
/// Owner: its pointers (see `PtrInterface`); reactors hold their notifier.
/// Re-entrancy: any mutator may be called inside a notification.
class MDL_EXPORT Entity : public PtrInterface {
 public:
   /// The type's description: name, attributes by id and name, how to construct it.
   virtual Type const& fwkType() const noexcept = 0;

   /// Told when the entity becomes part of another one. Nothing by default.
   virtual void handleParent(Ptr<Entity> const& parent);

   /// The reactors that watch this entity. For `NotifieeConst`, which joins and leaves.
   NotifieeList& notifiees() const noexcept { return notifiees_; }

   /// Counts the entity as one allocated by the framework, until it is destroyed.
   void noteAllocation() noexcept;

 protected:
   Entity() noexcept;
   ~Entity() override;

   void onZeroReferences() override;

   /// Tells the reactors of a change that has been made. Costs two tests when nobody watches.
   void notify(AttributeId attribute, void const* key = nullptr) const {
      if (!notifiees_.empty() && hasNotificationActive()) {
         notifiees_.dispatch(*this, attribute, key);
      }
   }

   /// Stores a scalar. An equal value is no change and tells nobody.
   template <class T>
   void scalarIs(T& stored, T value, AttributeId attribute) {
      if (stored == value) return;
      std::swap(stored, value);
      notify(attribute);
   }

   /// Inserts or replaces an entry. An equal entry is no change and tells nobody.
   template <class C>
   void entryIs(C& collection, typename C::Key const& key, typename C::Value value,
                AttributeId attribute) {
      entryIs(collection, collection.hashed(key), std::move(value), attribute);
   }
   template <class C>
   void entryIs(C& collection, typename C::Hashed const& key, typename C::Value value,
                AttributeId attribute) {
      if (notifiees_.empty()) {
         collection.insertOrAssign(key, std::move(value));
         return;
      }
      announce(collection, key, attribute, Soon::later);
      entryIsNow(collection, key, std::move(value), attribute);
   }

   /// The same for an entry that was looked up, whose key outlives the call.
   template <class C>
   void entryIs(Lookup<C>& entry, typename C::Value value, AttributeId attribute) {
      Ptr<Entity> const self(this);
      if (entry.assign(std::move(value)) != Change::none) notify(attribute, &entry.key().key());
   }

   /// Inserts or replaces an entry for each of `keys`, as if one after the other, and faster where
   /// there are many; see `inBurst`.
   template <class C>
   void entriesAre(C& collection, std::span<typename C::Key const> keys,
                   typename C::Value const& value, AttributeId attribute) {
      auto const make = [&](typename C::Hashed const& key) {
         entryIsNow(collection, key, value, attribute);
      };
      inBurst(collection, keys, attribute, Announced::once, make);
   }

   /// Removes the entries of `keys`, in the same way.
   template <class C>
   void entriesDel(C& collection, std::span<typename C::Key const> keys, AttributeId attribute) {
      auto const make = [&](typename C::Hashed const& key) {
         entryDelNow(collection, key, attribute);
      };
      inBurst(collection, keys, attribute, Announced::twice, make);
   }

   /// Removes an entry; an absent one is no change. What the entry held goes last.
   template <class C>
   void entryDel(C& collection, typename C::Key const& key, AttributeId attribute) {
      if (!collection.empty()) entryDel(collection, collection.hashed(key), attribute);
   }
   template <class C>
   void entryDel(C& collection, typename C::Hashed const& key, AttributeId attribute) {
      if (notifiees_.empty()) {
         collection.erase(key);
         return;
      }
      announce(collection, key, attribute, Soon::now);
      entryDelNow(collection, key, attribute);
   }
   template <class C>
   void entryDel(Lookup<C>& entry, AttributeId attribute) {
      if (notifiees_.empty()) {
         entry.erase();
         return;
      }
      if (auto const removed = entry.extract()) notify(attribute, &removed->key);
   }

   /// Removes the entries present now one by one, telling of each after its removal. All go
   /// although a reactor throws; the first exception reaches the caller then.
   template <class C>
   void entryDelAll(C& collection, AttributeId attribute) {
      Ptr<Entity> const self(this);
      std::exception_ptr first;
      for (auto const& entry : collection.walk()) {
         attempt(first, [&] { entryDel(collection, entry.hashed(), attribute); });
      }
      if (first) std::rethrow_exception(first);
   }

 private:
   /// Makes one of several changes, and keeps the first exception for later.
   template <class Make>
   static void attempt(std::exception_ptr& first, Make const& make) {
      try {
         make();
      } catch (...) {
         if (!first) first = std::current_exception();
      }
   }

   template <class C>
   void entryIsNow(C& collection, typename C::Hashed const& key, typename C::Value value,
                   AttributeId attribute) {
      // The old value may be what keeps this entity alive, and the caller's key may live in
      // something that a reactor removes.
      Ptr<Entity> const self(this);
      // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
      typename C::Key const pinned = key.key();
      typename C::Hashed const pinnedHashed(pinned, key.hash());
      if (collection.insertOrAssign(pinnedHashed, std::move(value)) != Change::none) {
         notify(attribute, &pinned);
      }
   }

   template <class C>
   void entryDelNow(C& collection, typename C::Hashed const& key, AttributeId attribute) {
      if (auto const removed = collection.extract(key)) notify(attribute, &removed->key);
   }

   enum class Announced : std::uint8_t { once, twice };

   /// Calls `make` for each key in turn, having announced those that follow, so that while one is
   /// changed the processor loads what others need. All changes are made although a reactor throws;
   /// the first exception reaches the caller then. The keys, and the value, must stay until the
   /// end.
   template <class C, class Make>
   void inBurst(C const& collection, std::span<typename C::Key const> keys, AttributeId attribute,
                Announced announced, Make const& make) {
      constexpr std::size_t far = 8;
      constexpr std::size_t near = 4;
      Ptr<Entity> const self(this);
      std::exception_ptr first;
      std::array<std::uint32_t, far> hashes;
      auto const hashed = [&](std::size_t at) {
         return typename C::Hashed(keys[at], hashes[at % far]);
      };
      for (std::size_t ahead = 0; ahead < keys.size() + far; ++ahead) {
         if (ahead >= far) attempt(first, [&] { make(hashed(ahead - far)); });
         if (ahead < keys.size()) {
            hashes[ahead % far] = collection.hashed(keys[ahead]).hash();
            announce(collection, hashed(ahead), attribute, Soon::later);
         }
         bool const isNear = ahead >= far - near && ahead - (far - near) < keys.size();
         if (announced == Announced::twice && isNear) {
            announce(collection, hashed(ahead - (far - near)), attribute, Soon::next);
         }
      }
      if (first) std::rethrow_exception(first);
   }

   /// Starts loading what a search for the key reads, and gives reactors the opportunity to do the
   /// same. What a small collection needs is at hand anyway.
   template <class C>
   void announce(C const& collection, typename C::Hashed const& key, AttributeId attribute,
                 Soon soon) const {
      constexpr std::size_t few = 1024;
      if (collection.size() < few || !hasNotificationActive()) return;
      if (soon != Soon::next) collection.prefetchIndex(key.hash());
      notifiees_.announce(attribute, &key.key(), soon);
      if (soon != Soon::later) collection.prefetchEntry(key.hash());
   }

   mutable NotifieeList notifiees_;
   bool allocationNoted_ = false;
};

}  // namespace Mdl
