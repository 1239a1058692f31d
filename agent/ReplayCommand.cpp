#include "agent/ReplayCommand.h"

#include "agent/InputError.h"
#include "agent/InputFile.h"
#include "agent/Narration.h"
#include "agent/Progress.h"
#include "agent/Wording.h"
#include "platform/journal/Player.h"

#include <nlohmann/json.hpp>

namespace Agent {

namespace {

using Journal::Difference;
using Journal::Outcome;

void printDifference(std::ostream& out, std::string const& file, Difference const& difference) {
   auto const shown = [](std::string const& line) { return line.empty() ? "nothing more" : line; };
   out << printable(file) << ':' << difference.line << ": the replay goes another way\n"
       << "  recorded: " << shown(difference.recorded) << '\n'
       << "  replayed: " << shown(difference.replayed) << '\n';
}

void printText(std::ostream& out, std::string const& file, Outcome const& outcome) {
   if (outcome.difference) printDifference(out, file, *outcome.difference);
   out << (outcome.difference ? "The same up to there: " : "The same throughout: ")
       << counted(outcome.lines, "line", "lines") << " with "
       << counted(outcome.inputs, "input", "inputs") << ", "
       << counted(outcome.calls, "hook call", "hook calls") << ", "
       << counted(outcome.messages, "log message", "log messages") << " and "
       << counted(outcome.traces, "trace", "traces") << '\n';
   if (!outcome.difference && !outcome.complete) {
      out << "The journal has no end: its recording was cut off\n";
   }
}

void printJson(std::ostream& out, Outcome const& outcome) {
   nlohmann::ordered_json document;
   document["same"] = !outcome.difference;
   document["complete"] = outcome.complete;
   document["lines"] = outcome.lines;
   document["inputs"] = outcome.inputs;
   document["hookCalls"] = outcome.calls;
   document["logMessages"] = outcome.messages;
   document["traces"] = outcome.traces;
   if (outcome.difference) {
      document["difference"] = {{"line", outcome.difference->line},
                                {"recorded", outcome.difference->recorded},
                                {"replayed", outcome.difference->replayed}};
   }
   constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
   out << document.dump(2, ' ', false, replace) << '\n';
}

}  // namespace

ExitCode replay(ReplayOptions const& options, std::ostream& out, std::ostream& err) {
   std::string text;
   try {
      text = readInputFile(options.journal);
      Journal::Player player(text);
      Progress progress(terminal(), "replaying", player.size());
      player.progressIs([&](std::size_t line) { progress.at(line); });
      if (options.traceLevel) {
         player.traceIs(traceMask(options.traceLevel), [&](Mdl::TraceRecord const& record) {
            (options.json ? err : out) << "trace " << record.level << "  " << record.text << '\n';
         });
      }
      Outcome const outcome = player.play();
      if (options.json) {
         printJson(out, outcome);
      } else {
         printText(out, options.journal, outcome);
      }
      return outcome.difference ? ExitCode::unmet : ExitCode::ok;
   } catch (InputError const& error) {
      err << "decap-agent: " << error.what() << '\n';
   } catch (Journal::JournalError const& error) {
      err << "decap-agent: " << printable(options.journal) << ": " << printable(error.what())
          << '\n';
   }
   return ExitCode::badInput;
}

}  // namespace Agent
