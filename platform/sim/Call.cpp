#include "platform/sim/Call.h"

#include "platform/sim/KeyText.h"

namespace Sim {

namespace {

char const* operationText(Operation operation) noexcept {
   switch (operation) {
      case Operation::program: return "program";
      case Operation::remove: return "remove";
      case Operation::verify: return "verify";
      case Operation::configReady: return "configuration ready";
   }
   return "";
}

std::string outcomeText(Call const& call) {
   switch (call.outcome) {
      case Outcome::underWay: return "under way";
      case Outcome::answered: return answerText(call.answer);
      case Outcome::removed: return "removed";
      case Outcome::unknown: return "not in the table";
      case Outcome::swept: return "held over, not claimed";
      case Outcome::done: return "";
      case Outcome::threw: return "exception";
   }
   return "";
}

}  // namespace

std::string callText(Call const& call) {
   std::string text = operationText(call.operation);
   if (call.key) text += ' ' + keyText(call.key);
   if (std::string const outcome = outcomeText(call); !outcome.empty()) text += " -> " + outcome;
   return text;
}

}  // namespace Sim
