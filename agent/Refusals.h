#pragma once

#include "mdl/Collection.h"
#include "mdl/Seconds.h"
#include "platform/sim/Call.h"

#include <cstddef>
#include <cstdint>

namespace Agent {

/// How hardware last refused a key.
struct Refusal {
   /// The call threw instead of answering.
   bool threw = false;
   Fwd::dgRetCode answer = Fwd::dgRcSuccess;
   Mdl::Seconds last = 0.0;
   /// Refusals since the key was first asked for, or asked for again after it was given up.
   std::uint32_t times = 0;
   /// Hardware has taken the key since.
   bool accepted = false;

   friend bool operator==(Refusal const&, Refusal const&) = default;
};

/// Why keys are not in hardware, from the answers that the hook gave. The state machine does not
/// keep that: to it a key waits or does not.
///
/// Owner: the agent, which passes every call on.
/// I1: what hardware sweeps by itself changes nothing here: a key that it refused stays refused,
///   whoever's entry was in its place.
/// Cost: O(1) a call; an entry for each key that was refused and has not been given back since.
class Refusals {
 public:
   /// `waited` says whether the key was waiting when the call was made. A call for one that was not
   /// starts its count anew: the key may have been given up while it waited, which no call tells.
   void note(Sim::Call const& call, bool waited);
   /// The key's last refusal, null when hardware has not refused it or taken it since.
   Refusal const* find(Fwd::DecapKey const& key) const {
      Refusal const* const refusal = refused_.find(key);
      return refusal == nullptr || refusal->accepted ? nullptr : refusal;
   }
   /// How often hardware refused a key before it took it.
   std::uint32_t timesBefore(Fwd::DecapKey const& key) const {
      Refusal const* const refusal = refused_.find(key);
      return refusal == nullptr || !refusal->accepted ? 0 : refusal->times;
   }
   std::size_t size() const noexcept { return refused_.size(); }
   /// Forgets the keys for which `isStill(key)` is false: a key that was given up while it waited
   /// leaves no call behind.
   template <class IsStill>
   void prune(IsStill const& isStill) {
      for (auto const& entry : refused_.walk()) {
         if (!isStill(entry.key)) refused_.erase(entry.key);
      }
   }

 private:
   Mdl::Collection<Fwd::DecapKey, Refusal> refused_;
};

}  // namespace Agent
