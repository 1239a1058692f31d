#include "agent/TimeScale.h"

#include "agent/Wording.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace Agent {

namespace {

/// A good hundred years. Behind it the system's clock comes to the end of its numbers.
constexpr Mdl::Seconds farthest = 4e9;

}  // namespace

std::string TimeScale::text(Mdl::Seconds time) const {
   if (!zero_ || !(time < farthest)) return secondsText(time) + " s";
   using std::chrono::milliseconds;
   // Nanoseconds before they are added up: a sum of seconds since 1970 is too coarse.
   auto const since = std::chrono::floor<milliseconds>(
       zero_->time_since_epoch() +
       std::chrono::round<std::chrono::nanoseconds>(std::chrono::duration<double>(time)));
   auto const whole = std::chrono::floor<std::chrono::seconds>(since);
   std::time_t const seconds = whole.count();
   std::tm parts{};
   gmtime_r(&seconds, &parts);
   std::array<char, 32> date{};
   std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &parts);
   std::array<char, 48> text{};
   std::snprintf(text.data(), text.size(), "%s.%03dZ", date.data(),
                 static_cast<int>((since - whole).count()));
   return text.data();
}

double TimeScale::unixSeconds(Mdl::Seconds time) const noexcept {
   if (!zero_) return time;
   return std::chrono::duration<double>(zero_->time_since_epoch()).count() + time;
}

}  // namespace Agent
