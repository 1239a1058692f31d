#include "decapctl/report/PageAssets.h"

namespace Ctl::Report {

char const* const pageGuard = R"js(
window.addEventListener('error', function (event) {
   document.documentElement.dataset.error = event.message;
});
)js";

char const* const pageScript = R"js(
'use strict';
{
const tip = document.getElementById('tip');
const spoken = document.getElementById('spoken');

function show(text, x, y) {
   tip.textContent = text;
   tip.classList.add('on');
   const box = tip.getBoundingClientRect();
   const left = x + 16 + box.width > innerWidth ? x - 16 - box.width : x + 16;
   tip.style.left = Math.max(4, left) + 'px';
   tip.style.top = Math.max(4, Math.min(y + 14, innerHeight - box.height - 4)) + 'px';
}

function range(low, high, last) {
   return low === high ? String(last) : low + ' to ' + high + ', then ' + last;
}
function words(reading) {
   let text = reading[1] + ' s, line ' + reading[2] +
      '\nin hardware: ' + range(reading[3], reading[4], reading[5]) +
      '\nwaiting: ' + range(reading[6], reading[7], reading[8]);
   if (reading[9]) text += '\nhook calls: ' + reading[9];
   if (reading[10]) text += ', refused: ' + reading[10];
   return text;
}

// The page's own details take the place of the browser's, which would cover them.
function takeTitles(chart) {
   for (const title of chart.querySelectorAll('title')) {
      const owner = title.parentNode;
      owner.dataset.tip = title.textContent;
      owner.setAttribute('aria-label', title.textContent);
      title.remove();
   }
}

// The last reading at or before a place of the drawing.
function indexAt(readings, x) {
   let low = 0, high = readings.length - 1;
   while (low < high) {
      const middle = (low + high + 1) >> 1;
      if (readings[middle][0] <= x + 0.5) low = middle; else high = middle - 1;
   }
   return low;
}

function follow(chart) {
   const unit = chart.classList.contains('by-line') ? 'line' : 'time';
   const readings = JSON.parse(document.getElementById('readings-' + unit).textContent);
   const pointer = chart.querySelector('.pointer');
   const least = Number(chart.dataset.left), greatest = Number(chart.dataset.right);
   let now = -1;

   function scale() { return chart.viewBox.baseVal.width / chart.getBoundingClientRect().width; }
   function moveTo(index) {
      now = Math.max(0, Math.min(index, readings.length - 1));
      pointer.setAttribute('transform', 'translate(' + (readings[now][0] - least) + ' 0)');
      pointer.classList.add('on');
   }
   function leave() {
      tip.classList.remove('on');
      pointer.classList.remove('on');
   }
   chart.addEventListener('pointerleave', leave);
   chart.addEventListener('blur', leave);
   chart.addEventListener('pointermove', function (event) {
      const marked = event.target.closest('[data-tip]');
      if (marked) return show(marked.dataset.tip, event.clientX, event.clientY);
      const x = (event.clientX - chart.getBoundingClientRect().left) * scale();
      if (!readings.length || x < least - 4 || x > greatest + 4) return leave();
      moveTo(indexAt(readings, x));
      show(words(readings[now]), event.clientX, event.clientY);
   });
   chart.addEventListener('keydown', function (event) {
      const steps = { ArrowLeft: -1, ArrowRight: 1, PageUp: -20, PageDown: 20, Home: -1e9, End: 1e9 };
      if (event.key === 'Escape') return leave();
      if (!(event.key in steps) || !readings.length) return;
      event.preventDefault();
      moveTo(now + steps[event.key]);
      const box = chart.getBoundingClientRect();
      spoken.textContent = words(readings[now]);
      show(spoken.textContent, box.left + readings[now][0] / scale(), box.top + 40);
   });
}

function sortBy(table, heads, column) {
   const up = heads[column].getAttribute('aria-sort') === 'descending';
   for (const each of heads) each.removeAttribute('aria-sort');
   heads[column].setAttribute('aria-sort', up ? 'ascending' : 'descending');
   function value(row) {
      const cell = row.cells[column];
      return 'value' in cell.dataset ? Number(cell.dataset.value) : cell.textContent;
   }
   const rows = Array.from(table.tBodies[0].rows);
   rows.sort(function (a, b) {
      const left = value(a), right = value(b);
      return (left < right ? -1 : left > right ? 1 : 0) * (up ? 1 : -1);
   });
   table.tBodies[0].append(...rows);
}

for (const chart of document.querySelectorAll('svg.chart')) {
   takeTitles(chart);
   follow(chart);
}
for (const table of document.querySelectorAll('table.sortable')) {
   const heads = Array.from(table.tHead.rows[0].cells);
   heads.forEach(function (head, column) {
      const button = document.createElement('button');
      button.type = 'button';
      button.textContent = head.textContent;
      head.replaceChildren(button);
      button.addEventListener('click', function () { sortBy(table, heads, column); });
   });
}
document.documentElement.dataset.script = 'ready';
}
)js";

}  // namespace Ctl::Report
