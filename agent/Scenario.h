#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Stage;

/// One line of a scenario.
struct ScenarioEvent {
   enum class Kind : std::uint8_t {
      note,     ///< a comment or an empty line: only shown
      change,   ///< changes the world: what it causes is remembered until the next change
      observe,  ///< looks at the world
   };

   std::size_t line = 0;
   std::size_t column = 0;
   std::string text;
   Kind kind = Kind::change;
   std::function<void(Stage&)> act;
};

/// A sequence of events for a world; docs/scenarios.md describes the language.
struct Scenario {
   std::string file;
   std::vector<ScenarioEvent> events;
};

/// Reads a scenario; nothing of it runs. Throws InputError with line and column of the word that
/// is wrong.
Scenario scenarioFromText(std::string const& file, std::string_view text);

}  // namespace Agent
