// A person types commands: history, completion, and an end with Control-D.

#include "control/Commands.h"
#include "decapctl/Session.h"

#include <editline/readline.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace Ctl {

using Control::Status;

namespace {

constexpr int mostHistory = 1000;

struct Free {
   void operator()(char* text) const noexcept { std::free(text); }
};

/// What the line editor asks for: one candidate after the other, then null.
char* nextCandidate(char const* text, int state) {
   static std::vector<std::string> candidates;
   static std::size_t next = 0;
   if (state == 0) {
      candidates.clear();
      next = 0;
      try {
         std::string const line(rl_line_buffer, static_cast<std::size_t>(rl_point));
         auto words = Control::wordsOf(line);
         if (*text == '\0') words.emplace_back();
         candidates = Control::completions(words);
      } catch (std::exception const&) {
         // A line that is no command has no continuation.
      }
   }
   return next < candidates.size() ? strdup(candidates[next++].c_str()) : nullptr;
}

char** complete(char const* text, int, int) {
   // No file names where there is no candidate.
   rl_attempted_completion_over = 1;
   return rl_completion_matches(text, nextCandidate);
}

std::string historyFile() {
   char const* const home = std::getenv("HOME");
   return home == nullptr ? std::string() : std::string(home) + "/.decapctl_history";
}

/// Lines from a terminal with an editor, or from a script.
class Lines {
 public:
   Lines() : terminal_(isatty(STDIN_FILENO) == 1) {
      if (!terminal_) return;
      rl_readline_name = const_cast<char*>("decapctl");
      rl_attempted_completion_function = complete;
      using_history();
      stifle_history(mostHistory);
      if (!file_.empty()) read_history(file_.c_str());
   }
   Lines(Lines const&) = delete;
   Lines& operator=(Lines const&) = delete;
   ~Lines() {
      if (terminal_ && !file_.empty()) write_history(file_.c_str());
   }

   bool next(std::string& line) {
      if (!terminal_) return static_cast<bool>(std::getline(std::cin, line));
      std::unique_ptr<char, Free> const typed(readline("decapctl> "));
      if (!typed) {
         std::cout << '\n';
         return false;
      }
      line = typed.get();
      if (!line.empty()) add_history(line.c_str());
      return true;
   }

 private:
   bool const terminal_;
   std::string const file_ = historyFile();
};

}  // namespace

Status Session::converse() {
   Lines lines;
   Status worst = Status::ok;
   std::string line;
   while (lines.next(line)) {
      Status status = Status::ok;
      try {
         auto const words = Control::wordsOf(line);
         if (words.empty() || words[0].starts_with('#')) continue;
         if (words[0] == "quit" || words[0] == "exit") break;
         status = once(words, out_);
      } catch (Control::CommandError const& error) {
         err_ << error.what() << '\n';
         status = Status::refused;
      } catch (std::runtime_error const& error) {
         err_ << error.what() << '\n';
         status = Status::failed;
      }
      worst = std::max(worst, status);
   }
   return worst;
}

}  // namespace Ctl
