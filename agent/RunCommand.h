#pragma once

#include "mdl/Seconds.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace Agent {

/// How a command ended, as the process says it. docs/agent.md lists them.
enum class ExitCode : int {
   ok = 0,
   unmet = 1,     ///< an expectation of a scenario was not met
   badInput = 2,  ///< a file or the command line cannot be used; nothing was programmed
   failure = 3,   ///< anything else; also what leaves the program as an exception
};

/// What `run` was asked for.
struct RunOptions {
   std::string configuration;  ///< a file, or empty
   std::string scenario;       ///< a file, or empty
   std::string hardwareState;  ///< the file that the hardware table is kept in, or empty
   bool keepHardware = false;  ///< leave hardware as it is at the end
   std::string journal;        ///< the file that everything is written down in, or empty
   std::optional<unsigned> traceLevel;
   bool json = false;
   std::size_t rows = 40;
   Mdl::Seconds limit = 3600.0;  ///< of simulated time, for getting quiet
};

/// Runs a configuration, a scenario, or a scenario on top of a configuration, in simulated time.
///
/// The report goes to `out`, what is wrong to `err`; with JSON, whatever is told on the way also.
/// Both files are read before anything runs, and before the hardware state is opened.
ExitCode run(RunOptions const& options, std::ostream& out, std::ostream& err);

}  // namespace Agent
