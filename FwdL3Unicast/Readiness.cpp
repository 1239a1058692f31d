// The gate in front of hardware: nothing is programmed before the agent has initialized and the
// configuration is ready; then every group is replayed, once.

#include "FwdL3Unicast/CatchingUp.h"
#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/Messages.h"
#include "mdl/Assert.h"

namespace Fwd {

namespace {

/// Sets a flag for the length of a scope.
class Raised {
 public:
   explicit Raised(bool& flag) noexcept : flag_(flag) { flag_ = true; }
   ~Raised() { flag_ = false; }
   Raised(Raised const&) = delete;
   Raised& operator=(Raised const&) = delete;

 private:
   bool& flag_;
};

}  // namespace

bool FwdDecapGroupSm::initializedAndReady() const noexcept {
   if (!initialized_) return false;
   auto const config = dgConfig();
   return config && config->ready();
}

void FwdDecapGroupSm::initializedIs(bool initialized) {
   if (initialized == initialized_) return;
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   initialized_ = initialized;
   handleInitialized();
}

void FwdDecapGroupSm::handleInitialized() {
   // 1.
   FWD_TRACE(2, "handleInitialized");
   // 2. Taking the declaration back does not leave the running state.
   if (!initialized_) return;
   // 3.
   MDL_ASSERT_IN(clock_, sourceFile);
   // 4. A review that was armed before is for the replay to arm again.
   clock_->timeMinIs(Mdl::never);
   // 5.
   if (!dgConfig()->ready()) return;
   // 6.
   bool const alreadyReplayed = dgConfigReadyHandled_;
   handleDecapGroupConfigReady();
   if (!alreadyReplayed) return;
   // There is no second replay. What changed meanwhile and could not be followed is made up for;
   // and as a replay that was handled before arms nothing, keys that wait would wait for good, and
   // an alarm that was left for the review to clear would stand for good.
   FirstException errors;
   catchUp(*this, errors);
   errors.attempt([&] { doMaybeScheduleReview(); });
   errors.attempt([&] { clearHwResourceFull(); });
   errors.rethrow();
}

void FwdDecapGroupSm::handleDecapGroupConfigReady() {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   // 1.
   FWD_TRACE(2, "handleDecapGroupConfigReady");
   // 2. Before every other test, by design: a configuration that stops being ready, or one put in
   //    its place that is not ready yet, would have hardware follow half a configuration.
   MDL_ASSERT_IN(dgConfig()->ready(), sourceFile);
   // 3. Once is enough; a trigger from inside the replay adds nothing to it.
   if (!initialized_ || dgConfigReadyHandled_ || replaying_) return;
   {
      Raised const replaying(replaying_);
      // 4.
      ++replay_;
      replayGroups();
      // 5.
      doMaybeScheduleReview();
      // 6.
      decapHelper_->decapGroupConfigReady();
      // 7.
      dgConfigReadyHandled_ = true;
   }
   // Groups that the hook configured in 6 were created before the replay counted as handled.
   replayGroups();
}

void FwdDecapGroupSm::replayGroups() {
   // A hook may add groups while others are replayed; the walk does not see them.
   bool found = true;
   while (found) {
      found = false;
      auto const config = dgConfig();
      if (!config) return;
      for (auto const& entry : config->decapGroup().walk()) {
         auto const reactor = mdlDecapGroup(entry.key);
         if (!reactor || reactor->replayed() == replay_) continue;
         found = true;
         reactor->replay(replay_);
      }
   }
}

}  // namespace Fwd
