#include "platform/sim/SimTime.h"

#include "mdl/System.h"

namespace Sim {

SimTime::SimTime() : clock_(Mdl::allocate<Mdl::Clock>()) {
   Mdl::System::timeSourceIs([this] { return now_; });
}

SimTime::~SimTime() { Mdl::System::timeSourceIs({}); }

void SimTime::pass(Mdl::Seconds duration) {
   if (duration > 0.0) now_ += duration;
   catchUp();
}

void SimTime::catchUp() {
   if (!source_) return;
   if (Mdl::Seconds const there = source_(); there > now_) now_ = there;
}

void SimTime::advanceTo(Mdl::Seconds time) {
   if (time > now_) now_ = time;
   // A wake-up may take time itself, and release the clock's owner.
   Mdl::Ptr<Mdl::Clock> const clock = clock_;
   clock->timeIs(now_);
}

}  // namespace Sim
