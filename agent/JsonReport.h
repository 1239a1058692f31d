#pragma once

#include "agent/Explanation.h"
#include "agent/Report.h"
#include "agent/World.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
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

/// A part of a report. "hardware" has the entries of the table; "entries" every key with its
/// status, wherever it is.
enum class JsonSection : std::uint8_t {
   resources,
   restart,
   summary,
   groups,
   interfaces,
   hardware,
   entries,
   gone,
   backlog,
   log,
};

/// The time, and some parts of a report, as one JSON document.
void printJson(std::ostream& out, Report const& report, std::span<JsonSection const> sections);

/// An explanation as one JSON document.
void printJson(std::ostream& out, Explanation const& explanation);

}  // namespace Agent
