#pragma once

#include "mdl/Clock.h"
#include "mdl/Ptr.h"
#include "mdl/Seconds.h"

#include <functional>
#include <utility>

namespace Sim {

/// Simulated time: while this object lives, the process's current time is what it says, from 0.
/// It moves by itself, or follows a real clock from one point of rest to the next.
///
/// As in an agent, two times share one scale. The current time moves while work is done (`pass`);
/// the clock follows between the pieces of work (`advanceTo`), and moving it wakes whoever is due.
///
/// Owner: a test or an agent that runs without real time. One at a time.
/// I1: neither time goes back, and the clock is never ahead of the current time.
class SimTime {
 public:
   SimTime();
   SimTime(SimTime const&) = delete;
   SimTime& operator=(SimTime const&) = delete;
   /// Real time is back.
   ~SimTime();

   /// Follows a clock whose reading `source` gives, from 0 as well: time stands still while work
   /// is done, and catches up whenever it passes (`pass`, `catchUp`). Empty for time that only
   /// moves by itself.
   void followIs(std::function<Mdl::Seconds()> source) { source_ = std::move(source); }
   /// Up to the clock that is followed, if there is one. The clock of the machine stands still.
   void catchUp();

   Mdl::Seconds now() const noexcept { return now_; }
   Mdl::Ptr<Mdl::Clock> const& clock() const noexcept { return clock_; }

   /// Work has taken this long. The clock stands still.
   void pass(Mdl::Seconds duration);
   /// Moves current time and clock to `time`, or to the current time if that is later. Wake-ups
   /// run inside the call, and what they throw leaves it.
   void advanceTo(Mdl::Seconds time);

 private:
   Mdl::Seconds now_ = 0.0;
   std::function<Mdl::Seconds()> source_;
   Mdl::Ptr<Mdl::Clock> clock_;
};

}  // namespace Sim
