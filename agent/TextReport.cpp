#include "agent/TextReport.h"

#include "agent/TextTable.h"
#include "agent/Wording.h"
#include "platform/sim/HardwareTable.h"

#include <string>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using Align = TextTable::Align;

std::string portText(std::uint16_t port) { return port == 0 ? "-" : std::to_string(port); }

std::string payloadText(Tunnel::Decap::PayloadType payload) {
   return payload == Tunnel::Decap::PayloadType::unset ? "-" : stringValue(payload).stdString();
}

std::string typeText(Tunnel::Decap::TunnelType type) {
   return type == Tunnel::Decap::TunnelType::unknown ? "-" : stringValue(type).stdString();
}

std::vector<TextTable::Column> keyColumns(std::string const& last) {
   return {{"TUNNEL"}, {"DESTINATION"}, {"PORT", Align::right}, {"PAYLOAD"}, {"VRF"},
           {"GROUPS"}, {last}};
}

std::vector<std::string> keyCells(KeyRow const& row, std::string const& last) {
   Fwd::DecapKey const& key = row.key;
   return {typeText(key.tunnelType()),
           key.dstIp().empty() ? "-" : key.dstIp().stringValue().stdString(),
           portText(key.destPort()),
           payloadText(key.payloadType()),
           vrfText(key.forwardingVrf()),
           row.groups.empty() ? "-" : namesText(row.groups),
           last};
}

void printMore(std::ostream& out, std::size_t left) {
   if (left != 0) out << "  ... and " << left << " more\n";
}

/// What makes an entry worth a second look.
std::string entryNote(KeyRow const& row) {
   std::string note;
   if (row.references == 0) {
      note = "no group calls for it";
   } else if (row.groups.size() > 1) {
      note = "shared by " + counted(row.groups.size(), "group");
   } else if (row.references > 1) {
      note = "by prefix and by interface";
   }
   if (!row.fate) return note;
   return note.empty() ? fateText(*row.fate) : note + "; " + fateText(*row.fate);
}

void printRows(std::ostream& out, Rows const& list, TimeScale const& times) {
   if (list.rows.empty()) return;
   TextTable table(keyColumns("WHY"));
   for (KeyRow const& row : list.rows) table.row(keyCells(row, reasonText(row, times)));
   table.print(out);
   printMore(out, list.left());
}

}  // namespace

void printGroups(std::ostream& out, Report const& report) {
   out << "Groups: " << report.groupsTotal << "; "
       << counted(report.prefixes, "prefix", "prefixes");
   if (report.usesInterfaces) {
      out << ", " << counted(report.addresses, "interface address", "interface addresses");
   }
   out << '\n';
   if (report.groups.empty()) return;
   std::vector<TextTable::Column> columns = {{"GROUP"},   {"TUNNEL"}, {"PORT", Align::right},
                                             {"PAYLOAD"}, {"VRF"},    {"PREFIXES", Align::right}};
   if (report.usesInterfaces) columns.push_back({"ADDRESSES", Align::right});
   columns.insert(columns.end(),
                  {{"IN HARDWARE", Align::right}, {"WAITING", Align::right}, {"NOTE"}});
   TextTable table(std::move(columns));
   for (GroupRow const& row : report.groups) {
      Tunnel::Decap::DecapGroup const& group = *row.group;
      std::string note;
      if (group.tunnelType() == Tunnel::Decap::TunnelType::unknown) {
         note = "no tunnel type: nothing to program";
      } else if (row.missing != 0) {
         note = std::to_string(row.missing) + " not programmed";
      }
      std::vector<std::string> cells = {
          group.name().stdString(),       typeText(group.tunnelType()),
          portText(group.destPort()),     payloadText(group.payloadType()),
          vrfText(group.forwardingVrf()), std::to_string(group.decapIp().size())};
      if (report.usesInterfaces) cells.push_back(std::to_string(row.addresses));
      cells.insert(cells.end(),
                   {std::to_string(row.inHardware), std::to_string(row.waiting), note});
      table.row(std::move(cells));
   }
   table.print(out);
   printMore(out, report.groupsMatching - report.groups.size());
}

void printInterfaces(std::ostream& out, Report const& report) {
   AddressRows const& list = report.interfaces;
   out << "Interfaces: " << list.interfaces << "; addresses: " << list.addresses << ", "
       << list.contributed << " taken as destinations\n";
   if (list.rows.empty()) return;
   TextTable table({{"INTERFACE"}, {"VRF"}, {"ROLE"}, {"ADDRESS"}, {"GROUPS"}, {"STATE"}});
   for (AddressRow const& row : list.rows) {
      bool const absent = row.state == AddressState::noInterface;
      table.row({row.intfId.name().stdString(), absent ? "-" : vrfText(row.vrf),
                 row.role ? roleName(*row.role) : "-", addressText(row.address),
                 row.groups.empty() ? "-" : namesText(row.groups), addressStateText(row.state)});
   }
   table.print(out);
   printMore(out, list.total - list.rows.size());
}

