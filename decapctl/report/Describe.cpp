#include "decapctl/report/Describe.h"

#include <string_view>

namespace Ctl::Report {

namespace {

constexpr std::size_t greatestLength = 100;

/// Not in the middle of a character.
std::string shortened(std::string text) {
   if (text.size() <= greatestLength) return text;
   std::size_t end = greatestLength;
   while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;
   return text.substr(0, end) + "…";
}

/// The items from there on, as they stand.
std::string rest(JournalLine const& line, std::size_t from) {
   std::string text;
   for (std::size_t i = from; i < line.size(); ++i) {
      text += (text.empty() ? "" : " ") + line.shown(i);
   }
   return text;
}

std::string ofGroup(JournalLine const& line, Wanted const& wanted) {
   std::string const group = "group " + wanted.nameOf(line.count(2));
   if (line.is(3, "decapIp")) {
      return group + (line.flag(5) ? ": prefix added " : ": prefix removed ") + line.word(4);
   }
   if (line.is(3, "tunnelType")) return group + ": tunnel type " + rest(line, 4);
   if (line.is(3, "destPort")) return group + ": port " + rest(line, 4);
   if (line.is(3, "payloadType")) return group + ": payload type " + rest(line, 4);
   if (line.is(3, "forwardingVrf")) return group + ": VRF " + rest(line, 4);
   bool const isGone = line.isNull(line.size() - 1);
   if (line.is(3, "decapIntf")) {
      return group + (isGone ? ": interface entry removed " : ": interface entry ") + line.shown(4);
   }
   if (line.is(3, "decapExcludeIntfSet")) return group + ": excluded interfaces";
   return group + ": " + rest(line, 3);
}

std::string ofConfig(JournalLine const& line) {
   if (line.is(3, "decapGroup")) {
      return "group " + line.name(4) + (line.isNull(5) ? " removed" : " configured");
   }
   if (line.is(3, "ready")) {
      return line.flag(4) ? "configuration ready" : "configuration not ready";
   }
   return "configuration: " + rest(line, 3);
}

std::string ofMachine(JournalLine const& line) {
   if (line.is(2, "build")) return "machine built";
   if (line.is(2, "drop")) return "machine taken away";
   if (line.is(2, "initialized")) return line.flag(3) ? "initialized" : "not initialized";
   if (line.is(2, "reviewInterval")) return "review interval " + rest(line, 3) + " s";
   if (line.is(2, "reviewQuanta")) return "review budget " + rest(line, 3) + " s";
   if (line.is(2, "disableCleanupOnRestart")) {
      return line.flag(3) ? "hardware is kept at the end" : "hardware is cleared at the end";
   }
   return "machine: " + rest(line, 2);
}

std::string ofCall(JournalLine const& line) {
   if (line.is(2, "config-ready")) return "hook told: configuration replayed";
   if (line.is(2, "verify")) return "hook told: verify";
   return "hook call: " + rest(line, 2);
}

std::string text(JournalLine const& line, Wanted const& wanted) {
   if (line.is(0, "log")) return rest(line, 1);
   if (line.is(1, "group")) return ofGroup(line, wanted);
   if (line.is(1, "config")) return ofConfig(line);
   if (line.is(1, "machine")) return ofMachine(line);
   if (line.is(1, "call")) return ofCall(line);
   if (line.is(1, "answer")) return "hook call failed: " + rest(line, 3);
   if (line.is(1, "verify")) {
      return line.flag(2) ? "verification requested" : "verification request taken back";
   }
   return rest(line, 1);
}

}  // namespace

std::string described(JournalLine const& line, Wanted const& wanted) {
   return shortened(text(line, wanted));
}

}  // namespace Ctl::Report
