#include "mdl/Trace.h"

#include <atomic>
#include <cstdio>
#include <utility>

namespace Mdl {

namespace {

// Handles are made while libraries are loaded, before any other static of this library needs to
// exist; a plain pointer is there from the start.
constinit TraceHandle* firstHandle = nullptr;
constinit std::atomic<std::uint64_t> lostRecords = 0;

Trace::Sink& sink() {
   // Never destroyed: what traces on its way out of the process still finds it.
   static Trace::Sink& theSink = *new Trace::Sink;
   return theSink;
}

}  // namespace

TraceHandle::TraceHandle(char const* facility, unsigned flag) noexcept
    : facility_(facility), flag_(flag), next_(std::exchange(firstHandle, this)) {}

TraceHandle::~TraceHandle() {
   for (TraceHandle** at = &firstHandle; *at != nullptr; at = &(*at)->next_) {
      if (*at == this) {
         *at = next_;
         return;
      }
   }
}

TraceHandle* TraceHandle::find(std::string_view facility) noexcept {
   for (TraceHandle* at = firstHandle; at != nullptr; at = at->next_) {
      if (facility == at->facility_) return at;
   }
   return nullptr;
}

void Trace::sinkIs(Sink newSink) { sink() = std::move(newSink); }

std::uint64_t Trace::lost() noexcept { return lostRecords.load(std::memory_order_relaxed); }

void Trace::noteLost() noexcept { lostRecords.fetch_add(1, std::memory_order_relaxed); }

void Trace::emit(TraceRecord const& record) {
   // A sink may replace itself; the copy outlives the call.
   if (Sink const current = sink()) {
      current(record);
      return;
   }
   std::fprintf(stderr, "%.*s/%u %.*s: %.*s\n", static_cast<int>(record.facility.size()),
                record.facility.data(), record.level, static_cast<int>(record.function.size()),
                record.function.data(), static_cast<int>(record.text.size()), record.text.data());
}

TraceBuilder::TraceBuilder() {
   text_ << std::boolalpha;
   // A piece that does not fit into memory must lose the record, not shorten it.
   text_.exceptions(std::ios::badbit);
}

TraceBuilder::~TraceBuilder() = default;

void TraceBuilder::noteLost() noexcept { Trace::noteLost(); }

void TraceBuilder::emit(TraceHandle const& handle, unsigned level, char const* file, unsigned line,
                        char const* function) {
   Trace::emit({handle.facility(), level, file, line, function, text_.view()});
}

}  // namespace Mdl
