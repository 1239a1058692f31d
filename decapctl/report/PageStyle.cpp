#include "decapctl/report/PageAssets.h"

namespace Ctl::Report {

char const* const pageStyle = R"css(
:root {
   color-scheme: light dark;
   --page: #f7f7f5; --card: #ffffff; --ink: #16161a; --soft: #565660; --faint: #6f6f78;
   --line: #e3e3df; --base: #a8a8a4; --entries: #2a6fc9; --backlog: #c2571a; --alarm: #c62f3a;
   --calls: #5a48b8; --burst: #0f7d68; --message: #946000; --note: #fff4d6; --note-ink: #5c4400;
}
@media (prefers-color-scheme: dark) {
   :root {
      --page: #121316; --card: #1b1c20; --ink: #f1f1ef; --soft: #b9b9c0; --faint: #9a9aa3;
      --line: #2f3036; --base: #62636b; --entries: #5b9df0; --backlog: #ee8a4b; --alarm: #f0626b;
      --calls: #a596f5; --burst: #3cc0a3; --message: #e0ac3f; --note: #3a3013; --note-ink: #f6dd9c;
   }
}
* { box-sizing: border-box; }
body {
   margin: 0 auto; max-width: 1320px; padding: 28px 32px 48px; background: var(--page);
   color: var(--ink); font: 15px/1.45 system-ui, "Segoe UI", "Helvetica Neue", Arial, sans-serif;
}
h1 { font-size: 24px; margin: 0 0 2px; line-height: 1.25; overflow-wrap: anywhere; }
h2 { font-size: 17px; margin: 0 0 10px; }
p { margin: 0 0 10px; }
.under { color: var(--soft); margin-bottom: 18px; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 18px 20px;
   margin: 0 0 18px; }
.note { background: var(--note); color: var(--note-ink); border-radius: 8px; padding: 10px 14px;
   margin: 0 0 14px; }
.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(165px, 1fr)); gap: 12px;
   margin: 0 0 18px; padding: 0; }
.figures div { background: var(--card); border: 1px solid var(--line); border-radius: 10px;
   padding: 12px 14px; min-width: 0; }
.figures dt { color: var(--soft); font-size: 13px; }
.figures dd { margin: 0; }
.figures .value { font-size: 20px; white-space: nowrap; font-weight: 600; line-height: 1.3; }
.figures .more { color: var(--faint); font-size: 12.5px; line-height: 1.35; overflow-wrap: anywhere; }
.axis { margin: 0 0 8px; padding: 0; border: 0; display: inline-block; }
.axis legend { float: left; margin-right: 12px; padding: 0; color: var(--soft); }
.axis label { margin-right: 16px; cursor: pointer; }
#axis-time:checked ~ .charts .by-line, #axis-line:checked ~ .charts .by-time { display: none; }
.choice { accent-color: var(--entries); }
.charts { overflow-x: auto; }
.chart { display: block; width: 100%; min-width: 720px; height: auto; touch-action: pan-y; }
.chart:focus-visible { outline: 2px solid var(--entries); outline-offset: 4px; }
.chart text { fill: var(--soft); font-size: 12px; }
.chart .title { fill: var(--ink); font-size: 14px; font-weight: 600; }
.chart .title, .chart .remark { paint-order: stroke; stroke: var(--card); stroke-width: 6px; }
.chart .remark { fill: var(--faint); text-anchor: end; }
.chart .remark.start { text-anchor: start; }
.chart .lane { fill: var(--ink); font-size: 12.5px; text-anchor: end; }
.chart .tick { text-anchor: end; font-variant-numeric: tabular-nums; }
.chart .place { text-anchor: middle; font-variant-numeric: tabular-nums; }
.chart .label { fill: var(--ink); font-weight: 600; paint-order: stroke; stroke: var(--card);
   stroke-width: 4px; stroke-linejoin: round; }
