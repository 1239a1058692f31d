#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace Agent {

/// Who is at the other end of a local socket, and whether they may give commands.
struct Peer {
   pid_t process = 0;
   uid_t user = 0;
   bool allowed = false;
};

/// The id of a group, by name; a number is an id itself. Throws std::runtime_error for a group that
/// the system does not know.
gid_t groupId(std::string const& name);

/// Asks the system. Allowed are root, the user of this process, and members of the group. Throws
/// std::system_error.
Peer peerOf(int socket, std::optional<gid_t> group);

}  // namespace Agent
