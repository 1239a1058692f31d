#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace Agent {

/// Gives up what a running agent does not need: becomes `user` where one is given, keeps no
/// capability of root's, and never gains one again, whatever it executes. What is open stays open.
///
/// Throws std::runtime_error for a user that the system does not know, std::system_error where the
/// system refuses; the process is then not to go on.
void dropPrivileges(std::string const& user);

/// Who is to have what root makes before it becomes somebody else. What is not given stays as the
/// system has made it.
struct Owner {
   std::optional<uid_t> user;
   std::optional<gid_t> group;
};

/// The user with this name, and the group: one of this name or number, or else the user's first.
/// Throws std::runtime_error for one that the system does not know.
Owner ownerFrom(std::string const& user, std::string const& group);

/// Gives away a path, and not what it leads to if it is a link. Throws std::system_error.
void give(std::string const& path, Owner const& owner);

/// Makes a folder, and those above it, where there is none. What is new is the owner's, and of no
/// use to anybody outside of its group; what was there stays as it is. Throws std::system_error.
void makeFolder(std::string const& folder, Owner const& owner);

}  // namespace Agent
