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

Json entryJson(KeyRow const& row) {
   Json json = goneJson(row);
   json["since"] = row.since;
   return json;
}

Json absentJson(KeyRow const& row) {
   Json json = keyJson(row);
   json["reason"] = reasonName(row.reason);
   json["text"] = reasonText(row);
   json["refusals"] = row.refusals;
   if (row.refusals != 0) json["lastRefusal"] = row.lastRefusal;
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

Json logJson(LogEntry const& entry) {
   return {{"name", entry.message->name()},
           {"severity", entry.message->severity()},
           {"text", entry.message->format()},
           {"explanation", entry.message->explanation()},
           {"action", entry.message->recommendedAction()},
           {"first", entry.first},
           {"last", entry.last},
           {"times", entry.times}};
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
   template <class Row>
   void list(char const* name, std::vector<Row> const& rows, Json (*toJson)(Row const&)) {
      begin(name);
      out_ << '[';
      char const* separator = "\n  ";
      for (Row const& row : rows) {
         out_ << separator << dump(toJson(row));
         separator = ",\n  ";
      }
      out_ << ']';
   }
   void end() { out_ << "\n}\n"; }

 private:
   void begin(char const* name) {
      out_ << separator_ << '"' << name << "\": ";
      separator_ = ",\n ";
   }

   std::ostream& out_;
   char const* separator_ = "\n ";
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

Json restartJson(Restart const& restart, HardwareState const& state) {
   Json json;
   if (!state.file().empty()) json["file"] = state.file();
   if (!state.setAside().empty()) json["setAside"] = state.setAside();
   json["found"] = restart.found;
   json["takenOver"] = restart.takenOver;
   json["rewritten"] = restart.rewritten;
   json["unclaimed"] = restart.unclaimed;
   json["removed"] = restart.removed;
   json["heldOver"] = restart.heldOver;
   if (!state.file().empty()) {
      json["kept"] = state.kept();
      json["left"] = state.left();
   }
   return json;
}

}  // namespace

void printJson(std::ostream& out, Report const& report, RunResult const& result) {
   Writer writer(out);
   if (!result.configuration.empty()) writer.member("configuration", result.configuration);
   if (!result.scenario.empty()) writer.member("scenario", scenarioJson(result));
   writer.member("time", report.time);
   writer.member("quiet", result.settled.quiet);
   writer.member("resourceFull", report.resourceFull);
   writer.member("hardware", hardwareJson(report));
   bool const restarted = !result.hardwareState->file().empty() || report.restart.found != 0;
   if (restarted) writer.member("restart", restartJson(report.restart, *result.hardwareState));
   writer.member("summary", Json{{"groups", report.groupsTotal},
                                 {"prefixes", report.prefixes},
                                 {"addresses", report.addresses},
                                 {"interfaces", report.interfaces.interfaces},
                                 {"inHardware", report.hardware.total},
                                 {"waiting", report.waiting.total},
                                 {"waitingForVrf", report.waitingForVrf},
                                 {"notProgrammed", report.missing.total}});
   writer.list("groups", report.groups, groupJson);
   writer.list("interfaces", report.interfaces.rows, addressJson);
   writer.list("entries", report.hardware.rows, entryJson);
   if (restarted) writer.list("gone", report.restart.gone.rows, goneJson);
   writer.list("waiting", report.waiting.rows, absentJson);
   writer.list("notProgrammed", report.missing.rows, absentJson);
   writer.list("log", report.log, logJson);
   writer.end();
}

}  // namespace Agent
