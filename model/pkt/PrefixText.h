#pragma once

#include "mdl/Export.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Pkt {

/// The two halves of "address/length", before the address is looked at. For the parsers of
/// prefixes and of addresses with masks.
struct MDL_EXPORT PrefixText {
   /// Splits at the first slash. `typeName` is what an error says the text should have been;
   /// ParseException when the length is no decimal number, or has a leading zero.
   PrefixText(std::string_view text, char const* typeName);

   /// The length, or all `bits` of the address when the text has none. ParseException when it is
   /// greater than `bits`.
   std::uint32_t lengthOf(std::uint32_t bits) const;

   std::string_view whole;
   std::string_view address;
   bool hasLength = false;
   std::uint32_t length = 0;
};

/// Raises RangeException: `length` is too long for the `bits` of a `typeName`.
[[noreturn]] MDL_EXPORT void refusePrefixLength(char const* typeName, std::uint32_t length,
                                                std::uint32_t bits);

/// Raises ParseException: `text` is no `typeName`.
[[noreturn]] MDL_EXPORT void refusePrefixText(char const* typeName, std::string_view text);

}  // namespace Pkt
