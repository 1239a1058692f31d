#include "pkt/WideAddresses.h"

#include <bit>

namespace Pkt {

std::uint32_t WideAddresses::add(Bytes const& address) {
   if (roomy_.empty()) {
      roomy_.reserve(std::bit_ceil(chunks_.size() + 1));
      chunks_.emplace_back();
      roomy_.push_back(static_cast<std::uint32_t>(chunks_.size() - 1));
   }
   std::uint32_t const at = roomy_.back();
   auto& chunk = chunks_[at];
   if (!chunk) {
      chunk = std::make_unique<Chunk>();
      ++chunkCount_;
   }
   auto const place = static_cast<std::uint32_t>(std::countr_one(chunk->used));
   chunk->used |= std::uint64_t{1} << place;
   chunk->addresses[place] = address;
   if (chunk->full()) roomy_.pop_back();
   return at * perChunk + place;
}

void WideAddresses::remove(std::uint32_t number) noexcept {
   std::uint32_t const at = number / perChunk;
   auto& chunk = chunks_[at];
   if (chunk->full()) roomy_.push_back(at);
   chunk->used &= ~(std::uint64_t{1} << number % perChunk);
   if (chunk->used != 0) return;
   chunk.reset();
   --chunkCount_;
}

}  // namespace Pkt
