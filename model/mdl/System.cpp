#include "mdl/System.h"

#include <chrono>
#include <utility>

namespace Mdl {

namespace {

System::TimeSource& timeSource() {
   static System::TimeSource source;
   return source;
}

}  // namespace

Seconds System::currentTime() {
   if (auto const& source = timeSource()) return source();
   auto const sinceStart = std::chrono::steady_clock::now().time_since_epoch();
   return std::chrono::duration<Seconds>(sinceStart).count();
}

void System::timeSourceIs(TimeSource source) { timeSource() = std::move(source); }

}  // namespace Mdl
