#pragma once

#include "decapctl/report/HardwareTable.h"
#include "decapctl/report/JournalReader.h"
#include "decapctl/report/KeyBook.h"
#include "decapctl/report/RunHistory.h"
#include "decapctl/report/Waiting.h"
#include "decapctl/report/Wanted.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Ctl::Report {

/// Puts the history of a run together from the lines of its journal.
///
/// Errors: JournalError for a line that cannot follow those before it.
/// Cost: a hash look-up or two for a line; memory for each distinct key and each prefix of a group.
class Historian {
 public:
   Historian() : book_(run_.types), table_(book_, run_), waiting_(book_) {}
   Historian(Historian const&) = delete;
   Historian& operator=(Historian const&) = delete;

   void take(JournalLine const& line);
   /// What it came to. Ends the work.
   RunHistory finish(JournalEnd const& end);

 private:
   struct Call {
      std::string operation;
      std::optional<KeyId> key;
      double time = 0;
   };

   Place here() const noexcept { return {time_ - run_.startTime, line_}; }
   template <class Change>
   void eachCourse(Change const& change);

   void moveTo(JournalLine const& line);
   void input(JournalLine const& line);
   void clock();
   void machine(JournalLine const& line);
   void call(JournalLine const& line);
   void answer(JournalLine const& line);
   void programmed(Call const& call, JournalLine const& line);
   void alarm(bool on);

   void mark(Lane lane, JournalLine const& line);
   void noteLevels();
   void noteLatency(double seconds);

   RunHistory run_;
   KeyBook book_;
   HardwareTable table_;
   Waiting waiting_;
   Wanted wanted_;
   /// Calls that wait for their answers; more than one when a call makes another.
   std::vector<Call> calls_;
   double time_ = 0;
   std::size_t line_ = 1;
   bool hasStarted_ = false;
   bool isConfigured_ = false;
   bool isInitialized_ = false;
   std::optional<double> reviewInterval_;
   double lastProgram_ = 0;
};

}  // namespace Ctl::Report
