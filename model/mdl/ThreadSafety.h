#pragma once

#include "mdl/Export.h"

#include <atomic>
#include <cstdint>

namespace Mdl {

namespace Detail {
/// The switch itself. Constant-initialised, so that constructors of load-time objects read it
/// safely. Use the two functions below.
MDL_EXPORT extern std::atomic<bool> threadSafePtrsSwitch;
}  // namespace Detail

/// Whether references are counted atomically. False until somebody asks for it.
inline bool threadSafePtrs() noexcept {
   return Detail::threadSafePtrsSwitch.load(std::memory_order_relaxed);
}

/// Switches every counted object of the process between plain and atomic counting.
///
/// To be set before a second thread exists, and not to be taken back while one does: counts that
/// were changed plainly by two threads are wrong from then on, whatever is set afterwards.
inline void threadSafePtrsIs(bool threadSafe) noexcept {
   Detail::threadSafePtrsSwitch.store(threadSafe, std::memory_order_relaxed);
}

/// A reference count that shares its word with flag bits.
///
/// What a flag is, and how many bits are left for the count, is the owner's to say; the word only
/// adds one, subtracts one, and sets or clears bits.
///
/// Owner: the counted object, which it is a member of.
/// I1: with the process-wide switch on, every change is one atomic step, and whoever takes the
///   last reference sees all that was written before the others were released.
/// Cost: 8 bytes. A change is a load and a store while the switch is off; the word is atomic all
///   the same, so that no use of the switch is undefined behaviour.
class CountWord {
 public:
   constexpr CountWord() noexcept = default;
   explicit constexpr CountWord(std::uint64_t initial) noexcept : word_(initial) {}

   CountWord(CountWord const&) = delete;
   CountWord& operator=(CountWord const&) = delete;

   std::uint64_t load() const noexcept { return word_.load(std::memory_order_relaxed); }

   void add() noexcept {
      if (threadSafePtrs()) [[unlikely]] {
         word_.fetch_add(1, std::memory_order_relaxed);
      } else {
         word_.store(load() + 1, std::memory_order_relaxed);
      }
   }

   /// Subtracts one and returns the word as it is afterwards, flags included.
   std::uint64_t sub() noexcept {
      if (threadSafePtrs()) [[unlikely]] {
         return word_.fetch_sub(1, std::memory_order_acq_rel) - 1;
      }
      std::uint64_t const after = load() - 1;
      word_.store(after, std::memory_order_relaxed);
      return after;
   }

   /// Sets the bits of `mask`.
   void set(std::uint64_t mask) noexcept {
      if (threadSafePtrs()) [[unlikely]] {
         word_.fetch_or(mask, std::memory_order_acq_rel);
      } else {
         word_.store(load() | mask, std::memory_order_relaxed);
      }
   }

   /// Clears the bits of `mask`.
   void clear(std::uint64_t mask) noexcept {
      if (threadSafePtrs()) [[unlikely]] {
         word_.fetch_and(~mask, std::memory_order_acq_rel);
      } else {
         word_.store(load() & ~mask, std::memory_order_relaxed);
      }
   }

 private:
   std::atomic<std::uint64_t> word_{0};
};

}  // namespace Mdl
