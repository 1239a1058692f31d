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
   /// The value under which the key is listed in the group's public set.
   bool value = false;
   bool listed = false;
   /// A prefix calls for the key now.
   bool wanted = false;
   /// One reference of the machine's count is this entry's.
   bool held = false;
   /// The key is being given back just now, and still listed.
   bool leaving = false;

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

   auto walk() const { return keys_.walk(); }

   Use* find(HashedKey const& key) { return keys_.find(key); }
   Use const* find(HashedKey const& key) const { return keys_.find(key); }

   bool isListed(HashedKey const& key) const {
      Use const* const use = find(key);
      return use != nullptr && use->listed;
   }
   bool isHeld(HashedKey const& key) const {
      Use const* const use = find(key);
      return use != nullptr && use->held;
   }

   /// The entry of a key, created when there is none.
   Use& entry(HashedKey const& key) { return *keys_.tryInsert(key).value; }

   void list(HashedKey const& key, bool value) { list(entry(key), value); }
   /// The same for an entry that the caller has found.
   void list(Use& use, bool value) {
      use.listed = true;
      use.leaving = false;
      use.value = value;
   }

   void unlist(HashedKey const& key) {
      if (Use* const use = find(key)) unlist(key, *use);
   }
   void unlist(HashedKey const& key, Use& use) {
      use.listed = false;
      use.value = false;
      dropIfUnused(key, use);
   }

   /// Nothing calls for the key any more.
   void forget(HashedKey const& key) {
      if (Use* const use = find(key)) {
         Use rest;
         rest.held = use->held;
         *use = std::move(rest);
         dropIfUnused(key, *use);
      }
   }

   /// Nothing calls for any key any more; what is held is still to be given back, and stays listed
   /// until then.
   void leaveAll() {
      for (auto const& entry : keys_.walk()) {
         Use* const use = find(entry.hashed());
         if (use == nullptr) continue;
         Use rest;
         rest.value = use->value;
         rest.listed = use->listed;
         rest.held = use->held;
         rest.leaving = true;
         *use = std::move(rest);
         dropIfUnused(entry.hashed(), *use);
      }
   }

   /// Clears the mark of a held reference, which the caller gives back. False when it is not held.
   bool letGo(HashedKey const& key) {
      Use* const use = find(key);
      if (use == nullptr || !use->held) return false;
      use->held = false;
      dropIfUnused(key, *use);
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
      for (auto const& entry : keys_.walk()) unlist(entry.hashed());
   }

 private:
   void dropIfUnused(HashedKey const& key, Use const& use) {
      if (!use.listed && !use.held && !use.isWanted()) keys_.erase(key);
   }

   Keys keys_;
};

}  // namespace Fwd
