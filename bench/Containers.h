#pragma once

// The keyed containers that are compared, each with the operations of a contest. All hash with the
// same function and the same seed.

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/node_hash_map.h>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered_map.hpp>

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace Bench {

using Fwd::DecapKey;

/// The peers take 64 bits, of which some read the upper and some the lower ones first: both halves
/// are good.
template <class Key>
struct PeerHash {
   using is_avalanching = void;
   std::size_t operator()(Key const& key) const noexcept {
      return key.hash(seed) * std::uint64_t{0x100000001};
   }
   std::uint32_t seed = Mdl::hashSeed32();
};

struct Ours {
   static constexpr char name[] = "ours";
   Mdl::Collection<DecapKey, bool> table;

   void insert(DecapKey const& key) { table.tryInsert(key, true); }
   bool has(DecapKey const& key) const { return table.contains(key); }
   void erase(DecapKey const& key) { table.erase(key); }
   std::size_t size() const { return table.size(); }
   template <class Visit>
   void forEach(Visit const& visit) const {
      for (auto const& entry : table) visit(entry.key);
   }
   template <class Which>
   void eraseWalking(Which const& which) {
      auto walk = table.walk();
      for (auto const& entry : walk) {
         if (which(entry.key)) walk.lookup(table).erase();
      }
   }
};

template <class Table>
struct Peer {
   Table table;

   void insert(DecapKey const& key) { table.try_emplace(key, true); }
   bool has(DecapKey const& key) const { return table.find(key) != table.end(); }
   void erase(DecapKey const& key) { table.erase(key); }
   std::size_t size() const { return table.size(); }
   template <class Visit>
   void forEach(Visit const& visit) const {
      for (auto const& entry : table) visit(entry.first);
   }
   template <class Which>
   void eraseWalking(Which const& which) {
      for (auto at = table.begin(); at != table.end();) {
         // Some peers return nothing from erase, and keep other iterators valid.
         auto const here = at++;
         if (which(here->first)) table.erase(here);
      }
   }
};

struct Std : Peer<std::unordered_map<DecapKey, bool, PeerHash<DecapKey>>> {
   static constexpr char name[] = "std";
};
struct AbslFlat : Peer<absl::flat_hash_map<DecapKey, bool, PeerHash<DecapKey>>> {
   static constexpr char name[] = "absl-flat";
};
struct AbslNode : Peer<absl::node_hash_map<DecapKey, bool, PeerHash<DecapKey>>> {
   static constexpr char name[] = "absl-node";
};
struct BoostFlat : Peer<boost::unordered_flat_map<DecapKey, bool, PeerHash<DecapKey>>> {
   static constexpr char name[] = "boost-flat";
};
struct BoostMap : Peer<boost::unordered_map<DecapKey, bool, PeerHash<DecapKey>>> {
   static constexpr char name[] = "boost-map";
};

}  // namespace Bench
