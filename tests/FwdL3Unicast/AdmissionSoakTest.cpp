#include "support/AdmissionEvent.h"
#include "support/AdmissionRun.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Random sequences of interface, entry, exclude and address events; after each event everything the
// machine holds is compared with what configuration and status call for.
//
// A run without further ado takes a part of the sequences, so that it ends in seconds in an
// unoptimised build. DECAP_SOAK_SEQUENCES=10000 runs them in full, DECAP_SOAK_FIRST=seed starts at
// another seed than 1.

namespace {

using Support::AdmissionEvents;
using Support::AdmissionRun;

constexpr std::uint32_t sequencesByDefault = 400;
constexpr std::uint32_t eventsInSequence = 220;

std::uint32_t fromEnvironment(char const* name, std::uint32_t otherwise) {
   char const* const text = std::getenv(name);
   return text == nullptr ? otherwise : static_cast<std::uint32_t>(std::stoul(text));
}

struct Failure {
   /// Events applied when it showed, 0 for none.
   std::size_t events = 0;
   std::string difference;
};

Failure run(AdmissionEvents const& events) {
   AdmissionRun run;
   std::size_t applied = 0;
   for (auto const& event : events) {
      run.apply(event);
      ++applied;
      std::string difference = run.difference();
      if (!difference.empty()) return {applied, std::move(difference)};
   }
   return {};
}

/// Leaves out what the failure does not need.
AdmissionEvents shortened(AdmissionEvents events) {
   for (std::size_t at = events.size(); at > 0;) {
      --at;
      if (events[at].kind < Support::AdmissionEvent::Kind::ipPut) continue;
      AdmissionEvents fewer = events;
      fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at));
      if (run(fewer).events != 0) events = std::move(fewer);
   }
   return events;
}

TEST(AdmissionSoak, HoldsExactlyWhatConfigurationAndStatusCallFor) {
   std::uint32_t const sequences = fromEnvironment("DECAP_SOAK_SEQUENCES", sequencesByDefault);
   std::uint32_t const first = fromEnvironment("DECAP_SOAK_FIRST", 1);
   for (std::uint32_t seed = first; seed - first < sequences; ++seed) {
      AdmissionEvents events = Support::admissionEvents(seed, eventsInSequence);
      Failure const failure = run(events);
      if (failure.events == 0) continue;
      events.resize(failure.events);
      AdmissionEvents const fewer = shortened(events);
      FAIL() << "seed " << seed << ":\n"
             << Support::admissionEventsText(events) << failure.difference
             << "The shortest sequence found:\n"
             << Support::admissionEventsText(fewer) << run(fewer).difference;
   }
   RecordProperty("sequences", static_cast<int>(sequences));
}

}  // namespace
