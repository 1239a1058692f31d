#pragma once

#include "agent/ConfigFile.h"
#include "agent/World.h"
#include "platform/sim/KeyText.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Support {

/// JSON that was written with single quotes.
inline std::string quoted(std::string text) {
   std::ranges::replace(text, '\'', '"');
   return text;
}

inline Agent::Configuration configured(std::string const& text) {
   return Agent::configurationFromText("test.json", quoted(text));
}

/// The hook calls about keys that the journal has, in their order, without their answers.
inline std::vector<std::string> keyCalls(Agent::World const& world) {
   std::vector<std::string> texts;
   for (Sim::Call const& call : world.hardware().journal().calls()) {
      if (call.operation == Sim::Operation::program) {
         texts.push_back("program " + Sim::keyText(call.key));
      } else if (call.operation == Sim::Operation::remove) {
         texts.push_back("remove " + Sim::keyText(call.key));
      }
   }
   return texts;
}

/// What is in hardware, in the order of the texts.
inline std::vector<std::string> tableTexts(Agent::World const& world) {
   std::vector<std::string> texts;
   for (auto const& entry : world.hardware().table().entries()) {
      texts.push_back(Sim::keyText(entry.key));
   }
   std::ranges::sort(texts);
   return texts;
}

inline std::vector<std::string> backlogTexts(Agent::World const& world) {
   std::vector<std::string> texts;
   for (auto const& entry : world.machine()->unprogrammedKey()) {
      texts.push_back(Sim::keyText(entry.key));
   }
   std::ranges::sort(texts);
   return texts;
}

/// Each key that groups call for, and how often.
inline std::vector<std::string> countTexts(Agent::World const& world) {
   std::vector<std::string> texts;
   for (auto const& entry : world.machine()->refCount()) {
      texts.push_back(Sim::keyText(entry.key) + " x" + std::to_string(entry.value));
   }
   std::ranges::sort(texts);
   return texts;
}

}  // namespace Support
