#pragma once

#include "agent/serve/Service.h"
#include "control/Protocol.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <sys/types.h>

namespace boost::asio {
class io_context;
}

namespace Agent {

class Console;

/// The bounds that keep one client from disturbing others, or the machine.
struct ControlLimits {
   std::size_t clients = 256;  ///< more wait until one leaves
   std::size_t dryRuns = 2;    ///< copies of the process at a time
   std::size_t dryRunText = std::size_t{64} << 20;
   /// For the rest of a request that has begun to come.
   std::chrono::milliseconds request{10'000};
   /// For taking a reply.
   std::chrono::milliseconds reply{30'000};
   /// Between requests.
   std::chrono::milliseconds idle{600'000};
};

/// Where the socket is and who may speak to it: root, the agent's own user, and a group.
struct ControlAddress {
   std::string path;
   std::string group;  ///< a name or an id, or empty for none
   std::string user;   ///< whom this process is to become, or empty for nobody else
};

/// Takes the commands of clients from a socket, one at a time.
///
/// Clients are told apart by what the system says of them (SO_PEERCRED), not by what they send.
/// A client that breaks the protocol, sends a line that is too long, stops in the middle of one or
/// does not read its reply is told where possible, and dropped. After each command the machine has
/// at least as much time as the command took: clients never have more than half of the agent.
///
/// Owner: the daemon. Console and loop outlive it.
/// I1: no more than one command is obeyed at a time, in the order in which they came.
/// I2: while a client's command is under way nothing more is read from that client.
class ControlServer {
 public:
   /// Listens. A socket file that nobody listens at is replaced. Throws std::system_error, or
   /// std::runtime_error where somebody listens at it or the group is not known.
   ControlServer(boost::asio::io_context& loop, Console& console, ControlAddress const& address,
                 LogSink log, ControlLimits limits = {});
   ControlServer(ControlServer const&) = delete;
   ControlServer& operator=(ControlServer const&) = delete;
   /// Drops all clients and removes the socket file.
   ~ControlServer();

   std::size_t clients() const noexcept;

 private:
   class Impl;
   std::unique_ptr<Impl> impl_;
};

}  // namespace Agent
