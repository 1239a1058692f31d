#pragma once

#include "pkt/IntfId.h"

#include <string_view>

namespace Pkt {

/// The internal interfaces: those that the switch makes for its own use and no operator
/// configures.
class InternalIntfId {
 public:
   InternalIntfId() = delete;

   /// What the names of internal interfaces begin with ("Internal12").
   static constexpr std::string_view namePrefix = "Internal";

   /// Case counts, and the bare prefix is such a name too. The empty name is not.
   static bool isInternalIntfId(IntfId const& intfId) noexcept {
      return intfId.name().view().starts_with(namePrefix);
   }
};

}  // namespace Pkt
