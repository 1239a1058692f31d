#include "agent/Prefixes.h"

#include <cstddef>

namespace Agent {

bool covers(Pkt::IpGenPrefix const& outer, Pkt::IpGenPrefix const& inner) noexcept {
   if (outer.family() != inner.family() || outer.length() > inner.length()) return false;
   if (outer.isIpv4()) {
      std::uint32_t const differ = outer.ipAddr().value() ^ inner.ipAddr().value();
      return outer.length() == 0 || differ >> (Pkt::IpAddr::bits - outer.length()) == 0;
   }
   auto const a = outer.ip6Addr().bytes();
   auto const b = inner.ip6Addr().bytes();
   std::size_t const whole = outer.length() / 8;
   for (std::size_t i = 0; i < whole; ++i) {
      if (a[i] != b[i]) return false;
   }
   std::uint32_t const rest = outer.length() % 8;
   return rest == 0 || (a[whole] ^ b[whole]) >> (8 - rest) == 0;
}

Pkt::IpGenPrefix shortened(Pkt::IpGenPrefix const& prefix, std::uint32_t length) {
   if (prefix.isIpv4()) {
      std::uint32_t const kept =
          length == 0 ? 0 : ~std::uint32_t{0} << (Pkt::IpAddr::bits - length);
      return {Pkt::IpAddr(prefix.ipAddr().value() & kept), length};
   }
   auto bytes = prefix.ip6Addr().bytes();
   for (std::size_t i = 0; i < bytes.size(); ++i) {
      std::size_t const first = i * 8;
      if (first >= length) {
         bytes[i] = 0;
      } else if (first + 8 > length) {
         bytes[i] = static_cast<std::uint8_t>(bytes[i] & 0xff << (8 - (length - first)));
      }
   }
   return {Pkt::Ip6Addr(bytes), length};
}

bool isAddress(Pkt::IpGenPrefix const& prefix) noexcept {
   return (prefix.isIpv4() && prefix.length() == Pkt::IpAddr::bits) ||
          (prefix.isIpv6() && prefix.length() == Pkt::Ip6Addr::bits);
}

}  // namespace Agent
