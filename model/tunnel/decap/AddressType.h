#pragma once

#include "mdl/Enum.h"

#include <cstdint>
#include <ostream>

namespace Tunnel::Decap {

/// Which addresses of a decap interface are decapsulated.
enum class AddressType : std::uint8_t {
   primary = 0,  ///< the primary address only
   all = 1,      ///< primary, secondary and virtual addresses
};

}  // namespace Tunnel::Decap

template <>
struct Mdl::EnumTraits<Tunnel::Decap::AddressType> {
   using T = Tunnel::Decap::AddressType;
   static constexpr char const* typeName = "Tunnel::Decap::AddressType";
   static constexpr Enumerator enumerators[] = {
       {T::primary, "primary"},
       {T::all, "all"},
   };
};

namespace Tunnel::Decap {

/// The enumerator's name, or the decimal number of a value that has none.
inline Mdl::String stringValue(AddressType value) { return Mdl::enumName(value); }

/// Writes what `stringValue` returns.
inline std::ostream& operator<<(std::ostream& out, AddressType value) {
   return Mdl::streamEnum(out, value);
}

}  // namespace Tunnel::Decap
