#include "platform/sim/SimHelper.h"

#include "mdl/System.h"
#include "platform/sim/SimTime.h"
#include "platform/sim/StateFile.h"

#include <algorithm>
#include <utility>

namespace Sim {

namespace {

/// Takes the action of this call out, so that it runs once and may set others.
void runAction(std::map<std::uint64_t, SimHelper::Action>& actions, std::uint64_t call) {
   auto const node = actions.extract(call);
   if (!node.empty() && node.mapped()) node.mapped()();
}

}  // namespace

/// One call from its journal entry to its outcome. A call that leaves by exception is noted as
/// such, and the observer hears of it before the exception goes on.
class SimHelper::Journaled {
 public:
   Journaled(SimHelper& hook, Operation operation, Fwd::DecapKey const& key) : hook_(&hook) {
      call_.time = Mdl::System::currentTime();
      call_.operation = operation;
      call_.key = key;
      call_.number = hook.journal_.begin(operation, key, call_.time);
   }

   Fwd::DecapKey const& key() const noexcept { return call_.key; }

   void ends(Outcome outcome, Fwd::dgRetCode answer = Fwd::dgRcSuccess) {
      call_.outcome = outcome;
      call_.answer = answer;
      hook_->journal_.end(call_.number, outcome, answer);
      // The observer may replace itself.
      if (Observer const observer = hook_->observer_) observer(call_);
   }

   /// Runs the call; `body` gives its outcome.
   template <class Body>
   auto run(Body&& body) try {
      return body(*this);
   } catch (...) {
      if (call_.outcome == Outcome::underWay) ends(Outcome::threw);
      throw;
   }

 private:
   // Keeps the hook while the call is under way: an action may drop the agent's pointer to it.
   Mdl::Ptr<SimHelper> const hook_;
   Call call_;
};

SimHelper::SimHelper(Mdl::String name) : FwdDecapGroupSmHelper(std::move(name)) {}
SimHelper::~SimHelper() = default;

void SimHelper::resume(std::unique_ptr<StateFile> file) {
   table_.fileIs(std::move(file), Mdl::System::currentTime());
   holdOver();
}

void SimHelper::duringProgram(std::uint64_t call, Action action) {
   programActions_[call] = std::move(action);
}

void SimHelper::duringRemoval(std::uint64_t call, Action action) {
   removalActions_[call] = std::move(action);
}

void SimHelper::faultInRemoval(std::uint64_t call) { removalFaults_[call] = true; }

Mdl::Seconds SimHelper::nextChange() const {
   Mdl::Seconds const now = Mdl::System::currentTime();
   Mdl::Seconds next = Mdl::never;
   if (notReadyUntil_ > now) next = notReadyUntil_;
   for (auto const& entry : preparing_) {
      // What became ready in the past waits to be asked for; time adds nothing to it.
      if (entry.value > now) next = std::min(next, entry.value);
   }
   return next;
}

Fwd::dgRetCode SimHelper::programDecapKey(Fwd::DecapKey const& key) {
   std::uint64_t const call = ++programCalls_;
   return Journaled(*this, Operation::program, key).run([&](Journaled& journaled) {
      runAction(programActions_, call);
      passCallCost();
      auto const scripted = script_.take(call, journaled.key());
      Fwd::dgRetCode const code =
          scripted ? answer(*scripted, journaled.key()) : answerOfHardware(journaled.key());
      journaled.ends(Outcome::answered, code);
      return code;
   });
}

void SimHelper::removeDecapKey(Fwd::DecapKey const& key) {
   std::uint64_t const call = ++removeCalls_;
   Journaled(*this, Operation::remove, key).run([&](Journaled& journaled) {
      runAction(removalActions_, call);
      passCallCost();
      if (removalFaults_.erase(call) != 0) throw HardwareFault("simulated fault in a removal");
      preparing_.erase(journaled.key());
      bool const held = table_.erase(journaled.key());
      heldOver_.erase(journaled.key());
      journaled.ends(held ? Outcome::removed : Outcome::unknown);
   });
}

void SimHelper::verify() {
   Journaled(*this, Operation::verify, {}).run([](Journaled& call) { call.ends(Outcome::done); });
}

void SimHelper::decapGroupConfigReady() {
   Journaled(*this, Operation::configReady, {}).run([this](Journaled& call) {
      // One at a time: the observer may claim others meanwhile.
      while (auto const key = heldOver_.next()) sweep(*key);
      call.ends(Outcome::done);
   });
}

void SimHelper::passCallCost() {
   if (time_ != nullptr) time_->pass(callCost_);
}

Fwd::dgRetCode SimHelper::answer(Answer const& scripted, Fwd::DecapKey const& key) {
   if (!scripted.code) throw HardwareFault("simulated fault in programming");
   if (*scripted.code == Fwd::dgRcAlreadyExists) claim(key);
   if (*scripted.code == Fwd::dgRcSuccess) {
      preparing_.erase(key);
      claim(key);
      sweepRivals(key);
      if (table_.writeUnchecked(key, Mdl::System::currentTime())) ++written_;
   }
   return *scripted.code;
}

Fwd::dgRetCode SimHelper::answerOfHardware(Fwd::DecapKey const& key) {
   Mdl::Seconds const now = Mdl::System::currentTime();
   if (claim(key)) return Fwd::dgRcAlreadyExists;
   if (now < notReadyUntil_) return Fwd::dgRcNotReady;
   if (table_.contains(key)) return Fwd::dgRcAlreadyExists;
   std::size_t const leaving = heldOver_.rival(key) ? 1 : 0;
   if (!table_.hasRoom(key.tunnelType(), leaving)) return Fwd::dgRcHwFull;
   if (!prepared(key, now)) return Fwd::dgRcPending;
   sweepRivals(key);
   // The observer of a sweep may have written as well.
   switch (table_.write(key, now)) {
      case HardwareTable::Write::held: return Fwd::dgRcAlreadyExists;
      case HardwareTable::Write::full: return Fwd::dgRcHwFull;
      case HardwareTable::Write::written: break;
   }
   ++written_;
   return Fwd::dgRcSuccess;
}

/// Whether the key is there from before. It is the caller's from now on.
bool SimHelper::claim(Fwd::DecapKey const& key) {
   return heldOver_.erase(key) && table_.contains(key);
}

/// Clears the way for a key: another VRF's entries for the same destination leave.
void SimHelper::sweepRivals(Fwd::DecapKey const& key) {
   while (auto const rival = heldOver_.rival(key)) sweep(*rival);
}

void SimHelper::sweep(Fwd::DecapKey const& key) {
   Journaled(*this, Operation::remove, key).run([this](Journaled& journaled) {
      bool const held = table_.erase(journaled.key());
      heldOver_.erase(journaled.key());
      journaled.ends(held ? Outcome::swept : Outcome::unknown);
   });
}

/// Whether the key may be written now. Starts its preparation when it has to be prepared.
bool SimHelper::prepared(Fwd::DecapKey const& key, Mdl::Seconds now) {
   if (Mdl::Seconds const* const due = preparing_.find(key)) {
      if (now < *due) return false;
      preparing_.erase(key);
      return true;
   }
   if (latency_ <= 0.0) return true;
   preparing_.insertOrAssign(key, now + latency_);
   return false;
}

}  // namespace Sim
