#include "decapctl/report/RunHistory.h"

#include <algorithm>
#include <cmath>

namespace Ctl::Report {

void Level::is(std::uint32_t value) {
   low = seen ? std::min(low, value) : value;
   high = seen ? std::max(high, value) : value;
   last = value;
   seen = true;
}

void Level::add(Level const& later) {
   if (!later.seen) return;
   low = seen ? std::min(low, later.low) : later.low;
   high = seen ? std::max(high, later.high) : later.high;
   last = later.last;
   seen = true;
}

void LevelCell::add(LevelCell const& later) {
   entries.add(later.entries);
   backlog.add(later.backlog);
   calls += later.calls;
   refusals += later.refusals;
   if (later.lines != 0) last = later.last;
   lines += later.lines;
}

std::size_t LatencyCell::classOf(double seconds) noexcept {
   if (!(seconds > 0)) return 0;
   double const place = std::floor(std::log10(seconds / 1e-6) * 3 + 1e-9);
   return static_cast<std::size_t>(std::clamp(place, 0.0, classes - 2.0)) + 1;
}

double LatencyCell::leastOf(std::size_t index) noexcept {
   return 1e-6 * std::pow(10.0, (static_cast<double>(index) - 1) / 3);
}

void LatencyCell::add(LatencyCell const& later) {
   for (std::size_t i = 0; i < classes; ++i) calls[i] += later.calls[i];
}

void Mark::add(Mark const& later) {
   if (later.count == 0) return;
   if (count == 0) {
      firstLine = later.firstLine;
      firstTime = later.firstTime;
   }
   count += later.count;
   for (auto const& text : later.texts) {
      if (texts.size() < greatestTexts) texts.push_back(text);
   }
}

void MarkCell::add(MarkCell const& later) {
   for (std::size_t i = 0; i < lanes; ++i) marks[i].add(later.marks[i]);
}

}  // namespace Ctl::Report
