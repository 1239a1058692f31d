#include "agent/Stage.h"

#include "agent/BookCheck.h"
#include "agent/TextReport.h"
#include "agent/Wording.h"
#include "platform/sim/KeyText.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Agent {

namespace {

constexpr std::size_t allRows = std::numeric_limits<std::size_t>::max();

template <class Items, class Text>
std::string joined(Items const& items, Text const& text) {
   std::string result;
   for (auto const& item : items) result += (result.empty() ? "" : ", ") + text(item);
   return result.empty() ? "none" : result;
}

template <class Pattern>
std::string patternsText(std::vector<Pattern> const& patterns) {
   return joined(patterns, [](Pattern const& pattern) { return pattern.text(); });
}

std::string rowsText(std::vector<KeyRow> const& rows) {
   return joined(rows, [](KeyRow const& row) { return Sim::keyText(row.key); });
}

bool match(std::vector<KeyPattern> const& wanted, std::vector<KeyRow> const& found) {
   return std::equal(
       wanted.begin(), wanted.end(), found.begin(), found.end(),
       [](KeyPattern const& pattern, KeyRow const& row) { return pattern.matches(row.key); });
}

}  // namespace

std::string RecordedAddresses::text() const {
   auto const one = [](Pkt::IpAddr addr) {
      return addr.isZero() ? std::string("none") : addr.stringValue().stdString();
   };
   return "primary " + one(primary) + " virtual " + one(virtualIp);
}

Stage::Stage(World& world, std::ostream* out, std::size_t rows)
    : world_(world), out_(out), rows_(rows), narration_(world, out, "    ") {}

void Stage::show(std::string const& section) {
   if (out_ == nullptr) return;
   bool const all = section == "all";
   ReportScope scope;
   scope.rows = rows_;
   scope.interfaces = all || section == "interfaces";
   Report const report(world_, scope);
   if (all || section == "groups") printGroups(*out_, report);
   if (section == "interfaces" || (all && report.interfaces.total != 0)) {
      printInterfaces(*out_, report);
   }
   if (all || section == "hardware") printHardware(*out_, report);
   if (section == "restart" || (all && report.restart.found != 0)) printRestart(*out_, report);
   if (all || section == "backlog") printBacklog(*out_, report);
   if (all || section == "log") printLog(*out_, report);
   if (all || section == "summary") printSummary(*out_, report);
}

void Stage::say(std::string const& text) {
   if (out_ != nullptr) *out_ << "    " << text << '\n';
}

void Stage::killIn(std::uint64_t calls) {
   world_.killIn(calls, [out = out_] {
      if (out != nullptr) out->flush();
   });
}

void Stage::verify() {
   if (!world_.machine()) return say("no machine to verify");
   if (!world_.machine()->initializedAndReady()) return say("verify: not before the machine runs");
   sayFindings("verify", verifyBooks(world_));
}

void Stage::audit() {
   if (!world_.machine()) return say("no machine to audit");
   sayFindings("audit", auditBooks(world_));
}

void Stage::sayFindings(char const* what, std::vector<std::string> const& findings) {
   std::string const head = std::string(what) + ": ";
   if (findings.empty()) return say(head + "all is well");
   for (std::string const& finding : findings) say(head + finding);
}

Report Stage::everything() const {
   ReportScope scope;
   scope.interfaces = false;
   scope.rows = allRows;
   return Report(world_, scope);
}

void Stage::expectHardware(std::vector<KeyPattern> const& wanted) {
   auto const found = everything().hardware.rows;
   judge(match(wanted, found), "hardware " + patternsText(wanted), "hardware " + rowsText(found));
}

void Stage::expectBacklog(std::vector<KeyPattern> const& wanted) {
   auto const found = everything().waiting.rows;
   judge(match(wanted, found), "backlog " + patternsText(wanted), "backlog " + rowsText(found));
}

void Stage::expectMissing(std::vector<KeyPattern> const& wanted) {
   auto const found = everything().missing.rows;
   judge(match(wanted, found), "not-programmed " + patternsText(wanted),
         "not-programmed " + rowsText(found));
}

void Stage::expectCalls(std::vector<CallPattern> const& wanted) {
   auto const& found = narration_.calls();
   bool const met = std::equal(
       wanted.begin(), wanted.end(), found.begin(), found.end(),
       [](CallPattern const& pattern, Sim::Call const& call) { return pattern.matches(call); });
   judge(met, "calls " + patternsText(wanted), "calls " + joined(found, Sim::callText));
}

void Stage::expectLog(std::vector<std::string> const& wanted) {
   auto const& found = narration_.messages();
   bool const met = std::equal(wanted.begin(), wanted.end(), found.begin(), found.end(),
                               [](std::string const& name, Mdl::LogHandle const* message) {
                                  return name == message->name();
                               });
   judge(met, "log " + joined(wanted, [](std::string const& name) { return name; }),
         "log " + joined(found, [](Mdl::LogHandle const* message) {
            return std::string(message->name());
         }));
}

void Stage::expectDifferences(std::uint64_t wanted) {
   expectText("differences", std::to_string(wanted), std::to_string(auditBooks(world_).size()));
}

void Stage::expectAddresses(Mdl::String const& group, std::vector<std::string> const& wanted) {
   std::vector<std::string> found;
   for (AddressRow const& row : AddressRows(world_, allRows).rows) {
      bool const has = isContributed(row.state) &&
                       std::find(row.groups.begin(), row.groups.end(), group) != row.groups.end();
      if (!has) continue;
      found.push_back(row.intfId.name().stdString() + ' ' + roleName(*row.role) + ' ' +
                      addressText(row.address));
   }
   auto const text = [](std::string const& address) { return address; };
   std::string const subject = "addresses " + group.stdString() + ' ';
   judge(wanted == found, subject + joined(wanted, text), subject + joined(found, text));
}

void Stage::expectRecord(Pkt::IntfId const& intfId,
                         std::optional<RecordedAddresses> const& wanted) {
   std::optional<RecordedAddresses> found;
   if (auto const record = world_.machine() ? world_.machine()->decapIntfIp(intfId) : nullptr) {
      found = {record->primaryIp(), record->virtualIp()};
   }
   auto const text = [](std::optional<RecordedAddresses> const& addresses) {
      return addresses ? addresses->text() : "none";
   };
   expectText("record " + intfId.name().stdString(), text(wanted), text(found));
}

void Stage::expectReferences(KeyPattern const& key, std::uint64_t wanted) {
   std::uint64_t found = 0;
   if (world_.machine()) {
      for (auto const& entry : world_.machine()->refCount()) {
         if (key.matches(entry.key)) found += entry.value;
      }
   }
   expectText("references", key.text() + " " + std::to_string(wanted),
              key.text() + " " + std::to_string(found));
}

void Stage::expectText(std::string const& subject, std::string const& wanted,
                       std::string const& found) {
   judge(wanted == found, subject + ' ' + wanted, subject + ' ' + found);
}

void Stage::expectationIs(std::size_t line, std::size_t column) noexcept {
   line_ = line;
   column_ = column;
}

void Stage::judge(bool met, std::string const& wanted, std::string const& found) {
   ++expectations_;
   if (!met) unmet_.push_back({line_, column_, wanted, found});
   if (out_ == nullptr) return;
   if (met) {
      *out_ << "    met\n";
   } else {
      *out_ << "    NOT MET\n      wanted: " << wanted << "\n      found:  " << found << '\n';
   }
}

}  // namespace Agent
