#include "mdl/System.h"

#include <chrono>
#include <memory>
#include <utility>

namespace Mdl {

namespace {

std::shared_ptr<System::TimeSource const>& timeSource() {
   // Never destroyed, like the sinks of trace and log.
   static auto& source = *new std::shared_ptr<System::TimeSource const>;
   return source;
}

}  // namespace

Seconds System::currentTime() {
   // A source may replace itself; the copy outlives the call.
   if (auto const source = timeSource()) return (*source)();
   auto const sinceStart = std::chrono::steady_clock::now().time_since_epoch();
   return std::chrono::duration<Seconds>(sinceStart).count();
}

void System::timeSourceIs(TimeSource source) {
   timeSource() = source ? std::make_shared<TimeSource const>(std::move(source)) : nullptr;
}

}  // namespace Mdl
