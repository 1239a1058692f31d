#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace Mdl {

/// One value of an enumeration and its name.
struct Enumerator {
   template <class E>
   requires std::is_enum_v<E>
   constexpr Enumerator(E enumerator, char const* itsName) noexcept
       : value(static_cast<std::uint8_t>(enumerator)), name(itsName) {}

   std::uint8_t value;
   char const* name;  ///< a C++ identifier; lives as long as the process
};

/// What the framework knows of a one-byte enumeration: the name of its type and its values in the
/// order of their declaration.
struct EnumDescriptor {
   char const* typeName;
   std::span<Enumerator const> enumerators;
};

/// To be specialised for each enumeration that the framework shall know:
///
///     template <>
///     struct Mdl::EnumTraits<Paint::Colour> {
///        static constexpr char const* typeName = "Paint::Colour";
///        static constexpr Mdl::Enumerator enumerators[] = {{Paint::Colour::red, "red"}, ...};
///     };
///
/// Beside it stand the stream operator and `stringValue`, in the enumeration's own namespace so
/// that they are found there, each one line that calls `streamEnum` and `enumName`.
template <class E>
struct EnumTraits;

template <class E>
concept RegisteredEnum =
    std::is_enum_v<E> && std::same_as<std::underlying_type_t<E>, std::uint8_t> && requires {
   EnumTraits<E>::typeName;
};

template <RegisteredEnum E>
constexpr EnumDescriptor enumDescriptor() noexcept {
   return {EnumTraits<E>::typeName, EnumTraits<E>::enumerators};
}

/// The name of a value, or null when the enumeration does not list it.
MDL_EXPORT char const* enumeratorName(EnumDescriptor const& type, std::uint8_t value) noexcept;

/// The value that has the name, if one has.
MDL_EXPORT std::optional<std::uint8_t> enumeratorValue(EnumDescriptor const& type,
                                                       std::string_view name) noexcept;

/// Appends the text representation: the bare name, or the decimal number of a value that has none.
MDL_EXPORT void appendEnum(std::string& out, EnumDescriptor const& type, std::uint8_t value);

/// Reads exactly what `appendEnum` writes and moves `at` behind it. ParseException for anything
/// else, also for the number of a value that has a name.
MDL_EXPORT std::uint8_t parseEnum(EnumDescriptor const& type, char const*& at, char const* end);

/// Writes the text representation as one text; the stream's number base has no part in it.
MDL_EXPORT void streamEnumerator(std::ostream& out, EnumDescriptor const& type, std::uint8_t value);

/// The name of a value, or its decimal number where it has none.
template <RegisteredEnum E>
String enumName(E value) {
   EnumDescriptor const type = enumDescriptor<E>();
   auto const number = static_cast<std::uint8_t>(value);
   if (char const* const name = enumeratorName(type, number)) return String(name);
   return String(std::to_string(number));
}

/// The value that has the name, if one has. Numbers are no names.
template <RegisteredEnum E>
std::optional<E> enumFromName(std::string_view name) noexcept {
   std::optional<std::uint8_t> const value = enumeratorValue(enumDescriptor<E>(), name);
   if (!value) return std::nullopt;
   return static_cast<E>(*value);
}

template <RegisteredEnum E>
std::ostream& streamEnum(std::ostream& out, E value) {
   streamEnumerator(out, enumDescriptor<E>(), static_cast<std::uint8_t>(value));
   return out;
}

}  // namespace Mdl
