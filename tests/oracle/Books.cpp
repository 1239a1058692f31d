#include "oracle/Books.h"

#include <algorithm>

namespace Oracle {

namespace {

bool isRetried(Fwd::dgRetCode code) {
   return code == Fwd::dgRcNotReady || code == Fwd::dgRcHwFull || code == Fwd::dgRcPending;
}
bool isTaken(Fwd::dgRetCode code) {
   return code == Fwd::dgRcSuccess || code == Fwd::dgRcAlreadyExists;
}

std::string seconds(Mdl::Seconds time) { return std::to_string(time); }

}  // namespace

void Books::called(Sim::Call const& call, Mdl::Seconds now) {
   seen_.push_back({call, keyOf(call.key), now});
}

bool Books::isWaiting(Key const& key) const {
   auto const at = states_.find(key);
   return at != states_.end() && at->second == State::waiting;
}

std::size_t Books::count(State state) const {
   return static_cast<std::size_t>(std::ranges::count_if(
       states_, [state](auto const& entry) { return entry.second == state; }));
}

/// Whether the backlog is never empty during the event.
bool Books::anyStableWaiting() const {
   return std::ranges::any_of(
       backlogBefore_, [this](Key const& key) { return std::ranges::binary_search(stable_, key); });
}

Books::Complaints Books::settle(Event const& event, Scene const& scene, Wanted const& wanted,
                                Mdl::Seconds begin, Found const& found) {
   complaints_ = found.oddities;
   beginEvent(event, wanted, begin);
   countOtherCalls(event, scene, wanted, found);
   bool const isReview =
       event.kind == Kind::advance && scene.built() && begin + event.seconds() >= wakeUp_;
   if (isReview) {
      begin_ = begin + event.seconds();
      review(found);
   } else if (event.kind == Kind::stopKeepingHardware) {
      if (!seen_.empty()) complain("hardware is called though it shall stay as it is");
      states_.clear();
   } else {
      derivation(event, wanted, found);
      judgeAlarm(event, scene, found);
      bool const schedules = wanted.started() || event.kind == Kind::initialize;
      if (schedules && scene.active() && wanted.running() && !found.backlog.empty()) {
         wakeUps_.only(lastTime() + interval_);
      }
   }
   judgeBacklog(found);
   if (!scene.built()) machineStopped(found);
   compareAll(wanted, found, scene.built());
   seen_.clear();
   return std::move(complaints_);
}

void Books::beginEvent(Event const& event, Wanted const& wanted, Mdl::Seconds begin) {
   begin_ = begin;
   stable_ = wanted.stableKeys();
   backlogBefore_ = backlog_;
   joined_.clear();
   joinedSilently_ = lastWakeUpCertain_ = false;
   fullAnswers_ = 0;
   lastFull_.reset();
   ownersSeen_.clear();
   for (auto const& [pair, vrf] : owners_) ownersSeen_[pair].insert(vrf);
   if (event.kind == Kind::build) {
      // A process of its own, with a status of its own.
      resourceFull_ = false;
      interval_ = 0.1;
      budget_ = 0.01;
      wakeUp_ = Mdl::never;
   } else if (event.kind == Kind::initialize) {
      wakeUp_ = Mdl::never;
   } else if (event.kind == Kind::reviewInterval) {
      interval_ = event.seconds();
   } else if (event.kind == Kind::reviewBudget) {
      budget_ = event.seconds();
   }
   wakeUps_.only(wakeUp_);
}

/// Calls that are about no key: they come when the machine starts and when it is asked to verify.
void Books::countOtherCalls(Event const& event, Scene const& scene, Wanted const& wanted,
                            Found const& found) {
   auto const count = [this](Sim::Operation operation) {
      return std::ranges::count_if(
          seen_, [operation](Seen const& seen) { return seen.call.operation == operation; });
   };
   if (count(Sim::Operation::configReady) != (wanted.started() ? 1 : 0)) {
      complain("the hook is not told exactly once that the configuration has been replayed");
   }
   bool const verifies = event.kind == Kind::verify && scene.active();
   // The request is made and taken back, and each of the two changes is answered.
   if (count(Sim::Operation::verify) != (verifies ? 2 : 0)) {
      complain("the hook is not asked to verify once for each request");
   }
   if (found.verifyLines != (verifies && wanted.anyStopped() ? 2u : 0u)) {
      complain("verification reports " + std::to_string(found.verifyLines) + " keys");
   }
   for (Seen const& seen : seen_) tableFollows(seen);
   std::erase_if(seen_, [](Seen const& seen) {
      bool const isAboutKey = seen.call.operation == Sim::Operation::program ||
                              seen.call.operation == Sim::Operation::remove;
      return !isAboutKey || seen.call.outcome == Sim::Outcome::swept;
   });
}

void Books::tableFollows(Seen const& seen) {
   if (!seen.key) {
      bool const isAboutKey = seen.call.operation == Sim::Operation::program ||
                              seen.call.operation == Sim::Operation::remove;
      if (isAboutKey) complain("a key that nothing calls for: " + Sim::callText(seen.call));
      return;
   }
   if (seen.call.operation == Sim::Operation::program) {
      if (seen.call.outcome == Sim::Outcome::answered && isTaken(seen.call.answer)) {
         table_.insert(*seen.key);
      }
   } else {
      table_.erase(*seen.key);
   }
}

void Books::derivation(Event const& event, Wanted const& wanted, Found const& found) {
   Wanted::Counts const before = wanted.countsBefore();
   Wanted::Counts const after = wanted.counts();
   auto const isIn = [](Wanted::Counts const& counts, Key const& key) {
      return std::ranges::binary_search(counts, key, {},
                                        [](auto const& entry) { return entry.first; });
   };
   std::set<Key> removedKeys;
   for (Seen const& seen : seen_) {
      if (!seen.key) continue;
      Key const& key = *seen.key;
      std::string const what = Sim::callText(seen.call);
      if (std::ranges::binary_search(stable_, key)) complain("without a reason: " + what);
      if (!wanted.passesThrough() && !isIn(before, key) && !isIn(after, key)) {
         complain("neither before nor after wanted: " + what);
      }
      if (seen.call.operation == Sim::Operation::program) {
         programmed(seen);
      } else {
         removedKeys.insert(key);
         removed(seen);
      }
      bool const certain = anyStableWaiting() || (seen.call.operation == Sim::Operation::program &&
                                                  isRetried(seen.call.answer));
      bool const possible = !backlogBefore_.empty() || !joined_.empty() || !found.backlog.empty();
      if (certain) wakeUps_.only(seen.end + interval_);
      if (possible) wakeUps_.possible.insert(seen.end + interval_);
      lastWakeUpCertain_ = certain;
   }
   for (Key const& key : wanted.renewedKeys()) {
      auto const at = states_.find(key);
      bool const waited = std::ranges::find(backlogBefore_, key) != backlogBefore_.end();
      if (at != states_.end() && !waited && !removedKeys.contains(key)) {
         complain("not taken back and programmed again: " + keyText(key));
      }
   }
   withoutCalls(after);
   bool const mayRejoin = std::ranges::any_of(backlog_, [this](Key const& key) {
      return isWaiting(key) && !std::ranges::binary_search(stable_, key);
   });
   bool const open = joinedSilently_ || mayRejoin || wanted.passesThrough();
   if (open && !lastWakeUpCertain_) {
      if (joinedSilently_) wakeUps_.possible.clear();
      wakeUps_.possible.insert(begin_ + interval_);
      for (Seen const& seen : seen_) wakeUps_.possible.insert(seen.end + interval_);
   }
   static_cast<void>(event);
}

void Books::programmed(Seen const& seen) {
   Key const& key = *seen.key;
   auto const at = states_.find(key);
   if (at != states_.end()) {
      // One that waits was given up before, without a call.
      if (at->second != State::waiting) {
         complain("asked for again: " + Sim::callText(seen.call));
      }
      states_.erase(at);
   }
   auto const owner = owners_.find(pairOf(key));
   if (owner != owners_.end() && owner->second != key.vrf) {
      complain("another VRF owns the destination: " + Sim::callText(seen.call));
   }
   taken(key, seen.call);
   if (seen.call.answer == Fwd::dgRcHwFull) {
      ++fullAnswers_;
      lastFull_ = key;
   }
}

/// What an answer of hardware makes of a key.
void Books::taken(Key const& key, Sim::Call const& call) {
   if (isTaken(call.answer)) {
      states_[key] = State::inHardware;
      owners_[pairOf(key)] = key.vrf;
      ownersSeen_[pairOf(key)].insert(key.vrf);
   } else if (isRetried(call.answer)) {
      states_[key] = State::waiting;
      joined_.insert(key);
   } else {
      states_[key] = State::refused;
   }
}

void Books::removed(Seen const& seen) {
   Key const& key = *seen.key;
   auto const at = states_.find(key);
   if (at == states_.end()) {
      complain("not there to be removed: " + Sim::callText(seen.call));
      return;
   }
   if (at->second == State::waiting) {
      complain("removed though hardware never had it: " + Sim::callText(seen.call));
   }
   states_.erase(at);
   // The destination is free with any key of it that goes, even one that hardware had refused.
   owners_.erase(pairOf(key));
}

/// Keys that came or went without hardware being asked.
void Books::withoutCalls(Wanted::Counts const& counts) {
   auto const isCounted = [&](Key const& key) {
      return std::ranges::binary_search(counts, key, {},
                                        [](auto const& entry) { return entry.first; });
   };
   std::erase_if(states_, [&](auto const& entry) {
      if (isCounted(entry.first)) return false;
      if (entry.second != State::waiting) {
         complain("wanted no more and not removed: " + keyText(entry.first));
      }
      return true;
   });
   for (auto const& [key, count] : counts) {
      if (states_.contains(key)) continue;
      if (!conflictSeen(key)) complain("wanted and not asked for: " + keyText(key));
      states_[key] = State::waiting;
      joined_.insert(key);
      joinedSilently_ = true;
   }
}

/// Whether another VRF owned the destination at any time during the event.
bool Books::conflictSeen(Key const& key) const {
   auto const at = ownersSeen_.find(pairOf(key));
   return at != ownersSeen_.end() &&
          std::ranges::any_of(at->second, [&](std::uint8_t vrf) { return vrf != key.vrf; });
}

void Books::judgeBacklog(Found const& found) {
   std::set<Key> const listed(found.backlog.begin(), found.backlog.end());
   for (auto const& [key, state] : states_) {
      if (state == State::waiting && !listed.contains(key)) {
         complain("does not wait: " + keyText(key));
      }
   }
   for (Key const& key : found.backlog) {
      if (!isWaiting(key)) complain("waits without a reason: " + keyText(key));
   }
   // Those that stayed keep their places before those that joined.
   std::vector<Key> stayed;
   for (Key const& key : backlogBefore_) {
      if (isWaiting(key) && std::ranges::binary_search(stable_, key)) stayed.push_back(key);
   }
   std::vector<Key> first;
   bool joinedBefore = false;
   bool inOrder = true;
   for (Key const& key : found.backlog) {
      if (std::ranges::find(stayed, key) != stayed.end()) {
         first.push_back(key);
         inOrder = inOrder && !joinedBefore;
      }
      joinedBefore = joinedBefore || joined_.contains(key);
   }
   if (first != stayed || !inOrder) complain("the backlog is out of order");
   backlog_ = found.backlog;
}

void Books::machineStopped(Found const& found) {
   if (!states_.empty() && complaints_.empty()) complain("a stopped machine leaves keys behind");
   states_.clear();
   backlog_.clear();
   owners_.clear();
   wakeUp_ = Mdl::never;
   wakeUps_.only(Mdl::never);
   resourceFull_ = found.resourceFull;
}

void Books::compareAll(Wanted const& wanted, Found const& found, bool built) {
   if (built) {
      auto const different = [this](auto const& expected, auto const& shown, char const* what,
                                    auto const& text) {
         for (auto const& entry : expected) {
            if (!std::ranges::binary_search(shown, entry)) {
               complain(std::string(what) + " lacks " + text(entry));
            }
         }
         for (auto const& entry : shown) {
            if (!std::ranges::binary_search(expected, entry)) {
               complain(std::string(what) + " has " + text(entry));
            }
         }
      };
      Wanted::Counts const counts = wanted.counts();
      if (counts != found.counts) {
         different(counts, found.counts, "the count", [](auto const& entry) {
            return keyText(entry.first) + " x" + std::to_string(entry.second);
         });
      }
      std::vector<std::pair<Pair, std::uint8_t>> const owners(owners_.begin(), owners_.end());
      if (owners != found.owners) {
         different(owners, found.owners, "the owners' list", [](auto const& entry) {
            return pairText(entry.first) + " -> " + vrfOf(entry.second).name().stdString();
         });
      }
      if (!wakeUps_.possible.contains(found.wakeUp)) {
         complain("a review is due at " + seconds(found.wakeUp) + " instead of " +
                  seconds(*wakeUps_.possible.begin()));
      }
      wakeUp_ = found.wakeUp;
      if (found.resourceFull && found.backlog.empty() && found.wakeUp == Mdl::never) {
         complain("the alarm stands though nothing waits and no review is due");
      }
   }
   std::vector<Key> const table(table_.begin(), table_.end());
   if (table == found.table) return;
   for (Key const& key : table) {
      if (!std::ranges::binary_search(found.table, key)) {
         complain("hardware lacks " + keyText(key));
      }
   }
   for (Key const& key : found.table) {
      if (!table_.contains(key)) complain("hardware has " + keyText(key));
   }
}

std::string Books::text() const {
   std::string lines;
   for (auto const& [key, state] : states_) {
      lines += state == State::waiting   ? "  waits: "
               : state == State::refused ? "  refused: "
                                         : "  in hardware: ";
      lines += keyText(key) + "\n";
   }
   return lines;
}

}  // namespace Oracle
