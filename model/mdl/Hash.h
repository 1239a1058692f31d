#pragma once

#include "mdl/Export.h"

#include <atomic>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Mdl {

namespace Detail {
__extension__ typedef unsigned __int128 Wide;

/// Odd constants without structure (digits of pi), so that no small input meets a small factor.
inline constexpr std::uint64_t hashStart = 0x243f6a8885a308d3U;
inline constexpr std::uint64_t hashStep = 0xa4093822299f31d1U;
inline constexpr std::uint64_t hashWidth = 0x452821e638d01377U;
inline constexpr std::uint64_t hashFinish = 0xbe5466cf34e90c6dU;

/// The 128-bit product folded onto itself: every bit of `a` reaches the whole result.
constexpr std::uint64_t multiplyFold(std::uint64_t a, std::uint64_t b) noexcept {
   Wide const product = static_cast<Wide>(a) * b;
   return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// The seed once it is drawn, 0 before.
MDL_EXPORT extern std::atomic<std::uint32_t> hashSeed;
MDL_EXPORT std::uint32_t drawHashSeed() noexcept;
}  // namespace Detail

/// The process's random number for keyed collections: what an operator or a peer configures
/// cannot be crafted to meet in one bucket. Drawn once, on first use, never 0.
///
/// Nothing that a user sees may depend on it. May be called before main, and by any thread.
inline std::uint32_t hashSeed32() noexcept {
   std::uint32_t const seed = Detail::hashSeed.load(std::memory_order_relaxed);
   return seed != 0 ? seed : Detail::drawHashSeed();
}

/// Incremental hasher: start it with a seed, mix a value's attributes in their order, take the
/// result.
///
/// Both ends of the result are fit to index a table. The order and the width of what is mixed
/// count: mixing a 16-bit 1 is not mixing a 32-bit 1. Results hold within a process of one build;
/// they are not a format to store.
///
/// Attributes are gathered in a word until the next one does not fit; only then are they mixed in.
/// How they fit depends on their types alone, which the compiler follows: what is left at run time
/// is shifts and the multiplications.
///
/// Cost: a multiplication for each full word, and one for the result.
class Hash {
 public:
   explicit constexpr Hash(std::uint32_t seed) noexcept
       : state_((seed ^ Detail::hashStart) * Detail::hashStep) {}

   /// One attribute of 8, 16, 32 or 64 bits.
   template <std::unsigned_integral T>
   constexpr Hash& mix(T value) noexcept {
      if (bits_ + 8 * sizeof(T) > 64) flush();
      word_ |= std::uint64_t{value} << bits_;
      bits_ += 8 * sizeof(T);
      shape_ = shape_ * 9 + sizeof(T);
      return *this;
   }

   /// Any bytes, and how many they are, so that the border between two texts counts.
   constexpr Hash& mix(std::string_view bytes) noexcept {
      flush();
      char const* at = bytes.data();
      std::size_t left = bytes.size();
      for (; left >= 8; at += 8, left -= 8) step(word(at, 8), 8);
      return step(word(at, left), 16 + bytes.size());
   }

   constexpr std::uint32_t result() const noexcept {
      Hash whole = *this;
      whole.flush();
      std::uint64_t const mixed =
          Detail::multiplyFold(whole.state_ ^ Detail::hashWidth, Detail::hashFinish);
      return static_cast<std::uint32_t>(mixed ^ (mixed >> 32));
   }

 private:
   /// Mixes in what has been gathered. The widths count, by their sequence.
   constexpr void flush() noexcept {
      if (bits_ != 0) step(word_, shape_);
      word_ = 0;
      bits_ = 0;
      shape_ = 0;
   }

   constexpr Hash& step(std::uint64_t value, std::size_t width) noexcept {
      state_ = Detail::multiplyFold(state_ ^ value, Detail::hashStep) + width * Detail::hashWidth;
      return *this;
   }

   /// Up to eight bytes as a number, the first byte least significant on every machine.
   static constexpr std::uint64_t word(char const* at, std::size_t count) noexcept {
      std::uint64_t result = 0;
      for (std::size_t i = 0; i < count; ++i) {
         result |= static_cast<std::uint64_t>(static_cast<unsigned char>(at[i])) << (8 * i);
      }
      return result;
   }

   std::uint64_t state_;
   std::uint64_t word_ = 0;
   std::size_t bits_ = 0;
   std::size_t shape_ = 0;
};

/// A small running mixer of 32 bits, fed four bytes at a time. It starts at 0 and takes no seed,
/// so it is for hashes that are the same in every process, not for keyed collections.
class Mixer32 {
 public:
   constexpr Mixer32& mix(std::uint32_t value) noexcept {
      std::uint32_t mixed = value * 0xcc9e2d51U;
      mixed = std::rotl(mixed, 15) * 0x1b873593U;
      state_ = std::rotl(state_ ^ mixed, 13) * 5U + 0xe6546b64U;
      return *this;
   }

   constexpr std::uint32_t result() const noexcept { return state_; }

 private:
   std::uint32_t state_ = 0;
};

}  // namespace Mdl
