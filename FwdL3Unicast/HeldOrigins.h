#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/Export.h"
#include "mdl/Collection.h"
#include "tunnel/decap/DecapIntfKey.h"

#include <cstdint>
#include <vector>

namespace Fwd {

/// The interface addresses for which a group holds keys, by interface.
///
/// Configuration and status may have moved on before the group hears of it, and then do not tell
/// any more what there is to give back. This does, without a look at every key.
///
/// Owner: the group's reactor.
/// I1: every origin of a key in the group's set is here. One too many costs a search and nothing
///   else; one too few must not be.
/// Exceptions: `add` and whatever returns a vector may throw std::bad_alloc, and then have changed
///   nothing.
class FWD_EXPORT HeldOrigins {
 public:
   using DecapIntfKey = Tunnel::Decap::DecapIntfKey;
   using Origins = std::vector<AddressOrigin>;

   /// The interface and family of an origin.
   static DecapIntfKey interfaceOf(AddressOrigin const& origin) {
      return {origin.intfId, origin.address.family()};
   }

   void add(AddressOrigin const& origin);
   void remove(AddressOrigin const& origin);
   void clear() noexcept { byInterface_.clear(); }

   bool has(AddressOrigin const& origin) const;
   bool hasAny(DecapIntfKey const& intf) const { return byInterface_.contains(intf); }
   /// Those of one interface, by role and address, and those of all in one family.
   Origins of(DecapIntfKey const& intf) const;
   Origins of(std::uint32_t family) const;

 private:
   /// Never empty; by role and address.
   Mdl::Collection<DecapIntfKey, Origins> byInterface_;
};

}  // namespace Fwd
