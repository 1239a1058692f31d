#pragma once

#include <ostream>

namespace Agent {

/// The program: reads the command line, runs what it says, and returns the process's exit code.
int commandLine(int argc, char const* const* argv, std::ostream& out, std::ostream& err);

}  // namespace Agent
