#include "agent/HardwareState.h"

#include "agent/InputError.h"
#include "agent/Wording.h"
#include "agent/World.h"
#include "platform/sim/StateFile.h"
#include "platform/sim/StateFileError.h"

#include <utility>

namespace Agent {

namespace {

std::ostream& complain(std::ostream& err, std::string const& text) {
   return err << "decap-agent: " << printable(text);
}

/// Whether the file holds a table of ours that cannot be used: then it is worth keeping, and no
/// reason to keep the switch from working.
bool isSpoilt(Sim::StateFileError::Kind kind) noexcept {
   switch (kind) {
      case Sim::StateFileError::Kind::stale:
      case Sim::StateFileError::Kind::damaged: return true;
      case Sim::StateFileError::Kind::system:
      case Sim::StateFileError::Kind::inUse:
      case Sim::StateFileError::Kind::foreign: return false;
   }
   return false;
}

}  // namespace

HardwareState::HardwareState(std::string file, bool keep) : file_(std::move(file)), keep_(keep) {}

bool HardwareState::open(World& world, std::ostream& err) {
   if (file_.empty()) return true;
   try {
      try {
         world.resume(Sim::StateFile::open(file_));
      } catch (Sim::StateFileError const& error) {
         if (!isSpoilt(error.kind())) throw;
         setAside_ = Sim::StateFile::setAside(file_);
         complain(err, error.what())
             << "; kept as " << printable(setAside_) << ", hardware begins empty\n";
         world.resume(Sim::StateFile::open(file_));
      }
   } catch (Sim::StateFileError const& error) {
      complain(err, error.what()) << '\n';
      return false;
   }
   world.keepHardwareIs(keep_);
   return true;
}

bool HardwareState::close(World& world, std::ostream& err) {
   if (file_.empty()) return true;
   // Nobody hears of an exception inside a tear-down.
   std::uint64_t lost = 0;
   world.callObserverIs(
       [&lost](Sim::Call const& call) { lost += call.outcome == Sim::Outcome::threw ? 1 : 0; });
   world.stop(keep_);
   world.callObserverIs({});
   left_ = world.hardware().table().size();
   std::string const& growing = world.hardware().table().file()->rewriteFailure();
   if (!growing.empty()) {
      complain(err, file_ + ": cannot be written anew and grows: " + growing) << '\n';
   }
   if (lost == 0) return true;
   complain(err, file_ + ": " + counted(lost, "removal") +
                     " could not be recorded: " + counted(left_, "entry", "entries") + " left")
       << '\n';
   return false;
}

}  // namespace Agent
