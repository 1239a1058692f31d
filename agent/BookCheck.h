#pragma once

#include <string>
#include <vector>

namespace Agent {

class World;

// The two ways to ask a machine whether its books are right, for people: a line for each
// difference.

/// Requests a verification, as an operator's command does, and takes the request back. The machine
/// looks whether each key that its groups list is counted or waits, and reports the first that is
/// not; nothing before it is ready.
std::vector<std::string> verifyBooks(World& world);

/// Compares what the groups hold with the counts, the counts with owners and backlog, and all of it
/// with what hardware holds. Empty without a machine. Changes nothing.
std::vector<std::string> auditBooks(World const& world);

}  // namespace Agent
