#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "l3/VrfName.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"
#include "pkt/IpGenPrefix.h"

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>

/// The small world of generated events: a handful of groups, interfaces, addresses and prefixes,
/// each a number, so that they meet each other often. Here stands what the numbers mean.
namespace Oracle {

inline constexpr std::uint8_t groupCount = 4;
inline constexpr std::uint8_t intfCount = 8;
inline constexpr std::uint8_t prefixCount = 16;
/// Eight addresses of a family, each with two masks: the upper bit is the mask.
inline constexpr std::uint8_t addrCount = 16;
inline constexpr std::uint32_t valueCount = 3;

std::string groupName(std::uint8_t group);
/// Front panel interfaces but for the last two: a management and an internal one.
Pkt::IntfId const& intfIdOf(std::uint8_t intf);
/// Whether addresses of the interface are never decapsulated.
constexpr bool takesNoPart(std::uint8_t intf) { return intf >= intfCount - 2; }
Pkt::IpGenPrefix const& prefixOf(std::uint8_t prefix);
/// Address 0 is the zero address.
Pkt::IpAddrWithMask ipAddrOf(std::uint8_t addr);
Pkt::Ip6AddrWithMask ip6AddrOf(std::uint8_t addr);
/// Address without mask.
constexpr std::uint8_t hostOf(std::uint8_t addr) { return addr & 7; }
/// Addresses 5 and 6 of IPv6.
constexpr bool isLinkLocal(std::uint8_t addr) { return hostOf(addr) == 5 || hostOf(addr) == 6; }

/// 0 is the default VRF.
L3::VrfName const& vrfOf(std::uint8_t vrf);
/// 0 is no port.
std::uint16_t portOf(std::uint8_t port);
/// 0 is no payload type.
Tunnel::Decap::PayloadType payloadOf(std::uint8_t payload);
/// 0 is no tunnel type, 3 is UDP.
Tunnel::Decap::TunnelType typeOf(std::uint8_t type);

/// A destination: the number of a prefix in the order of first use, 0 for none. Equal prefixes have
/// equal numbers, whether they were configured or are an interface's address.
std::uint8_t destinationOfPrefix(std::uint8_t prefix);
std::uint8_t destinationOfIp(std::uint8_t addr);
std::uint8_t destinationOfIp6(std::uint8_t addr);

/// A hardware key in numbers.
struct Key {
   std::uint8_t destination = 0;
   std::uint8_t type = 0;
   std::uint8_t port = 0;
   std::uint8_t payload = 0;
   std::uint8_t vrf = 0;

   friend constexpr auto operator<=>(Key const&, Key const&) = default;
};

/// What one VRF at a time may own.
struct Pair {
   std::uint8_t type = 0;
   std::uint8_t destination = 0;

   friend constexpr auto operator<=>(Pair const&, Pair const&) = default;
};

constexpr Pair pairOf(Key const& key) { return {key.type, key.destination}; }

Fwd::DecapKey decapKeyOf(Key const& key);
/// None for a key that no event can call for, be it for its source alone.
std::optional<Key> keyOf(Fwd::DecapKey const& key);
std::optional<Pair> pairOf(Fwd::TunnelTypeDecapIp const& pair);
std::optional<std::uint8_t> vrfNumber(L3::VrfName const& vrf);
std::string keyText(Key const& key);
std::string pairText(Pair const& pair);

}  // namespace Oracle
