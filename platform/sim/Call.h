#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/Seconds.h"

#include <cstdint>
#include <string>

namespace Sim {

/// What the state machine asked of the hook.
enum class Operation : std::uint8_t { program, remove, verify, configReady };

/// How a call ended.
enum class Outcome : std::uint8_t {
   underWay,  ///< it has not returned yet
   answered,  ///< `program`: `answer` says how
   removed,   ///< `remove`: the key was in the table
   unknown,   ///< `remove`: the table did not hold the key
   swept,     ///< `remove`, by the hook itself: the key was held over and nobody had claimed it
   done,      ///< `verify`, `configReady`
   threw,     ///< an exception left the hook
};

/// One call of the hook, as the journal keeps it.
struct Call {
   /// From 1, in the order in which the calls began; one inside another has the greater number.
   std::uint64_t number = 0;
   /// The current time when the call began.
   Mdl::Seconds time = 0.0;
   Operation operation = Operation::program;
   /// The default-constructed key for calls that are about none.
   Fwd::DecapKey key;
   Outcome outcome = Outcome::underWay;
   /// Only for `Outcome::answered`.
   Fwd::dgRetCode answer = Fwd::dgRcSuccess;

   friend bool operator==(Call const&, Call const&) = default;
};

/// "program udp 10.1.0.0/16 port 6080 payload ip vrf red -> full".
std::string callText(Call const& call);

}  // namespace Sim
