#include "oracle/Run.h"

namespace Oracle {

Run::Run(Journal::Recorder* recorder)
    : wanted_(scene_),
      world_([this](Sim::Call const& call, Mdl::Seconds now) { books_.called(call, now); },
             recorder) {}

Books::Complaints Run::apply(Event const& event) {
   if (!scene_.apply(event)) return {};
   wanted_.event(event);
   Mdl::Seconds const begin = world_.now();
   world_.apply(event, scene_);
   Books::Complaints complaints =
       wanted_.settle([this](std::uint8_t group, std::uint8_t intf, std::uint8_t family) {
          return world_.held(group, intf, family);
       });
   Books::Complaints const more = books_.settle(event, scene_, wanted_, begin, world_.look());
   complaints.insert(complaints.end(), more.begin(), more.end());
   return complaints;
}

Books::Complaints Run::withdrawAll() {
   Events steps;
   if (scene_.away()) steps.push_back({.kind = Kind::configBack});
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      if (scene_.isConfigured(group)) steps.push_back({.kind = Kind::groupRemove, .group = group});
   }
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      if (scene_.ip(intf)) steps.push_back({.kind = Kind::ipRemove, .intf = intf});
      if (scene_.ip6(intf)) steps.push_back({.kind = Kind::ip6Remove, .intf = intf});
   }
   // What hardware still has of the time before a restart goes with the replay.
   if (!scene_.built()) steps.push_back({.kind = Kind::build});
   if (!scene_.ready()) steps.push_back({.kind = Kind::configReady});
   if (!scene_.initialized()) steps.push_back({.kind = Kind::initialize});
   steps.push_back({.kind = Kind::advance, .word = 5});
   for (Event const& step : steps) {
      Books::Complaints complaints = apply(step);
      if (!complaints.empty()) {
         complaints.insert(complaints.begin(),
                           "while everything is taken away: " + Oracle::text(step));
         return complaints;
      }
   }
   Books::Complaints left = leftovers();
   return left.empty() ? apply({.kind = Kind::stop}) : left;
}

Books::Complaints Run::leftovers() {
   Found const found = world_.look();
   Books::Complaints left;
   if (!found.counts.empty()) left.emplace_back("keys are counted after everything has gone");
   if (!found.owners.empty()) left.emplace_back("destinations are owned after everything has gone");
   if (!found.backlog.empty()) left.emplace_back("keys wait after everything has gone");
   if (!found.table.empty()) left.emplace_back("hardware has keys after everything has gone");
   if (found.resourceFull) left.emplace_back("the alarm stands after everything has gone");
   return left;
}

void record(Events const& events, Journal::Recorder::Sink const& sink) {
   Journal::Recorder recorder(sink);
   Run run(&recorder);
   for (Event const& event : events) {
      if (!run.apply(event).empty()) return;
   }
   run.withdrawAll();
}

Outcome play(Events const& events, std::function<void(std::size_t)> const& progress) {
   Run run;
   Outcome outcome;
   for (Event const& event : events) {
      progress(++outcome.at);
      outcome.complaints = run.apply(event);
      if (outcome.ok()) continue;
      outcome.expected = run.text();
      return outcome;
   }
   outcome.at = Outcome::withdrawal;
   outcome.complaints = run.withdrawAll();
   outcome.expected = run.text();
   return outcome;
}

}  // namespace Oracle
