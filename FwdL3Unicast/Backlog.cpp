// The keys that wait for hardware, the review that tries them again, and the alarm.

#include "FwdL3Unicast/BooksAhead.h"
#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/HardwareCall.h"
#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/Messages.h"
#include "mdl/System.h"

namespace Fwd {

void FwdDecapGroupSm::addKeyToUnprogrammed(DecapKey const& key) { addToBacklog(hashedKey(key)); }

void FwdDecapGroupSm::addToBacklog(HashedKey const& key) {
   if (unprogrammedKey_.contains(key)) return;
   FWD_TRACE_AS("addKeyToUnprogrammed", 2, "addKeyToUnprogrammed" << key.key());
   entryIs(unprogrammedKey_, key, true, memberId::unprogrammedKey);
   doMaybeScheduleReview();
}

void FwdDecapGroupSm::doMaybeScheduleReview() {
   // Every call moves the wake-up, so a steady stream of refusals pushes the review away by
   // design: hardware is left alone while it is being filled.
   if (unprogrammedKey_.empty() || !clock_) return;
   clock_->timeMinIs(Mdl::System::currentTime() + reviewInterval_);
}

bool FwdDecapGroupSm::reviewScheduled() const noexcept {
   return clock_ && clock_->timeMin() != Mdl::never;
}

void FwdDecapGroupSm::traceOwner(char const* function, DecapKey const& key) const {
   FWD_TRACE_AS(function, 2,
                " mapping exists for "
                    << TunnelTypeDecapIp(key.tunnelType(), key.dstIp()) << " to vrf "
                    << tunnelTypeDecapIpToVrf({key.tunnelType(), key.dstIp()})
                    << " so cannot program with new vrf " << key.forwardingVrf());
}

void FwdDecapGroupSm::raiseHwResourceFull() {
   // A watcher of the flag that throws must not cost the operator the message.
   FirstException errors;
   errors.attempt([&] {
      if (status_) status_->hwResourceFullIs(true);
   });
   Mdl::log(TUNNEL_HW_RESOURCE_FULL);
   errors.rethrow();
}

void FwdDecapGroupSm::clearHwResourceFull() {
   if (!unprogrammedKey_.empty() || !status_ || !status_->hwResourceFull()) return;
   FirstException errors;
   errors.attempt([&] { status_->hwResourceFullIs(false); });
   Mdl::log(TUNNEL_HW_RESOURCE_NORMAL);
   errors.rethrow();
}

void FwdDecapGroupSm::doReview() {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   // 1.
   FWD_TRACE(2, "doReview");
   // 2. The budget runs from here, and the wake-up is spent.
   Mdl::Seconds const deadline = Mdl::System::currentTime() + reviewQuanta_;
   if (clock_) clock_->timeMinIs(Mdl::never);
   // 3. Keys are tried from the start until the first refusal or the end of the budget.
   dgRetCode last = dgRcSuccess;
   try {
      last = reviewKeys(deadline);
   } catch (...) {
      // What still waits must not be forgotten over a hook that throws.
      doMaybeScheduleReview();
      throw;
   }
   // 4. Whoever empties the backlog clears the alarm.
   clearHwResourceFull();
   // 5. Keys that only wait for another VRF, or for nothing that time could mend, are not worth a
   //    pass of their own: the next caller who schedules takes them along.
   bool const inTime = Mdl::System::currentTime() <= deadline;
   bool const refused = last == dgRcNotReady || last == dgRcHwFull || last == dgRcPending;
   if (inTime && !refused) return;
   doMaybeScheduleReview();
}

dgRetCode FwdDecapGroupSm::reviewKeys(Mdl::Seconds deadline) {
   dgRetCode last = dgRcSuccess;
   BooksAhead books(Mdl::Ptr<FwdDecapGroupSm const>(this), BooksAhead::Walked::backlog);
   auto walk = unprogrammedKey_.walk();
   for (auto const& waiting : walk) {
      DecapKey const& key = waiting.key;
      books.step(walk);
      // 1. The check precedes each key, so that one pass overruns by one hook call at the most.
      if (Mdl::System::currentTime() > deadline) {
         FWD_TRACE_AS("doReview", 7, " unprorammed remaining " << unprogrammedKey_.size());
         break;
      }
      // 2. A key whose destination another VRF owns is passed over.
      {
         HardwareCall call(*this, refCountAt(waiting.hashed()));
         if (call.ownerIsAnother()) {
            traceOwner("doReview", key);
            continue;
         }
         if (call.isNested()) continue;  // the call around this one answers for the key
         // 3., 4.
         auto entry = walk.lookup(unprogrammedKey_);
         last = call.retry(entry);
      }  // Who hears of the alarm may change the count of the key, too.
      if (last == dgRcSuccess || last == dgRcAlreadyExists) continue;
      // 5. The first refusal ends the pass; the key stays where it is and comes first next time.
      if (last == dgRcHwFull && status_ && !status_->hwResourceFull()) raiseHwResourceFull();
      FWD_TRACE_AS("doReview", 7, " program unprogrammed " << key << " failed");
      break;
   }
   return last;
}

}  // namespace Fwd
