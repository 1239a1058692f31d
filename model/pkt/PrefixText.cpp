#include "pkt/PrefixText.h"

#include "mdl/Exception.h"
#include "mdl/Value.h"

namespace Pkt {

namespace {

/// No prefix is longer than this; a number of more digits is wrong whatever the address.
constexpr std::size_t lengthDigits = 3;

}  // namespace

PrefixText::PrefixText(std::string_view text, char const* typeName)
    : whole(text), address(text.substr(0, text.find('/'))) {
   if (address.size() == text.size()) return;
   hasLength = true;
   std::string_view const digits = text.substr(address.size() + 1);
   bool const leadingZero = digits.size() > 1 && digits.front() == '0';
   if (digits.empty() || digits.size() > lengthDigits || leadingZero) {
      refusePrefixText(typeName, text);
   }
   for (char const digit : digits) {
      if (digit < '0' || digit > '9') refusePrefixText(typeName, text);
      length = length * 10 + static_cast<std::uint32_t>(digit - '0');
   }
}

std::uint32_t PrefixText::lengthOf(std::uint32_t bits) const {
   if (!hasLength) return bits;
   if (length > bits) {
      throw Mdl::ParseException("prefix length greater than " + std::to_string(bits) + ": " +
                                Mdl::quotedForMessage(whole));
   }
   return length;
}

void refusePrefixLength(char const* typeName, std::uint32_t length, std::uint32_t bits) {
   throw Mdl::RangeException(std::string(typeName) + ": prefix length " + std::to_string(length) +
                             " is greater than " + std::to_string(bits));
}

void refusePrefixText(char const* typeName, std::string_view text) {
   throw Mdl::ParseException(std::string("not an ") + typeName + ": " +
                             Mdl::quotedForMessage(text));
}

}  // namespace Pkt
