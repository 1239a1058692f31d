#include "agent/Refusals.h"

namespace Agent {

namespace {

bool isRefusal(Sim::Call const& call) noexcept {
   return call.outcome == Sim::Outcome::threw ||
          (call.answer != Fwd::dgRcSuccess && call.answer != Fwd::dgRcAlreadyExists);
}

}  // namespace

void Refusals::note(Sim::Call const& call, bool waited) {
   switch (call.operation) {
      case Sim::Operation::verify:
      case Sim::Operation::configReady: return;
      case Sim::Operation::remove:
         // Hardware's own clearing up says nothing about a key that may well be called for.
         if (call.outcome != Sim::Outcome::swept) refused_.erase(call.key);
         return;
      case Sim::Operation::program: break;
   }
   if (!isRefusal(call)) {
      if (Refusal* const refusal = refused_.find(call.key)) refusal->accepted = true;
      return;
   }
   Refusal& refusal = *refused_.tryInsert(call.key).value;
   if (!waited || refusal.accepted) refusal.times = 0;
   refusal.accepted = false;
   refusal.threw = call.outcome == Sim::Outcome::threw;
   refusal.answer = call.answer;
   refusal.last = call.time;
   ++refusal.times;
}

}  // namespace Agent
