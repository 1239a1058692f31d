#pragma once

#include "agent/Report.h"

#include <ostream>

namespace Agent {

// A report for people, a section each. Sections without rows say so in their heading.

void printGroups(std::ostream& out, Report const& report);
/// What each address of an interface gives to which groups, and why not where it does not.
void printInterfaces(std::ostream& out, Report const& report);
void printHardware(std::ostream& out, Report const& report);
/// Every key with its status: what is in hardware, what waits, what is neither.
void printEntries(std::ostream& out, Report const& report);
/// What the machine found in hardware when it was built.
void printRestart(std::ostream& out, Report const& report);
/// What waits, and what is neither in hardware nor waiting.
void printBacklog(std::ostream& out, Report const& report);
/// What waits for another VRF to leave.
void printConflicts(std::ostream& out, Report const& report);
void printLog(std::ostream& out, Report const& report);
/// One line.
void printSummary(std::ostream& out, Report const& report);

}  // namespace Agent
