#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Fwd {

/// Which keys were last loaded ahead, by their hashes, so that an event whose announcement has
/// loaded its key does not load it again. A hash that two keys share costs a load at most.
///
/// Owner: the group's reactor.
class LoadedKeys {
 public:
   void add(std::uint32_t hash) noexcept { hashes_[added_++ % hashes_.size()] = hash; }
   bool has(std::uint32_t hash) const noexcept {
      return std::ranges::find(hashes_, hash) != hashes_.end();
   }

 private:
   std::array<std::uint32_t, 8> hashes_{};
   std::size_t added_ = 0;
};

}  // namespace Fwd
