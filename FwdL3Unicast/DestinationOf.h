#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "mdl/Collection.h"
#include "mdl/Hash.h"

#include <cstdint>

namespace Fwd {

/// What the VRF of a key has to own before the key may be in hardware, with the hash under which
/// the machine's owners are kept.
class DestinationOf {
 public:
   explicit DestinationOf(DecapKey const& key) noexcept
       : destination_(key.tunnelType(), key.dstIp()), hash_(destination_.hash(Mdl::hashSeed32())) {}
   Mdl::Hashed<TunnelTypeDecapIp> hashed() const noexcept {
      return Mdl::Hashed<TunnelTypeDecapIp>(destination_, hash_);
   }

 private:
   TunnelTypeDecapIp const destination_;
   std::uint32_t const hash_;
};

}  // namespace Fwd
