// A scenario file. One that can be read is played and shown, unless it may take long; the machine
// goes with it, and so does everything that it had programmed.

#include "agent/InputError.h"
#include "agent/Scenario.h"
#include "agent/Stage.h"
#include "agent/World.h"
#include "fuzz/Fuzz.h"

#include <sstream>
#include <string>

namespace {

constexpr double longestWait = 10.0;
constexpr std::size_t mostEvents = 64;

bool has(std::string const& text, char const* word) { return text.find(word) != std::string::npos; }

/// Whether the event lets time pass, or makes time dear, beyond what an input is worth.
bool mayTakeLong(std::string const& text) {
   if (has(text, "review-") || has(text, "call-cost") || has(text, "latency")) return true;
   if (!has(text, "advance") && !has(text, "settle") && !has(text, "for")) return false;
   std::istringstream words(text);
   bool timed = false;
   for (std::string word; words >> word && !word.starts_with('#');) {
      double seconds = 0.0;
      std::istringstream number(word);
      if (!(number >> seconds)) continue;
      timed = true;
      if (seconds > longestWait) return true;
   }
   return !timed;
}

bool mayTakeLong(Agent::Scenario const& scenario) {
   if (scenario.events.size() > mostEvents) return true;
   for (auto const& event : scenario.events) {
      if (mayTakeLong(event.text)) return true;
   }
   return false;
}

void play(Agent::Scenario const& scenario) {
   std::ostringstream shown;
   Agent::World world;
   Agent::Stage stage(world, &shown, 40);
   world.start();
   for (auto const& event : scenario.events) {
      if (!event.act) continue;
      stage.attempt([&] { event.act(stage); });
      stage.attempt([&] { world.turn(); });
   }
   bool const running = world.machine() != nullptr;
   stage.attempt([&] { world.stop(); });
   if (!running) return;
   // A machine that never came to the end of its replay has not told the hardware what to sweep.
   Fuzz::require(world.hardware().table().size() == world.hardware().heldOver().size(),
                 "hardware has only what is held over after the tear-down");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   try {
      auto const scenario = Agent::scenarioFromText("fuzz.scn", Fuzz::textOf(data, size));
      if (!mayTakeLong(scenario)) play(scenario);
   } catch (Agent::InputError const& error) {
      Fuzz::requireOneLine(error.what());
   }
   return 0;
}
