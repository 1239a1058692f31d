#include "decapctl/report/Historian.h"

#include "decapctl/report/Describe.h"

#include <algorithm>
#include <utility>

namespace Ctl::Report {

namespace {

constexpr std::size_t ofEachRank = 12;
/// Answers are seven; a journal of something else does not make the page longer.
constexpr std::size_t greatestAnswers = 24;

void count(std::map<std::string, std::uint64_t>& counts, std::string const& what) {
   bool const fits = counts.size() < greatestAnswers || counts.contains(what);
   ++counts[fits ? what : "other"];
}

Lane laneOf(JournalLine const& line) {
   if (line.is(1, "group")) return Lane::configuration;
   if (line.is(1, "config")) return line.is(3, "decapGroup") ? Lane::configuration : Lane::machine;
   for (char const* const kind : {"ip", "ip6", "ipIntf", "ip6Intf"}) {
      if (line.is(1, kind)) return Lane::interfaces;
   }
   return Lane::machine;
}

}  // namespace

/// Does something at the place of the line on both axes.
template <class Change>
void Historian::eachCourse(Change const& change) {
   change(run_.byTime, here().time);
   change(run_.byLine, static_cast<double>(line_));
}

void Historian::take(JournalLine const& line) {
   moveTo(line);
   if (!line.time()) {
      if (line.is(0, "alarm")) return alarm(line.flag(1));
      if (line.is(0, "log")) return mark(Lane::messages, line);
      if (line.is(0, "trace")) return static_cast<void>(++run_.traces);
      line.fail("no line of a journal begins so");
   }
   if (line.is(1, "call")) return call(line);
   if (line.is(1, "answer")) return answer(line);
   if (line.is(1, "udp-wait") || line.is(1, "trace")) return;
   waiting_.reviewEnds(here());
   table_.inputBegins();
   input(line);
   noteLevels();
}

void Historian::moveTo(JournalLine const& line) {
   line_ = line.number();
   if (auto const time = line.time()) {
      if (!hasStarted_) {
         run_.startTime = *time;
      } else if (*time < time_) {
         line.fail("the time goes back");
      }
      hasStarted_ = true;
      time_ = *time;
   }
   eachCourse([this](Course& course, double at) {
      LevelCell& cell = course.levels.at(at);
      ++cell.lines;
      cell.last = here();
   });
}

void Historian::input(JournalLine const& line) {
   if (line.is(1, "clock")) return clock();
   bool const isGroup = line.is(1, "group");
   if (isGroup || line.is(1, "config")) {
      waiting_.lost(wanted_, wanted_.take(line), here());
      if (line.is(3, "ready")) isConfigured_ = line.flag(4);
      // What a group is made of becomes part of the configuration with it.
      if (isGroup && line.is(3, "make")) return;
   }
   if (line.is(1, "machine")) machine(line);
   mark(laneOf(line), line);
}

void Historian::clock() {
   constexpr double rounding = 1e-9;
   bool const isDue = reviewInterval_ && isConfigured_ && isInitialized_ &&
                      time_ >= lastProgram_ + *reviewInterval_ - rounding;
   waiting_.reviewBegins(isDue);
}

void Historian::machine(JournalLine const& line) {
   if (line.is(2, "reviewInterval")) reviewInterval_ = line.seconds(3);
   if (line.is(2, "initialized")) isInitialized_ = line.flag(3);
   if (!line.is(2, "build") && !line.is(2, "drop")) return;
   // A machine begins without backlog and alarm, and leaves none behind.
   waiting_.allLeave(here());
   alarm(false);
   isInitialized_ = false;
   if (line.is(2, "drop")) return;
   table_.machineBegins();
}

void Historian::alarm(bool on) {
   bool const isOn = !run_.alarms.empty() && !run_.alarms.back().ended;
   if (on == isOn) return;
   if (on) {
      run_.alarms.push_back({here(), here(), false});
   } else {
      run_.alarms.back().end = here();
      run_.alarms.back().ended = true;
   }
}

void Historian::call(JournalLine const& line) {
   Call call{line.word(2), std::nullopt, time_};
   bool const isProgram = call.operation == "program";
   if (isProgram || call.operation == "remove") call.key = book_.idOf(line.name(3));
   if (isProgram) {
      waiting_.asked(*call.key, here());
   } else if (!call.key) {
      mark(Lane::machine, line);
   }
   ++run_.calls;
   eachCourse([](Course& course, double at) { ++course.levels.at(at).calls; });
   calls_.push_back(std::move(call));
   noteLevels();
}

void Historian::answer(JournalLine const& line) {
   if (calls_.empty()) line.fail("an answer without a call");
   Call const call = std::move(calls_.back());
   calls_.pop_back();
   double const took = time_ - call.time;
   noteLatency(took);
   if (call.key) {
      double& slowest = book_[*call.key].story.slowestCall;
      slowest = std::max(slowest, took);
   }
   bool const threw = line.is(2, "threw");
   if (threw) mark(Lane::faults, line);
   if (call.operation == "program") {
      programmed(call, line);
   } else {
      count(run_.otherCalls, call.operation + (threw ? " threw" : ""));
      if (call.operation == "remove" && !threw) table_.removed(*call.key, here());
      if (call.operation == "config-ready" && !threw) table_.configurationReplayed();
   }
   noteLevels();
}

void Historian::programmed(Call const& call, JournalLine const& line) {
   std::string const answer = line.shown(2);
   count(run_.programs, answer);
   lastProgram_ = time_;
   KeyId const id = *call.key;
   Key& key = book_[id];
   if (answer == "success" || answer == "exists") {
      waiting_.leaves(id, here());
      return table_.written(id, here(), answer == "exists");
   }
   eachCourse([](Course& course, double at) { ++course.levels.at(at).refusals; });
   if (key.story.refusals() == 0) ++run_.keysRefused;
   if (answer == "full") {
      ++key.story.full;
      table_.full(id);
   } else if (answer == "not-ready") {
      ++key.story.notReady;
   } else if (answer == "pending") {
      ++key.story.pending;
   } else if (answer == "threw") {
      ++key.story.threw;
   } else {
      ++key.story.refused;
      return waiting_.leaves(id, here());
   }
   waiting_.refused(id, here());
}

void Historian::noteLevels() {
   std::uint32_t const entries = table_.size();
   auto const backlog = static_cast<std::uint32_t>(waiting_.size());
   run_.backlog = backlog;
   if (entries > run_.table.greatest) {
      run_.table.greatest = entries;
      run_.greatestAt = here();
   }
   if (backlog > run_.greatestBacklog) {
      run_.greatestBacklog = backlog;
      run_.greatestBacklogAt = here();
   }
   eachCourse([&](Course& course, double at) {
      LevelCell& cell = course.levels.at(at);
      cell.entries.is(entries);
      cell.backlog.is(backlog);
   });
}

void Historian::noteLatency(double seconds) {
   std::size_t const index = LatencyCell::classOf(seconds);
   eachCourse([&](Course& course, double at) { ++course.latencies.at(at).calls[index]; });
   if (seconds <= run_.slowestCall) return;
   run_.slowestCall = seconds;
   run_.slowestAt = here();
}

void Historian::mark(Lane lane, JournalLine const& line) {
   eachCourse([&](Course& course, double at) {
      Mark& mark = course.marks.at(at).marks[static_cast<std::size_t>(lane)];
      if (mark.count++ == 0) {
         mark.firstLine = line_;
         mark.firstTime = here().time;
      }
      if (mark.texts.size() < Mark::greatestTexts) mark.texts.push_back(described(line, wanted_));
   });
}

RunHistory Historian::finish(JournalEnd const& end) {
   waiting_.reviewEnds(here());
   line_ = std::max(line_, end.lines);
   noteLevels();
   run_.end = end;
   run_.duration = here().time;
   run_.unanswered = calls_.size();
   if (!run_.alarms.empty() && !run_.alarms.back().ended) run_.alarms.back().end = here();
   waiting_.close(here());
   run_.keys = book_.outstanding(ofEachRank);
   run_.distinctKeys = book_.size();
   return std::move(run_);
}

}  // namespace Ctl::Report
