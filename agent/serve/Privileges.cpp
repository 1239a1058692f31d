#include "agent/serve/Privileges.h"

#include "agent/serve/PeerCheck.h"

#include <cap-ng.h>
#include <cerrno>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Agent {

namespace {

/// Names of tunnels and networks are nobody else's business.
constexpr mode_t ownerAndGroup = 0750;

void check(int result, std::string const& what) {
   if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

struct Ids {
   uid_t user;
   gid_t group;
};

Ids idsOf(std::string const& user) {
   passwd const* const entry = getpwnam(user.c_str());
   if (entry == nullptr) throw std::runtime_error("there is no user '" + user + "'");
   return {entry->pw_uid, entry->pw_gid};
}

}  // namespace

void dropPrivileges(std::string const& user) {
   if (!user.empty()) {
      auto const [id, group] = idsOf(user);
      if (id != geteuid()) {
         check(initgroups(user.c_str(), group), "initgroups");
         check(setresgid(group, group, group), "setresgid");
         check(setresuid(id, id, id), "setresuid");
      }
   }
   check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no new privileges");
   capng_clear(CAPNG_SELECT_CAPS);
   if (capng_apply(CAPNG_SELECT_CAPS) != 0) {
      throw std::runtime_error("capabilities cannot be given up");
   }
}

Owner ownerFrom(std::string const& user, std::string const& group) {
   Owner owner;
   if (!user.empty()) {
      Ids const ids = idsOf(user);
      owner = {ids.user, ids.group};
   }
   if (!group.empty()) owner.group = groupId(group);
   return owner;
}

void give(std::string const& path, Owner const& owner) {
   if (!owner.user && !owner.group) return;
   // -1 leaves it as it is.
   uid_t const user = owner.user.value_or(static_cast<uid_t>(-1));
   gid_t const group = owner.group.value_or(static_cast<gid_t>(-1));
   check(lchown(path.c_str(), user, group), path);
}

void makeFolder(std::string const& folder, Owner const& owner) {
   std::filesystem::path made;
   for (auto const& part : std::filesystem::path(folder)) {
      made /= part;
      if (std::filesystem::is_directory(made)) continue;
      mode_t const before = umask(0);
      int const result = mkdir(made.c_str(), ownerAndGroup);
      umask(before);
      check(result, made);
      give(made, owner);
   }
}

}  // namespace Agent
