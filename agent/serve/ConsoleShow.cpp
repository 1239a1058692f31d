// What operators look at.

#include "agent/BookCheck.h"
#include "agent/Explanation.h"
#include "agent/InputError.h"
#include "agent/MachineView.h"
#include "agent/Prefixes.h"
#include "agent/TextReport.h"
#include "agent/Wording.h"
#include "agent/Words.h"
#include "agent/serve/Console.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <sstream>

namespace Agent {

using Control::Reply;
using Control::Status;

namespace {

using Json = nlohmann::ordered_json;
using Print = void (*)(std::ostream&, Report const&);

/// The report as the operator wants it.
Reply shown(Control::Request const& request, Report const& report,
            std::initializer_list<JsonSection> sections, std::initializer_list<Print> prints) {
   std::ostringstream out;
   if (request.json) {
      printJson(out, report, sections);
   } else {
      for (Print const print : prints) print(out, report);
   }
   bool const ofRestart =
       std::find(sections.begin(), sections.end(), JsonSection::restart) != sections.end();
   bool const more =
       ofRestart ? report.restart.gone.left() != 0
                 : report.hardware.left() + report.waiting.left() + report.missing.left() != 0;
   return {Status::ok, out.str(), more && request.rows != 0 ? request.from + request.rows : 0};
}

/// "3 min 20 s", "2 d 4 h".
std::string spanText(Mdl::Seconds span) {
   auto const seconds = static_cast<std::uint64_t>(std::max(span, 0.0));
   auto const two = [](std::uint64_t a, char const* unitA, std::uint64_t b, char const* unitB) {
      return std::to_string(a) + unitA + ' ' + std::to_string(b) + unitB;
   };
   if (seconds < 60) return std::to_string(seconds) + " s";
   if (seconds < 3600) return two(seconds / 60, " min", seconds % 60, " s");
   if (seconds < 86400) return two(seconds / 3600, " h", seconds % 3600 / 60, " min");
   return two(seconds / 86400, " d", seconds % 86400 / 3600, " h");
}

void printSummaryOf(std::ostream& out, Service const& service, Report const& report) {
   TimeScale const& times = service.times();
   InterfaceSources const& interfaces = service.interfaces();
   out << "Running for " << spanText(report.time) << ", since " << times.text(0.0) << '\n'
       << "Configuration: " << printable(service.options().configuration) << ", applied at "
       << times.text(service.configuredAt()) << '\n'
       << "Interfaces: " << service.world().interfaces().size() << " (" << interfaces.fromFile()
       << " from the file, " << interfaces.fromSystem() << " from the system)\n";
   if (!service.options().stateFolder.empty()) {
      out << "Hardware table kept in: " << printable(service.options().stateFolder) << '\n';
   }
   if (!service.journal().empty()) out << "Journal: " << printable(service.journal()) << '\n';
   if (service.faults() != 0) {
      out << counted(service.faults(), "hardware call") << " failed with an exception\n";
   }
   Mdl::Seconds const next =
       service.world().machine() ? nextWakeUp(*service.world().machine()) : Mdl::never;
   if (next != Mdl::never) out << "Next review: " << times.text(next) << '\n';
   printSummary(out, report);
}

std::function<bool(Fwd::DecapKey const&)> inside(Pkt::IpGenPrefix const& prefix) {
   return [prefix](Fwd::DecapKey const& key) { return covers(prefix, key.dstIp()); };
}

/// A prefix to look inside of: any, the length 0 as well.
Pkt::IpGenPrefix scopePrefix(std::string const& text) {
   try {
      return Pkt::IpGenPrefix::fromText(text);
   } catch (Mdl::Exception const&) {
      throw ValueError("'" + printable(text) + "' is no prefix and no address");
   }
}

Reply findings(Control::Request const& request, char const* what,
               std::vector<std::string> const& list) {
   Status const status = list.empty() ? Status::ok : Status::found;
   if (request.json) {
      return {status,
              Json{{"findings", list}}.dump(1, ' ', false, Json::error_handler_t::replace) + '\n'};
   }
   std::string text = std::string(what) + ": ";
   if (list.empty()) return {status, text + "nothing is wrong\n"};
   text += counted(list.size(), "difference") + '\n';
   for (std::string const& each : list) text += "  " + each + '\n';
   return {status, text};
}

}  // namespace

Console::Outcome Console::showSummary(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.rows = 0;
   scope.interfaces = true;
   Report const report(service_.world(), scope);
   if (call.request.json) {
      return shown(call.request, report, {JsonSection::summary, JsonSection::resources}, {});
   }
   std::ostringstream out;
   printSummaryOf(out, service_, report);
   return Reply{Status::ok, out.str()};
}

Console::Outcome Console::showGroups(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.groups = true;
   if (call.arguments.empty()) {
      return shown(call.request, Report(service_.world(), scope), {JsonSection::groups},
                   {printGroups});
   }
   Mdl::String const name(call.arguments[0]);
   if (!service_.world().group(name)) {
      throw ValueError("there is no group '" + printable(call.arguments[0]) + "'");
   }
   scope.hardware = true;
   scope.backlog = true;
   scope.keys = [&](Fwd::DecapKey const& key) {
      auto const& machine = service_.world().machine();
      return machine && groupHasKey(*machine, name, key);
   };
   scope.onlyGroup = name;
   // The pages behind the first go on with its keys.
   scope.groups = call.request.from == 0;
   return shown(call.request, Report(service_.world(), scope),
                {JsonSection::groups, JsonSection::entries}, {printGroups, printEntries});
}

Console::Outcome Console::showEntries(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.hardware = true;
   scope.backlog = true;
   if (!call.arguments.empty()) scope.keys = inside(scopePrefix(call.arguments[0]));
   return shown(call.request, Report(service_.world(), scope), {JsonSection::entries},
                {printEntries});
}

Console::Outcome Console::showInterfaces(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.interfaces = true;
   if (call.arguments.empty()) {
      return shown(call.request, Report(service_.world(), scope), {JsonSection::interfaces},
                   {printInterfaces});
   }
   Pkt::IntfId const name{Mdl::String(call.arguments[0])};
   Report report(service_.world(), scope);
   report.interfaces = AddressRows(service_.world(), std::numeric_limits<std::size_t>::max());
   auto& rows = report.interfaces.rows;
   std::erase_if(rows, [&](AddressRow const& row) { return row.intfId != name; });
   if (rows.empty())
      throw ValueError("there is no interface '" + printable(call.arguments[0]) + "'");
   report.interfaces.total = rows.size();
   return shown(call.request, report, {JsonSection::interfaces}, {printInterfaces});
}

Console::Outcome Console::showBacklog(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.backlog = true;
   return shown(call.request, Report(service_.world(), scope), {JsonSection::backlog},
                {printBacklog});
}

Console::Outcome Console::showConflicts(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.backlog = true;
   scope.onlyConflicts = true;
   return shown(call.request, Report(service_.world(), scope), {JsonSection::backlog},
                {printConflicts});
}

Console::Outcome Console::showResources(Call const& call) {
   ReportScope scope = scopeOf(call);
   return shown(call.request, Report(service_.world(), scope), {JsonSection::resources},
                {printHardware, printSummary});
}

Console::Outcome Console::showLog(Call const& call) {
   ReportScope scope = scopeOf(call);
   return shown(call.request, Report(service_.world(), scope), {JsonSection::log}, {printLog});
}

Console::Outcome Console::showRestart(Call const& call) {
   ReportScope scope = scopeOf(call);
   scope.hardware = true;
   return shown(call.request, Report(service_.world(), scope),
                {JsonSection::restart, JsonSection::gone}, {printRestart});
}

Console::Outcome Console::explain(Call const& call) {
   Explanation const explanation(service_.world(), destinationFromText(call.arguments[0]),
                                 service_.times());
   std::ostringstream out;
   if (call.request.json) {
      printJson(out, explanation);
   } else {
      printText(out, explanation);
   }
   return Reply{explanation.decapsulated ? Status::ok : Status::found, out.str()};
}

Console::Outcome Console::verify(Call const& call) {
   auto const found = verifyBooks(service_.world());
   service_.noteCheck(found.empty());
   return findings(call.request, "Verification", found);
}

Console::Outcome Console::audit(Call const& call) {
   auto const found = auditBooks(service_.world());
   service_.noteCheck(found.empty());
   return findings(call.request, "Audit", found);
}

Console::Outcome Console::help(Call const& call) {
   if (call.arguments.empty()) return Reply{Status::ok, Control::helpText()};
   Control::Command const& command = Control::commandOf(call.arguments);
   return Reply{Status::ok, Control::usageOf(command) + '\n' + std::string(command.help) + '\n'};
}

Console::Outcome Console::helpLog(Call const& call) {
   std::vector<Mdl::LogHandle const*> messages;
   if (call.arguments.empty()) {
      for (LogEntry const& entry : service_.world().log().entries()) {
         if (std::ranges::find(messages, entry.message) == messages.end()) {
            messages.push_back(entry.message);
         }
      }
      if (messages.empty()) return Reply{Status::ok, "No messages so far.\n"};
   } else if (auto const* const message = Mdl::LogHandle::find(call.arguments[0])) {
      messages.push_back(message);
   } else {
      throw ValueError("there is no message '" + printable(call.arguments[0]) + "'");
   }
   std::string text;
   for (auto const* message : messages) {
      text += logText(*message) + "\n  Explanation: " + message->explanation() +
              "\n  Recommended action: " + message->recommendedAction() + '\n';
   }
   return Reply{Status::ok, text};
}

}  // namespace Agent
