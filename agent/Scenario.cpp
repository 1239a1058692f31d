#include "agent/Scenario.h"

#include "agent/ScenarioEvents.h"
#include "agent/Tokens.h"

#include <algorithm>
#include <utility>

namespace Agent {

namespace {

/// A line that does nothing. Control characters of a comment do not reach a terminal.
ScenarioEvent note(std::size_t line, std::string_view raw) {
   std::string text = printable(raw.substr(0, raw.find_last_not_of(" \t\r") + 1));
   return {line, 1, std::move(text), ScenarioEvent::Kind::note, [](Stage&) {}};
}

}  // namespace

Scenario scenarioFromText(std::string const& file, std::string_view text) {
   Scenario scenario;
   scenario.file = file;
   std::size_t line = 0;
   while (!text.empty()) {
      std::size_t const end = std::min(text.find('\n'), text.size());
      std::string_view const raw = text.substr(0, end);
      Tokens tokens(file, ++line, raw);
      text.remove_prefix(std::min(end + 1, text.size()));
      if (tokens.atEnd()) {
         scenario.events.push_back(note(line, raw));
         continue;
      }
      ScenarioEvent event = parseEvent(tokens);
      tokens.needEnd();
      event.line = line;
      event.column = tokens.start().column;
      event.text = tokens.text();
      scenario.events.push_back(std::move(event));
   }
   return scenario;
}

}  // namespace Agent
