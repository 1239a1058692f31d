#pragma once

#include "support/Program.h"
#include "support/TempFolder.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Support {

/// Looks again and again until something holds; false when it never does.
template <class Condition>
bool eventually(Condition const& condition,
                std::chrono::milliseconds patience = std::chrono::seconds(30)) {
   auto const end = std::chrono::steady_clock::now() + patience;
   while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
   }
   return true;
}

/// A program that goes on until it is told to end. It does not outlive this object.
class RunningProgram {
 public:
   /// `notify` is where it tells that it is ready, empty for nowhere.
   RunningProgram(std::vector<std::string> arguments, std::string const& notify = "") {
      std::vector<char*> argv;
      for (std::string& argument : arguments) argv.push_back(argument.data());
      argv.push_back(nullptr);
      std::string const out = outFile();
      std::string const err = errFile();
      process_ = ::fork();
      if (process_ == -1) throw std::runtime_error("no process for " + arguments.front());
      if (process_ != 0) return;
      auto const to = [](std::string const& file, int number) {
         return ::dup2(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), number) == number;
      };
      if (!notify.empty()) ::setenv("NOTIFY_SOCKET", notify.c_str(), 1);
      if (to(out, STDOUT_FILENO) && to(err, STDERR_FILENO)) ::execv(argv.front(), argv.data());
      ::_exit(127);
   }
   RunningProgram(RunningProgram const&) = delete;
   RunningProgram& operator=(RunningProgram const&) = delete;
   ~RunningProgram() {
      if (ended_) return;
      ::kill(process_, SIGKILL);
      ::waitpid(process_, nullptr, 0);
   }

   void signal(int number) const { ::kill(process_, number); }
   bool hasEnded() {
      int end = 0;
      if (!ended_ && ::waitpid(process_, &end, WNOHANG) == process_) {
         ended_ = WIFEXITED(end) ? WEXITSTATUS(end) : -WTERMSIG(end);
      }
      return ended_.has_value();
   }
   /// How it ended by itself; negative for a signal. None when it does not.
   std::optional<int> code() {
      eventually([this] { return hasEnded(); });
      return ended_;
   }
   /// What the system knows of the process: users, capabilities.
   std::string status() const { return readFile("/proc/" + std::to_string(process_) + "/status"); }
   bool says(std::string const& text) const {
      return readIfThere(errFile()).find(text) != std::string::npos;
   }
   std::string out() const { return readIfThere(outFile()); }
   std::string err() const { return readIfThere(errFile()); }

 private:
   std::string outFile() const { return folder_.path("out"); }
   std::string errFile() const { return folder_.path("err"); }
   static std::string readIfThere(std::string const& file) {
      return ::access(file.c_str(), F_OK) == 0 ? readFile(file) : std::string();
   }

   TempFolder const folder_;
   pid_t process_ = -1;
   std::optional<int> ended_;
};

}  // namespace Support