.chart .label.end { text-anchor: end; }
.grid, .base, .rail, .full, .pointer { fill: none; stroke: var(--line); stroke-width: 1; }
.grid.across { stroke-opacity: .75; }
.base { stroke: var(--base); }
.full { stroke: var(--alarm); stroke-width: 1.5; stroke-dasharray: 7 5; }
.pointer { stroke: var(--ink); stroke-opacity: .45; visibility: hidden; pointer-events: none; }
.pointer.on { visibility: visible; }
.curve { fill: none; stroke-width: 2; stroke-linejoin: round; }
.area { fill-opacity: .16; }
.curve.entries { stroke: var(--entries); } .area.entries { fill: var(--entries); }
.curve.backlog { stroke: var(--backlog); } .area.backlog { fill: var(--backlog); }
.peak { fill: var(--card); stroke: var(--ink); stroke-width: 2; }
.alarm { stroke: var(--alarm); stroke-width: 1.5; }
.by-time .alarm { fill: url(#hatch-time); } .by-line .alarm { fill: url(#hatch-line); }
.hatch { stroke: var(--alarm); stroke-width: 4; fill: none; }
.burst { fill: var(--burst); }
.call { fill: var(--calls); } .call.once { fill-opacity: .4; } .call.few { fill-opacity: .6; }
.call.many { fill-opacity: .8; }
.mark { stroke: var(--card); stroke-width: 1; }
.mark.machine { fill: var(--ink); } .mark.configuration { fill: var(--entries); }
.mark.interfaces { fill: var(--burst); } .mark.messages { fill: var(--message); }
.mark.faults { stroke: var(--alarm); stroke-width: 2.5; fill: none; }
.mark:hover, .burst:hover, .alarm:hover { stroke: var(--ink); stroke-width: 2; }
.legend { display: flex; flex-wrap: wrap; gap: 4px 20px; list-style: none; margin: 12px 0 0;
   padding: 0; color: var(--soft); font-size: 13px; }
.legend svg { width: 22px; height: 14px; vertical-align: -2px; margin-right: 6px; }
.legend .alarm { fill: url(#hatch-legend); }
#tip { position: fixed; z-index: 2; display: none; max-width: 380px; padding: 8px 11px;
   pointer-events: none; background: var(--card); color: var(--ink); border: 1px solid var(--base);
   border-radius: 7px; box-shadow: 0 4px 16px rgb(0 0 0 / .22); font-size: 13px; white-space: pre-line;
   overflow-wrap: anywhere; font-variant-numeric: tabular-nums; }
#tip.on { display: block; }
.columns { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 480px), 1fr)); gap: 18px;
   align-items: start; }
.columns .card { margin: 0; }
.columns { margin-bottom: 18px; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: 13.5px; }
caption { text-align: left; color: var(--soft); padding: 0 0 8px; }
th, td { text-align: right; padding: 5px 8px; border-bottom: 1px solid var(--line);
   font-variant-numeric: tabular-nums; vertical-align: top; white-space: nowrap; }
th:first-child, td:first-child { text-align: left; padding-left: 0; }
td:first-child { white-space: normal; overflow-wrap: anywhere; }
thead th { color: var(--soft); font-weight: 600; border-bottom-color: var(--base); }
tbody th { font-weight: 400; }
th button { font: inherit; color: inherit; background: none; border: 0; padding: 0; cursor: pointer; }
th[aria-sort=descending] button::after { content: " ▾"; }
th[aria-sort=ascending] button::after { content: " ▴"; }
.bar { display: inline-block; height: 9px; min-width: 1px; background: var(--entries);
   border-radius: 2px; }
.bar.wait { background: var(--backlog); } .bar.bad { background: var(--alarm); }
.bar.other { background: var(--base); }
td.bars { width: 40%; text-align: left; }
.unseen { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
@media (max-width: 700px) { body { padding: 16px; } }
@media print {
   :root { color-scheme: light; --page: #fff; --card: #fff; --ink: #000; --soft: #333; --faint: #444;
      --line: #ccc; --base: #777; --entries: #1d58a8; --backlog: #a84408; --alarm: #a8141f;
      --calls: #43329c; --burst: #0a6150; --message: #704800; --note: #fff; --note-ink: #000; }
   body { padding: 0; font-size: 11pt; max-width: none; }
   .card, .figures div { break-inside: avoid; }
   .choice, .axis { display: none; }
   .note { border: 1px solid #000; }
   .charts { overflow: visible; }
   .chart { min-width: 0; }
   .bar, .chart { print-color-adjust: exact; }
}
)css";

}  // namespace Ctl::Report
