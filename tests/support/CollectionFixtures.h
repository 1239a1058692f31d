#pragma once

#include "mdl/Collection.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Support {

/// The keys of a collection, in the order of a walk.
template <class C>
std::vector<typename C::Key> walkedKeys(C const& collection) {
   std::vector<typename C::Key> keys;
   for (auto const& entry : collection.walk()) keys.push_back(entry.key);
   return keys;
}

/// A collection of the keys 0 to count - 1, each with itself as value.
template <class C>
void fill(C& collection, int count) {
   for (int key = 0; key < count; ++key) collection.insertOrAssign(key, key);
}

/// Hashers that crafted keys could bring about.
struct AllEqualHash {
   std::uint32_t operator()(int, std::uint32_t) const noexcept { return 0x12345678U; }
};
struct ZeroHash {
   std::uint32_t operator()(int, std::uint32_t) const noexcept { return 0; }
};
struct LowBitsHash {
   std::uint32_t operator()(int key, std::uint32_t) const noexcept {
      return static_cast<std::uint32_t>(key) & 0xffffU;
   }
};
struct HighBitsHash {
   std::uint32_t operator()(int key, std::uint32_t) const noexcept {
      return static_cast<std::uint32_t>(key) << 16;
   }
};
/// Nearly all equal, and a few that let each split peel off one.
struct PeelingHash {
   std::uint32_t operator()(int key, std::uint32_t) const noexcept {
      return key % 50 == 0 ? 0x80000000U >> (key / 50 % 32) : 0xffU;
   }
};

/// A value that acts when its last copy dies.
class LastWill {
 public:
   LastWill() = default;
   explicit LastWill(std::function<void()> act) : act_(std::make_shared<Act>(std::move(act))) {}

 private:
   struct Act {
      explicit Act(std::function<void()> act) : run(std::move(act)) {}
      Act(Act const&) = delete;
      Act& operator=(Act const&) = delete;
      ~Act() {
         if (run) run();
      }
      std::function<void()> run;
   };
   std::shared_ptr<Act> act_;
};

}  // namespace Support
