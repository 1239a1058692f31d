#pragma once

#include "pkt/IntfId.h"

#include <string_view>

namespace Pkt {

/// The management interfaces: those over which the switch itself is reached. Nothing that arrives
/// there is decapsulated in hardware.
class MgmtIntfId {
 public:
   MgmtIntfId() = delete;

   /// What the names of management interfaces begin with ("Management1", "Management0/1").
   static constexpr std::string_view namePrefix = "Management";

   /// Case counts, and the bare prefix is such a name too. The empty name is not.
   static bool isMgmtIntfId(IntfId const& intfId) noexcept {
      return intfId.name().view().starts_with(namePrefix);
   }
};

}  // namespace Pkt
