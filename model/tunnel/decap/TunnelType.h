#pragma once

#include "mdl/Enum.h"

#include <cstdint>
#include <ostream>

namespace Tunnel::Decap {

/// How the packets of a decap group are tunnelled.
enum class TunnelType : std::uint8_t {
   unknown = 0,  ///< not set
   gre = 1,      ///< RFC 2784
   ipip = 2,     ///< IP in IP (RFC 2003, RFC 2473)
   udp = 3,      ///< waits for a destination port and a payload type
};

}  // namespace Tunnel::Decap

template <>
struct Mdl::EnumTraits<Tunnel::Decap::TunnelType> {
   using T = Tunnel::Decap::TunnelType;
   static constexpr char const* typeName = "Tunnel::Decap::TunnelType";
   static constexpr Enumerator enumerators[] = {
       {T::unknown, "unknown"},
       {T::gre, "gre"},
       {T::ipip, "ipip"},
       {T::udp, "udp"},
   };
};

namespace Tunnel::Decap {

/// The enumerator's name, or the decimal number of a value that has none.
inline Mdl::String stringValue(TunnelType value) { return Mdl::enumName(value); }

/// Writes what `stringValue` returns.
inline std::ostream& operator<<(std::ostream& out, TunnelType value) {
   return Mdl::streamEnum(out, value);
}

}  // namespace Tunnel::Decap
