#include "agent/serve/Privileges.h"

#include <cap-ng.h>
#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>

namespace Agent {

namespace {

void check(int result, char const* what) {
   if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

void dropPrivileges(std::string const& user) {
   if (!user.empty()) {
      passwd const* const entry = getpwnam(user.c_str());
      if (entry == nullptr) throw std::runtime_error("there is no user '" + user + "'");
      if (entry->pw_uid != geteuid()) {
         check(initgroups(user.c_str(), entry->pw_gid), "initgroups");
         check(setresgid(entry->pw_gid, entry->pw_gid, entry->pw_gid), "setresgid");
         check(setresuid(entry->pw_uid, entry->pw_uid, entry->pw_uid), "setresuid");
      }
   }
   check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no new privileges");
   capng_clear(CAPNG_SELECT_CAPS);
   if (capng_apply(CAPNG_SELECT_CAPS) != 0) {
      throw std::runtime_error("capabilities cannot be given up");
   }
}

}  // namespace Agent
