#include "bench/Resident.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace Bench {

namespace {

std::size_t residentBytes() {
   std::size_t total = 0;
   std::size_t resident = 0;
   std::ifstream("/proc/self/statm") >> total >> resident;
   return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

std::size_t residentBytesOf(std::function<std::shared_ptr<void>()> const& make) {
   int ends[2];
   if (pipe(ends) != 0) return 0;
   pid_t const child = fork();
   if (child == 0) {
      // What the parent has free is given back first, so that all that is made is new.
      malloc_trim(0);
      std::size_t const before = residentBytes();
      std::shared_ptr<void> const made = make();
      malloc_trim(0);
      std::size_t const grown = residentBytes() - before;
      bool const told = write(ends[1], &grown, sizeof grown) == sizeof grown;
      _exit(told ? 0 : 1);
   }
   close(ends[1]);
   std::size_t grown = 0;
   bool const heard = child > 0 && read(ends[0], &grown, sizeof grown) == sizeof grown;
   close(ends[0]);
   if (child > 0) waitpid(child, nullptr, 0);
   return heard ? grown : 0;
}

}  // namespace Bench
