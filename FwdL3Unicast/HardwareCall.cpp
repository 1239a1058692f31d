#include "FwdL3Unicast/HardwareCall.h"

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/Messages.h"

#include <utility>

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

bool HardwareCall::leaveTo(FwdDecapGroupSm const& stateMachine, DecapKey const& key) noexcept {
   HardwareCall* const underWay = callFor(key, stateMachine.hardwareCalls_);
   if (underWay == nullptr) return false;
   underWay->left_ = true;
   return true;
}

HardwareCall* HardwareCall::callFor(DecapKey const& key, HardwareCall* inner) noexcept {
   while (inner != nullptr && inner->key_ != key) inner = inner->outer_;
   return inner;
}

bool HardwareCall::program() {
   FirstException errors;
   // One VRF at a time owns a destination: the key waits until the owner leaves.
   bool const waits = ownerIsAnother();
   if (waits) {
      stateMachine_.traceOwner("createDecapEntry", key_);
      errors.attempt([&] { stateMachine_.addToBacklog(hashed()); });
   } else {
      FWD_TRACE_AS("createDecapEntry", 2, " add key to hw " << key_);
      errors.attempt([&] { settle(ask()); });
      errors.attempt([&] { stateMachine_.doMaybeScheduleReview(); });
   }
   errors.attempt([&] { bringInLine(); });
   errors.rethrow();
   return !waits;
}

dgRetCode HardwareCall::retry(Mdl::Lookup<Waiting>& waiting) {
   FirstException errors;
   dgRetCode answer = dgRcSuccess;
   errors.attempt([&] {
      answer = ask();
      settleRetried(answer, waiting);
   });
   errors.attempt([&] { bringInLine(); });
   errors.rethrow();
   return answer;
}

void HardwareCall::remove() {
   FirstException errors;
   inHardware_ = false;
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

/// Those who heard of what was recorded may have released the key, or taken it again.
void HardwareCall::bringInLine() {
   if (!std::exchange(left_, false)) return;
   if (inHardware_ && !isCounted()) {
      remove();
   } else if (!inHardware_ && isCounted() && !stateMachine_.unprogrammedKey_.contains(hashed()) &&
              !stateMachine_.refusedKey_.contains(hashed())) {
      program();
   }
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

void HardwareCall::settleRetried(dgRetCode answer, Mdl::Lookup<Waiting>& waiting) {
   FWD_TRACE_AS("doReview", 7, " unprogrammed rc " << answer);
   if (!isCounted()) {
      withdrawUnwanted(answer);
   } else if (outcomeOf(answer) == Outcome::inHardware) {
      recordSuccess(waiting);
   } else if (outcomeOf(answer) == Outcome::retryLater) {
      // No effect on a key that still waits; one that was released and wanted again meanwhile has
      // left the backlog.
      stateMachine_.addToBacklog(hashed());
   } else if (!waiting.exists()) {
      stateMachine_.refusedKey_.insertOrAssign(hashed(), answer);
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
   FirstException errors;
   if (!ownerIsAnother()) {
      inHardware_ = true;
      stateMachine_.refusedKey_.erase(hashed());
      errors.attempt([&] { stateMachine_.entryDel(waiting, memberId::unprogrammedKey); });
      // Whoever heard of that may have released the key, or let another VRF have the destination.
      if (isCounted() && !ownerIsAnother()) {
         errors.attempt([&] {
            stateMachine_.entryIs(owner_, key_.forwardingVrf(), memberId::tunnelTypeDecapIpToVrf);
         });
      }
   }
   if (ownerIsAnother()) errors.attempt([&] { giveWay(); });
   errors.rethrow();
}

/// Another VRF took the destination when it was still free. One of the two must go, and the other
/// one is in the books.
void HardwareCall::giveWay() {
   FirstException errors;
   inHardware_ = false;
   errors.attempt([&] { stateMachine_.decapHelper_->removeDecapKey(key_); });
   if (isCounted()) errors.attempt([&] { stateMachine_.addToBacklog(hashed()); });
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
