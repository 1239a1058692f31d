#pragma once

#include "mdl/Export.h"
#include "mdl/Seconds.h"

#include <cstdint>
#include <functional>
#include <string_view>

namespace Mdl {

/// The recommended action of a message that asks for none.
inline constexpr char NoActionRequired[] = "No action is required.";

/// One operator log message, defined once when its library is loaded.
///
/// The severity is numbered as in the syslog protocol (RFC 5424: 0 emergency to 7 debug). The
/// texts are literals. The time value, the rate and the two counts describe how a log service may
/// limit the message; this one passes every message on and keeps them for those who read handles.
class MDL_EXPORT LogHandle {
 public:
   LogHandle(char const* name, unsigned severity, char const* format, char const* explanation,
             char const* recommendedAction, Seconds interval, double rate, unsigned firstCount,
             unsigned secondCount) noexcept;
   LogHandle(LogHandle const&) = delete;
   LogHandle& operator=(LogHandle const&) = delete;
   ~LogHandle();

   char const* name() const noexcept { return name_; }
   unsigned severity() const noexcept { return severity_; }
   char const* format() const noexcept { return format_; }
   char const* explanation() const noexcept { return explanation_; }
   char const* recommendedAction() const noexcept { return recommendedAction_; }
   Seconds interval() const noexcept { return interval_; }
   double rate() const noexcept { return rate_; }
   unsigned firstCount() const noexcept { return firstCount_; }
   unsigned secondCount() const noexcept { return secondCount_; }

   /// The message of that name, null when no library has defined it.
   static LogHandle const* find(std::string_view name) noexcept;

 private:
   char const* name_;
   unsigned severity_;
   char const* format_;
   char const* explanation_;
   char const* recommendedAction_;
   Seconds interval_;
   double rate_;
   unsigned firstCount_;
   unsigned secondCount_;
   LogHandle* next_;
};

/// Where the process's operator log messages go: standard error unless a sink has been set.
class MDL_EXPORT Log {
 public:
   using Sink = std::function<void(LogHandle const&)>;

   /// Replaces the sink; an empty one restores standard error.
   static void sinkIs(Sink sink);

   /// Messages that a sink refused by throwing. Logging never changes what the logging code does.
   static std::uint64_t lost() noexcept;
};

/// Emits the message.
MDL_EXPORT void log(LogHandle const& handle) noexcept;

}  // namespace Mdl
