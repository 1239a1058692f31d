#include "decapctl/report/HtmlTables.h"

#include "decapctl/report/Text.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Ctl::Report {

namespace {

/// Rows of what a journal may have any number of; the longest are shown.
constexpr std::size_t greatestRows = 20;

std::string note(std::string const& text) { return "<p class=\"note\">" + text + "</p>\n"; }

std::string figure(std::string const& name, std::string const& value, std::string const& more) {
   return "<div><dt>" + name + "</dt><dd class=\"value\">" + value + "</dd><dd class=\"more\">" +
          more + "</dd></div>\n";
}

std::string head(std::initializer_list<char const*> names) {
   std::string row = "<thead><tr>";
   for (char const* const name : names) row += std::string("<th scope=\"col\">") + name + "</th>";
   return row + "</tr></thead>\n<tbody>\n";
}

std::string card(std::string const& name, std::string const& content) {
   return "<section class=\"card\"><h2>" + name + "</h2>\n" + content + "</section>\n";
}

std::string table(std::string const& caption, std::string const& content,
                  std::string const& attributes = {}) {
   return "<div class=\"wide\"><table" + attributes + ">\n<caption>" + caption + "</caption>\n" +
          content + "</tbody></table></div>\n";
}

std::string cell(std::string const& text) { return "<td>" + text + "</td>"; }
std::string cell(std::uint64_t number) {
   return "<td data-value=\"" + std::to_string(number) + "\">" + counted(number) + "</td>";
}
std::string secondsCell(double seconds) {
   return "<td data-value=\"" + plain(seconds) + "\">" + duration(seconds) + "</td>";
}
std::string rowHead(std::string const& text) { return "<tr><th scope=\"row\">" + text + "</th>"; }

std::string placeText(Place place) {
   return moment(place.time) + " (line " + counted(place.line) + ")";
}

/// The longest of them, in the order of the journal.
template <class Item, class Length>
std::vector<Item> longest(std::vector<Item> items, Length const& length) {
   if (items.size() <= greatestRows) return items;
   auto const end = items.begin() + static_cast<std::ptrdiff_t>(greatestRows);
   std::partial_sort(items.begin(), end, items.end(),
                     [&](Item const& a, Item const& b) { return length(a) > length(b); });
   items.erase(end, items.end());
   return items;
}

std::string shownOf(std::size_t all, char const* what) {
   if (all <= greatestRows) return counted(all) + ' ' + what;
   return counted(all) + ' ' + what + "; the " + counted(greatestRows) + " longest";
}

char const* barOf(std::string const& answer) {
   if (answer == "success" || answer == "exists") return "";
   if (answer == "full" || answer == "not-ready" || answer == "pending") return " wait";
   return " bad";
}

std::string callRow(std::string const& name, std::uint64_t count, std::uint64_t all,
                    char const* bar) {
   double const part = 100.0 * static_cast<double>(count) / static_cast<double>(all);
   return rowHead(escaped(name)) + cell(count) + "<td class=\"bars\"><span class=\"bar" + bar +
          "\" style=\"width:" + coordinate(part) + "%\"></span></td></tr>\n";
}

std::uint64_t sum(std::map<std::string, std::uint64_t> const& counts) {
   return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0},
                          [](std::uint64_t all, auto const& entry) { return all + entry.second; });
}

std::string fullText(Use const& use) {
   if (use.full == 0) return "never";
   if (use.fullLeast == use.fullGreatest) return "at " + counted(use.fullLeast);
   return "at " + counted(use.fullLeast) + " to " + counted(use.fullGreatest);
}

std::string lengthFigure(RunHistory const& run) {
   return figure("Duration", duration(run.duration),
                 counted(run.end.lines, "line", "lines") + ", " +
                     counted(run.machines, "machine", "machines") + ", " +
                     (run.end.complete ? "complete" : "cut off"));
}

std::string alarmFigure(RunHistory const& run) {
   if (run.alarms.empty()) return figure("Longest alarm", "none", "it was never on");
   auto const longer = [](Span const& a, Span const& b) { return a.seconds() < b.seconds(); };
   Span const span = *std::max_element(run.alarms.begin(), run.alarms.end(), longer);
   return figure("Longest alarm", duration(span.seconds()),
                 counted(run.alarms.size(), "alarm", "alarms") + "; from " + placeText(span.begin) +
                     (span.ended ? "" : ", on at the end"));
}

std::string waitFigure(RunHistory const& run) {
   if (run.keysRefused == 0) return figure("Longest wait", "none", "no key was refused");
   KeyStory const& key = run.keys.front();
   return figure("Longest wait", duration(key.longestWait),
                 escaped(key.key) + (key.waiting ? ", waits still" : ""));
}

}  // namespace

