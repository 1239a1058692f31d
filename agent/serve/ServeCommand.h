#pragma once

#include "agent/RunCommand.h"
#include "agent/serve/InterfaceSources.h"

#include <optional>
#include <ostream>
#include <string>

namespace Agent {

/// What `serve` was asked for.
struct ServeOptions {
   std::string configuration;
   std::string socket;
   std::string socketGroup;  ///< who may give commands beside root and the agent's user; or empty
   std::string stateFolder;  ///< where the hardware table is kept; or empty
   InterfaceMode interfaces = InterfaceMode::file;
   std::string metrics;  ///< where metrics are given out ("9090", "[::1]:9090"); or empty
   std::string user;     ///< whom the agent becomes once everything is open; or empty
   bool syslog = false;
   std::optional<unsigned> traceLevel;
};

/// Runs the machine in real time until SIGTERM, SIGINT or an operator's command ends it.
///
/// SIGHUP has the configuration file read again. Where systemd started the agent it is told when
/// the machine runs, reads anew, and ends. Messages go to `err`.
ExitCode serve(ServeOptions const& options, std::ostream& err);

}  // namespace Agent
