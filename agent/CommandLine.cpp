#include "agent/CommandLine.h"

#include "agent/InputError.h"
#include "agent/ReplayCommand.h"
#include "agent/RunCommand.h"
#include "agent/Version.h"
#include "agent/serve/MetricsServer.h"
#include "agent/serve/ServeCommand.h"
#include "control/Protocol.h"

#include <CLI/CLI.hpp>

#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

namespace Agent {

namespace {

constexpr char const* scenarioSuffix = ".scn";

void declareReplay(CLI::App& replay, ReplayOptions& options) {
   replay.add_option("FILE", options.journal, "A journal, as run --journal writes it")
       ->type_name("")
       ->required();
   replay.add_option("--trace", options.traceLevel, "Show traces of the levels 0 to LEVEL")
       ->type_name("LEVEL")
       ->check(CLI::Range(0, 31));
   replay.add_flag("--json", options.json, "One JSON document instead of sentences");
}

/// What follows `run`. The two files may come in any order; their names tell them apart.
struct RunArguments {
   std::string first;
   std::string second;
   std::string scenario;
   std::string hardwareState;
   bool keepHardware = false;
   std::string journal;
   std::optional<unsigned> traceLevel;
   bool json = false;
   bool all = false;
   std::size_t rows = 40;
   double limit = 3600.0;
};

void declareRun(CLI::App& run, RunArguments& arguments) {
   run.add_option("FILE", arguments.first,
                  "A configuration (JSON; - for standard input) or a scenario (*.scn)")
       ->type_name("");
   run.add_option("SCENARIO", arguments.second, "A scenario to run on top of the configuration")
       ->type_name("");
   run.add_option("--scenario", arguments.scenario, "A scenario, whatever its name")
       ->type_name("FILE");
   CLI::Option* const state =
       run.add_option("--hardware-state", arguments.hardwareState,
                      "Begin with the hardware table that this file holds, and keep it there")
           ->type_name("FILE")
           ->check([](std::string const& file) {
              return file.empty() ? std::string("needs the name of a file") : std::string();
           });
   run.add_flag("--keep-hardware", arguments.keepHardware,
                "Leave hardware as it is at the end, for the next run")
       ->needs(state);
   run.add_option("--journal", arguments.journal,
                  "Write down what the machine is told and does, for replay")
       ->type_name("FILE");
   run.add_option("--trace", arguments.traceLevel, "Show traces of the levels 0 to LEVEL")
       ->type_name("LEVEL")
       ->check(CLI::Range(0, 31));
   run.add_flag("--json", arguments.json, "One JSON document instead of tables");
   run.add_option("--rows", arguments.rows, "Show at most so many rows of a table (40)")
       ->type_name("N")
       ->check(CLI::NonNegativeNumber);
   run.add_flag("--all", arguments.all, "Show all rows");
   run.add_option("--limit", arguments.limit,
                  "Simulated seconds after which a run is no longer waited for (3600)")
       ->type_name("SECONDS")
       ->check(CLI::NonNegativeNumber);
}

RunOptions optionsFrom(RunArguments const& arguments) {
   RunOptions options;
   options.scenario = arguments.scenario;
   for (std::string const& file : {arguments.first, arguments.second}) {
      if (file.empty()) continue;
      bool const isScenario = CLI::detail::to_lower(file).ends_with(scenarioSuffix);
      std::string& slot = isScenario ? options.scenario : options.configuration;
      if (!slot.empty()) {
         throw CLI::ValidationError("run", std::string("more than one ") +
                                               (isScenario ? "scenario" : "configuration") +
                                               " is given");
      }
      slot = file;
   }
   if (options.scenario.empty() && options.configuration.empty()) {
      throw CLI::ValidationError("run", "needs a configuration or a scenario");
   }
   options.traceLevel = arguments.traceLevel;
   options.hardwareState = arguments.hardwareState;
   options.keepHardware = arguments.keepHardware;
   options.journal = arguments.journal;
   options.json = arguments.json;
   options.rows = arguments.all ? std::numeric_limits<std::size_t>::max() : arguments.rows;
   options.limit = arguments.limit;
   return options;
}

/// Empty for an address that metrics can be given out at.
std::string complaintAboutAddress(std::string const& text) {
   try {
      metricsAddressFrom(text);
      return {};
   } catch (std::invalid_argument const& bad) {
      return bad.what();
   }
}

/// What follows `serve`.
struct ServeArguments {
   std::string interfaces = "file";
   ServeOptions options;
};

void declareServe(CLI::App& serve, ServeArguments& arguments) {
   ServeOptions& options = arguments.options;
   options.socket = Control::defaultSocket;
   serve.add_option("--config", options.configuration, "The configuration (JSON)")
       ->type_name("FILE")
       ->required();
   serve
       .add_option("--socket", options.socket,
                   std::string("Where commands are taken (") + Control::defaultSocket + ")")
       ->type_name("PATH");
   serve
       .add_option("--socket-group", options.socketGroup,
                   "A group whose members may give commands, beside root and the agent's user")
       ->type_name("GROUP");
   serve
       .add_option("--state", options.stateFolder,
                   "Keep the hardware table in this folder, for the next run")
       ->type_name("DIR");
   serve
       .add_option("--interfaces", arguments.interfaces,
                   "Whose interfaces are decapsulated: the system's, the file's, or both")
       ->type_name("live|file|both")
       ->check(CLI::IsMember({"live", "file", "both"}));
   serve
       .add_option("--metrics", options.metrics,
                   "Give out metrics over HTTP; a port alone is one of this host only")
       ->type_name("[HOST:]PORT")
       ->check(complaintAboutAddress);
   serve.add_option("--user", options.user, "Become this user once everything is open")
       ->type_name("NAME");
   serve.add_flag("--syslog", options.syslog, "Messages go to the system's log as well");
   serve.add_option("--trace", options.traceLevel, "Log traces of the levels 0 to LEVEL")
       ->type_name("LEVEL")
       ->check(CLI::Range(0, 31));
}

ServeOptions optionsFrom(ServeArguments const& arguments) {
   ServeOptions options = arguments.options;
   options.interfaces = arguments.interfaces == "live"   ? InterfaceMode::live
                        : arguments.interfaces == "both" ? InterfaceMode::both
                                                         : InterfaceMode::file;
   return options;
}

}  // namespace

int commandLine(int argc, char const* const* argv, std::ostream& out, std::ostream& err) {
   CLI::App app("Programs decapsulation entries for decap groups, on simulated hardware.",
                "decap-agent");
   app.require_subcommand(1);
   app.set_version_flag("--version", std::string("decap-agent ") + version());
   RunArguments arguments;
   CLI::App& runApp = *app.add_subcommand("run", "Run a configuration or a scenario until quiet");
   declareRun(runApp, arguments);
   ReplayOptions replayOptions;
   CLI::App& replayApp =
       *app.add_subcommand("replay", "Have the machine live through a journal again, and compare");
   declareReplay(replayApp, replayOptions);
   ServeArguments serveArguments;
   CLI::App& serveApp =
       *app.add_subcommand("serve", "Run the machine in real time, and take commands");
   declareServe(serveApp, serveArguments);
   try {
      app.parse(argc, argv);
      if (serveApp.parsed()) return static_cast<int>(serve(optionsFrom(serveArguments), err));
      if (replayApp.parsed()) return static_cast<int>(replay(replayOptions, out, err));
      return static_cast<int>(run(optionsFrom(arguments), out, err));
   } catch (CLI::ParseError const& error) {
      if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
         // Somebody asked for help, or for the version.
         app.exit(error, out, err);
         return static_cast<int>(ExitCode::ok);
      }
      err << "decap-agent: " << printable(error.what()) << "; see --help\n";
      return static_cast<int>(ExitCode::badInput);
   }
}

}  // namespace Agent
