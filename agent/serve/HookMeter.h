#pragma once

#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"
#include "mdl/Seconds.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace Agent {

/// How often hooks were called, with what result, and how long that took.
///
/// Owner: the service; outlives the hooks that count here.
/// Cost: a clock reading at either end of a call, and O(log results).
class HookMeter {
 public:
   enum class Operation : std::uint8_t { program, remove };
   static constexpr std::size_t operations = 2;

   /// The upper bounds of the buckets that calls are sorted into, in seconds.
   static constexpr std::array<double, 10> bounds = {1e-6, 1e-5, 1e-4, 1e-3, 2e-3,
                                                     5e-3, 1e-2, 1e-1, 1.0,  10.0};

   /// Durations of one operation.
   struct Durations {
      /// Calls in each bucket; the last is for those beyond all bounds.
      std::array<std::uint64_t, bounds.size() + 1> buckets{};
      std::uint64_t calls = 0;
      double sum = 0.0;
   };

   using Results = std::map<std::string, std::uint64_t>;

   /// A hook that passes everything on to the platform and counts. Null gives null.
   Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> metered(
       Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> const& platform);

   void note(Operation operation, std::string const& result, double seconds);

   /// By result: "success", "full", ..., "exception"; "done" for removals.
   Results const& results(Operation operation) const noexcept {
      return results_[static_cast<std::size_t>(operation)];
   }
   Durations const& durations(Operation operation) const noexcept {
      return durations_[static_cast<std::size_t>(operation)];
   }

 private:
   std::array<Results, operations> results_;
   std::array<Durations, operations> durations_;
};

/// "program" or "remove".
char const* operationName(HookMeter::Operation operation) noexcept;

}  // namespace Agent
