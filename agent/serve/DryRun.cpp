#include "agent/serve/DryRun.h"

#include "agent/Wording.h"
#include "agent/World.h"
#include "agent/serve/Service.h"
#include "control/Protocol.h"
#include "platform/sim/KeyText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <iterator>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Agent {

namespace {

using Fwd::DecapKey;
using Keys = Mdl::Collection<DecapKey, bool>;

/// Simulated seconds after which a copy is no longer waited for to get quiet.
constexpr Mdl::Seconds horizon = 60.0;

template <class Entries>
Keys keysOf(Entries const& entries) {
   Keys keys;
   for (auto const& entry : entries) keys.tryInsert(entry.key, true);
   return keys;
}

/// The keys that are called for and not in hardware, with the reason.
std::vector<KeyRow> leftOut(World const& world) {
   ReportScope scope;
   scope.rows = std::numeric_limits<std::size_t>::max();
   scope.groups = false;
   scope.interfaces = false;
   scope.hardware = false;
   Report report(world, scope);
   std::vector<KeyRow> rows = std::move(report.waiting.rows);
   std::ranges::move(report.missing.rows, std::back_inserter(rows));
   return rows;
}

/// Pairs what goes and what comes for the same destination.
void pairUp(Difference& difference) {
   std::map<Pkt::IpGenPrefix, std::vector<DecapKey>> going;
   for (DecapKey const& key : difference.removed) going[key.dstIp()].push_back(key);
   std::vector<DecapKey> coming;
   for (DecapKey const& key : difference.programmed) {
      auto const at = going.find(key.dstIp());
      if (at == going.end() || at->second.empty()) {
         coming.push_back(key);
         continue;
      }
      difference.rekeyed.emplace_back(at->second.front(), key);
      at->second.erase(at->second.begin());
   }
   difference.programmed = std::move(coming);
   std::vector<DecapKey> gone;
   for (DecapKey const& key : difference.removed) {
      auto& left = going[key.dstIp()];
      if (std::ranges::find(left, key) != left.end()) gone.push_back(key);
   }
   difference.removed = std::move(gone);
}

/// The copy's life. Nothing that it inherited is open but the pipe.
[[noreturn]] void live(Service& service, Configuration const& configuration, bool json,
                       std::size_t rows, int out) noexcept {
   std::string reply(1, '3');
   try {
      std::ostringstream text;
      TimeScale const times = service.times();
      Difference const difference = applyInCopy(service, configuration);
      if (json) {
         printJson(text, difference, times, rows);
      } else {
         printText(text, difference, times, rows);
      }
      auto const status = difference.any() ? Control::Status::found : Control::Status::ok;
      reply = std::to_string(static_cast<int>(status)) + text.str();
   } catch (std::exception const& error) {
      reply += std::string("the dry run failed: ") + error.what() + '\n';
   } catch (...) {
      reply += "the dry run failed\n";
   }
   for (std::size_t sent = 0; sent < reply.size();) {
      ssize_t const count = write(out, reply.data() + sent, reply.size() - sent);
      if (count <= 0) break;
      sent += static_cast<std::size_t>(count);
   }
   _exit(0);
}

[[noreturn]] void fail(char const* what) {
   throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Difference applyInCopy(Service& service, Configuration const& configuration) {
   service.detach();
   World& world = service.world();
   auto const& table = world.hardware().table();
   Difference difference;
   Keys const before = keysOf(table.entries());
   Keys leftBefore;
   for (KeyRow const& row : leftOut(world)) leftBefore.tryInsert(row.key, true);
   Keys removals;
   world.callObserverIs([&](Sim::Call const& call) {
      if (call.operation == Sim::Operation::remove) removals.tryInsert(call.key, true);
   });
   difference.sizeBefore = table.size();
   difference.changes = service.apply(configuration);
   difference.settled = world.settle(horizon).quiet;
   world.callObserverIs({});
   difference.sizeAfter = table.size();
   difference.capacity = table.capacity();
   for (auto const& entry : table.entries()) {
      if (!before.contains(entry.key)) difference.programmed.push_back(entry.key);
   }
   for (auto const& entry : before) {
      if (!table.contains(entry.key)) {
         difference.removed.push_back(entry.key);
      } else if (removals.contains(entry.key)) {
         difference.interrupted.push_back(entry.key);
      }
   }
   pairUp(difference);
   for (KeyRow& row : leftOut(world)) {
      if (!leftBefore.contains(row.key)) difference.left.push_back(std::move(row));
   }
   return difference;
}

DryRun::DryRun(Service& service, Configuration const& configuration, bool json, std::size_t rows) {
   int ends[2];
   if (pipe2(ends, O_CLOEXEC) != 0) fail("pipe");
   int const process = fork();
   if (process < 0) {
      close(ends[0]);
      close(ends[1]);
      fail("fork");
   }
   if (process == 0) {
      // Clients and files are the original's. What is left is 0 to 2 and the pipe.
      int const out = 3;
      if (ends[1] != out) dup2(ends[1], out);
      close_range(out + 1, ~0U, 0);
      std::signal(SIGPIPE, SIG_DFL);
      rlimit const limit{patience, patience};
      setrlimit(RLIMIT_CPU, &limit);
      live(service, configuration, json, rows, out);
   }
   close(ends[1]);
   descriptor_ = ends[0];
   process_ = process;
}

DryRun::~DryRun() {
   kill(process_, SIGKILL);
   int status = 0;
   while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
   }
   close(descriptor_);
}

namespace {

/// Prints as many as there is room for, and how many are left.
template <class List, class Line>
void printList(std::ostream& out, List const& list, std::size_t& room, Line const& line) {
   std::size_t shown = 0;
   for (auto const& each : list) {
      if (room == 0) break;
      --room;
      ++shown;
      out << "  " << line(each) << '\n';
   }
   if (shown < list.size()) out << "  ... and " << list.size() - shown << " more\n";
}

using Json = nlohmann::ordered_json;

Json changesJson(Changes const& changes) {
   return {{"groupsAdded", changes.groupsAdded},
           {"groupsRemoved", changes.groupsRemoved},
           {"groupsChanged", changes.groupsChanged},
           {"prefixesAdded", changes.prefixesAdded},
           {"prefixesRemoved", changes.prefixesRemoved},
           {"interfacesAdded", changes.interfacesAdded},
           {"interfacesRemoved", changes.interfacesRemoved},
           {"interfacesChanged", changes.interfacesChanged},
           {"settings", changes.settings}};
}

}  // namespace

void printText(std::ostream& out, Difference const& difference, TimeScale const& times,
               std::size_t rows) {
   out << "Configuration: " << changesText(difference.changes) << '\n'
       << "Hardware: " << counted(difference.programmed.size(), "entry", "entries")
       << " programmed, " << difference.removed.size() << " removed, " << difference.rekeyed.size()
       << " re-keyed, " << difference.interrupted.size() << " interrupted; "
       << difference.left.size() << " more left out\n";
   std::size_t room = rows;
   printList(out, difference.removed, room,
             [](DecapKey const& key) { return "- " + Sim::keyText(key); });
   printList(out, difference.rekeyed, room, [](auto const& pair) {
      return "~ " + Sim::keyText(pair.first) + " -> " + Sim::keyText(pair.second);
   });
   printList(out, difference.interrupted, room,
             [](DecapKey const& key) { return "^ " + Sim::keyText(key) + ": out and in again"; });
   printList(out, difference.programmed, room,
             [](DecapKey const& key) { return "+ " + Sim::keyText(key); });
   printList(out, difference.left, room, [&](KeyRow const& row) {
      return "! " + Sim::keyText(row.key) + ": " + reasonText(row, times);
   });
   out << "Entries in use: " << difference.sizeBefore << " now, " << difference.sizeAfter
       << " then";
   if (difference.capacity != Sim::HardwareTable::unlimited) out << ", of " << difference.capacity;
   out << '\n';
   if (!difference.settled) out << "Hardware was still changing when the dry run ended.\n";
}

void printJson(std::ostream& out, Difference const& difference, TimeScale const& times,
               std::size_t rows) {
   std::size_t room = rows;
   auto const list = [&](auto const& from, auto const& toJson) {
      Json items = Json::array();
      for (auto const& each : from) {
         if (room == 0) break;
         --room;
         items.push_back(toJson(each));
      }
      return items;
   };
   auto const text = [](DecapKey const& key) { return Json(Sim::keyText(key)); };
   Json const document = {
       {"changes", changesJson(difference.changes)},
       {"counts",
        {{"programmed", difference.programmed.size()},
         {"removed", difference.removed.size()},
         {"rekeyed", difference.rekeyed.size()},
         {"interrupted", difference.interrupted.size()},
         {"leftOut", difference.left.size()}}},
       {"removed", list(difference.removed, text)},
       {"rekeyed",
        list(difference.rekeyed,
             [&](auto const& pair) {
                return Json{{"from", Sim::keyText(pair.first)}, {"to", Sim::keyText(pair.second)}};
             })},
       {"interrupted", list(difference.interrupted, text)},
       {"programmed", list(difference.programmed, text)},
       {"leftOut", list(difference.left,
                        [&](KeyRow const& row) {
                           return Json{{"key", Sim::keyText(row.key)},
                                       {"reason", reasonName(row.reason)},
                                       {"text", reasonText(row, times)}};
                        })},
       {"entriesBefore", difference.sizeBefore},
       {"entriesAfter", difference.sizeAfter},
       {"settled", difference.settled}};
   out << document.dump(1, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace Agent
