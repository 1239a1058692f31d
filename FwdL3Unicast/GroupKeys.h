#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Fwd {

/// How a group stands to a key that a configured prefix calls for.
struct PrefixKeyUse {
   // A byte for all, which fits behind the key.
   /// The value under which the key is listed in the group's public set.
   bool value : 1 = false;
   bool listed : 1 = false;
   /// A prefix calls for the key now.
   bool wanted : 1 = false;
   /// One reference of the machine's count is this entry's.
   bool held : 1 = false;
   /// The key is being given back just now, and still listed.
   bool leaving : 1 = false;

   bool isWanted() const noexcept { return wanted; }
   bool isMember() const noexcept { return wanted || (listed && !leaving); }
   void absorb(PrefixKeyUse const& other) noexcept {
      value = value || other.value;
      wanted = wanted || other.wanted;
   }

   friend bool operator==(PrefixKeyUse const&, PrefixKeyUse const&) = default;
};

/// How a group stands to a key that interface addresses call for: wanted while it has an origin.
struct IntfKeyUse {
   bool value = false;
   bool listed = false;
   bool held = false;
   bool leaving = false;
   std::vector<AddressOrigin> origins;

   bool isWanted() const noexcept { return !origins.empty(); }
   bool isMember() const noexcept { return isWanted() || (listed && !leaving); }
   bool hasOrigin(AddressOrigin const& origin) const noexcept {
      return std::ranges::find(origins, origin) != origins.end();
   }
   void absorb(IntfKeyUse const& other) {
      value = value || other.value;
      for (auto const& origin : other.origins) {
         if (!hasOrigin(origin)) origins.push_back(origin);
      }
   }

   friend bool operator==(IntfKeyUse const&, IntfKeyUse const&) = default;
};

/// The keys of one decap group from one source, and the references that it holds on them.
///
/// Owner: the group's reactor. Not shared.
/// I1: a held key is one reference of the machine's count, and no key is held twice.
/// I2: a key that is wanted but not held was stopped (it waits for its UDP port, or is a sentinel)
///   or is about to be taken.
/// I3: an entry that is neither listed nor wanted nor held is gone.
/// Being listed is what the group shows of itself and what verification looks at; being held is
/// what must be given back. They differ while a hook call is under way, for stopped keys, and for
/// a group that has been withdrawn and keeps its lists until it goes.
/// Re-entrancy: any call inside a walk.
/// Cost: O(1) a call.
template <class Use>
class GroupKeys {
 public:
   using Keys = Mdl::Collection<DecapKey, Use>;
   /// The entry of one key, for a function in which hook calls may change the set.
   using Entry = Mdl::Lookup<Keys>;

   bool empty() const noexcept { return keys_.empty(); }
   auto walk() const { return keys_.walk(); }

   Entry at(HashedKey const& key) { return keys_.lookup(key); }
   /// The same for the entry that a walk stands on.
   Entry at(Mdl::Walk<Keys> const& walk) { return walk.lookup(keys_); }
   Use const* find(HashedKey const& key) const { return keys_.find(key); }
   void prefetchIndex(HashedKey const& key) const noexcept { keys_.prefetchIndex(key.hash()); }
   void prefetchEntry(HashedKey const& key) const noexcept { keys_.prefetchEntry(key.hash()); }

   bool isListed(HashedKey const& key) const {
      Use const* const use = find(key);
      return use != nullptr && use->listed;
   }

   /// Lists the key, with an entry of its own if there is none.
   static void list(Entry& entry, bool value) {
      Use& use = entry.orInsert();
      use.listed = true;
      use.leaving = false;
      use.value = value;
   }

   void list(HashedKey const& key, bool value) {
      Entry entry = at(key);
      list(entry, value);
   }

   static void unlist(Entry& entry) {
      Use* const use = entry.find();
      if (use == nullptr) return;
      use->listed = false;
      use->value = false;
      dropIfUnused(entry);
   }

   void unlist(HashedKey const& key) {
      Entry entry = at(key);
      unlist(entry);
   }

   /// Nothing calls for the key any more.
   static void forget(Entry& entry) {
      Use* const use = entry.find();
      if (use == nullptr) return;
      Use rest;
      rest.held = use->held;
      *use = std::move(rest);
      dropIfUnused(entry);
   }

   /// Nothing calls for any key any more; what is held is still to be given back, and stays listed
   /// until then.
   void leaveAll() {
      auto walk = keys_.walk();
      for ([[maybe_unused]] auto const& entry : walk) {
         Entry now = at(walk);
         Use* const use = now.find();
         if (use == nullptr) continue;
         Use rest;
         rest.value = use->value;
         rest.listed = use->listed;
         rest.held = use->held;
         rest.leaving = true;
         *use = std::move(rest);
         dropIfUnused(now);
      }
   }

   bool isHeld(HashedKey const& key) const {
      Use const* const use = find(key);
      return use != nullptr && use->held;
   }
   static bool isHeld(Entry& entry) {
      Use const* const use = entry.find();
      return use != nullptr && use->held;
   }

   /// Clears the mark of a held reference, which the caller gives back. False when it is not held.
   static bool letGo(Entry& entry) {
      if (!isHeld(entry)) return false;
      entry.find()->held = false;
      dropIfUnused(entry);
      return true;
   }

   /// Looks at every key until it finds one.
   bool holdsAny() const {
      for (auto const& entry : keys_) {
         if (entry.value.held) return true;
      }
      return false;
   }

   void unlistAll() {
      auto walk = keys_.walk();
      for ([[maybe_unused]] auto const& entry : walk) {
         Entry now = at(walk);
         unlist(now);
      }
   }

 private:
   /// I3, for an entry that is there.
   static void dropIfUnused(Entry& entry) {
      Use const& use = *entry.find();
      if (!use.listed && !use.held && !use.isWanted()) entry.erase();
   }

   Keys keys_;
};

}  // namespace Fwd
