#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"
#include "pkt/AddressFamily.h"
#include "pkt/Ip6Addr.h"
#include "pkt/IpAddr.h"
#include "pkt/PrefixText.h"

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Pkt {

class PrefixForm;

/// A prefix of either family, or of none.
///
/// I1: the length is not greater than the family's addresses are wide.
/// I2: an IPv4 address fills the first four bytes and leaves the others zero; the prefix of no
///   family is all zero.
/// Bits beyond the length stay as they were given, and count: 10.1.2.3/16 is another value than
/// 10.1.0.0/16. Who wants them to be zero asks `hasHostBits`.
/// Cost: 24 bytes, no allocation.
class MDL_EXPORT IpGenPrefix {
 public:
   static constexpr char const* typeName = "IP prefix";

   /// The empty prefix, of no family.
   constexpr IpGenPrefix() noexcept = default;

   /// `length` in bits. Throws RangeException when it is more than the address has.
   constexpr IpGenPrefix(IpAddr addr, std::uint32_t length)
       : family_(familyIpv4), addr_(spread(addr)), length_(length) {
      if (length > IpAddr::bits) refusePrefixLength(typeName, length, IpAddr::bits);
   }
   constexpr IpGenPrefix(Ip6Addr const& addr, std::uint32_t length)
       : family_(familyIpv6), addr_(addr.bytes()), length_(length) {
      if (length > Ip6Addr::bits) refusePrefixLength(typeName, length, Ip6Addr::bits);
   }

   /// The host prefix of an address: /32 or /128.
   explicit constexpr IpGenPrefix(IpAddr addr) : IpGenPrefix(addr, IpAddr::bits) {}
   explicit constexpr IpGenPrefix(Ip6Addr const& addr) : IpGenPrefix(addr, Ip6Addr::bits) {}

   /// As `fromText`.
   explicit IpGenPrefix(Mdl::String const& text) : IpGenPrefix(fromText(text.view())) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   IpGenPrefix(char const*& at, char const* end);

   /// From "10.1.0.0/16" or "2001:db8::/32"; the bare text of an address is its host prefix, and
   /// the empty text the empty prefix. Throws ParseException.
   static IpGenPrefix fromText(std::string_view text);

   /// `familyNone`, `familyIpv4` or `familyIpv6`.
   constexpr std::uint32_t family() const noexcept { return family_; }
   constexpr bool isIpv4() const noexcept { return family_ == familyIpv4; }
   constexpr bool isIpv6() const noexcept { return family_ == familyIpv6; }
   constexpr bool empty() const noexcept { return family_ == familyNone; }
   /// In bits; 0 for the empty prefix.
   constexpr std::uint32_t length() const noexcept { return length_; }

   /// The address; the zero address when the prefix is of another family.
   constexpr IpAddr ipAddr() const noexcept { return isIpv4() ? gather(addr_) : IpAddr(); }
   constexpr Ip6Addr ip6Addr() const noexcept { return isIpv6() ? Ip6Addr(addr_) : Ip6Addr(); }

   /// Whether a bit beyond the length is set.
   bool hasHostBits() const noexcept;

   Mdl::String stringValue() const;
   /// Appends "10.1.0.0/16"; nothing for the empty prefix.
   void appendText(std::string& out) const;
   /// Appends the text representation: the text in quotes, '' for the empty prefix.
   void appendStrep(std::string& out) const;

   /// For keyed collections.
   constexpr std::uint32_t hash(std::uint32_t seed) const noexcept {
      Ip6Addr const addr(addr_);
      return Mdl::Hash(seed).mix(addr.high()).mix(addr.low()).mix(family_ << 16 | length_).result();
   }
   /// What keys mix for a prefix: one number for address and length together, 0 for the empty
   /// prefix. The same in every process for IPv4; IPv6 goes by the process's seed.
   std::uint32_t hash() const noexcept {
      return isIpv4() ? scramble(gather(addr_).value() ^ length_) : hashIfNotIpv4();
   }

   /// All bytes at once, without a branch for each member: keyed collections compare often.
   friend bool operator==(IpGenPrefix const& a, IpGenPrefix const& b) noexcept {
      return ((word(a, 0) ^ word(b, 0)) | (word(a, 8) ^ word(b, 8)) |
              (word(a, 16) ^ word(b, 16))) == 0;
   }
   /// By family, then the bytes of the address, then length.
   friend constexpr std::strong_ordering operator<=>(IpGenPrefix const&,
                                                     IpGenPrefix const&) noexcept = default;

   /// Writes what `appendText` appends.
   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, IpGenPrefix const& prefix);

 private:
   friend PrefixForm;

   static constexpr Ip6Addr::Bytes spread(IpAddr addr) noexcept {
      std::uint32_t const value = addr.value();
      return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
              static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
   }
   static constexpr IpAddr gather(Ip6Addr::Bytes const& bytes) noexcept {
      // In one load: keys hash their prefixes often.
      std::uint32_t const word =
          std::bit_cast<std::uint32_t>(std::array{bytes[0], bytes[1], bytes[2], bytes[3]});
      return IpAddr(std::endian::native == std::endian::little ? __builtin_bswap32(word) : word);
   }

   std::uint32_t hashIfNotIpv4() const noexcept;

   static std::uint64_t word(IpGenPrefix const& prefix, std::size_t at) noexcept {
      std::uint64_t result;
      std::memcpy(&result, reinterpret_cast<std::byte const*>(&prefix) + at, sizeof result);
      return result;
   }

   /// Spreads 32 bits over 32 bits, losing none: different inputs have different results.
   static constexpr std::uint32_t scramble(std::uint32_t x) noexcept {
      std::uint32_t h = x * 32767U - 1U;
      h ^= h >> 12;
      h *= 5U;
      h ^= h >> 4;
      h *= 2057U;
      h ^= h >> 16;
      return h;
   }

   std::uint32_t family_ = familyNone;
   Ip6Addr::Bytes addr_{};
   std::uint32_t length_ = 0;
};

static_assert(sizeof(IpGenPrefix) == 24, "keys are made of prefixes without a gap");

/// 0.0.0.0/0.
inline constexpr IpGenPrefix ipGenPrefixV4Zero{IpAddr(), 0};

}  // namespace Pkt

// Collections of prefixes keep them packed.
#include "pkt/PackedPrefix.h"
