#pragma once

#include "oracle/Names.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Oracle {

/// What can happen to a state machine from outside.
enum class Kind : std::uint8_t {
   // The machine.
   build,
   configReady,
   initialize,
   uninitialize,
   stop,
   stopKeepingHardware,
   reviewInterval,
   reviewBudget,
   verify,
   advance,
   // Hardware.
   capacity,
   typeCapacity,
   latency,
   callCost,
   notReady,
   answerForDestination,
   answerNext,
   answersForgotten,
   udpWait,
   // Groups and the configuration that lists them.
   groupPut,
   groupRemove,
   groupReplace,
   tunnelType,
   port,
   payload,
   vrf,
   prefixAdd,
   prefixRemove,
   entrySet,
   entryRemove,
   entryAgain,
   excludeSet,
   excludeRemove,
   excludeAgain,
   configReplace,
   configAway,
   configBack,
   // Interfaces and the status that lists them.
   ipPut,
   ipAgain,
   ipRemove,
   ipPrimary,
   ipVirtual,
   ipSecondaryAdd,
   ipSecondaryRemove,
   ipVrf,
   ip6Put,
   ip6Remove,
   ip6AddrAdd,
   ip6AddrRemove,
   ip6Vrf,
   ipReplace,
   ip6Replace,
};

/// One step of a generated sequence, as plain numbers: what it does depends on nothing but them and
/// the state that it meets, so that a sequence may be shortened and played again.
struct Event {
   Kind kind = Kind::advance;
   std::uint8_t group = 0;
   std::uint8_t intf = 0;
   /// 1 for IPv4, 2 for IPv6; entries also come with 3, which is none.
   std::uint8_t family = 1;
   /// For an entry: whether it is the one for all interfaces.
   bool all = false;
   std::uint32_t word = 0;

   // What the word says, for the kinds that it says something to.

   bool flag() const { return (word & 1) != 0; }
   std::uint8_t addr() const { return word % addrCount; }
   std::uint8_t prefix() const { return word % prefixCount; }
   std::uint8_t value() const { return static_cast<std::uint8_t>(word % valueCount); }
   std::uint8_t type() const { return word % 4; }
   /// A value that has no name counts as any other but "primary only".
   std::uint8_t addressType() const { return word % 8 == 0 ? 2 : word % 2; }
   /// One bit an interface.
   std::uint8_t interfaces() const { return static_cast<std::uint8_t>(word & word >> 8); }
   /// Mostly the default one.
   std::uint8_t intfVrf() const { return word >> 29 == 0 ? 1 : 0; }
   /// What an exchange of everything has in store for one group or interface.
   enum class Fate : std::uint8_t { lost, replaced, kept };
   Fate fate(std::uint8_t index) const;
   /// In seconds, for kinds that are about time.
   double seconds() const;
   /// 0 means unlimited.
   std::uint32_t entries() const { return word % 24; }
   /// What hardware shall answer, and how often; 0 means until further notice.
   std::uint8_t answer() const;
   std::uint32_t times() const { return word >> 8 & 3; }

   /// Which entry it is about: the interface, or `intfCount` for all of them.
   std::uint8_t entryIndex() const { return all ? intfCount : intf; }

   friend bool operator==(Event const&, Event const&) = default;
};

using Events = std::vector<Event>;

/// "g1 entry Ethernet2 family 1 address type 1".
std::string text(Event const& event);
/// One event a line, numbered.
std::string text(Events const& events);

}  // namespace Oracle
