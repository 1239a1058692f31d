#pragma once

#include "mdl/Collection.h"
#include "mdl/Export.h"
#include "mdl/NotifieeList.h"
#include "mdl/Ptr.h"

#include <exception>
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
      if (!notifiees_.empty() && hasNotificationActive()) deliver(attribute, key);
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

   /// The same for an entry that was looked up, whose key outlives the call.
   template <class C>
   void entryIs(Lookup<C>& entry, typename C::Value value, AttributeId attribute) {
      Ptr<Entity> const self(this);
      if (entry.assign(std::move(value)) != Change::none) notify(attribute, &entry.key().key());
   }

   /// Removes an entry; an absent one is no change. What the entry held goes last. `key` is a key
   /// of the collection, with or without its hash.
   template <class C, class K>
   void entryDel(C& collection, K const& key, AttributeId attribute) {
      if (auto const removed = collection.extract(key)) notify(attribute, &removed->key);
   }
   template <class C>
   void entryDel(Lookup<C>& entry, AttributeId attribute) {
      if (auto const removed = entry.extract()) notify(attribute, &removed->key);
   }

   /// Removes the entries present now one by one, telling of each after its removal. All go
   /// although a reactor throws; the first exception reaches the caller then.
   template <class C>
   void entryDelAll(C& collection, AttributeId attribute) {
      Ptr<Entity> const self(this);
      std::exception_ptr first;
      for (auto const& entry : collection.walk()) {
         try {
            entryDel(collection, entry.key, attribute);
         } catch (...) {
            if (!first) first = std::current_exception();
         }
      }
      if (first) std::rethrow_exception(first);
   }

 private:
   void deliver(AttributeId attribute, void const* key) const;

   mutable NotifieeList notifiees_;
   bool allocationNoted_ = false;
};

}  // namespace Mdl
