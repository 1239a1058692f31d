// A configuration file. One that can be used is run, unless it is long, and taken away again.

#include "agent/ConfigFile.h"
#include "agent/InputError.h"
#include "agent/World.h"
#include "fuzz/Fuzz.h"

#include <string>

namespace {

/// Everything that was programmed goes again with the machine, whatever the configuration.
void runThrough(Agent::Configuration const& configuration) {
   Agent::World world;
   world.configure(configuration);
   world.start();
   world.turn();
   world.stop();
   Fuzz::require(world.hardware().table().size() == 0, "hardware is empty after the tear-down");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   try {
      auto const configuration =
          Agent::configurationFromText("fuzz.json", Fuzz::textOf(data, size));
      if (size < 4096) runThrough(configuration);
   } catch (Agent::InputError const& error) {
      Fuzz::requireOneLine(error.what());
   }
   return 0;
}
