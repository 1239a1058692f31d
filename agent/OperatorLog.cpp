#include "agent/OperatorLog.h"

#include "mdl/System.h"

namespace Agent {

std::string logText(Mdl::LogHandle const& message) {
   return std::string(message.name()) + " (severity " + std::to_string(message.severity()) +
          "): " + message.format();
}

OperatorLog::OperatorLog() {
   Mdl::Log::sinkIs([this](Mdl::LogHandle const& message) { take(message); });
}

OperatorLog::~OperatorLog() { Mdl::Log::sinkIs({}); }

void OperatorLog::take(Mdl::LogHandle const& message) {
   Mdl::Seconds const now = Mdl::System::currentTime();
   if (!entries_.empty() && entries_.back().message == &message) {
      entries_.back().last = now;
      ++entries_.back().times;
   } else {
      // A tenth at a time, so that what stays is not moved at each message.
      if (entries_.size() == mostEntries) {
         entries_.erase(entries_.begin(), entries_.begin() + mostEntries / 10);
      }
      entries_.push_back({now, now, 1, &message});
   }
   if (observer_) observer_(message);
}

}  // namespace Agent
