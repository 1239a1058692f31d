#pragma once

#include "platform/sim/Call.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <string>
#include <vector>

namespace Sim {

/// The calls of the hook in the order in which they began, each with its outcome.
///
/// Owner: the hook (`SimHelper`). Read by whoever wants to know what the state machine did.
/// I1: numbers are consecutive, also across calls that were dropped or not kept.
/// I2: no more than `limit()` calls are kept; the oldest go first.
/// Re-entrancy: calls may begin while others are under way.
/// Cost: O(1) and about 100 bytes a call that is kept.
class Journal {
 public:
   /// How many calls are kept. All of them at first; 0 keeps none, for big runs.
   std::size_t limit() const noexcept { return limit_; }
   void limitIs(std::size_t calls);

   /// Calls that began so far, kept or not.
   std::uint64_t begun() const noexcept { return begun_; }

   std::deque<Call> const& calls() const noexcept { return calls_; }
   /// `callText` of each call that is kept.
   std::vector<std::string> texts() const;
   /// Forgets the calls kept; the numbers go on.
   void clear() noexcept { calls_.clear(); }

   /// Notes the start of a call and returns its number.
   std::uint64_t begin(Operation operation, Fwd::DecapKey const& key, Mdl::Seconds now);
   /// Notes how the call ended. Nothing when it is no longer kept.
   void end(std::uint64_t number, Outcome outcome, Fwd::dgRetCode answer);

 private:
   void dropSurplus();

   std::size_t limit_ = std::numeric_limits<std::size_t>::max();
   std::uint64_t begun_ = 0;
   std::deque<Call> calls_;
};

}  // namespace Sim
