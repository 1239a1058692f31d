#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"

#include <cstdint>
#include <functional>
#include <sstream>
#include <string_view>

namespace Mdl {

/// A finished trace record, as a sink sees it. The views are valid during the call.
struct TraceRecord {
   std::string_view facility;
   unsigned level;
   std::string_view file;
   unsigned line;
   std::string_view function;
   std::string_view text;
};

/// The trace switch of one facility, made when its library is loaded.
///
/// I1: a level is enabled exactly when its bit, `1u << level`, is set in the mask. All levels are
///   off at first.
class MDL_EXPORT TraceHandle {
 public:
   /// The facility is known by its name from now on. `facility` is a literal.
   TraceHandle(char const* facility, unsigned flag) noexcept;
   TraceHandle(TraceHandle const&) = delete;
   TraceHandle& operator=(TraceHandle const&) = delete;
   ~TraceHandle();

   char const* facility() const noexcept { return facility_; }
   unsigned flag() const noexcept { return flag_; }

   /// Levels go from 0 to 31; there is none beyond.
   bool enabled(unsigned level) const noexcept {
      return level < 32 && (mask_ & (1u << level)) != 0;
   }
   std::uint32_t mask() const noexcept { return mask_; }
   void maskIs(std::uint32_t mask) noexcept { mask_ = mask; }

   /// The handle of a facility, null when no library has made one.
   static TraceHandle* find(std::string_view facility) noexcept;

 private:
   char const* facility_;
   unsigned flag_;
   std::uint32_t mask_ = 0;
   TraceHandle* next_;
};

/// Where the process's trace records go: standard error unless a sink has been set.
class MDL_EXPORT Trace {
 public:
   using Sink = std::function<void(TraceRecord const&)>;

   /// Replaces the sink; an empty one restores standard error.
   static void sinkIs(Sink sink);

   /// Records that could not be composed or delivered. Tracing never changes what the traced code
   /// does: a failing sink or missing memory loses the record and is counted here.
   static std::uint64_t lost() noexcept;

 private:
   friend class TraceBuilder;
   static void emit(TraceRecord const& record);
   static void noteLost() noexcept;
};

/// Composes one record from its pieces, one after the other without separators.
class MDL_EXPORT TraceBuilder {
 public:
   TraceBuilder();
   ~TraceBuilder();
   TraceBuilder(TraceBuilder const&) = delete;
   TraceBuilder& operator=(TraceBuilder const&) = delete;

   template <class T>
   TraceBuilder& operator<<(T const& piece) {
      text_ << piece;
      return *this;
   }

   void emit(TraceHandle const& handle, unsigned level, char const* file, unsigned line,
             char const* function);

   /// Runs `compose`, which emits a record, and counts the record as lost when it throws.
   template <class Compose>
   static void guarded(Compose const& compose) noexcept {
      try {
         compose();
      } catch (...) {
         noteLost();
      }
   }

 private:
   static void noteLost() noexcept;

   std::ostringstream text_;
};

}  // namespace Mdl

/// Traces `pieces` (`a << b << c`) at `level`, in the name of `function`. While the level is off
/// this costs one bit test and nothing of `pieces` is evaluated.
#define MDL_TRACE_AS(handle, level, function, pieces)                       \
   do {                                                                     \
      if ((handle).enabled(level)) [[unlikely]] {                           \
         ::Mdl::TraceBuilder::guarded([&, mdlFunction = (function)] {       \
            ::Mdl::TraceBuilder mdlRecord;                                  \
            mdlRecord << pieces;                                            \
            mdlRecord.emit(handle, level, __FILE__, __LINE__, mdlFunction); \
         });                                                                \
      }                                                                     \
   } while (false)

/// The same in the name of the function that it stands in.
#define MDL_TRACE(handle, level, pieces) \
   MDL_TRACE_AS(handle, level, static_cast<char const*>(__func__), pieces)
