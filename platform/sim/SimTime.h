#pragma once

#include "mdl/Clock.h"
#include "mdl/Ptr.h"
#include "mdl/Seconds.h"

namespace Sim {

/// Simulated time: while this object lives, the process's current time is what it says, from 0.
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

   Mdl::Seconds now() const noexcept { return now_; }
   Mdl::Ptr<Mdl::Clock> const& clock() const noexcept { return clock_; }

   /// Work has taken this long. The clock stands still.
   void pass(Mdl::Seconds duration) noexcept;
   /// Moves current time and clock to `time`, or to the current time if that is later. Wake-ups
   /// run inside the call, and what they throw leaves it.
   void advanceTo(Mdl::Seconds time);

 private:
   Mdl::Seconds now_ = 0.0;
   Mdl::Ptr<Mdl::Clock> clock_;
};

}  // namespace Sim
