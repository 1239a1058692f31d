#include "agent/serve/PeerCheck.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <grp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Agent {

namespace {

/// The groups of the peer beside its first one. Empty where the system does not tell.
std::vector<gid_t> groupsOf(int socket) {
   std::vector<gid_t> groups(64);
   for (;;) {
      auto size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
      if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) == 0) {
         groups.resize(size / sizeof(gid_t));
         return groups;
      }
      if (errno != ERANGE) return {};
      groups.resize(size / sizeof(gid_t));
   }
}

}  // namespace

gid_t groupId(std::string const& name) {
   gid_t number = 0;
   auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
   if (error == std::errc() && end == name.data() + name.size()) return number;
   group const* const found = getgrnam(name.c_str());
   if (found == nullptr) throw std::runtime_error("there is no group '" + name + "'");
   return found->gr_gid;
}

Peer peerOf(int socket, std::optional<gid_t> group) {
   ucred facts{};
   socklen_t size = sizeof facts;
   if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &facts, &size) != 0) {
      throw std::system_error(errno, std::generic_category(), "SO_PEERCRED");
   }
   Peer peer{facts.pid, facts.uid, facts.uid == 0 || facts.uid == geteuid()};
   if (!peer.allowed && group) {
      auto const others = groupsOf(socket);
      peer.allowed = facts.gid == *group || std::ranges::find(others, *group) != others.end();
   }
   return peer;
}

}  // namespace Agent
