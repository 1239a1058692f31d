#pragma once

#include "mdl/Hash.h"
#include "mdl/String.h"
#include "mdl/Value.h"
#include "pkt/PrefixText.h"

#include <compare>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace Pkt {

/// An interface's own address with the length of its network's prefix: "10.0.0.1/24". Use it by
/// the names `IpAddrWithMask` and `Ip6AddrWithMask`.
///
/// The zero address says "none", whatever the length.
/// I1: the length is not greater than the address is wide.
template <class Addr>
class AddrWithMask {
 public:
   constexpr AddrWithMask() noexcept = default;
   /// `length` in bits. Throws RangeException when it is more than the address has.
   constexpr AddrWithMask(Addr const& addr, std::uint32_t length) : addr_(addr), length_(length) {
      if (length > Addr::bits) refusePrefixLength(Addr::typeName, length, Addr::bits);
   }
   /// As `fromText`.
   explicit AddrWithMask(Mdl::String const& text) : AddrWithMask(fromText(text.view())) {}

   /// Reads the text representation (see mdl/Value.h). Throws ParseException.
   AddrWithMask(char const*& at, char const* end)
       : AddrWithMask(fromText(Mdl::parsePlainQuoted(at, end))) {}

   /// From "10.0.0.1/24"; the bare text of an address gets its full length. Throws ParseException.
   static AddrWithMask fromText(std::string_view text) {
      PrefixText const halves(text, Addr::typeName);
      Addr const addr = Addr::fromText(halves.address);
      return AddrWithMask(addr, halves.lengthOf(Addr::bits));
   }

   constexpr Addr const& addr() const noexcept { return addr_; }
   /// In bits.
   constexpr std::uint32_t length() const noexcept { return length_; }
   constexpr bool isZero() const noexcept { return addr_.isZero(); }

   Mdl::String stringValue() const {
      std::string text;
      appendText(text);
      return Mdl::String(text);
   }
   /// Appends "10.0.0.1/24".
   void appendText(std::string& out) const {
      addr_.appendText(out);
      out += '/';
      out += std::to_string(length_);
   }
   /// Appends the text representation: the text in quotes.
   void appendStrep(std::string& out) const {
      out += '\'';
      appendText(out);
      out += '\'';
   }

   constexpr std::uint32_t hash(std::uint32_t seed) const noexcept {
      return Mdl::Hash(seed).mix(addr_.hash(seed)).mix(length_).result();
   }

   friend constexpr bool operator==(AddrWithMask const&, AddrWithMask const&) noexcept = default;
   /// By address, then length.
   friend constexpr std::strong_ordering operator<=>(AddrWithMask const&,
                                                     AddrWithMask const&) noexcept = default;

   friend std::ostream& operator<<(std::ostream& out, AddrWithMask const& addr) {
      std::string text;
      addr.appendText(text);
      return out << text;
   }

 private:
   Addr addr_;
   std::uint32_t length_ = 0;
};

}  // namespace Pkt
