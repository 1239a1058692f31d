#pragma once

#include "control/Protocol.h"

#include <chrono>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Ctl {

/// How replies are wanted.
struct Wishes {
   std::string socket = Control::defaultSocket;
   bool json = false;
   std::size_t rows = 40;
   bool all = false;
   std::optional<std::chrono::duration<double>> watch;
};

/// Asks an agent and shows what it says.
///
/// Owner: the program.
/// Errors: std::runtime_error as `Client`; Control::CommandError for a line that is no command,
///   which is found out before the agent is asked.
class Session {
 public:
   Session(Wishes wishes, std::ostream& out, std::ostream& err)
       : wishes_(std::move(wishes)), out_(out), err_(err) {}

   /// One command, or the same again and again while it is watched.
   Control::Status run(std::vector<std::string> const& words);
   /// A person's commands, one after the other, with history and completion.
   Control::Status converse();

 private:
   Control::Status once(std::vector<std::string> const& words, std::ostream& out);
   Control::Status allRows(Control::Request request, int file, std::ostream& out);
   Control::Status watch(std::vector<std::string> const& words);

   Wishes const wishes_;
   std::ostream& out_;
   std::ostream& err_;
};

}  // namespace Ctl
