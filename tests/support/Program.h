#pragma once

#include "support/TempFolder.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Support {

/// How a program ended, and what it wrote.
struct ProgramEnd {
   /// Negative when a signal ended it.
   int code = 0;
   std::string out;
   std::string err;
};

/// Runs a program as a process of its own until it ends.
inline ProgramEnd runProgram(std::vector<std::string> arguments) {
   TempFolder const folder;
   std::string const out = folder.path("out");
   std::string const err = folder.path("err");
   std::vector<char*> argv;
   for (std::string& argument : arguments) argv.push_back(argument.data());
   argv.push_back(nullptr);
   pid_t const child = ::fork();
   if (child == -1) throw std::runtime_error("no process for " + arguments.front());
   if (child == 0) {
      auto const to = [](std::string const& file, int number) {
         return ::dup2(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), number) == number;
      };
      if (to(out, STDOUT_FILENO) && to(err, STDERR_FILENO)) ::execv(argv.front(), argv.data());
      ::_exit(127);
   }
   int end = 0;
   if (::waitpid(child, &end, 0) != child) throw std::runtime_error("the process is lost");
   int const code = WIFEXITED(end) ? WEXITSTATUS(end) : -WTERMSIG(end);
   return {code, readFile(out), readFile(err)};
}

}  // namespace Support
