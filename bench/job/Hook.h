#pragma once

#include "FwdL3Unicast/DecapKey.h"

#include <cstddef>
#include <cstdint>

namespace Bench {

/// Hardware that takes everything and remembers next to nothing: how many keys it has, and the sum
/// of their destinations, by which the contestants' results are compared.
struct Hardware {
   void program(Fwd::DecapKey const& key) noexcept {
      ++keys;
      sum += key.dstIp().ipAddr().value();
   }
   void remove(Fwd::DecapKey const& key) noexcept {
      --keys;
      sum -= key.dstIp().ipAddr().value();
   }
   std::size_t keys = 0;
   std::uint64_t sum = 0;
};

}  // namespace Bench
