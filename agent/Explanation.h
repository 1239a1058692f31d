#pragma once

#include "agent/Report.h"
#include "pkt/IpGenPrefix.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Agent {

class World;

/// Why a destination is decapsulated, or why not: which groups want it, by what, which keys that
/// gives, and how each stands.
///
/// For an address these are the prefixes around it, the longest first, and the interfaces that have
/// it; for a prefix the prefixes around it and itself.
/// Cost: as a report.
struct Explanation {
   Explanation(World const& world, Pkt::IpGenPrefix const& destination, TimeScale const& times);

   /// A prefix of a group that covers the destination.
   struct Claim {
      Mdl::String group;
      Pkt::IpGenPrefix prefix;
      /// The group has no tunnel type, so that nothing comes of it.
      bool withoutType = false;
   };

   Pkt::IpGenPrefix destination;
   TimeScale times;
   /// Some key that covers the destination is in hardware.
   bool decapsulated = false;
   /// One sentence without its full stop.
   std::string verdict;
   std::vector<Claim> claims;
   /// The keys that cover the destination, whatever became of them, the longest first.
   std::vector<KeyRow> keys;
   /// The interfaces that have the address, and what it gives to which groups.
   std::vector<AddressRow> addresses;
   /// Keys inside the destination, which it does not speak of as a whole.
   std::size_t inside = 0;
   /// When keys that wait are tried next; none when no review is scheduled.
   std::optional<Mdl::Seconds> nextReview;
   bool running = false;
};

void printText(std::ostream& out, Explanation const& explanation);

}  // namespace Agent
