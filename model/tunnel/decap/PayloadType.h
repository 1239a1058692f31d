#pragma once

#include "mdl/Enum.h"

#include <cstdint>
#include <ostream>

namespace Tunnel::Decap {

/// What stands behind the tunnel header.
enum class PayloadType : std::uint8_t {
   unset = 0,
   ip = 1,
   mpls = 2,  ///< RFC 3032
};

}  // namespace Tunnel::Decap

template <>
struct Mdl::EnumTraits<Tunnel::Decap::PayloadType> {
   using T = Tunnel::Decap::PayloadType;
   static constexpr char const* typeName = "Tunnel::Decap::PayloadType";
   static constexpr Enumerator enumerators[] = {
       {T::unset, "unset"},
       {T::ip, "ip"},
       {T::mpls, "mpls"},
   };
};

namespace Tunnel::Decap {

/// The enumerator's name, or the decimal number of a value that has none.
inline Mdl::String stringValue(PayloadType value) { return Mdl::enumName(value); }

/// Writes what `stringValue` returns.
inline std::ostream& operator<<(std::ostream& out, PayloadType value) {
   return Mdl::streamEnum(out, value);
}

}  // namespace Tunnel::Decap
