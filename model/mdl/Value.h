#pragma once

#include "mdl/Enum.h"
#include "mdl/Export.h"
#include "mdl/String.h"

#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

/// Text representations of values: `valueToStrep` writes one, `strepToValue` reads it back.
///
/// A value has one text representation, and it names the value without loss: what is written parses
/// to the equal value. Numbers are decimal without leading zeros, strings stand in single quotes
/// with escapes, enumerators are bare names, booleans "true" and "false".
///
/// A value type of its own joins by two members:
///
///     void appendStrep(std::string& out) const;     // appends the representation
///     T(char const*& at, char const* end);          // reads it from [at, end), moves `at` behind
///
/// The parsing constructor leaves what follows the value to its caller; only the form of
/// `strepToValue` that takes a whole text refuses what is left over. Whatever is wrong raises
/// ParseException; where `at` stands then is not said.
namespace Mdl {

// Reading -------------------------------------------------------------------------------------

/// Demands exactly `literal` at `at` and moves behind it.
MDL_EXPORT void needString(char const*& at, char const* end, std::string_view literal);

/// A decimal number up to `greatest`, without sign, blank or leading zero.
MDL_EXPORT std::uint64_t parseUnsigned(char const*& at, char const* end, std::uint64_t greatest);

/// A string in single quotes, as `appendQuoted` writes it: each byte has one form.
MDL_EXPORT String parseQuoted(char const*& at, char const* end);

/// The bytes between single quotes of a representation that never needs an escape, such as an
/// address. The view is into the parsed range.
MDL_EXPORT std::string_view parsePlainQuoted(char const*& at, char const* end);

/// "true" or "false".
MDL_EXPORT bool parseBool(char const*& at, char const* end);

/// To be called while a ParseException is handled: raises it again as an error of the attribute
/// `name`. Values inside values name the path this way, outermost first.
[[noreturn]] MDL_EXPORT void rethrowFromDeserializeAttr(char const* name);

/// Raises ParseException unless the text ends at `at`.
MDL_EXPORT void needEnd(char const* at, char const* end);

/// Reads one value of type `T` at `at` and moves behind it.
template <class T>
T strepToValue(char const*& at, char const* end) {
   if constexpr (std::same_as<T, bool>) {
      return parseBool(at, end);
   } else if constexpr (std::unsigned_integral<T>) {
      return static_cast<T>(parseUnsigned(at, end, std::numeric_limits<T>::max()));
   } else if constexpr (std::same_as<T, String>) {
      return parseQuoted(at, end);
   } else if constexpr (RegisteredEnum<T>) {
      return static_cast<T>(parseEnum(enumDescriptor<T>(), at, end));
   } else {
      return T(at, end);
   }
}

/// Reads a value whose representation is the whole text.
template <class T>
T strepToValue(String const& text) {
   char const* at = text.begin();
   T value = strepToValue<T>(at, text.end());
   needEnd(at, text.end());
   return value;
}

/// Reads the value of the attribute `name`; an error inside it names the attribute.
template <class T>
T deserializeAttr(char const*& at, char const* end, char const* name) try {
   return strepToValue<T>(at, end);
} catch (...) {
   rethrowFromDeserializeAttr(name);
}

// Writing -------------------------------------------------------------------------------------

/// Appends `text` in single quotes. Backslash, quote, line feed, tab and carriage return are
/// escaped as in C, every other byte outside 0x20..0x7e as a backslash, x and two small hexadecimal
/// digits.
MDL_EXPORT void appendQuoted(std::string& out, std::string_view text);

/// Text as an error message shows it: in double quotes, printable, and cut when it is long.
MDL_EXPORT std::string quotedForMessage(std::string_view text);

/// Appends the text representation of `value` to `out`.
template <class T>
void appendStrep(std::string& out, T const& value) {
   if constexpr (std::same_as<T, bool>) {
      out += value ? "true" : "false";
   } else if constexpr (std::unsigned_integral<T>) {
      out += std::to_string(value);
   } else if constexpr (std::same_as<T, String>) {
      appendQuoted(out, value.view());
   } else if constexpr (RegisteredEnum<T>) {
      appendEnum(out, enumDescriptor<T>(), static_cast<std::uint8_t>(value));
   } else {
      value.appendStrep(out);
   }
}

/// The text representation of `value`.
template <class T>
String valueToStrep(T const& value) {
   std::string text;
   appendStrep(text, value);
   return String(text);
}

}  // namespace Mdl
