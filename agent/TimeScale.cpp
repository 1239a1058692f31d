#include "agent/TimeScale.h"

#include "agent/Wording.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace Agent {

std::string TimeScale::text(Mdl::Seconds time) const {
   if (!zero_) return secondsText(time) + " s";
   using std::chrono::milliseconds;
   auto const since = std::chrono::duration_cast<milliseconds>(zero_->time_since_epoch() +
                                                               std::chrono::duration<double>(time));
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
