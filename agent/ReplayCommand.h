#pragma once

#include "agent/RunCommand.h"

#include <optional>
#include <ostream>
#include <string>

namespace Agent {

/// What `replay` was asked for.
struct ReplayOptions {
   std::string journal;  ///< a file
   /// Traces to show beside those that the journal has.
   std::optional<unsigned> traceLevel;
   bool json = false;
};

/// Has a state machine live through a journal again and says whether it did the same, or where it
/// first did not. What is found goes to `out`, traces too (with JSON to `err`), and what is wrong
/// with the file to `err`.
ExitCode replay(ReplayOptions const& options, std::ostream& out, std::ostream& err);

}  // namespace Agent
