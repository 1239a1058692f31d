// The parts of the drawing that have a mark for what happened: hook calls and events.

#include "decapctl/report/Chart.h"
#include "decapctl/report/Text.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Ctl::Report {

namespace {

struct LaneLook {
   char const* title;
   char const* name;
};

constexpr std::array<LaneLook, lanes> looks = {{{"Machine", "machine"},
                                                {"Configuration", "configuration"},
                                                {"Interfaces", "interfaces"},
                                                {"Messages", "messages"},
                                                {"Hook failures", "faults"}}};

/// A shape of its own for each lane, larger for more events; a bar where they would cover each
/// other.
std::string shape(std::size_t lane, double x, double y, std::uint64_t count, bool isDense) {
   double const size = 4 + std::min(4.0, std::log10(static_cast<double>(count)) * 1.6);
   auto const at = [&](double dx, double dy) {
      return coordinate(x + dx * size) + ' ' + coordinate(y + dy * size);
   };
   if (isDense) {
      double const half = size * 1.2;
      return 'M' + coordinate(x - 1.4) + ' ' + coordinate(y - half) + "h2.8v" +
             coordinate(2 * half) + "h-2.8z";
   }
   switch (static_cast<Lane>(lane)) {
      case Lane::machine:
         return 'M' + at(0, -1.2) + 'L' + at(1, 0) + 'L' + at(0, 1.2) + 'L' + at(-1, 0) + 'Z';
      case Lane::configuration: return 'M' + at(0, -1) + 'L' + at(1, .9) + 'L' + at(-1, .9) + 'Z';
      case Lane::interfaces:
         return 'M' + at(-.85, -.85) + 'L' + at(.85, -.85) + 'L' + at(.85, .85) + 'L' +
                at(-.85, .85) + 'Z';
      case Lane::messages: {
         std::string const r = coordinate(size * .95);
         std::string const arc = 'A' + r + ' ' + r + " 0 1 1 ";
         return 'M' + at(-.95, 0) + arc + at(.95, 0) + arc + at(-.95, 0) + 'Z';
      }
      case Lane::faults: break;
   }
   return 'M' + at(-1, -1) + 'L' + at(1, 1) + 'M' + at(1, -1) + 'L' + at(-1, 1);
}

/// The classes that calls fell into: the first, and one behind the last.
std::pair<std::size_t, std::size_t> usedClasses(Buckets<LatencyCell> const& cells) {
   std::size_t least = LatencyCell::classes;
   std::size_t end = 0;
   for (LatencyCell const& cell : cells) {
      for (std::size_t i = 0; i < LatencyCell::classes; ++i) {
         if (cell.calls[i] == 0) continue;
         least = std::min(least, i);
         end = std::max(end, i + 1);
      }
   }
   return {least, end};
}

constexpr std::size_t strengths = 4;

/// How strongly so many calls are drawn.
std::size_t strengthOf(std::uint32_t calls) {
   return calls < 2 ? 0 : calls < 10 ? 1 : calls < 100 ? 2 : 3;
}

}  // namespace

void Chart::latencies() {
   auto const [least, end] = usedClasses(course_.latencies);
   char const* const title = "Time that hook calls took";
   if (end <= 1) {
      std::string const what =
          run_.calls == 0 ? "there were none"
                          : "all were answered at the moment they were made: simulated time does "
                            "not pass in a call";
      panel(0, title, what);
      return;
   }
   Panel const area = panel(110, title, "a square is one call or more: the stronger, the more");
   std::size_t const rows = std::max<std::size_t>(end - least, 4);
   double const row = area.height / static_cast<double>(rows);
   latencyScale(area, least, rows);
   std::array<std::string, strengths> paths;
   // A square is as wide as its cell, but for a line between them.
   double const side =
       std::clamp(xOf(begin_ + course_.latencies.width()) - xOf(begin_) - 0.6, 3.0, 9.0);
   std::string const wide = coordinate(side);
   std::string const across = 'h' + wide + 'v';
   std::string const back = "h-" + wide + 'z';
   double at = 0;
   for (LatencyCell const& cell : course_.latencies) {
      double const x = std::min(xOf(at), xOf(end_) - side);
      at += course_.latencies.width();
      for (std::size_t i = least; i < end; ++i) {
         if (cell.calls[i] == 0) continue;
         double const y = area.bottom() - row * static_cast<double>(i - least + 1);
         std::string const high = coordinate(row - 1);
         std::string& path = paths[strengthOf(cell.calls[i])];
         path.append(1, 'M').append(coordinate(x)).append(1, ' ').append(coordinate(y));
         path.append(across).append(high).append(back);
      }
   }
   constexpr std::array names = {"call once", "call few", "call many", "call most"};
   for (std::size_t i = 0; i < strengths; ++i) {
      if (paths[i].empty()) continue;
      body_ += std::string("<path class=\"") + names[i] + "\" d=\"" + paths[i] + "\"/>\n";
   }
}

void Chart::latencyScale(Panel const& panel, std::size_t least, std::size_t count) {
   double const row = panel.height / static_cast<double>(count);
   for (std::size_t i = least; i <= least + count; ++i) {
      bool const isZero = i == 0;
      bool const isDecade = i % 3 == 1;
      // The rows of a microsecond and of no time at all are neighbours.
      if ((!isZero && !isDecade) || (i == 1 && least == 0)) continue;
      double const y = panel.bottom() - row * static_cast<double>(i - least);
      std::string const name = isZero ? "none" : duration(LatencyCell::leastOf(i));
      body_ += "<path class=\"grid\" d=\"M128 " + coordinate(y) + "H1184\"/>\n";
      body_ += "<text class=\"tick\" x=\"116\" y=\"" +
               coordinate(isZero ? y - row / 2 + 4 : y + 4) + "\">" + name + "</text>\n";
   }
}

void Chart::marks() {
   y_ += 18;
   body_ += "<text class=\"title\" x=\"128\" y=\"" + coordinate(y_) + "\">Events</text>\n";
   y_ += 8;
   for (std::size_t i = 0; i < lanes; ++i) {
      auto const used =
          std::count_if(course_.marks.begin(), course_.marks.end(),
                        [&](MarkCell const& cell) { return cell.marks[i].count != 0; });
      if (used == 0) continue;
      bool const isDense = used > 90 && static_cast<Lane>(i) != Lane::faults;
      Panel const area = lane(looks[i].title);
      for (MarkCell const& cell : course_.marks) {
         if (cell.marks[i].count == 0) continue;
         mark(area, i, cell.marks[i], isDense);
      }
   }
}

void Chart::mark(Panel const& panel, std::size_t laneIndex, Mark const& mark, bool isDense) {
   double const x = xOf(placeOf({mark.firstTime, mark.firstLine}));
   std::string const place = placeText({mark.firstTime, mark.firstLine});
   std::vector<std::string> lines = {place};
   lines.insert(lines.end(), mark.texts.begin(), mark.texts.end());
   if (mark.count > mark.texts.size()) {
      lines.push_back("and " + counted(mark.count - mark.texts.size()) + " more");
   }
   std::string title = tip(lines);
   if (title.empty()) {
      title = "<title>" + place + "\n" + counted(mark.count, "event", "events") + "</title>";
   }
   body_ += std::string("<path class=\"mark ") + looks[laneIndex].name + "\" d=\"" +
            shape(laneIndex, x, panel.top + 10, mark.count, isDense) + "\">" + title + "</path>\n";
}

}  // namespace Ctl::Report
