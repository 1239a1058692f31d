#pragma once

#include "oracle/Books.h"
#include "oracle/Scene.h"
#include "oracle/Wanted.h"
#include "oracle/World.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Oracle {

/// The machine and the oracle side by side: each event goes to both, and after it they agree.
///
/// Owner: whoever plays a sequence. One at a time.
class Run {
 public:
   /// `recorder` writes down what the machine is told and does, null for nobody; it outlives this.
   explicit Run(Journal::Recorder* recorder = nullptr);

   /// What they disagree about, a line each; empty when all is well.
   Books::Complaints apply(Event const& event);
   /// Takes everything away, step by step, and looks whether anything is left.
   Books::Complaints withdrawAll();

   Scene const& scene() const { return scene_; }
   // What the oracle holds to be right now.
   Wanted::Counts counts() const { return wanted_.counts(); }
   std::size_t inHardware() const { return books_.inHardware(); }
   std::size_t waiting() const { return books_.waiting(); }
   /// What the oracle thinks of the present: references and keys, a line each.
   std::string text() const { return wanted_.text() + books_.text(); }

 private:
   Books::Complaints leftovers();

   Scene scene_;
   Wanted wanted_;
   Books books_;
   World world_;
};

/// How a sequence ended.
struct Outcome {
   static constexpr std::size_t withdrawal = static_cast<std::size_t>(-1);

   /// Events applied before the first difference showed, that event included; `withdrawal` when it
   /// showed after the last one, when everything was taken away.
   std::size_t at = 0;
   Books::Complaints complaints;
   /// What the oracle thought then.
   std::string expected;

   bool ok() const { return complaints.empty(); }
};

/// What the machine is told and does in a sequence, up to the first difference or to the end of
/// everything: its journal, line by line as it happens.
void record(Events const& events, Journal::Recorder::Sink const& sink);

/// Plays a sequence to its end and withdraws everything, or up to the first difference. `progress`
/// hears of each event before it is applied: how many there were, that one included.
Outcome play(
    Events const& events, std::function<void(std::size_t at)> const& progress = [](std::size_t) {});

}  // namespace Oracle
