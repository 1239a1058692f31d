#include "platform/sim/Journal.h"

namespace Sim {

void Journal::limitIs(std::size_t calls) {
   limit_ = calls;
   dropSurplus();
}

std::vector<std::string> Journal::texts() const {
   std::vector<std::string> texts;
   texts.reserve(calls_.size());
   for (auto const& call : calls_) texts.push_back(callText(call));
   return texts;
}

std::uint64_t Journal::begin(Operation operation, Fwd::DecapKey const& key, Mdl::Seconds now) {
   std::uint64_t const number = ++begun_;
   if (limit_ == 0) return number;
   Call call;
   call.number = number;
   call.time = now;
   call.operation = operation;
   call.key = key;
   calls_.push_back(std::move(call));
   dropSurplus();
   return number;
}

void Journal::end(std::uint64_t number, Outcome outcome, Fwd::dgRetCode answer) {
   if (calls_.empty() || number < calls_.front().number || number > calls_.back().number) return;
   // Consecutive numbers (I1) make the number an index.
   Call& call = calls_[static_cast<std::size_t>(number - calls_.front().number)];
   call.outcome = outcome;
   call.answer = answer;
}

void Journal::dropSurplus() {
   while (calls_.size() > limit_) calls_.pop_front();
}

}  // namespace Sim
