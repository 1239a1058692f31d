#pragma once

#include "decapctl/report/RunHistory.h"

#include <string>
#include <vector>

namespace Ctl::Report {

enum class AxisKind { time, line };

/// The run as one drawing: panels below each other on a common axis, as SVG.
///
/// Whatever the journal holds, the drawing has a bounded size: it follows cells, not lines.
class Chart {
 public:
   Chart(RunHistory const& run, AxisKind kind);

   std::string svg();
   /// What the script shows of a place: a list of cells, each a list of numbers, as JSON.
   std::string readings() const;

 private:
   struct Panel {
      double top;
      double height;
      double bottom() const noexcept { return top + height; }
   };

   double xOf(double place) const;
   double placeOf(Place place) const;
   std::string placeText(Place place) const;

   Panel panel(double height, std::string const& title, std::string const& remark);
   Panel lane(std::string const& title);
   void levels(Panel const& panel, Level LevelCell::*level, std::string const& name,
               double greatest);
   void entries();
   void fullLevel(Panel const& panel, double greatest);
   void backlog();
   void peak(Panel const& panel, Place at, double value, double greatest);
   void scale(Panel const& panel, double greatest);
   void alarms();
   void bursts();
   void latencies();
   void latencyScale(Panel const& panel, std::size_t least, std::size_t count);
   void marks();
   void mark(Panel const& panel, std::size_t laneIndex, Mark const& mark, bool isDense);
   void axis();
   void times(double y);
   void block(Panel const& panel, char const* name, Span const& span,
              std::vector<std::string> lines);
   bool touches(Span const& span, Span const& next) const;
   std::string tip(std::vector<std::string> const& lines);

   RunHistory const& run_;
   AxisKind const kind_;
   Course const& course_;
   double const begin_;
   double const end_;
   std::string const id_;
   std::string body_;
   double y_ = 6;
   /// What is left for the details of marks.
   std::size_t tipBudget_ = 400'000;
};

}  // namespace Ctl::Report
