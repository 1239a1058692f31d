#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "mdl/Collection.h"

#include <cstdint>

namespace Fwd {

/// The place of one key in the machine's counts, for the length of an event: whoever changes the
/// count tells others in between, and looks at it again.
using RefCount = Mdl::Lookup<Mdl::Collection<DecapKey, std::uint32_t>>;

/// The references on the key; 0 where there is no entry.
inline std::uint32_t referencesOf(RefCount& count) {
   std::uint32_t const* const stored = count.find();
   return stored == nullptr ? 0 : *stored;
}

}  // namespace Fwd
