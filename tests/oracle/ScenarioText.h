#pragma once

#include "oracle/Run.h"

#include <cstdint>
#include <set>
#include <string>

namespace Oracle {

/// Writes a sequence as a scenario (docs/scenarios.md), so that decap-agent plays it and a failure
/// can be kept as a test.
///
/// Each event gives the lines that do the same there. Where the language has no word for an event
/// the lines come as near as they can, and a comment says so. In the end come the oracle's
/// expectations.
///
/// Owner: whoever writes one scenario.
class ScenarioText {
 public:
   /// Text for people, one line, at the head of the scenario.
   explicit ScenarioText(std::string const& title);
   ScenarioText() = default;

   /// The event's lines. `before` and `after` are the scene without and with it.
   void add(Event const& event, Scene const& before, Scene const& after);
   /// What should be there in the end.
   void expect(Run const& run);

   std::string const& text() const { return text_; }

 private:
   void line(std::string const& content) { text_ += content + "\n"; }
   void comment(std::string const& content) { line("# " + content); }
   void noWord(Event const& event) { comment("no word for it here: " + Oracle::text(event)); }
   void addToMachine(Event const& event, bool isReady);
   void addToHardware(Event const& event);
   void addToGroup(Event const& event, Scene const& before, Scene const& after);
   void addToEntries(Event const& event);
   void replaceConfig(Event const& event, Scene const& before, Scene const& after);
   void addToIntf(Event const& event, Scene const& before, Scene const& after);
   void renewIntf(std::uint8_t intf, Scene const& before, Scene const& after);

   std::string text_;
   std::set<std::uint8_t> answered_;
};

/// The scenario of a whole sequence, without expectations: nothing is played.
std::string scenarioOf(Events const& events, std::string const& title);
/// The expectations to put at its end. Plays the sequence, which may stop the process.
std::string expectationsOf(Events const& events);

}  // namespace Oracle
