#include "support/AdmissionEvent.h"
#include "support/AdmissionRun.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Random sequences of interface, entry, exclude and address events; after each event everything the
// machine holds is compared with what configuration and status call for.
//
// Ten thousand sequences in shares, so that the tests can use all processors.

namespace {

using Support::AdmissionEvents;
using Support::AdmissionRun;

constexpr std::uint32_t shares = 8;
constexpr std::uint32_t sequencesInShare = 1250;
constexpr std::uint32_t eventsInSequence = 220;

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

class AdmissionSoak : public testing::TestWithParam<std::uint32_t> {};

TEST_P(AdmissionSoak, HoldsExactlyWhatConfigurationAndStatusCallFor) {
   std::uint32_t const sequences = Support::shareOf(sequencesInShare);
   std::uint32_t const first = 1 + GetParam() * sequencesInShare;
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

INSTANTIATE_TEST_SUITE_P(Share, AdmissionSoak, testing::Range(0U, shares));

}  // namespace
