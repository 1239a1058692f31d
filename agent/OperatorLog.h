#pragma once

#include "mdl/Log.h"
#include "mdl/Seconds.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Agent {

/// One message of the operator log, and how often it came in a row.
struct LogEntry {
   Mdl::Seconds first = 0.0;
   Mdl::Seconds last = 0.0;
   std::uint64_t times = 1;
   Mdl::LogHandle const* message = nullptr;
};

/// "TUNNEL_HW_RESOURCE_FULL (severity 3): Hardware resources are ...".
std::string logText(Mdl::LogHandle const& message);

/// Keeps the operator log of the process while it lives. Equal messages in a row are one entry, so
/// that a full table cannot fill memory.
///
/// Owner: the agent; one at a time.
class OperatorLog {
 public:
   using Observer = std::function<void(Mdl::LogHandle const&)>;

   OperatorLog();
   OperatorLog(OperatorLog const&) = delete;
   OperatorLog& operator=(OperatorLog const&) = delete;
   /// Messages go to standard error again.
   ~OperatorLog();

   std::vector<LogEntry> const& entries() const noexcept { return entries_; }
   /// Told of every message as it comes.
   void observerIs(Observer observer) { observer_ = std::move(observer); }

 private:
   void take(Mdl::LogHandle const& message);

   std::vector<LogEntry> entries_;
   Observer observer_;
};

}  // namespace Agent
