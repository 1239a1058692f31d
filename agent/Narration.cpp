#include "agent/Narration.h"

#include "agent/Wording.h"
#include "agent/World.h"

#include <string_view>
#include <utility>

namespace Agent {

Narration::Narration(World& world, std::ostream* out, std::string indent)
    : world_(world), out_(out), indent_(std::move(indent)),
      trace_(Mdl::TraceHandle::find("FwdDecapGroup")) {
   world_.callObserverIs([this](Sim::Call const& call) {
      calls_.push_back(call);
      line(call.time, callText(call));
   });
   world_.logObserverIs([this](Mdl::LogHandle const& message) {
      messages_.push_back(&message);
      line(world_.now(), "log " + logText(message));
   });
   world_.faultHandlerIs([this](std::exception const& exception) { fault(exception); });
   Mdl::Trace::sinkIs([this](Mdl::TraceRecord const& record) {
      if (world_.recorder() != nullptr) world_.recorder()->noteTrace(record);
      line(world_.now(), "trace " + std::to_string(record.level) + "  " + std::string(record.text));
   });
}

Narration::~Narration() {
   traceLevelIs(std::nullopt);
   Mdl::Trace::sinkIs({});
   world_.callObserverIs({});
   world_.logObserverIs({});
   world_.faultHandlerIs({});
}

void Narration::traceLevelIs(std::optional<unsigned> level) {
   if (trace_ == nullptr) return;
   std::uint32_t const mask = traceMask(level);
   if (world_.recorder() != nullptr) world_.recorder()->noteTraceMask(mask);
   trace_->maskIs(mask);
}

void Narration::startOver() {
   calls_.clear();
   messages_.clear();
}

void Narration::fault(std::exception const& exception) {
   line(world_.now(), std::string("exception: ") + exception.what());
}

void Narration::line(Mdl::Seconds time, std::string const& text) {
   if (out_ != nullptr) *out_ << indent_ << secondsText(time) << "  " << text << '\n';
}

}  // namespace Agent