std::string notes(RunHistory const& run) {
   std::string text;
   if (!run.end.complete) {
      text += note("<strong>The journal was cut off" +
                   std::string(run.end.halfLine ? " in the middle of a line" : "") +
                   " behind line " + counted(run.end.lines) +
                   ":</strong> the process was killed, or still writes. What it did last may be "
                   "missing.");
   }
   if (run.unanswered != 0) {
      text += note(counted(run.unanswered, "hook call has", "hook calls have") + " no answer.");
   }
   if (run.olderEntries != 0) {
      text += note("The journal does not say how " +
                   counted(run.olderEntries, "entry came", "entries came") +
                   " into hardware: the table may have held more than is shown until they were "
                   "asked for or removed.");
   }
   return text;
}

std::string figures(RunHistory const& run) {
   std::string text = "<dl class=\"figures\">\n" + lengthFigure(run);
   text += figure("Hook calls", counted(run.calls),
                  counted(sum(run.programs)) + " to program, " +
                      counted(run.keysRefused, "key", "keys") + " of " + counted(run.distinctKeys) +
                      " refused at least once");
   text += figure("Greatest occupancy", counted(run.table.greatest),
                  "entries; “full” answered " + fullText(run.table) + "; " +
                      counted(run.table.entries) + " in the end");
   text += alarmFigure(run) + waitFigure(run);
   text += figure(
       "Slowest call", duration(run.slowestCall),
       run.slowestCall > 0 ? "answered at " + placeText(run.slowestAt) : "no call took any time");
   text += figure("Re-keyed", counted(run.rekeyed),
                  run.rekeyed == 0
                      ? "no destination was removed and soon programmed again"
                      : "destinations; the longest was absent for " + duration(run.longestGap));
   return text + "</dl>\n";
}

std::string callTable(RunHistory const& run) {
   std::uint64_t const all = std::max<std::uint64_t>(run.calls, 1);
   std::string rows = head({"Call", "Times", "<span class=\"unseen\">Share</span>"});
   for (auto const& [answer, count] : run.programs) {
      rows += callRow("program: " + answer, count, all, barOf(answer));
   }
   for (auto const& [call, count] : run.otherCalls) rows += callRow(call, count, all, " other");
   return card("Calls by result", table("Every hook call that was answered", rows));
}

std::string typeTable(RunHistory const& run) {
   std::string rows = head({"Type", "Greatest", "In the end", "“full”", "Answered"});
   for (auto const& [type, use] : run.types) {
      rows += rowHead(escaped(type)) + cell(std::uint64_t{use.greatest}) +
              cell(std::uint64_t{use.entries}) + cell(std::uint64_t{use.full}) +
              cell(fullText(use)) + "</tr>\n";
   }
   return card("Tunnel types",
               table("Entries of each type. Where a type has room of its own, “full” is answered "
                     "at the same number of them",
                     rows));
}

std::string alarmTable(RunHistory const& run) {
   if (run.alarms.empty()) return {};
   std::string rows = head({"From", "To", "Duration"});
   for (Span const& span : longest(run.alarms, [](Span const& each) { return each.seconds(); })) {
      rows += rowHead(placeText(span.begin)) +
              cell(span.ended ? placeText(span.end) : "on at the end") +
              secondsCell(span.seconds()) + "</tr>\n";
   }
   return card("Alarms", table(shownOf(run.alarms.size(), "in all"), rows));
}

std::string burstTable(RunHistory const& run) {
   if (run.bursts.empty()) return {};
   std::string rows = head({"From", "To", "Destinations", "Longest gap"});
   for (Burst const& burst :
        longest(run.bursts, [](Burst const& each) { return each.destinations; })) {
      rows += rowHead(placeText(burst.span.begin)) + cell(placeText(burst.span.end)) +
              cell(std::uint64_t{burst.destinations}) + secondsCell(burst.longestGap) + "</tr>\n";
   }
   return card("Re-keying",
               table(shownOf(run.bursts.size(),
                             "in all: destinations removed and programmed again within a second"),
                     rows));
}

std::string keyTable(RunHistory const& run) {
   if (run.keys.empty()) {
      return card("Keys", "<p>Every key was accepted at once, and no call took any time.</p>\n");
   }
   std::string rows = head({"Key", "Longest wait", "Waited in all", "Refused", "full", "not ready",
                            "pending", "failed", "for good", "Slowest call", "In the end"});
   for (KeyStory const& key : run.keys) {
      rows += rowHead(escaped(key.key)) + secondsCell(key.longestWait) + secondsCell(key.waited) +
              cell(std::uint64_t{key.refusals()});
      for (auto const number : {key.full, key.notReady, key.pending, key.threw, key.refused}) {
         rows += cell(std::uint64_t{number});
      }
      rows += secondsCell(key.slowestCall) +
              cell(key.waiting   ? "waits"
                   : key.present ? "in hardware"
                                 : "absent") +
              "</tr>\n";
   }
   return card(
       "Keys",
       table("Those with the longest waits, the most refusals and the slowest calls. A head "
             "sorts by its column",
             rows, " class=\"sortable\""));
}

}  // namespace Ctl::Report
