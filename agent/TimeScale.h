#pragma once

#include "mdl/Seconds.h"

#include <chrono>
#include <optional>
#include <string>

namespace Agent {

/// How points of an agent's time are shown: as seconds, or as what clocks on walls showed then.
class TimeScale {
 public:
   using WallTime = std::chrono::system_clock::time_point;

   TimeScale() = default;
   /// `zero` is the wall's time at 0 seconds.
   explicit TimeScale(WallTime zero) : zero_(zero) {}

   bool hasWallTime() const noexcept { return zero_.has_value(); }
   /// "12.345 s", or in UTC "2026-01-31 19:02:11.345Z" (RFC 3339). What is more than a century away
   /// is told in seconds.
   std::string text(Mdl::Seconds time) const;
   /// Seconds since 1970; `time` itself where the wall's time is not known.
   double unixSeconds(Mdl::Seconds time) const noexcept;

 private:
   std::optional<WallTime> zero_;
};

}  // namespace Agent
