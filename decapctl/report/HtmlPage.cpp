#include "decapctl/report/HtmlPage.h"

#include "decapctl/report/Chart.h"
#include "decapctl/report/HtmlTables.h"
#include "decapctl/report/PageAssets.h"
#include "decapctl/report/Text.h"

#include <algorithm>

namespace Ctl::Report {

namespace {

/// Whether most of the journal happened at a few instants, as in simulated time.
bool isBunched(RunHistory const& run) {
   std::uint64_t all = 0;
   std::uint64_t greatest = 0;
   for (LevelCell const& cell : run.byTime.levels) {
      all += cell.lines;
      greatest = std::max<std::uint64_t>(greatest, cell.lines);
   }
   return greatest * 2 > all;
}

std::string choice(char const* id, char const* label, bool isChosen) {
   return std::string("<input class=\"choice\" type=\"radio\" name=\"axis\" id=\"axis-") + id +
          '"' + (isChosen ? " checked" : "") + "> <label for=\"axis-" + id + "\">" + label +
          "</label>\n";
}

std::string drawn(RunHistory const& run, AxisKind kind, char const* id) {
   Chart chart(run, kind);
   return chart.svg() + "<script type=\"application/json\" id=\"readings-" + id + "\">" +
          chart.readings() + "</script>\n";
}

/// Both axes; the reader has one at a time, which takes no script. A run that took no time has
/// no axis of time.
std::string charts(RunHistory const& run) {
   if (!(run.duration > 0)) {
      return "<p>No time passes in this journal: the axis is its lines.</p>\n<div "
             "class=\"charts\">\n" +
             drawn(run, AxisKind::line, "line") + "</div>\n";
   }
   bool const bunched = isBunched(run);
   return "<span id=\"axis-name\">Axis: </span>" + choice("time", "time", !bunched) +
          choice("line", "order of events", bunched) + "<div class=\"charts\">\n" +
          drawn(run, AxisKind::time, "time") + drawn(run, AxisKind::line, "line") + "</div>\n";
}

constexpr char const* policy =
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
    "'unsafe-inline'; script-src 'unsafe-inline'\">\n";

}  // namespace

std::string htmlPage(RunHistory const& run, std::string const& title) {
   std::string const name = escaped(title);
   return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n" +
          std::string(policy) +
          "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
          name + "</title>\n<style>" + pageStyle + "</style>\n<script>" + pageGuard +
          "</script>\n</head>\n<body>\n<main>\n<h1>" + name +
          "</h1>\n<p class=\"under\">What a decap agent was told and did, from its journal</p>\n" +
          notes(run) + figures(run) + "<section class=\"card\" aria-label=\"The run\">\n" +
          charts(run) + pageLegend + "</section>\n<div class=\"columns\">\n" + callTable(run) +
          typeTable(run) + alarmTable(run) + burstTable(run) + "</div>\n" + keyTable(run) +
          "</main>\n<div id=\"tip\" aria-hidden=\"true\"></div>\n"
          "<div id=\"spoken\" class=\"unseen\" aria-live=\"polite\"></div>\n<script>" +
          pageScript + "</script>\n</body>\n</html>\n";
}

}  // namespace Ctl::Report
