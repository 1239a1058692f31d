#include "platform/sim/StateFile.h"

#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace Sim {
namespace {

using Support::KeptTable;
using Support::numberedKey;

/// How many entries the child holds at most. Few, so that the file is written anew often.
constexpr std::size_t window = 8;

/// Writes the n-th key and removes the one before the window, for ever, and tells of each of these
/// two changes by a byte when its call has returned.
[[noreturn]] void churn(std::string const& path, int tell) {
   KeptTable kept(path);
   char const done = 1;
   for (std::size_t n = 0;; ++n) {
      kept.table.write(numberedKey(n), 0.0);
      if (::write(tell, &done, 1) != 1) ::_exit(1);
      if (n < window) continue;
      kept.table.erase(numberedKey(n - window));
      if (::write(tell, &done, 1) != 1) ::_exit(1);
   }
}

/// The keys that the child's table holds after so many changes.
std::vector<std::string> tableAfter(std::size_t changes) {
   std::vector<std::string> keys;
   std::size_t written = 0;
   std::size_t erased = 0;
   for (std::size_t i = 0; i < changes; ++i) {
      bool const erases = written > window && erased < written - window;
      ++(erases ? erased : written);
   }
   for (std::size_t n = erased; n < written; ++n) keys.push_back(keyText(numberedKey(n)));
   return keys;
}

/// Kills a churning process once it has told of `changes` changes, and returns of how many it has
/// told in all until then.
std::size_t changesToldOf(std::string const& path, std::size_t changes) {
   int ends[2];
   if (::pipe(ends) != 0) return 0;
   pid_t const child = ::fork();
   if (child == 0) {
      ::close(ends[0]);
      churn(path, ends[1]);
   }
   ::close(ends[1]);
   std::size_t told = 0;
   std::vector<char> bytes(4096);
   for (bool killed = false;;) {
      auto const got = ::read(ends[0], bytes.data(), bytes.size());
      if (got <= 0) break;
      told += static_cast<std::size_t>(got);
      if (!killed && told >= changes) killed = ::kill(child, SIGKILL) == 0;
   }
   ::close(ends[0]);
   int status = 0;
   ::waitpid(child, &status, 0);
   EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
   return told;
}

TEST(StateFileKill, EveryChangeThatReturnedIsThereAndTheOneUnderWayIsInOrOut) {
   Support::TempFolder const folder;
   for (std::size_t round = 0; round < 40; ++round) {
      std::string const path = folder.path("hw.state" + std::to_string(round));
      std::size_t const told = changesToldOf(path, 1 + 97 * round);
      // The child may have been killed between a change and the byte for it.
      auto const found = KeptTable(path).texts();
      EXPECT_TRUE(found == tableAfter(told) || found == tableAfter(told + 1)) << told;
   }
}

}  // namespace
}  // namespace Sim
