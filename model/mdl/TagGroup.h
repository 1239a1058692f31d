#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace Mdl {

/// Fifteen slots of a hash table, each known by one byte of its hash, that are compared all at
/// once; and whether entries had to go past this group, for each of eight classes of hashes.
///
/// Owner: the table that it is a part of.
/// I1: a tag of 0 is that of an empty slot.
/// Cost: 16 bytes, a quarter of a cache line; a comparison is some ten instructions.
struct alignas(16) TagGroup {
   static constexpr unsigned slots = 15;

   /// The slots that a comparison chose, as bits.
   class Chosen {
    public:
      explicit Chosen(std::uint32_t bits) noexcept : bits_(bits) {}
      bool any() const noexcept { return bits_ != 0; }
      unsigned first() const noexcept { return static_cast<unsigned>(std::countr_zero(bits_)); }
      void dropFirst() noexcept { bits_ &= bits_ - 1; }
      std::uint32_t bits() const noexcept { return bits_; }

    private:
      std::uint32_t bits_;
   };

   /// The slots with this tag.
   Chosen matching(std::uint32_t tag) const noexcept {
#if defined(__SSE2__)
      Bytes all;
      std::memcpy(&all, this, sizeof all);
      Bytes const equal = all == (Bytes{} + static_cast<char>(tag));
      return Chosen(static_cast<std::uint32_t>(__builtin_ia32_pmovmskb128(equal)) & allSlots);
#else
      return matchingInWords(tag);
#endif
   }

   /// The same on machines without a vector unit that we know.
   Chosen matchingInWords(std::uint32_t tag) const noexcept {
      std::uint64_t words[2];
      std::memcpy(words, this, sizeof words);
      return Chosen((equalBytes(words[0], tag) | equalBytes(words[1], tag) << 8) & allSlots);
   }

   /// The slots in use.
   Chosen taken() const noexcept { return Chosen(~matching(0).bits() & allSlots); }

   static constexpr std::uint32_t allSlots = (1U << slots) - 1;

   std::uint8_t tags[slots] = {};
   std::uint8_t passed = 0;  ///< a bit for each class

 private:
   using Bytes [[gnu::vector_size(16)]] = char;

   /// A bit for each byte of `word` that is the tag, the first byte in memory lowest.
   static std::uint32_t equalBytes(std::uint64_t word, std::uint32_t tag) noexcept {
      if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
      // A byte of x is zero exactly where the tag agrees. Adding 0x7f carries into the top bit of
      // every other byte and never beyond it, so there are no false matches; the multiplication
      // gathers the eight bits that are left at the top.
      std::uint64_t constexpr low7 = 0x7f7f7f7f7f7f7f7fU;
      std::uint64_t const x = word ^ (tag * std::uint64_t{0x0101010101010101});
      std::uint64_t const zeros = ~(((x & low7) + low7) | x | low7) >> 7;
      return static_cast<std::uint32_t>(zeros * 0x0102040810204080U >> 56);
   }
};

static_assert(sizeof(TagGroup) == 16, "four groups share a cache line");

}  // namespace Mdl
