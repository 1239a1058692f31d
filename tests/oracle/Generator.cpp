#include "oracle/Generator.h"

#include "support/Generate.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>
#include <utility>

namespace Oracle {

namespace {

using Support::Generate;

struct Weight {
   Kind kind;
   std::uint32_t weight;
};

constexpr Weight weights[] = {
    {Kind::verify, 3},
    {Kind::advance, 70},
    {Kind::reviewInterval, 2},
    {Kind::reviewBudget, 2},
    {Kind::capacity, 10},
    {Kind::typeCapacity, 6},
    {Kind::latency, 4},
    {Kind::callCost, 4},
    {Kind::notReady, 7},
    {Kind::answerForDestination, 10},
    {Kind::answerNext, 12},
    {Kind::answersForgotten, 5},
    {Kind::groupPut, 16},
    {Kind::groupRemove, 7},
    {Kind::groupReplace, 6},
    {Kind::tunnelType, 14},
    {Kind::port, 14},
    {Kind::payload, 10},
    {Kind::vrf, 16},
    {Kind::prefixAdd, 50},
    {Kind::prefixRemove, 26},
    {Kind::entrySet, 44},
    {Kind::entryRemove, 20},
    {Kind::entryAgain, 5},
    {Kind::excludeSet, 20},
    {Kind::excludeRemove, 5},
    {Kind::excludeAgain, 2},
    {Kind::configReplace, 3},
    {Kind::ipPut, 24},
    {Kind::ipAgain, 2},
    {Kind::ipRemove, 10},
    {Kind::ipPrimary, 30},
    {Kind::ipVirtual, 17},
    {Kind::ipSecondaryAdd, 40},
    {Kind::ipSecondaryRemove, 26},
    {Kind::ipVrf, 2},
    {Kind::ip6Put, 14},
    {Kind::ip6Remove, 7},
    {Kind::ip6AddrAdd, 34},
    {Kind::ip6AddrRemove, 22},
    {Kind::ip6Vrf, 1},
    {Kind::ipReplace, 3},
    {Kind::ip6Replace, 3},
};

Kind anyKind(Generate& generate) {
   static std::uint32_t const total = [] {
      std::uint32_t sum = 0;
      for (Weight const& entry : weights) sum += entry.weight;
      return sum;
   }();
   std::uint32_t left = generate.below(total);
   for (Weight const& entry : weights) {
      if (left < entry.weight) return entry.kind;
      left -= entry.weight;
   }
   return Kind::advance;
}

Event anyEvent(Generate& generate, Kind kind) {
   Event event;
   event.kind = kind;
   event.group = static_cast<std::uint8_t>(generate.below(groupCount));
   event.intf = static_cast<std::uint8_t>(generate.below(intfCount));
   event.family = static_cast<std::uint8_t>(generate.oneIn(3) ? 2 : 1);
   event.all = generate.oneIn(3);
   event.word = generate.word();
   bool const isEntry =
       kind == Kind::entrySet || kind == Kind::entryRemove || kind == Kind::entryAgain;
   if (isEntry && generate.oneIn(30)) event.family = 3;
   if (kind == Kind::typeCapacity) event.family = static_cast<std::uint8_t>(generate.below(3) + 1);
   if (kind == Kind::answerForDestination) {
      event.group = static_cast<std::uint8_t>(generate.below(prefixCount));
   }
   return event;
}

/// What takes an event back, if there is such a thing.
std::optional<Kind> undoing(Kind kind) {
   constexpr std::array<std::pair<Kind, Kind>, 8> pairs = {{
       {Kind::prefixAdd, Kind::prefixRemove},
       {Kind::entrySet, Kind::entryRemove},
       {Kind::excludeSet, Kind::excludeRemove},
       {Kind::groupPut, Kind::groupRemove},
       {Kind::ipPut, Kind::ipRemove},
       {Kind::ipSecondaryAdd, Kind::ipSecondaryRemove},
       {Kind::ip6Put, Kind::ip6Remove},
       {Kind::ip6AddrAdd, Kind::ip6AddrRemove},
   }};
   for (auto const& [done, undone] : pairs) {
      if (kind == done) return undone;
   }
   return std::nullopt;
}

/// One of the last events taken back: what came into a backlog leaves it again before it has been
/// through it.
std::optional<Event> undone(Generate& generate, Events const& events) {
   if (events.empty()) return std::nullopt;
   std::uint32_t const reach = std::min(8U, static_cast<std::uint32_t>(events.size()));
   Event event = events[events.size() - 1 - generate.below(reach)];
   auto const kind = undoing(event.kind);
   if (!kind) return std::nullopt;
   event.kind = *kind;
   return event;
}

/// What a sequence leads over to some time later: a machine that was stopped is built again, and so
/// on. Each step finds its turn a few events after the one before.
class Script {
 public:
   explicit Script(Generate& generate) : generate_(generate) {
      then({Kind::build, Kind::initialize}, 30);
      // The configuration gets ready at any time, before there is a machine or long after.
      then({Kind::configReady}, 60);
   }

   /// The step that is due, if any.
   bool next(Kind& kind) {
      for (auto& step : steps_) {
         if (step.second == 0) continue;
         if (--step.second > 0) continue;
         kind = step.first;
         return true;
      }
      std::erase_if(steps_, [](auto const& step) { return step.second == 0; });
      if (!steps_.empty() || !generate_.oneIn(150)) return false;
      kind = upheaval();
      return true;
   }

 private:
   void then(std::initializer_list<Kind> kinds, std::uint32_t within) {
      std::uint32_t at = 0;
      for (Kind const kind : kinds) {
         at += 1 + generate_.below(within);
         steps_.emplace_back(kind, at);
      }
   }

   /// The machine stops, or stops looking.
   Kind upheaval() {
      std::uint32_t const what = generate_.below(5);
      if (what == 0) {
         then({Kind::initialize}, 12);
         return Kind::uninitialize;
      }
      if (what == 1) {
         then({Kind::configBack}, 10);
         return Kind::configAway;
      }
      then({Kind::udpWait, Kind::build, Kind::initialize}, 8);
      return what == 2 ? Kind::stop : Kind::stopKeepingHardware;
   }

   Generate& generate_;
   std::vector<std::pair<Kind, std::uint32_t>> steps_;
};

}  // namespace

Events generate(std::uint32_t seed, std::uint32_t length) {
   Generate generate(seed);
   Script script(generate);
   Events events;
   events.reserve(length);
   // Sequences differ in what they are about: a family of events that one sequence is without lets
   // the others reach further.
   bool const withRefusals = !generate.oneIn(4);
   bool const withReplacements = !generate.oneIn(3);
   while (events.size() < length) {
      Kind kind = Kind::advance;
      if (!script.next(kind)) {
         auto const undo = generate.oneIn(8) ? undone(generate, events) : std::nullopt;
         if (undo) {
            events.push_back(*undo);
            continue;
         }
         kind = anyKind(generate);
         if (!withRefusals && kind >= Kind::capacity && kind <= Kind::answersForgotten) continue;
         bool const replaces = kind == Kind::ipReplace || kind == Kind::ip6Replace ||
                               kind == Kind::configReplace || kind == Kind::groupReplace;
         if (!withReplacements && replaces) continue;
      }
      if (kind == Kind::udpWait && !generate.oneIn(3)) continue;
      events.push_back(anyEvent(generate, kind));
   }
   return events;
}

}  // namespace Oracle
