#include "decapctl/report/Chart.h"

#include "decapctl/report/Scale.h"
#include "decapctl/report/Text.h"

#include <algorithm>
#include <cmath>

namespace Ctl::Report {

namespace {

constexpr double width = 1200;
constexpr double left = 128;
constexpr double right = 1184;

std::string attribute(char const* name, std::string const& value) {
   return std::string(" ") + name + "=\"" + value + '"';
}

std::string attribute(char const* name, double value) { return attribute(name, coordinate(value)); }

std::string text(double x, double y, char const* classes, std::string const& content) {
   return "<text" + attribute("x", x) + attribute("y", y) + attribute("class", classes) + '>' +
          escaped(content) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, char const* classes) {
   return "<path" + attribute("class", classes) +
          attribute("d", 'M' + coordinate(x1) + ' ' + coordinate(y1) + 'L' + coordinate(x2) + ' ' +
                             coordinate(y2)) +
          "/>\n";
}

}  // namespace

Chart::Chart(RunHistory const& run, AxisKind kind)
    : run_(run), kind_(kind), course_(kind == AxisKind::time ? run.byTime : run.byLine),
      begin_(kind == AxisKind::time ? 0 : 1),
      end_(kind == AxisKind::time ? run.duration
                                  : std::max(2.0, static_cast<double>(run.end.lines))),
      id_(kind == AxisKind::time ? "time" : "line") {}

double Chart::xOf(double place) const {
   double const part = end_ > begin_ ? (place - begin_) / (end_ - begin_) : 0;
   return left + std::clamp(part, 0.0, 1.0) * (right - left);
}

double Chart::placeOf(Place place) const {
   return kind_ == AxisKind::time ? place.time : static_cast<double>(place.line);
}

std::string Chart::placeText(Place place) const {
   return moment(place.time) + ", line " + counted(place.line);
}

/// Details for whoever points at the element before it. A page that would get too long goes
/// without the rest of them.
std::string Chart::tip(std::vector<std::string> const& lines) {
   std::string title;
   for (auto const& each : lines) title += (title.empty() ? "<title>" : "\n") + escaped(each);
   title += "</title>";
   if (title.size() > tipBudget_) return {};
   tipBudget_ -= title.size();
   return title;
}

Chart::Panel Chart::panel(double height, std::string const& title, std::string const& remark) {
   y_ += 18;
   body_ += text(left, y_, "title", title);
   if (!remark.empty()) body_ += text(right, y_, "remark", remark);
   Panel const panel{y_ + 10, height};
   y_ = panel.bottom() + 18;
   return panel;
}

Chart::Panel Chart::lane(std::string const& title) {
   Panel const panel{y_, 20};
   body_ += text(left - 12, y_ + 14, "lane", title);
   body_ += line(left, y_ + 10, right, y_ + 10, "rail");
   y_ += 26;
   return panel;
}

void Chart::scale(Panel const& panel, double greatest) {
   for (double const tick : ticks(greatest, 4)) {
      double const y = panel.bottom() - tick / greatest * panel.height;
      body_ += line(left, y, right, y, tick == 0 ? "base" : "grid");
      body_ += text(left - 12, y + 4, "tick", counted(static_cast<std::uint64_t>(tick)));
   }
}

void Chart::levels(Panel const& panel, Level LevelCell::*level, std::string const& name,
                   double greatest) {
   auto const yOf = [&](double value) {
      return coordinate(panel.bottom() - value / greatest * panel.height);
   };
   std::string path;
   std::uint32_t last = 0;
   double at = 0;
   for (LevelCell const& cell : course_.levels) {
      Level const& now = cell.*level;
      double const x = std::max(at, begin_);
      at += course_.levels.width();
      if (!now.seen || (now.low == last && now.high == last)) continue;
      path += 'H' + coordinate(xOf(x));
      if (now.low != last && now.low != now.last) path += 'V' + yOf(now.low);
      if (now.high != last && now.high != now.last) path += 'V' + yOf(now.high);
      if (now.last != last || now.low != now.high) path += 'V' + yOf(now.last);
      last = now.last;
   }
   path += 'H' + coordinate(right);
   std::string const start = 'M' + coordinate(left) + ' ' + yOf(0);
   body_ += "<path" + attribute("class", "area " + name) +
            attribute("d", start + path + 'V' + yOf(0) + 'Z') + "/>\n";
   body_ += "<path" + attribute("class", "curve " + name) + attribute("d", start + path) + "/>\n";
}

void Chart::peak(Panel const& panel, Place at, double value, double greatest) {
   double const x = xOf(placeOf(at));
   double const y = panel.bottom() - value / greatest * panel.height;
   bool const isFarRight = x > right - 220;
   body_ += "<circle class=\"peak\"" + attribute("cx", x) + attribute("cy", y) + " r=\"4\">" +
            tip({"Greatest: " + counted(static_cast<std::uint64_t>(value)), placeText(at)}) +
            "</circle>\n";
   body_ += text(isFarRight ? x - 9 : x + 9, y - 7, isFarRight ? "label end" : "label",
                 counted(static_cast<std::uint64_t>(value)));
}

void Chart::entries() {
   Use const& table = run_.table;
   std::string const remark = table.full == 0
                                  ? "“full” was never answered: the capacity is not known"
                                  : "dashed: where “full” was answered";
   Panel const area = panel(150, "Entries in hardware", remark);
   double const greatest = roomFor(std::max(table.greatest, table.fullGreatest));
   scale(area, greatest);
   levels(area, &LevelCell::entries, "entries", greatest);
   if (table.full != 0) fullLevel(area, greatest);
   if (table.greatest != 0) peak(area, run_.greatestAt, table.greatest, greatest);
}

void Chart::fullLevel(Panel const& panel, double greatest) {
   Use const& table = run_.table;
   double const y = panel.bottom() - table.fullGreatest / greatest * panel.height;
   std::string label = "“full” answered at " + counted(table.fullGreatest);
   if (table.fullLeast != table.fullGreatest) {
      label = "“full” answered at " + counted(table.fullLeast) + " to " +
              counted(table.fullGreatest) + " (see tunnel types)";
   }
   body_ += line(left, y, right, y, "full");
   // Where the label of the greatest number is not.
   bool const isFarRight = xOf(placeOf(run_.greatestAt)) > (left + right) / 2;
   body_ +=
       text(isFarRight ? left + 6 : right - 4, y - 6, isFarRight ? "label" : "label end", label);
}

void Chart::backlog() {
   Panel const area = panel(90, "Keys that wait", "refused for now: full, not ready, pending");
   double const greatest = roomFor(run_.greatestBacklog);
   scale(area, greatest);
   levels(area, &LevelCell::backlog, "backlog", greatest);
   if (run_.greatestBacklog != 0) {
      peak(area, run_.greatestBacklogAt, run_.greatestBacklog, greatest);
   }
}

void Chart::block(Panel const& panel, char const* name, Span const& span,
                  std::vector<std::string> lines) {
   double const from = xOf(placeOf(span.begin));
   double const to = std::max(xOf(placeOf(span.end)), from + 2);
   lines.push_back("from " + placeText(span.begin));
   lines.push_back((span.ended ? "to " : "on at ") + placeText(span.end));
   body_ += "<rect" + attribute("class", name) + attribute("x", from) +
            attribute("y", panel.top + 3) + attribute("width", to - from) +
            attribute("height", 14) + attribute("rx", "2") + '>' + tip(lines) + "</rect>\n";
}

/// Whether the two would be drawn on top of each other.
bool Chart::touches(Span const& span, Span const& next) const {
   return xOf(placeOf(next.begin)) < xOf(placeOf(span.end)) + 2;
}

void Chart::alarms() {
   Panel const area = lane("Alarm");
   auto const& all = run_.alarms;
   for (std::size_t i = 0; i < all.size();) {
      Span span = all[i];
      std::size_t count = 1;
      for (; i + count < all.size() && touches(span, all[i + count]); ++count) {
         span.end = all[i + count].end;
         span.ended = all[i + count].ended;
      }
      std::string const what = count == 1 ? "Alarm for " : counted(count) + " alarms within ";
      block(area, "alarm", span, {what + duration(span.seconds())});
      i += count;
   }
}

void Chart::bursts() {
   if (run_.bursts.empty()) return;
   Panel const area = lane("Re-keying");
   auto const& all = run_.bursts;
   for (std::size_t i = 0; i < all.size();) {
      Burst burst = all[i++];
      std::size_t changes = 1;
      for (; i < all.size() && touches(burst.span, all[i].span); ++i, ++changes) {
         burst.span.end = all[i].span.end;
         burst.destinations += all[i].destinations;
         burst.longestGap = std::max(burst.longestGap, all[i].longestGap);
      }
      block(area, "burst", burst.span,
            {counted(burst.destinations, "destination", "destinations") +
                 " removed and programmed again",
             "by " + counted(changes, "change", "changes") + "; longest gap " +
                 duration(burst.longestGap)});
   }
}

/// The time at the ticks of an axis of lines.
void Chart::times(double y) {
   for (double const tick : ticks(end_ - 1, 8)) {
      double const place = std::max(tick, 1.0);
      double time = 0;
      for (LevelCell const& cell : course_.levels) {
         if (cell.lines == 0) continue;
         if (static_cast<double>(cell.last.line) > place) break;
         time = cell.last.time;
      }
      body_ += text(xOf(place), y, "place", moment(time));
   }
}

void Chart::axis() {
   double const y = y_ + 4;
   std::string behind;
   body_ += line(left, y, right, y, "base");
   for (double const tick : ticks(end_ - (kind_ == AxisKind::time ? 0 : 1), 8)) {
      double const place = kind_ == AxisKind::time ? tick : std::max(tick, 1.0);
      double const x = xOf(place);
      behind += line(x, 20, x, y, "grid across");
      body_ += line(x, y, x, y + 5, "base");
      body_ +=
          text(x, y + 20, "place",
               kind_ == AxisKind::time ? plain(tick) : counted(static_cast<std::uint64_t>(place)));
   }
   body_ += text(left, y + (kind_ == AxisKind::time ? 40 : 54), "remark start",
                 kind_ == AxisKind::time
                     ? "seconds since the beginning of the journal"
                     : "line of the journal: the order of events, whatever the time between them");
   if (kind_ == AxisKind::line) times(y + 35);
   y_ = y + 66;
   body_.insert(0, behind);
}

std::string Chart::svg() {
   entries();
   backlog();
   alarms();
   bursts();
   y_ += 8;
   latencies();
   marks();
   axis();
   std::string const size = "0 0 " + coordinate(width) + ' ' + coordinate(y_);
   return "<svg" + attribute("class", "chart by-" + id_) + attribute("viewBox", size) +
          attribute("data-left", left) + attribute("data-right", right) +
          " role=\"img\" tabindex=\"0\"" + attribute("aria-labelledby", id_ + "-name") + ">\n" +
          "<desc" + attribute("id", id_ + "-name") + ">The run over " +
          (kind_ == AxisKind::time ? "time" : "the lines of the journal") +
          ": entries in hardware, keys that wait, alarm, re-keying, durations of hook calls and "
          "events. The tables below have the same in numbers. Arrow keys move the pointer.</desc>\n"
          "<defs><pattern" +
          attribute("id", "hatch-" + id_) +
          " width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\" "
          "patternTransform=\"rotate(45)\"><path class=\"hatch\" d=\"M0 "
          "0V6\"/></pattern></defs>\n" +
          body_ + line(left, 20, left, y_ - 66, "pointer") + "</svg>\n";
}

std::string Chart::readings() const {
   std::string list;
   double at = 0;
   for (LevelCell const& cell : course_.levels) {
      double const place = std::max(at, begin_);
      at += course_.levels.width();
      if (!cell.entries.seen || cell.lines == 0) continue;
      list += (list.empty() ? "[" : ",[") + coordinate(xOf(place)) + ',' + plain(cell.last.time) +
              ',' + std::to_string(cell.last.line);
      for (Level const* const level : {&cell.entries, &cell.backlog}) {
         list += ',' + std::to_string(level->low) + ',' + std::to_string(level->high) + ',' +
                 std::to_string(level->last);
      }
      list += ',' + std::to_string(cell.calls) + ',' + std::to_string(cell.refusals) + ']';
   }
   return '[' + list + ']';
}

}  // namespace Ctl::Report
