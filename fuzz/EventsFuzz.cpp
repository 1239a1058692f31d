// Events of a machine's life, six bytes each, played on the machine and on the oracle at once.

#include "fuzz/Fuzz.h"
#include "oracle/Run.h"

#include <cstdio>

namespace {

using Oracle::Event;
using Oracle::Kind;

constexpr std::size_t bytesOfEvent = 6;
constexpr std::size_t mostEvents = 150;

Event eventOf(std::uint8_t const* bytes) {
   constexpr auto kinds = static_cast<unsigned>(Kind::ip6Replace) + 1;
   Event event;
   event.kind = static_cast<Kind>(bytes[0] % kinds);
   event.group = bytes[1] & 3;
   event.intf = bytes[1] >> 2 & 7;
   event.all = (bytes[1] >> 5 & 1) != 0;
   event.family = (bytes[1] >> 6 & 1) != 0 ? 2 : 1;
   for (std::size_t byte = 2; byte < bytesOfEvent; ++byte)
      event.word = event.word << 8 | bytes[byte];
   bool const isEntry = event.kind == Kind::entrySet || event.kind == Kind::entryRemove ||
                        event.kind == Kind::entryAgain;
   if ((isEntry || event.kind == Kind::typeCapacity) && bytes[1] >> 6 == 3) event.family = 3;
   if (event.kind == Kind::answerForDestination) event.group = bytes[1] % Oracle::prefixCount;
   return event;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   if (size / bytesOfEvent > mostEvents) return 0;
   Oracle::Events events;
   for (std::size_t at = 0; at + bytesOfEvent <= size; at += bytesOfEvent) {
      events.push_back(eventOf(data + at));
   }
   Oracle::Outcome const outcome = Oracle::play(events);
   if (!outcome.ok()) std::fputs(Oracle::text(events).c_str(), stderr);
   for (auto const& complaint : outcome.complaints) std::fprintf(stderr, "%s\n", complaint.c_str());
   Fuzz::require(outcome.ok(), "machine and oracle agree");
   return 0;
}
