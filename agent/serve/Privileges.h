#pragma once

#include <string>

namespace Agent {

/// Gives up what a running agent does not need: becomes `user` where one is given, keeps no
/// capability of root's, and never gains one again, whatever it executes. What is open stays open.
///
/// Throws std::runtime_error for a user that the system does not know, std::system_error where the
/// system refuses; the process is then not to go on.
void dropPrivileges(std::string const& user);

}  // namespace Agent
