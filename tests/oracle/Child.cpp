#include "oracle/Child.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Oracle {

namespace {

constexpr int unexpectedException = 3;

int exitCode(int status) {
   return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

Child::Child(std::function<int()> const& work) {
   // What stands in a buffer would otherwise be written twice.
   std::fflush(nullptr);
   pid_ = ::fork();
   if (pid_ < 0) throw std::system_error(errno, std::generic_category(), "no child process");
   if (pid_ > 0) return;
   int code = unexpectedException;
   try {
      code = work();
   } catch (std::exception const& error) {
      std::fprintf(stderr, "exception: %s\n", error.what());
   }
   std::fflush(nullptr);
   ::_exit(code);
}

Child::~Child() { wait(); }

int Child::wait() {
   while (!ended_) {
      int status = 0;
      if (::waitpid(pid_, &status, 0) == pid_) ended_ = exitCode(status);
   }
   return *ended_;
}

std::optional<int> Child::waitFor(double seconds) {
   using namespace std::chrono;
   auto const until = steady_clock::now() + duration<double>(seconds);
   while (!ended_ && steady_clock::now() < until) {
      int status = 0;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
         ended_ = exitCode(status);
      } else {
         std::this_thread::sleep_for(milliseconds(20));
      }
   }
   return ended_;
}

std::uint64_t Child::memory() const {
   std::ifstream statm("/proc/" + std::to_string(pid_) + "/statm");
   std::uint64_t pages = 0;
   std::uint64_t resident = 0;
   if (!(statm >> pages >> resident)) return 0;
   return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

void* mapShared(std::size_t bytes) {
   void* const memory =
       ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
   if (memory == MAP_FAILED) {
      throw std::system_error(errno, std::generic_category(), "no shared memory");
   }
   return memory;
}

void unmapShared(void* memory, std::size_t bytes) noexcept { ::munmap(memory, bytes); }

}  // namespace Oracle
