#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/Export.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace Fwd {

/// One difference between two of the books, or between books and hardware.
struct FWD_EXPORT AuditFinding {
   enum class Kind : std::uint8_t {
      countDiffers,        ///< the groups hold another number of references than is counted
      waitingUncounted,    ///< a key waits that nobody counts
      ownerWithoutKey,     ///< a VRF owns a destination for which it has no key in hardware
      missingInHardware,   ///< hardware accepted the key and does not have it
      unwantedInHardware,  ///< hardware has a key that nobody counts
      waitingInHardware,   ///< hardware has a key that waits to be programmed
   };

   Kind kind;
   /// For `ownerWithoutKey` a key of the destination and the VRF, with everything else zero.
   DecapKey key;
   /// For `countDiffers`.
   std::uint32_t held = 0;
   std::uint32_t counted = 0;

   friend bool operator==(AuditFinding const&, AuditFinding const&) = default;
};

/// One line that names the difference and the key.
FWD_EXPORT std::ostream& operator<<(std::ostream& out, AuditFinding const& finding);

/// Compares what the groups hold with the counts, the counts with VRF map and backlog, and, given
/// a readback, all of it with what hardware has. Names each difference and changes nothing.
///
/// Beside the verification on request, which looks at what groups list and stops at the first
/// unknown key, this looks at what they hold, and at all of it. Not for a call from inside the
/// hook: books are behind hardware then. A key that hardware refused for good is no difference:
/// it is counted and not in hardware, as it should be.
/// Cost: O(keys), and a copy of each key.
FWD_EXPORT std::vector<AuditFinding> audit(FwdDecapGroupSm const& stateMachine,
                                           std::vector<DecapKey> const* readback = nullptr);

}  // namespace Fwd
