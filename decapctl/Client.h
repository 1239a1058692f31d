#pragma once

#include "control/Protocol.h"

#include <functional>
#include <string>
#include <string_view>

namespace Ctl {

/// A conversation with a running agent.
///
/// Owner: the program. Blocks while it waits.
/// Errors: std::runtime_error, with one line for the person at the terminal, where the agent cannot
///   be reached, breaks off, or does not speak the protocol.
class Client {
 public:
   /// Receives a reply's text, piece by piece.
   using Sink = std::function<void(std::string_view)>;

   explicit Client(std::string const& socket);
   Client(Client const&) = delete;
   Client& operator=(Client const&) = delete;
   ~Client();

   /// Sends the request, with an open file where it names one, and passes on the reply.
   Control::ReplyHeader ask(Control::Request const& request, int file, Sink const& sink);

 private:
   void send(std::string const& line, int file) const;
   /// Whatever is there, at least one byte.
   void receive();
   std::string receiveLine();

   std::string const path_;
   int socket_ = -1;
   std::string in_;
};

}  // namespace Ctl
