#include "agent/RunCommand.h"

#include "agent/ConfigFile.h"
#include "agent/HardwareState.h"
#include "agent/InputError.h"
#include "agent/InputFile.h"
#include "agent/JournalFile.h"
#include "agent/JsonReport.h"
#include "agent/Narration.h"
#include "agent/Progress.h"
#include "agent/Report.h"
#include "agent/Scenario.h"
#include "agent/Stage.h"
#include "agent/TextReport.h"
#include "agent/Wording.h"
#include "agent/World.h"

#include <limits>

namespace Agent {

namespace {

/// What the files say.
struct Inputs {
   Configuration configuration;
   Scenario scenario;
};

Inputs readInputs(RunOptions const& options) {
   Inputs inputs;
   if (!options.configuration.empty()) {
      inputs.configuration = configurationFromFile(options.configuration);
   }
   if (!options.scenario.empty()) {
      inputs.scenario = scenarioFromText(options.scenario, readInputFile(options.scenario));
   }
   return inputs;
}

std::uint64_t prefixesOf(Configuration const& configuration) {
   std::uint64_t prefixes = 0;
   for (auto const& group : configuration.groups) prefixes += group.decapIps.size();
   return prefixes;
}

/// Starts the machine, with a progress line for a big configuration.
void startWithProgress(World& world, std::uint64_t prefixes) {
   Progress progress(terminal(), "programming", prefixes);
   std::uint64_t calls = 0;
   world.callObserverIs([&](Sim::Call const&) { progress.at(++calls); });
   world.start();
   world.callObserverIs({});
}

void runConfiguration(World& world, RunOptions const& options, Configuration const& configuration,
                      std::ostream& told, RunResult& result) {
   if (!options.traceLevel) {
      startWithProgress(world, prefixesOf(configuration));
      result.settled = world.settle(options.limit);
      return;
   }
   Narration narration(world, &told, "");
   narration.traceLevelIs(options.traceLevel);
   world.start();
   result.settled = world.settle(options.limit);
}

void runEvents(Stage& stage, Scenario const& scenario, std::ostream* out, RunResult& result) {
   for (ScenarioEvent const& event : scenario.events) {
      bool const isNote = event.kind == ScenarioEvent::Kind::note;
      if (out != nullptr) *out << (isNote ? "" : "> ") << event.text << '\n';
      if (isNote) continue;
      ++result.events;
      if (event.kind == ScenarioEvent::Kind::change) {
         stage.narration().startOver();
      } else {
         stage.expectationIs(event.line, event.column);
      }
      stage.attempt([&] { event.act(stage); });
      if (event.kind == ScenarioEvent::Kind::change) stage.world().turn();
   }
   result.expectations = stage.expectations();
   result.unmet = stage.unmet();
}

void runScenario(World& world, RunOptions const& options, Scenario const& scenario,
                 std::ostream& told, RunResult& result) {
   std::ostream* const out = options.json ? nullptr : &told;
   Stage stage(world, out, options.rows);
   stage.narration().traceLevelIs(options.traceLevel);
   if (out != nullptr) *out << "> machine start\n";
   stage.attempt([&] { world.start(); });
   world.turn();
   runEvents(stage, scenario, out, result);
   result.settled = {world.isAsleep(), world.now()};
}

void printScenarioEnd(std::ostream& out, RunResult const& result) {
   if (result.expectations == 0) return;
   out << "Expectations: " << result.expectations - result.unmet.size() << " of "
       << result.expectations << " met\n";
}

/// How the next run will find hardware.
void printLeft(std::ostream& out, HardwareState const& state) {
   if (state.file().empty()) return;
   out << "Hardware " << (state.kept() ? "left as it is: " : "cleaned up: ")
       << counted(state.left(), "entry", "entries") << " in " << printable(state.file()) << '\n';
}

void printText(std::ostream& out, RunOptions const& options, Report const& report,
               RunResult const& result) {
   if (!options.scenario.empty()) {
      printScenarioEnd(out, result);
      printLeft(out, *result.hardwareState);
      return;
   }
   if (options.traceLevel) out << '\n';
   printGroups(out, report);
   out << '\n';
   if (report.interfaces.total != 0) {
      printInterfaces(out, report);
      out << '\n';
   }
   printHardware(out, report);
   out << '\n';
   if (!options.hardwareState.empty()) {
      printRestart(out, report);
      out << '\n';
   }
   printBacklog(out, report);
   out << '\n';
   printLog(out, report);
   out << '\n';
   printSummary(out, report);
   out << (result.settled.quiet ? "Quiet at " : "Not quiet at ") << secondsText(result.settled.at)
       << " s of simulated time\n";
   printLeft(out, *result.hardwareState);
}

void printUnmet(std::ostream& err, std::string const& file, Unmet const& unmet) {
   err << printable(file) << ':' << unmet.line << ':' << unmet.column
       << ": expectation not met: wanted " << unmet.wanted << "; found " << unmet.found << '\n';
}

}  // namespace

ExitCode run(RunOptions const& options, std::ostream& out, std::ostream& err) try {
   Inputs inputs = readInputs(options);
   std::ostream& told = options.json ? err : out;
   JournalFile journal(options.journal);
   World world;
   world.recorderIs(journal.recorder());
   HardwareState state(options.hardwareState, options.keepHardware);
   if (!state.open(world, err)) return ExitCode::badInput;
   RunResult result;
   result.configuration = options.configuration;
   result.scenario = options.scenario;
   world.configure(inputs.configuration);
   if (options.scenario.empty()) {
      runConfiguration(world, options, inputs.configuration, told, result);
   } else {
      runScenario(world, options, inputs.scenario, told, result);
   }
   inputs = {};
   ReportScope scope;
   scope.rows = options.json ? std::numeric_limits<std::size_t>::max() : options.rows;
   Report const report(world, scope);
   bool const closed = state.close(world, err);
   result.hardwareState = &state;
   if (options.json) {
      printJson(out, report, result);
   } else {
      printText(out, options, report, result);
   }
   for (Unmet const& unmet : result.unmet) printUnmet(err, options.scenario, unmet);
   // The journal has the machine's end, too.
   if (journal.recorder() != nullptr) world.stop(options.keepHardware);
   bool const journaled = journal.close(err);
   if (!closed || !journaled) return ExitCode::failure;
   return result.unmet.empty() ? ExitCode::ok : ExitCode::unmet;
} catch (InputError const& error) {
   err << "decap-agent: " << error.what() << '\n';
   return ExitCode::badInput;
}

}  // namespace Agent
