#pragma once

#include "mdl/Collection.h"
#include "platform/sim/Call.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Sim {
class HardwareTable;
}

namespace Agent {

/// What a machine found in hardware when it was built, and what became of each entry since.
///
/// Owner: the world, which begins it with every machine and passes every call on.
/// I1: the fates count up to what was found.
/// Cost: O(1) a call; an entry for each key that was found.
class TakeOver {
 public:
   enum class Fate : std::uint8_t {
      heldOver,   ///< nobody has asked for it, and the configuration is not replayed yet
      takenOver,  ///< asked for, and never written again
      rewritten,  ///< asked for, and written again
      unclaimed,  ///< removed by hardware itself, as nobody had asked for it
      removed,    ///< given back by the machine
   };
   static constexpr std::size_t fates = 5;

   using Entries = Mdl::Collection<Fwd::DecapKey, Fate>;

   /// Begins anew: what the table holds now is what a machine finds.
   void begin(Sim::HardwareTable const& table);
   void note(Sim::Call const& call);

   /// In the order of the table, whatever became of them.
   Entries const& found() const noexcept { return found_; }
   std::size_t count(Fate fate) const noexcept { return counts_[static_cast<std::size_t>(fate)]; }
   /// Null for a key that was not found.
   Fate const* find(Fwd::DecapKey const& key) const { return found_.find(key); }

 private:
   Entries found_;
   std::array<std::size_t, fates> counts_{};
};

}  // namespace Agent