void printHardware(std::ostream& out, Report const& report) {
   out << "Hardware table: ";
   if (report.capacity == Sim::HardwareTable::unlimited) {
      out << counted(report.hardware.total, "entry", "entries") << ", no limit";
   } else {
      out << report.hardware.total << " of " << report.capacity << " entries in use";
   }
   for (TypeShare const& share : report.shares) {
      out << ", " << stringValue(share.type) << ' ' << share.size << " of " << share.capacity;
   }
   out << "; at most " << report.highWater << " at once\n";
   if (report.hardware.rows.empty()) return;
   TextTable table(keyColumns("NOTE"));
   for (KeyRow const& row : report.hardware.rows) table.row(keyCells(row, entryNote(row)));
   table.print(out);
   printMore(out, report.hardware.left());
}

void printEntries(std::ostream& out, Report const& report) {
   out << "Entries: " << report.hardware.matching << " in hardware, " << report.waiting.matching
       << " waiting, " << report.missing.matching << " not programmed\n";
   TextTable table({{"STATUS"},
                    {"TUNNEL"},
                    {"DESTINATION"},
                    {"PORT", Align::right},
                    {"PAYLOAD"},
                    {"VRF"},
                    {"GROUPS"},
                    {"SINCE"},
                    {"TRIES", Align::right},
                    {"NOTE"}});
   auto const add = [&](KeyRow const& row, std::string const& note) {
      std::vector<std::string> cells =
          keyCells(row, row.since ? report.times.text(*row.since) : "-");
      cells.insert(cells.begin(), statusText(row));
      cells.push_back(std::to_string(row.tries));
      cells.push_back(note);
      table.row(std::move(cells));
   };
   for (KeyRow const& row : report.hardware.rows) add(row, entryNote(row));
   for (KeyRow const& row : report.waiting.rows) add(row, reasonText(row, report.times));
   for (KeyRow const& row : report.missing.rows) add(row, reasonText(row, report.times));
   if (!table.empty()) table.print(out);
   printMore(out, report.hardware.left() + report.waiting.left() + report.missing.left());
}

void printRestart(std::ostream& out, Report const& report) {
   Restart const& restart = report.restart;
   out << "Found in hardware: " << counted(restart.found, "entry", "entries");
   if (restart.found != 0) {
      out << "; " << restart.takenOver << " taken over, " << restart.rewritten << " written again, "
          << restart.unclaimed << " removed as unclaimed";
      if (restart.removed != 0) out << ", " << restart.removed << " removed";
      if (restart.heldOver != 0) out << ", " << restart.heldOver << " not asked for yet";
   }
   out << '\n';
   if (restart.gone.rows.empty()) return;
   TextTable table(keyColumns("WHAT BECAME OF IT"));
   for (KeyRow const& row : restart.gone.rows) {
      table.row(keyCells(row, row.fate ? fateText(*row.fate) : ""));
   }
   table.print(out);
   printMore(out, restart.gone.left());
}

void printBacklog(std::ostream& out, Report const& report) {
   out << "Waiting to be programmed: " << counted(report.waiting.total, "key") << '\n';
   printRows(out, report.waiting, report.times);
   if (report.missing.total == 0) return;
   out << "Not programmed and not waiting: " << counted(report.missing.total, "key") << '\n';
   printRows(out, report.missing, report.times);
}

void printConflicts(std::ostream& out, Report const& report) {
   out << "VRF conflicts: " << counted(report.waitingForVrf, "key") << " waiting\n";
   if (report.waiting.rows.empty()) return;
   TextTable table(keyColumns("OWNER"));
   for (KeyRow const& row : report.waiting.rows) {
      std::string owner = "VRF " + vrfText(row.ownerVrf);
      if (!row.ownerGroups.empty()) owner += " (" + namesText(row.ownerGroups) + ")";
      table.row(keyCells(row, owner));
   }
   table.print(out);
   printMore(out, report.waiting.left());
}

void printLog(std::ostream& out, Report const& report) {
   out << (report.log.empty() ? "Log: no messages\n" : "Log:\n");
   for (LogEntry const& entry : report.log) {
      out << "  " << report.times.text(entry.first) << "  " << logText(*entry.message);
      if (entry.times > 1) {
         out << " [" << entry.times << " times, last at " << report.times.text(entry.last) << "]";
      }
      out << '\n';
   }
}

void printSummary(std::ostream& out, Report const& report) {
   out << "Summary: " << report.hardware.total << " in hardware";
   if (report.shared != 0) out << " (" << report.shared << " shared)";
   if (report.unclaimed != 0) out << " (" << report.unclaimed << " not called for)";
   out << ", " << report.waiting.total << " waiting";
   if (report.waitingForVrf != 0) {
      out << " (" << counted(report.waitingForVrf, "VRF conflict") << ")";
   }
   out << ", " << report.missing.total << " not programmed; resource alarm "
       << (report.resourceFull ? "on" : "off") << '\n';
}

}  // namespace Agent
