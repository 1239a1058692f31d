#pragma once

#include "mdl/Export.h"
#include "mdl/Hash.h"
#include "mdl/String.h"

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace Pkt {

/// An IPv6 address (RFC 4291). The zero address is the unspecified one.
class MDL_EXPORT Ip6Addr {
 public:
   using Bytes = std::array<std::uint8_t, 16>;

   /// The width of an address, which is also the greatest prefix length.
   static constexpr std::uint32_t bits = 128;
   static constexpr char const* typeName = "IPv6 address";

   constexpr Ip6Addr() noexcept = default;
   /// `bytes` in network order.
   explicit constexpr Ip6Addr(Bytes const& bytes) noexcept : bytes_(bytes) {}
   /// From any text form of RFC 4291. Throws ParseException.
   explicit Ip6Addr(Mdl::String const& text) : Ip6Addr(fromText(text.view())) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   Ip6Addr(char const*& at, char const* end);

   /// Every text form of RFC 4291, section 2.2: groups of up to four hexadecimal digits, one "::"
   /// for a run of zero groups, the last 32 bits as an IPv4 address. Neither a zone nor brackets.
   /// Throws ParseException.
   static Ip6Addr fromText(std::string_view text);
   /// The same without an exception.
   static std::optional<Ip6Addr> tryFromText(std::string_view text) noexcept;

   constexpr Bytes const& bytes() const noexcept { return bytes_; }
   constexpr bool isZero() const noexcept { return high() == 0 && low() == 0; }

   /// The first and the last 64 bits as numbers, the first byte most significant.
   constexpr std::uint64_t high() const noexcept { return half(0); }
   constexpr std::uint64_t low() const noexcept { return half(1); }

   /// Whether the address lies in fe80::/10 (RFC 4291, section 2.5.6).
   constexpr bool isLinkLocal() const noexcept {
      return bytes_[0] == 0xfe && (bytes_[1] & 0xc0) == 0x80;
   }

   Mdl::String stringValue() const;
   /// Appends the one form that RFC 5952 recommends: small digits, the longest run of zero groups
   /// as "::", an IPv4-mapped address with its dotted quad.
   void appendText(std::string& out) const;
   /// Appends the text representation: the address in quotes.
   void appendStrep(std::string& out) const;

   constexpr std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::Hash(seed).mix(high()).mix(low()).result();
   }
   /// With the process's seed: the same address hashes differently in another process.
   std::uint32_t hash() const noexcept { return hash(Mdl::hashSeed32()); }

   friend constexpr bool operator==(Ip6Addr const&, Ip6Addr const&) noexcept = default;
   friend constexpr std::strong_ordering operator<=>(Ip6Addr const&,
                                                     Ip6Addr const&) noexcept = default;

   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, Ip6Addr const& addr);

 private:
   /// Eight bytes as a number. In one step: this is on the way of every IPv6 key's hash.
   constexpr std::uint64_t half(std::size_t index) const noexcept {
      std::uint64_t const asStored = std::bit_cast<std::array<std::uint64_t, 2>>(bytes_)[index];
      if constexpr (std::endian::native == std::endian::big) return asStored;
      return __builtin_bswap64(asStored);
   }

   Bytes bytes_{};
};

}  // namespace Pkt
