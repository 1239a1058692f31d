#include "mdl/Log.h"

#include <atomic>
#include <cstdio>
#include <utility>

namespace Mdl {

namespace {

constinit LogHandle* firstHandle = nullptr;
constinit std::atomic<std::uint64_t> lostMessages = 0;

Log::Sink& sink() {
   // Never destroyed: what logs on its way out of the process still finds it.
   static Log::Sink& theSink = *new Log::Sink;
   return theSink;
}

}  // namespace

LogHandle::LogHandle(char const* name, unsigned severity, char const* format,
                     char const* explanation, char const* recommendedAction, Seconds interval,
                     double rate, unsigned firstCount, unsigned secondCount) noexcept
    : name_(name), severity_(severity), format_(format), explanation_(explanation),
      recommendedAction_(recommendedAction), interval_(interval), rate_(rate),
      firstCount_(firstCount), secondCount_(secondCount), next_(std::exchange(firstHandle, this)) {}

LogHandle::~LogHandle() {
   for (LogHandle** at = &firstHandle; *at != nullptr; at = &(*at)->next_) {
      if (*at == this) {
         *at = next_;
         return;
      }
   }
}

LogHandle const* LogHandle::find(std::string_view name) noexcept {
   for (LogHandle const* at = firstHandle; at != nullptr; at = at->next_) {
      if (name == at->name_) return at;
   }
   return nullptr;
}

void Log::sinkIs(Sink newSink) { sink() = std::move(newSink); }

std::uint64_t Log::lost() noexcept { return lostMessages.load(std::memory_order_relaxed); }

void log(LogHandle const& handle) noexcept {
   try {
      // A sink may replace itself; the copy outlives the call.
      if (Log::Sink const current = sink()) {
         current(handle);
         return;
      }
      std::fprintf(stderr, "severity %u %s: %s\n", handle.severity(), handle.name(),
                   handle.format());
   } catch (...) {
      lostMessages.fetch_add(1, std::memory_order_relaxed);
   }
}

}  // namespace Mdl
