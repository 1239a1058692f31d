#include "agent/TakeOver.h"

#include "platform/sim/HardwareTable.h"

namespace Agent {

namespace {

using Fate = TakeOver::Fate;

Fate afterAnswer(Fate before, Fwd::dgRetCode answer) noexcept {
   switch (answer) {
      case Fwd::dgRcSuccess: return Fate::rewritten;
      case Fwd::dgRcAlreadyExists: return before == Fate::heldOver ? Fate::takenOver : before;
      case Fwd::dgRcNotReady:
      case Fwd::dgRcUnSupported:
      case Fwd::dgRcHwFull:
      case Fwd::dgRcMax:
      case Fwd::dgRcPending: return before;
   }
   return before;
}

Fate after(Fate before, Sim::Call const& call) noexcept {
   switch (call.outcome) {
      case Sim::Outcome::answered: return afterAnswer(before, call.answer);
      case Sim::Outcome::removed: return Fate::removed;
      case Sim::Outcome::swept: return Fate::unclaimed;
      case Sim::Outcome::underWay:
      case Sim::Outcome::unknown:
      case Sim::Outcome::done:
      case Sim::Outcome::threw: return before;
   }
   return before;
}

}  // namespace

void TakeOver::begin(Sim::HardwareTable const& table) {
   found_.clear();
   for (auto const& entry : table.entries()) found_.insertOrAssign(entry.key, Fate::heldOver);
   counts_ = {};
   counts_[static_cast<std::size_t>(Fate::heldOver)] = found_.size();
}

void TakeOver::note(Sim::Call const& call) {
   Fate* const fate = found_.find(call.key);
   if (fate == nullptr) return;
   --counts_[static_cast<std::size_t>(*fate)];
   *fate = after(*fate, call);
   ++counts_[static_cast<std::size_t>(*fate)];
}

}  // namespace Agent
