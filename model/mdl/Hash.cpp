#include "mdl/Hash.h"

#include <random>

namespace Mdl::Detail {

constinit std::atomic<std::uint32_t> hashSeed{0};

std::uint32_t drawHashSeed() noexcept {
   std::uint32_t drawn = 0;
   try {
      std::random_device device;
      drawn = static_cast<std::uint32_t>(device());
   } catch (std::exception const&) {
      // A process without a source of randomness still has to work; where the loader put this
      // library is the best guess-resistant number left.
      auto const address = reinterpret_cast<std::uintptr_t>(&hashSeed);
      drawn = Hash(1).mix(static_cast<std::uint64_t>(address)).result();
   }
   if (drawn == 0) drawn = 1;  // 0 says "not drawn yet"

   // Two threads may draw at once; both use the number of the first.
   std::uint32_t expected = 0;
   return hashSeed.compare_exchange_strong(expected, drawn, std::memory_order_relaxed) ? drawn
                                                                                       : expected;
}

}  // namespace Mdl::Detail
