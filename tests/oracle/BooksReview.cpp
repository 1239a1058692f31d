// The review of the backlog, and the alarm.

#include "oracle/Books.h"

#include <algorithm>

namespace Oracle {

namespace {

constexpr int nothingAsked = 0;

bool isRetried(int code) {
   return code == Fwd::dgRcNotReady || code == Fwd::dgRcHwFull || code == Fwd::dgRcPending;
}

}  // namespace

/// A review goes through the backlog in its order, so that what it asks and where it stops follow
/// exactly from the answers.
void Books::review(Found const& found) {
   Mdl::Seconds const deadline = begin_ + budget_;
   wakeUps_.only(Mdl::never);
   int lastAnswer = nothingAsked;
   std::size_t next = 0;
   Mdl::Seconds now = begin_;
   std::uint32_t fullLogs = 0;
   for (Key const& key : backlogBefore_) {
      now = next == 0 ? begin_ : seen_[next - 1].end;
      if (now > deadline) break;
      bool const goesOn = reviewKey(key, next, deadline, lastAnswer);
      if (goesOn) continue;
      if (lastAnswer == Fwd::dgRcHwFull && !resourceFull_) {
         resourceFull_ = true;
         ++fullLogs;
      }
      break;
   }
   if (next != seen_.size()) {
      complain("the review goes too far: " + Sim::callText(seen_[next].call));
   }
   bool const empty =
       std::ranges::none_of(states_, [](auto const& e) { return e.second == State::waiting; });
   std::uint32_t const normalLogs = empty && resourceFull_ ? 1 : 0;
   if (empty) resourceFull_ = false;
   now = next == 0 ? begin_ : seen_[next - 1].end;
   // Those that only another VRF holds up are left to whoever schedules next.
   if ((now > deadline || isRetried(lastAnswer)) && !empty) wakeUps_.only(now + interval_);
   joined_.clear();
   if (found.resourceFull != resourceFull_) complain("the alarm is wrong after a review");
   if (found.fullLogs != fullLogs || found.normalLogs != normalLogs) {
      complain("the log is wrong after a review");
   }
}

/// Whether the review goes on to the next key.
bool Books::reviewKey(Key const& key, std::size_t& next, Mdl::Seconds deadline, int& lastAnswer) {
   auto const owner = owners_.find(pairOf(key));
   if (owner != owners_.end() && owner->second != key.vrf) return true;
   bool const asks = next < seen_.size() && seen_[next].key == key &&
                     seen_[next].call.operation == Sim::Operation::program;
   if (!asks) {
      complain("the review, which ends at " + std::to_string(deadline) + ", does not ask for " +
               keyText(key));
      return false;
   }
   Sim::Call const& call = seen_[next++].call;
   lastAnswer = call.answer;
   if (lastAnswer != Fwd::dgRcSuccess && lastAnswer != Fwd::dgRcAlreadyExists) return false;
   taken(key, call);
   return true;
}

/// The alarm after an event that is no review: raised by each answer that hardware is full, cleared
/// when the last key stops waiting and no review is due that would clear it.
void Books::judgeAlarm(Event const& event, Scene const& scene, Found const& found) {
   bool const before = resourceFull_;
   bool const waits =
       std::ranges::any_of(states_, [](auto const& e) { return e.second == State::waiting; });
   std::optional<bool> expected;
   if (anyStableWaiting()) {
      expected = before || fullAnswers_ > 0;
   } else if (fullAnswers_ > 0) {
      // Its key waits still, and nothing has cleared the alarm since.
      if (lastFull_ && isWaiting(*lastFull_) && !joinedSilently_) expected = true;
   } else if (!before) {
      expected = false;
   } else if (event.kind == Kind::configReplace) {
      // Groups come and go, each with the state that the ones before it left.
   } else if (clearsWithGroup(event, scene)) {
      if (!waits) expected = false;
   } else if (wakeUp_ != Mdl::never) {
      expected = true;
   } else if (!waits && seen_.empty()) {
      expected = false;
   }
   bool const stops = !scene.built();
   if (!stops && expected && *expected != found.resourceFull) {
      complain(*expected ? "the alarm should stand" : "the alarm should not stand");
   }
   resourceFull_ = found.resourceFull;
   if (found.fullLogs != fullAnswers_) complain("not each full answer is logged once");
   if (fullAnswers_ == 0) {
      std::uint32_t const cleared = before && !resourceFull_ ? 1 : 0;
      if (found.normalLogs != cleared) complain("the end of the alarm is not logged once");
   } else if (found.normalLogs > fullAnswers_ + (before ? 1 : 0)) {
      complain("the end of the alarm is logged too often");
   }
}

/// Whether a group goes, which looks after the alarm.
bool Books::clearsWithGroup(Event const& event, Scene const& scene) const {
   return event.kind == Kind::groupRemove && scene.group(event.group).type != 0;
}

}  // namespace Oracle
