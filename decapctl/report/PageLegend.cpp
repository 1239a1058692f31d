#include "decapctl/report/PageAssets.h"

namespace Ctl::Report {

char const* const pageLegend = R"html(<ul class="legend" aria-label="Legend">
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="area entries" d="M1 5H21V13H1Z"/>
   <path class="curve entries" d="M1 5H21"/></svg>entries in hardware</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="full" d="M1 7H21"/></svg>where “full” was answered</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <circle class="peak" cx="11" cy="7" r="4"/></svg>the greatest</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="area backlog" d="M1 5H21V13H1Z"/>
   <path class="curve backlog" d="M1 5H21"/></svg>keys that wait</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <defs><pattern id="hatch-legend" width="6" height="6" patternUnits="userSpaceOnUse" patternTransform="rotate(45)">
   <path class="hatch" d="M0 0V6"/></pattern></defs>
   <rect class="alarm" x="1" y="2" width="20" height="10" rx="2"/></svg>alarm</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <rect class="burst" x="1" y="2" width="20" height="10" rx="2"/></svg>re-keying</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="call once" d="M3 4h4v7h-4z"/>
   <path class="call few" d="M9 4h4v7h-4z"/>
   <path class="call most" d="M15 4h4v7h-4z"/></svg>hook calls: one, several, many</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="mark machine" d="M11 1L17 7L11 13L5 7Z"/></svg>machine</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="mark configuration" d="M11 2L17 12L5 12Z"/></svg>configuration</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="mark interfaces" d="M6 2H16V12H6Z"/></svg>interfaces</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <circle class="mark messages" cx="11" cy="7" r="5"/></svg>messages</li>
<li><svg viewBox="0 0 22 14" aria-hidden="true">
   <path class="mark faults" d="M6 2L16 12M16 2L6 12"/></svg>hook failures</li>
<li>larger marks: more events</li>
</ul>
)html";

}  // namespace Ctl::Report
