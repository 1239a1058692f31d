#include "FwdL3Unicast/HardwareCall.h"

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/Messages.h"

namespace Fwd {

namespace {

enum class Outcome : std::uint8_t { inHardware, retryLater, givenUp };

/// What an answer means. An answer that the numbering does not know is given up, like an
/// unsupported key: it stays counted and is not tried again.
Outcome outcomeOf(dgRetCode answer) noexcept {
   switch (answer) {
      case dgRcSuccess:
      case dgRcAlreadyExists: return Outcome::inHardware;
      case dgRcNotReady:
      case dgRcHwFull:
      case dgRcPending: return Outcome::retryLater;
      case dgRcUnSupported:
      case dgRcMax: return Outcome::givenUp;
   }
   return Outcome::givenUp;
}

}  // namespace

HardwareCall::HardwareCall(FwdDecapGroupSm& stateMachine, RefCount const& count) noexcept
    : stateMachine_(stateMachine), key_(count.key().key()),
      count_(count, HashedKey(key_, count.key().hash())), destination_(key_),
      owner_(stateMachine.tunnelTypeDecapIpToVrf_, destination_.hashed()),
      outer_(stateMachine.hardwareCalls_) {
   stateMachine.hardwareCalls_ = this;
}

HardwareCall::~HardwareCall() { stateMachine_.hardwareCalls_ = outer_; }

bool HardwareCall::isUnderWay(FwdDecapGroupSm const& stateMachine, DecapKey const& key) noexcept {
   return isAmong(stateMachine.hardwareCalls_, key);
}

bool HardwareCall::isAmong(HardwareCall const* inner, DecapKey const& key) noexcept {
   for (auto const* call = inner; call != nullptr; call = call->outer_) {
      if (call->key_ == key) return true;
   }
   return false;
}

bool HardwareCall::program() {
   // One VRF at a time owns a destination: the key waits until the owner leaves.
   if (ownerIsAnother()) {
      stateMachine_.traceOwner("createDecapEntry", key_);
      stateMachine_.addToBacklog(hashed());
      return false;
   }
   FWD_TRACE_AS("createDecapEntry", 2, " add key to hw " << key_);
   FirstException errors;
   errors.attempt([&] { settle(ask()); });
   errors.attempt([&] { stateMachine_.doMaybeScheduleReview(); });
   errors.rethrow();
   return true;
}

dgRetCode HardwareCall::retry(Mdl::Lookup<Waiting>& waiting) {
   dgRetCode const answer = ask();
   FWD_TRACE_AS("doReview", 7, " unprogrammed rc " << answer);
   if (!isCounted()) {
      withdrawUnwanted(answer);
   } else if (outcomeOf(answer) == Outcome::inHardware) {
      recordSuccess(waiting);
   } else if (outcomeOf(answer) == Outcome::retryLater) {
      // No effect on a key that still waits; one that was released and wanted again meanwhile
      // has left the backlog.
      stateMachine_.addToBacklog(hashed());
   } else if (!waiting.exists()) {
      stateMachine_.refusedKey_.insertOrAssign(hashed(), answer);
   }
   return answer;
}

void HardwareCall::remove() {
   FirstException errors;
   errors.attempt([&] { stateMachine_.decapHelper_->removeDecapKey(key_); });
   // The owner goes with any of its keys, even while another key of the same destination stays in
   // hardware. This is deliberate: the next VRF that asks is let in.
   errors.attempt([&] { stateMachine_.entryDel(owner_, memberId::tunnelTypeDecapIpToVrf); });
   if (isCounted()) {
      errors.attempt([&] { program(); });
   } else {
      errors.attempt([&] { stateMachine_.doMaybeScheduleReview(); });
   }
   errors.rethrow();
}

bool HardwareCall::ownerIsAnother() {
   auto const* const owner = owner_.find();
   return owner != nullptr && *owner != key_.forwardingVrf();
}

dgRetCode HardwareCall::ask() {
   try {
      return stateMachine_.decapHelper_->programDecapKey(key_);
   } catch (...) {
      // A hook that throws has not programmed the key; as long as somebody wants it, it waits.
      FirstException errors;
      if (isCounted()) errors.attempt([&] { stateMachine_.addToBacklog(hashed()); });
      throw;
   }
}

void HardwareCall::settle(dgRetCode answer) {
   if (!isCounted()) {
      withdrawUnwanted(answer);
      return;
   }
   switch (outcomeOf(answer)) {
      case Outcome::inHardware: {
         auto waiting = stateMachine_.unprogrammedKey_.lookup(hashed());
         recordSuccess(waiting);
         return;
      }
      case Outcome::retryLater: recordRefusal(answer); return;
      case Outcome::givenUp:
         // Neither recorded as owner nor tried again, and still counted: deliberate. Its last
         // release asks hardware to remove it all the same.
         stateMachine_.refusedKey_.insertOrAssign(hashed(), answer);
         return;
   }
}

void HardwareCall::withdrawUnwanted(dgRetCode answer) {
   // Released while hardware was being asked: what it may have taken goes again, and nothing was
   // recorded. If the key is wanted once more when that is done, it starts over.
   if (outcomeOf(answer) == Outcome::retryLater) return;
   FirstException errors;
   errors.attempt([&] { stateMachine_.decapHelper_->removeDecapKey(key_); });
   if (isCounted()) errors.attempt([&] { program(); });
   errors.rethrow();
}

void HardwareCall::recordSuccess(Mdl::Lookup<Waiting>& waiting) {
   if (ownerIsAnother()) {
      // Another VRF took the destination inside the hook call, when it was still free. One of the
      // two must go, and the other one is in the books.
      FirstException errors;
      errors.attempt([&] { stateMachine_.decapHelper_->removeDecapKey(key_); });
      if (isCounted()) errors.attempt([&] { stateMachine_.addToBacklog(hashed()); });
      errors.rethrow();
      return;
   }
   stateMachine_.refusedKey_.erase(hashed());
   FirstException errors;
   errors.attempt([&] { stateMachine_.entryDel(waiting, memberId::unprogrammedKey); });
   errors.attempt([&] {
      stateMachine_.entryIs(owner_, key_.forwardingVrf(), memberId::tunnelTypeDecapIpToVrf);
   });
   errors.rethrow();
}

void HardwareCall::recordRefusal(dgRetCode answer) {
   FWD_TRACE_AS("createDecapEntry", 2, " add key to unprogrammed " << key_);
   FirstException errors;
   errors.attempt([&] { stateMachine_.addToBacklog(hashed()); });
   if (answer == dgRcHwFull) {
      // Every refusal is logged, whether or not the flag stands already. The review logs only the
      // change; the difference is deliberate.
      errors.attempt([&] { stateMachine_.raiseHwResourceFull(); });
   }
   errors.rethrow();
}

}  // namespace Fwd
