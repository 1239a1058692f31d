#pragma once

#include "mdl/Export.h"
#include "mdl/Seconds.h"

#include <functional>

namespace Mdl {

/// What the process knows of the world around it.
class MDL_EXPORT System {
 public:
   using TimeSource = std::function<Seconds()>;

   /// The current time, on the scale of the agent's `Clock`: monotonic seconds unless a source has
   /// been set. The clock stands still between the turns of the event loop, this does not.
   static Seconds currentTime();

   /// Replaces the source (tests, replay, simulation); an empty function restores the monotonic
   /// one. To be called on the notification thread.
   static void timeSourceIs(TimeSource source);
};

}  // namespace Mdl
