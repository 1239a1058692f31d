#include "agent/JsonReport.h"

#include "agent/HardwareState.h"
#include "agent/Wording.h"
#include "platform/sim/HardwareTable.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace Agent {

namespace {

using Json = nlohmann::ordered_json;

/// The text of one value. Bytes that are no UTF-8 are replaced: the document must stay readable.
std::string dump(Json const& value) {
   return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json names(std::vector<Mdl::String> const& groups) {
   Json list = Json::array();
   for (Mdl::String const& group : groups) list.push_back(group.stdString());
   return list;
}

Json keyJson(KeyRow const& row) {
   Fwd::DecapKey const& key = row.key;
   return {{"tunnelType", stringValue(key.tunnelType()).stdString()},
           {"source", key.srcIp().stringValue().stdString()},
           {"destination", key.dstIp().stringValue().stdString()},
           {"destPort", key.destPort()},
           {"payloadType", stringValue(key.payloadType()).stdString()},
           {"vrf", key.forwardingVrf().name().stdString()},
           {"groups", names(row.groups)},
           {"references", row.references}};
}

char const* fateName(TakeOver::Fate fate) noexcept {
   switch (fate) {
      case TakeOver::Fate::heldOver: return "heldOver";
      case TakeOver::Fate::takenOver: return "takenOver";
      case TakeOver::Fate::rewritten: return "rewritten";
      case TakeOver::Fate::unclaimed: return "unclaimed";
      case TakeOver::Fate::removed: return "removed";
   }
   return "";
}

Json goneJson(KeyRow const& row) {
   Json json = keyJson(row);
   if (row.fate) json["found"] = fateName(*row.fate);
   return json;
}

/// A point of time, and what clocks on walls showed then.
void addTime(Json& json, std::string const& name, Mdl::Seconds time, TimeScale const& times) {
   json[name] = time;
   if (times.hasWallTime()) json[name + "Time"] = times.text(time);
}

Json entryJson(KeyRow const& row, TimeScale const& times) {
   Json json = goneJson(row);
   if (row.since) addTime(json, "since", *row.since, times);
   return json;
}

Json absentJson(KeyRow const& row, TimeScale const& times) {
   Json json = keyJson(row);
   json["reason"] = reasonName(row.reason);
   json["text"] = reasonText(row, times);
   json["refusals"] = row.refusals;
   if (row.refusals != 0) addTime(json, "lastRefusal", row.lastRefusal, times);
   if (row.reason == Reason::vrfConflict) {
      json["ownerVrf"] = row.ownerVrf.name().stdString();
      json["ownerGroups"] = names(row.ownerGroups);
   }
   return json;
}

Json groupJson(GroupRow const& row) {
   Tunnel::Decap::DecapGroup const& group = *row.group;
   return {{"name", group.name().stdString()},
           {"tunnelType", stringValue(group.tunnelType()).stdString()},
           {"destPort", group.destPort()},
           {"payloadType", stringValue(group.payloadType()).stdString()},
           {"vrf", group.forwardingVrf().name().stdString()},
           {"prefixes", group.decapIp().size()},
           {"addresses", row.addresses},
           {"inHardware", row.inHardware},
           {"waiting", row.waiting},
           {"notProgrammed", row.missing}};
}

Json addressJson(AddressRow const& row) {
   Json json = {{"interface", row.intfId.name().stdString()}};
   json["vrf"] =
       row.state == AddressState::noInterface ? Json(nullptr) : Json(row.vrf.name().stdString());
   json["role"] = row.role ? Json(roleName(*row.role)) : Json(nullptr);
   json["address"] =
       row.address.empty() ? Json(nullptr) : Json(row.address.stringValue().stdString());
   json["groups"] = names(row.groups);
   json["state"] = addressStateName(row.state);
   json["text"] = addressStateText(row.state);
   return json;
}

Json logJson(LogEntry const& entry, TimeScale const& times) {
   Json json = {{"name", entry.message->name()},
                {"severity", entry.message->severity()},
                {"text", entry.message->format()},
                {"explanation", entry.message->explanation()},
                {"action", entry.message->recommendedAction()}};
   addTime(json, "first", entry.first, times);
   addTime(json, "last", entry.last, times);
   json["times"] = entry.times;
   return json;
}

/// An entry in whatever state, as "show entries" has it.
Json statusJson(KeyRow const& row, TimeScale const& times) {
   bool const there = row.reason == Reason::none;
   Json json = there ? entryJson(row, times) : absentJson(row, times);
   json["status"] = statusText(row);
   json["tries"] = row.tries;
   if (!there && row.since) addTime(json, "since", *row.since, times);
   return json;
}

Json scenarioJson(RunResult const& result) {
   Json unmet = Json::array();
   for (Unmet const& each : result.unmet) {
      unmet.push_back({{"line", each.line},
                       {"column", each.column},
                       {"wanted", each.wanted},
                       {"found", each.found}});
   }
   return {{"file", result.scenario},
           {"events", result.events},
           {"expectations", result.expectations},
           {"unmet", unmet}};
}

/// Writes the members of the document, one below the other, lists with a row a line.
class Writer {
 public:
   explicit Writer(std::ostream& out) : out_(out) { out_ << '{'; }

   void member(char const* name, Json const& value) {
      begin(name);
      out_ << dump(value);
   }
   template <class Row, class ToJson>
   void list(char const* name, std::vector<Row> const& rows, ToJson const& toJson) {
      beginList(name);
      more(rows, toJson);
      endList();
   }
   // A list out of several.
   void beginList(char const* name) {
      begin(name);
      out_ << '[';
      row_ = "\n  ";
   }
   template <class Row, class ToJson>
   void more(std::vector<Row> const& rows, ToJson const& toJson) {
      for (Row const& row : rows) {
         out_ << row_ << dump(toJson(row));
         row_ = ",\n  ";
      }
   }
   void endList() { out_ << ']'; }
   void end() { out_ << "\n}\n"; }

 private:
   void begin(char const* name) {
      out_ << separator_ << '"' << name << "\": ";
      separator_ = ",\n ";
   }

   std::ostream& out_;
   char const* separator_ = "\n ";
   char const* row_ = "";
};

Json hardwareJson(Report const& report) {
   Json json = {{"size", report.hardware.total}};
   json["capacity"] =
       report.capacity == Sim::HardwareTable::unlimited ? Json(nullptr) : Json(report.capacity);
   json["highWater"] = report.highWater;
   Json shares = Json::array();
   for (TypeShare const& share : report.shares) {
      shares.push_back({{"tunnelType", stringValue(share.type).stdString()},
                        {"size", share.size},
                        {"capacity", share.capacity},
                        {"highWater", share.highWater}});
   }
   json["byType"] = std::move(shares);
   json["shared"] = report.shared;
   json["unclaimed"] = report.unclaimed;
   return json;
}

/// `state` is null where no file keeps the table.
Json restartJson(Restart const& restart, HardwareState const* state) {
   Json json;
   bool const hasFile = state != nullptr && !state->file().empty();
   if (hasFile) json["file"] = state->file();
   if (state != nullptr && !state->setAside().empty()) json["setAside"] = state->setAside();
   json["found"] = restart.found;
   json["takenOver"] = restart.takenOver;
   json["rewritten"] = restart.rewritten;
   json["unclaimed"] = restart.unclaimed;
   json["removed"] = restart.removed;
   json["heldOver"] = restart.heldOver;
   if (hasFile) {
      json["kept"] = state->kept();
      json["left"] = state->left();
   }
   return json;
}

Json summaryJson(Report const& report) {
   return {{"groups", report.groupsTotal},          {"prefixes", report.prefixes},
           {"addresses", report.addresses},         {"interfaces", report.interfaces.interfaces},
           {"inHardware", report.hardware.total},   {"waiting", report.waiting.total},
           {"waitingForVrf", report.waitingForVrf}, {"notProgrammed", report.missing.total}};
}

void writeSection(Writer& writer, Report const& report, HardwareState const* state,
                  JsonSection section) {
   TimeScale const& times = report.times;
   auto const entry = [&](KeyRow const& row) { return entryJson(row, times); };
   auto const absent = [&](KeyRow const& row) { return absentJson(row, times); };
   auto const status = [&](KeyRow const& row) { return statusJson(row, times); };
   auto const message = [&](LogEntry const& each) { return logJson(each, times); };
   switch (section) {
      case JsonSection::resources:
         writer.member("resourceFull", report.resourceFull);
         writer.member("hardware", hardwareJson(report));
         return;
      case JsonSection::restart:
         writer.member("restart", restartJson(report.restart, state));
         return;
      case JsonSection::gone: writer.list("gone", report.restart.gone.rows, goneJson); return;
      case JsonSection::summary: writer.member("summary", summaryJson(report)); return;
      case JsonSection::groups: writer.list("groups", report.groups, groupJson); return;
      case JsonSection::interfaces:
         writer.list("interfaces", report.interfaces.rows, addressJson);
         return;
      case JsonSection::hardware: writer.list("entries", report.hardware.rows, entry); return;
      case JsonSection::entries:
         writer.member("matching", report.hardware.matching + report.waiting.matching +
                                       report.missing.matching);
         writer.beginList("entries");
         writer.more(report.hardware.rows, status);
         writer.more(report.waiting.rows, status);
         writer.more(report.missing.rows, status);
         writer.endList();
         return;
      case JsonSection::backlog:
         writer.list("waiting", report.waiting.rows, absent);
         writer.list("notProgrammed", report.missing.rows, absent);
         return;
      case JsonSection::log: writer.list("log", report.log, message); return;
   }
}

}  // namespace

void printJson(std::ostream& out, Report const& report, RunResult const& result) {
   Writer writer(out);
   if (!result.configuration.empty()) writer.member("configuration", result.configuration);
   if (!result.scenario.empty()) writer.member("scenario", scenarioJson(result));
   writer.member("time", report.time);
   writer.member("quiet", result.settled.quiet);
   for (JsonSection const section :
        {JsonSection::resources, JsonSection::restart, JsonSection::summary, JsonSection::groups,
         JsonSection::interfaces, JsonSection::hardware, JsonSection::gone, JsonSection::backlog,
         JsonSection::log}) {
      bool const ofRestart = section == JsonSection::restart || section == JsonSection::gone;
      bool const restarted = !result.hardwareState->file().empty() || report.restart.found != 0;
      if (!ofRestart || restarted) writeSection(writer, report, result.hardwareState, section);
   }
   writer.end();
}

void printJson(std::ostream& out, Report const& report, std::span<JsonSection const> sections) {
   Writer writer(out);
   writer.member("time", report.time);
   if (report.times.hasWallTime()) writer.member("wallTime", report.times.text(report.time));
   for (JsonSection const section : sections) writeSection(writer, report, nullptr, section);
   writer.end();
}

void printJson(std::ostream& out, Explanation const& explanation) {
   Writer writer(out);
   writer.member("destination", explanation.destination.stringValue().stdString());
   writer.member("decapsulated", explanation.decapsulated);
   writer.member("verdict", explanation.verdict);
   writer.list("claims", explanation.claims, [](Explanation::Claim const& claim) {
      return Json{{"group", claim.group.stdString()},
                  {"prefix", claim.prefix.stringValue().stdString()},
                  {"hasTunnelType", !claim.withoutType}};
   });
   writer.list("interfaces", explanation.addresses, addressJson);
   writer.list("keys", explanation.keys,
               [&](KeyRow const& row) { return statusJson(row, explanation.times); });
   writer.member("inside", explanation.inside);
   if (explanation.nextReview) {
      Json time;
      addTime(time, "nextReview", *explanation.nextReview, explanation.times);
      for (auto const& [name, value] : time.items()) writer.member(name.c_str(), value);
   }
   writer.end();
}

}  // namespace Agent
