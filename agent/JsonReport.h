#pragma once

#include "agent/Report.h"
#include "agent/World.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace Agent {

/// An expectation of a scenario that was not met.
struct Unmet {
   std::size_t line = 0;
   std::size_t column = 0;
   std::string wanted;
   std::string found;
};

class HardwareState;

/// What a run was given and how it went, beside the state that it ended in.
struct RunResult {
   std::string configuration;  ///< the file, empty where there is none
   std::string scenario;       ///< likewise
   Settled settled;
   std::size_t events = 0;
   std::size_t expectations = 0;
   std::vector<Unmet> unmet;
   HardwareState const* hardwareState = nullptr;
};

/// A report as one JSON document; docs/agent.md describes its fields. Rows are written one by one,
/// so that a big report takes no second copy of itself.
void printJson(std::ostream& out, Report const& report, RunResult const& result);

}  // namespace Agent
