#pragma once

#include "mdl/Hash.h"

#include <cstdint>
#include <type_traits>

namespace Mdl {

/// How a collection hashes its keys: `KeyHash<K>{}(key, seed)`.
///
/// A key type offers `hash(seed)`; equal keys hash equally under every seed, both ends of the
/// result are fit to index a table, and hashing neither throws nor calls back into a collection.
/// Specialise where a key type cannot have the member.
template <class K>
struct KeyHash {
   std::uint32_t operator()(K const& key, std::uint32_t seed) const noexcept {
      return key.hash(seed);
   }
};

/// Numbers and enumerations.
template <class K>
requires std::is_integral_v<K> || std::is_enum_v<K>
struct KeyHash<K> {
   std::uint32_t operator()(K key, std::uint32_t seed) const noexcept {
      return Hash(seed).mix(static_cast<std::uint64_t>(key)).result();
   }
};

}  // namespace Mdl
