#pragma once

#include "mdl/Export.h"
#include "pkt/Ip6Addr.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Pkt {

/// Addresses that do not fit where a number does: each under a number of its own.
///
/// Owner: the form in which one collection keeps its keys. Not shared.
/// I1: a number is in use from `add` until `remove`, and its address stays where it is meanwhile.
/// I2: a chunk that is there has a number in use, and those that have room stand in `roomy_` once.
/// Exceptions: `add` may throw std::bad_alloc and then has changed nothing.
/// Cost: 16 bytes an address, in chunks of 64.
class MDL_EXPORT WideAddresses {
 public:
   using Bytes = Ip6Addr::Bytes;

   WideAddresses() noexcept = default;
   WideAddresses(WideAddresses const&) = delete;
   WideAddresses& operator=(WideAddresses const&) = delete;

   std::uint32_t add(Bytes const& address);
   void remove(std::uint32_t number) noexcept;
   Bytes const& at(std::uint32_t number) const noexcept {
      return chunks_[number / perChunk]->addresses[number % perChunk];
   }

   std::size_t chunks() const noexcept { return chunkCount_; }

 private:
   static constexpr std::uint32_t perChunk = 64;

   struct Chunk {
      std::uint64_t used = 0;  ///< a bit for each number in use
      Bytes addresses[perChunk];
      bool full() const noexcept { return used == ~std::uint64_t{0}; }
   };

   std::vector<std::unique_ptr<Chunk>> chunks_;
   /// Where there is room or no chunk at all; has the capacity for all of `chunks_`.
   std::vector<std::uint32_t> roomy_;
   std::size_t chunkCount_ = 0;
};

}  // namespace Pkt
