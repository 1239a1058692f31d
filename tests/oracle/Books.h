#pragma once

#include "mdl/Seconds.h"
#include "oracle/Scene.h"
#include "oracle/Wanted.h"
#include "platform/sim/Call.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Oracle {

/// What the machine shows of itself and hardware of its table, in numbers.
struct Found {
   /// Ascending, like the owners and the table.
   Wanted::Counts counts;
   std::vector<std::pair<Pair, std::uint8_t>> owners;
   /// In its order.
   std::vector<Key> backlog;
   std::vector<Key> table;
   bool resourceFull = false;
   Mdl::Seconds wakeUp = Mdl::never;
   // Since the event before.
   std::uint32_t fullLogs = 0;
   std::uint32_t normalLogs = 0;
   std::uint32_t verifyLines = 0;
   /// Keys that no event calls for, and whatever else can only be said in words.
   std::vector<std::string> oddities;
};

/// What becomes of the references at the hook: which key is in hardware, which waits, who owns a
/// destination, whether the alarm stands and when a review is due.
///
/// Hardware's answers are input, like events. Given them, nearly everything follows, call by call:
/// who may be asked, what an answer does, what a review tries and where it stops. In which order an
/// event derives its keys does not follow, and does not matter: a key is looked at by itself. Where
/// that order shows all the same (the order of those that joined the backlog together, an alarm
/// that is cleared and raised within one event, which of two VRFs came first), what the machine
/// shows is checked to be possible and then taken as it is.
///
/// Owner: the model of a run.
/// I1: a key has a state exactly while it is counted.
/// I2: the backlog lists the waiting keys.
class Books {
 public:
   using Complaints = std::vector<std::string>;

   /// A call of the hook ended.
   void called(Sim::Call const& call, Mdl::Seconds now);

   /// Looks at the calls of an event and at what it led to. `begin` is the time when it began.
   /// Complains of every difference and forgets the calls.
   Complaints settle(Event const& event, Scene const& scene, Wanted const& wanted,
                     Mdl::Seconds begin, Found const& found);

   // How many keys are in hardware, and how many wait.
   std::size_t inHardware() const { return count(State::inHardware); }
   std::size_t waiting() const { return count(State::waiting); }
   /// "  waits: udp ...", a line each.
   std::string text() const;

 private:
   enum class State : std::uint8_t { inHardware, waiting, refused };
   struct Seen {
      Sim::Call call;
      std::optional<Key> key;
      Mdl::Seconds end;
   };
   /// What an event may lead to as far as time goes.
   struct WakeUps {
      std::set<Mdl::Seconds> possible;
      void only(Mdl::Seconds time) { possible = {time}; }
   };

   std::size_t count(State state) const;
   void beginEvent(Event const& event, Wanted const& wanted, Mdl::Seconds begin);
   void countOtherCalls(Event const& event, Scene const& scene, Wanted const& wanted,
                        Found const& found);
   void tableFollows(Seen const& seen);
   void derivation(Event const& event, Wanted const& wanted, Found const& found);
   void programmed(Seen const& seen);
   void removed(Seen const& seen);
   void taken(Key const& key, Sim::Call const& call);
   void withoutCalls(Wanted::Counts const& counts);
   bool conflictSeen(Key const& key) const;
   void judgeAlarm(Event const& event, Scene const& scene, Found const& found);
   bool clearsWithGroup(Event const& event, Scene const& scene) const;
   void judgeBacklog(Found const& found);
   void review(Found const& found);
   bool reviewKey(Key const& key, std::size_t& next, Mdl::Seconds deadline, int& lastAnswer);
   void machineStopped(Found const& found);
   void compareAll(Wanted const& wanted, Found const& found, bool built);
   void complain(std::string const& text) { complaints_.push_back(text); }
   bool isWaiting(Key const& key) const;
   bool anyStableWaiting() const;
   Mdl::Seconds lastTime() const { return seen_.empty() ? begin_ : seen_.back().end; }

   // Hardware.
   std::set<Key> table_;

   // The machine.
   std::map<Key, State> states_;
   std::vector<Key> backlog_;
   std::map<Pair, std::uint8_t> owners_;
   bool resourceFull_ = false;
   Mdl::Seconds wakeUp_ = Mdl::never;
   Mdl::Seconds interval_ = 0.1;
   Mdl::Seconds budget_ = 0.01;
   std::set<std::uint8_t> typeless_;

   // The event.
   std::vector<Seen> seen_;
   Mdl::Seconds begin_ = 0.0;
   Wanted::Keys stable_;
   std::vector<Key> backlogBefore_;
   std::map<Pair, std::set<std::uint8_t>> ownersSeen_;
   std::set<Key> joined_;
   bool joinedSilently_ = false;
   std::uint32_t fullAnswers_ = 0;
   std::optional<Key> lastFull_;
   WakeUps wakeUps_;
   bool lastWakeUpCertain_ = false;
   Complaints complaints_;
};

}  // namespace Oracle
