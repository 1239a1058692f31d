// What operators change.

#include "agent/ConfigFile.h"
#include "agent/InputError.h"
#include "agent/Wording.h"
#include "agent/Words.h"
#include "agent/serve/Console.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Agent {

using Control::Reply;
using Control::Status;

namespace {

/// Longer than any review or preparation is wanted.
constexpr double greatestSeconds = 86400.0;

Reply done(std::string const& text) { return {Status::ok, text + '\n'}; }

bool keepsHardware(std::vector<std::string> const& arguments) {
   if (arguments.empty()) return false;
   if (arguments[0] != "--keep-hardware" && arguments[0] != "keep-hardware") {
      throw ValueError("'" + printable(arguments[0]) + "' is not --keep-hardware");
   }
   return true;
}

template <class Number>
Number numberFrom(std::string const& text, Number least, Number greatest, char const* what) {
   Number value{};
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
   // A comparison with what is no number is false.
   bool const good = error == std::errc() && end == text.data() + text.size() && value >= least &&
                     value <= greatest;
   if (!good) throw ValueError("'" + printable(text) + "' is not " + what);
   return value;
}

double secondsFrom(std::string const& text) {
   return numberFrom(text, 0.0, greatestSeconds, "a number of seconds from 0 to 86400");
}

/// The content of a regular file that somebody else opened. Its place in it is not moved.
std::string contentOf(int file, std::string const& name) {
   struct stat facts {};
   if (fstat(file, &facts) != 0) throw InputError(name, std::strerror(errno));
   if (!S_ISREG(facts.st_mode)) throw InputError(name, "is not a regular file");
   if (facts.st_size < 0 || static_cast<std::size_t>(facts.st_size) > Console::greatestFile) {
      throw InputError(name, "is longer than " + std::to_string(Console::greatestFile) + " bytes");
   }
   std::string content(static_cast<std::size_t>(facts.st_size), '\0');
   std::size_t got = 0;
   while (got < content.size()) {
      ssize_t const count =
          pread(file, content.data() + got, content.size() - got, static_cast<off_t>(got));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw InputError(name, std::string("cannot be read: ") + std::strerror(errno));
      if (count == 0) break;
      got += static_cast<std::size_t>(count);
   }
   content.resize(got);
   return content;
}

}  // namespace

Configuration Console::configurationOf(Call const& call) const {
   std::string const& name = call.request.file.empty() ? call.arguments[0] : call.request.file;
   if (call.file < 0) throw InputError(name, "did not come along with the command");
   return configurationFromText(name, contentOf(call.file, name));
}

Console::Outcome Console::applied(Call const& call, Changes const& changes) const {
   if (call.request.json) {
      return Reply{Status::ok,
                   nlohmann::ordered_json{{"applied", changesText(changes)}}.dump(1) + '\n'};
   }
   return done("Applied: " + changesText(changes));
}

Console::Outcome Console::diff(Call const& call) {
   return std::make_unique<DryRun>(service_, configurationOf(call), call.request.json,
                                   call.request.rows);
}

Console::Outcome Console::load(Call const& call) {
   Configuration configuration;
   try {
      configuration = configurationOf(call);
   } catch (InputError const&) {
      service_.noteRefusedConfiguration();
      throw;
   }
   return applied(call, service_.apply(configuration));
}

Console::Outcome Console::reload(Call const& call) { return applied(call, service_.reload()); }

Console::Outcome Console::restart(Call const& call) {
   service_.restart(keepsHardware(call.arguments));
   auto const& table = service_.world().hardware().table();
   return done("The machine has started anew: " + counted(table.size(), "entry", "entries") +
               " in hardware");
}

Console::Outcome Console::shutdown(Call const& call) {
   bool const keep = keepsHardware(call.arguments);
   shutdown_(keep);
   return done(keep ? "The agent ends, hardware forwards on" : "The agent ends");
}

Console::Outcome Console::setReviewInterval(Call const& call) {
   service_.world().review().interval = secondsFrom(call.arguments[0]);
   service_.world().reviewChanged();
   return done("Keys that wait are tried again after " +
               secondsText(service_.world().review().interval) + " s");
}

Console::Outcome Console::setReviewBudget(Call const& call) {
   service_.world().review().budget = secondsFrom(call.arguments[0]);
   service_.world().reviewChanged();
   return done("One pass may take " + secondsText(service_.world().review().budget) + " s");
}

Console::Outcome Console::setHardwareCapacity(Call const& call) {
   std::size_t const entries = call.arguments[0] == "none"
                                   ? Sim::HardwareTable::unlimited
                                   : numberFrom<std::size_t>(call.arguments[0], 0, 0xffffffff,
                                                             "a number of entries, and not none");
   auto& table = service_.world().hardware().table();
   if (call.arguments.size() == 1) {
      table.capacityIs(entries);
   } else {
      table.capacityIs(tunnelTypeFromText(call.arguments[1]), entries);
   }
   std::string const what =
       entries == Sim::HardwareTable::unlimited ? "any number of" : std::to_string(entries);
   return done("The hardware table takes " + what +
               (call.arguments.size() == 1 ? std::string(" entries")
                                           : " entries of type " + call.arguments[1]));
}

Console::Outcome Console::setHardwareLatency(Call const& call) {
   service_.world().hardware().latencyIs(secondsFrom(call.arguments[0]));
   return done("Hardware prepares an entry for " +
               secondsText(service_.world().hardware().latency()) + " s");
}

Console::Outcome Console::trace(Call const& call) {
   if (call.arguments[0] == "off") {
      service_.traceLevelIs(std::nullopt);
      return done("Traces are off");
   }
   unsigned const level =
       numberFrom(call.arguments[0], 0u, 31u, "a level from 0 to 31, and not off");
   service_.traceLevelIs(level);
   return done("Traces of the levels 0 to " + std::to_string(level) + " go to the agent's log");
}

Console::Outcome Console::journalStart(Call const& call) {
   if (call.file < 0) throw InputError(call.arguments[0], "did not come along with the command");
   service_.journalStart(call.arguments[0], call.file);
   return done("A journal goes to " + printable(call.arguments[0]));
}

Console::Outcome Console::journalStop(Call const&) {
   std::string const name = service_.journal();
   if (name.empty()) return Reply{Status::refused, "there is no journal\n"};
   std::ostringstream wrong;
   if (!service_.journalStop(wrong)) return Reply{Status::failed, wrong.str()};
   return done("The journal " + printable(name) + " is complete");
}

}  // namespace Agent
