#pragma once

#include "FwdL3Unicast/Export.h"
#include "mdl/Enum.h"

#include <cstdint>
#include <iosfwd>

namespace Fwd {

/// What the platform answers when it is asked to program a key.
///
/// The numbers are fixed: platforms return them as they are. `dgRcPending` stands behind
/// `dgRcMax` because it joined later and the others could not move; do not put it into line. A
/// number that is not listed is taken for `dgRcUnSupported`.
enum dgRetCode : std::uint8_t {
   dgRcSuccess = 0,        ///< the key is in hardware
   dgRcNotReady = 1,       ///< not programmed; to be tried again
   dgRcAlreadyExists = 2,  ///< the key is in hardware, as with success
   dgRcUnSupported = 3,    ///< not programmed, and never will be
   dgRcHwFull = 4,         ///< not programmed for lack of room; to be tried again
   dgRcMax = 5,            ///< not programmed, and never will be
   dgRcPending = 6,        ///< not programmed; to be tried again
};

/// The enumerator's name, or the decimal number of a value that has none.
FWD_EXPORT Mdl::String stringValue(dgRetCode code);

/// Writes what `stringValue` returns.
FWD_EXPORT std::ostream& operator<<(std::ostream& out, dgRetCode code);

}  // namespace Fwd

template <>
struct Mdl::EnumTraits<Fwd::dgRetCode> {
   static constexpr char const* typeName = "Fwd::dgRetCode";
   static constexpr Enumerator enumerators[] = {
       {Fwd::dgRcSuccess, "dgRcSuccess"},
       {Fwd::dgRcNotReady, "dgRcNotReady"},
       {Fwd::dgRcAlreadyExists, "dgRcAlreadyExists"},
       {Fwd::dgRcUnSupported, "dgRcUnSupported"},
       {Fwd::dgRcHwFull, "dgRcHwFull"},
       {Fwd::dgRcMax, "dgRcMax"},
       {Fwd::dgRcPending, "dgRcPending"},
   };
};
