#pragma once

#include "mdl/Log.h"
#include "mdl/Seconds.h"

#include <cstddef>
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

/// Keeps the operator log of the process while it lives.
///
/// Owner: the agent; one at a time.
/// I1: memory is bounded. Equal messages in a row are one entry, for a table that stays full; and
///   beyond `mostEntries` the oldest tenth goes, for one that is full and not full in turn.
class OperatorLog {
 public:
   using Observer = std::function<void(Mdl::LogHandle const&)>;

   static constexpr std::size_t mostEntries = 10'000;

   OperatorLog();
   OperatorLog(OperatorLog const&) = delete;
   OperatorLog& operator=(OperatorLog const&) = delete;
   /// Messages go to standard error again.
   ~OperatorLog();

   /// The oldest first.
   std::vector<LogEntry> const& entries() const noexcept { return entries_; }
   /// Told of every message as it comes.
   void observerIs(Observer observer) { observer_ = std::move(observer); }

 private:
   void take(Mdl::LogHandle const& message);

   std::vector<LogEntry> entries_;
   Observer observer_;
};

}  // namespace Agent
