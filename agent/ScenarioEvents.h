#pragma once

#include "agent/Scenario.h"

namespace Agent {

class Tokens;

/// Reads one event up to where it ends; what follows is the caller's. Throws InputError.
ScenarioEvent parseEvent(Tokens& tokens);

// The verbs that have words of their own behind them, without the verb itself.

/// "group".
ScenarioEvent parseGroup(Tokens& tokens);
/// "replace".
ScenarioEvent parseReplace(Tokens& tokens);
/// "interface".
ScenarioEvent parseInterface(Tokens& tokens);
/// "apply".
ScenarioEvent parseApply(Tokens& tokens);
/// "hardware".
ScenarioEvent parseHardware(Tokens& tokens);
/// "machine".
ScenarioEvent parseMachine(Tokens& tokens);
/// "expect".
ScenarioEvent parseExpect(Tokens& tokens);

}  // namespace Agent
