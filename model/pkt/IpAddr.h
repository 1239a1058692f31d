#pragma once

#include "mdl/Export.h"
#include "mdl/Hash.h"
#include "mdl/String.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace Pkt {

/// An IPv4 address. The zero address says "none" wherever an address may be missing.
class MDL_EXPORT IpAddr {
 public:
   /// The width of an address, which is also the greatest prefix length.
   static constexpr std::uint32_t bits = 32;
   static constexpr char const* typeName = "IPv4 address";

   constexpr IpAddr() noexcept = default;
   /// `value` has the first octet most significant: 10.0.0.1 is 0x0a000001.
   explicit constexpr IpAddr(std::uint32_t value) noexcept : value_(value) {}
   /// From "10.0.0.1". Throws ParseException.
   explicit IpAddr(Mdl::String const& text) : IpAddr(fromText(text.view())) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   IpAddr(char const*& at, char const* end);

   /// Four decimal octets, none with a leading zero, as such a number is octal to some readers and
   /// decimal to others. Throws ParseException.
   static IpAddr fromText(std::string_view text);
   /// The same without an exception.
   static std::optional<IpAddr> tryFromText(std::string_view text) noexcept;

   constexpr std::uint32_t value() const noexcept { return value_; }
   constexpr bool isZero() const noexcept { return value_ == 0; }

   Mdl::String stringValue() const;
   /// Appends "10.0.0.1".
   void appendText(std::string& out) const;
   /// Appends the text representation: the address in quotes.
   void appendStrep(std::string& out) const;

   constexpr std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::Hash(seed).mix(value_).result();
   }

   friend constexpr bool operator==(IpAddr, IpAddr) noexcept = default;
   friend constexpr std::strong_ordering operator<=>(IpAddr, IpAddr) noexcept = default;

   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, IpAddr addr);

 private:
   std::uint32_t value_ = 0;
};

}  // namespace Pkt
