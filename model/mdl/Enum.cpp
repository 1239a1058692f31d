#include "mdl/Enum.h"

#include "mdl/Exception.h"
#include "mdl/Value.h"

#include <ostream>

namespace Mdl {

namespace {

bool isNameByte(char byte) {
   return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
          (byte >= '0' && byte <= '9') || byte == '_';
}

[[noreturn]] void refuse(EnumDescriptor const& type, std::string_view text) {
   throw ParseException(quotedForMessage(text) + " is no value of " + type.typeName);
}

std::uint8_t parseNumber(EnumDescriptor const& type, std::string_view word) {
   char const* at = word.data();
   auto const value = static_cast<std::uint8_t>(parseUnsigned(at, word.data() + word.size(), 0xff));
   // A listed value has one text form, its name.
   bool const wholeWord = at == word.data() + word.size();
   if (!wholeWord || enumeratorName(type, value) != nullptr) refuse(type, word);
   return value;
}

}  // namespace

char const* enumeratorName(EnumDescriptor const& type, std::uint8_t value) noexcept {
   for (Enumerator const& enumerator : type.enumerators) {
      if (enumerator.value == value) return enumerator.name;
   }
   return nullptr;
}

std::optional<std::uint8_t> enumeratorValue(EnumDescriptor const& type,
                                            std::string_view name) noexcept {
   for (Enumerator const& enumerator : type.enumerators) {
      if (enumerator.name == name) return enumerator.value;
   }
   return std::nullopt;
}

void appendEnum(std::string& out, EnumDescriptor const& type, std::uint8_t value) {
   if (char const* const name = enumeratorName(type, value)) {
      out += name;
   } else {
      out += std::to_string(value);
   }
}

std::uint8_t parseEnum(EnumDescriptor const& type, char const*& at, char const* end) {
   char const* wordEnd = at;
   while (wordEnd != end && isNameByte(*wordEnd)) ++wordEnd;
   std::string_view const word(at, static_cast<std::size_t>(wordEnd - at));
   if (word.empty()) {
      refuse(type, std::string_view(at, static_cast<std::size_t>(end - at)));
   }
   bool const isNumber = word.front() >= '0' && word.front() <= '9';
   std::optional<std::uint8_t> const value =
       isNumber ? parseNumber(type, word) : enumeratorValue(type, word);
   if (!value) refuse(type, word);
   at = wordEnd;
   return *value;
}

void streamEnumerator(std::ostream& out, EnumDescriptor const& type, std::uint8_t value) {
   if (char const* const name = enumeratorName(type, value)) {
      out << name;
   } else {
      out << std::to_string(value);
   }
}

}  // namespace Mdl
