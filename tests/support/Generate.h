#pragma once

#include "l3/VrfName.h"
#include "mdl/String.h"
#include "pkt/Ip6Addr.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddr.h"
#include "pkt/IpAddrWithMask.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace Support {

/// Values for generated tests. The same seed gives the same values in the same order, so that a
/// failure can be seen again; small and equal values are frequent, as order and equality are
/// decided there.
class Generate {
 public:
   explicit Generate(std::uint32_t seed) : engine_(seed) {}

   /// A number below `bound`.
   std::uint32_t below(std::uint32_t bound) {
      return static_cast<std::uint32_t>(engine_() % bound);
   }
   bool oneIn(std::uint32_t n) { return below(n) == 0; }
   std::uint32_t word() { return static_cast<std::uint32_t>(engine_()); }

   /// Up to `greatest` bytes of any value.
   Mdl::String bytes(std::uint32_t greatest) {
      std::string text(below(greatest + 1), '\0');
      for (char& byte : text) byte = static_cast<char>(static_cast<unsigned char>(below(256)));
      return Mdl::String(text);
   }

   Pkt::IpAddr ipAddr() { return Pkt::IpAddr(oneIn(3) ? below(4) << 24 | below(3) : word()); }

   /// Often with runs of zero groups, sometimes an IPv4 address in one of its IPv6 forms.
   Pkt::Ip6Addr ip6Addr() {
      Pkt::Ip6Addr::Bytes bytes{};
      bool const sparse = oneIn(2);
      for (std::size_t group = 0; group < bytes.size(); group += 2) {
         if (sparse && !oneIn(3)) continue;
         std::uint32_t const value = word() >> below(32);
         bytes[group] = static_cast<std::uint8_t>(value >> 8);
         bytes[group + 1] = static_cast<std::uint8_t>(value);
      }
      if (oneIn(8)) {
         for (std::size_t i = 0; i < 10; ++i) bytes[i] = 0;
         bytes[10] = bytes[11] = 0xff;
      }
      return Pkt::Ip6Addr(bytes);
   }

   Pkt::IpAddrWithMask ipAddrWithMask() { return {ipAddr(), below(33)}; }
   Pkt::Ip6AddrWithMask ip6AddrWithMask() { return {ip6Addr(), below(129)}; }

   /// Of either family or of none, host bits as they come.
   Pkt::IpGenPrefix prefix() {
      std::uint32_t const kind = below(5);
      if (kind == 0) return Pkt::IpGenPrefix();
      if (kind <= 2) return Pkt::IpGenPrefix(ipAddr(), below(33));
      return Pkt::IpGenPrefix(ip6Addr(), below(129));
   }

   /// Listed and unlisted values.
   Tunnel::Decap::TunnelType tunnelType() {
      return static_cast<Tunnel::Decap::TunnelType>(oneIn(8) ? below(256) : below(4));
   }
   Tunnel::Decap::PayloadType payloadType() {
      return static_cast<Tunnel::Decap::PayloadType>(oneIn(8) ? below(256) : below(3));
   }
   L3::VrfName vrfName() { return oneIn(2) ? L3::VrfName() : L3::VrfName(bytes(6)); }

 private:
   std::mt19937 engine_;
};

}  // namespace Support
