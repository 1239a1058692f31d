#pragma once

#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/String.h"
#include "pkt/IntfId.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/AddressType.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Agent {

// The words that configurations and scenarios share. Each reader throws ValueError, with a reason
// for the person who wrote the word.

/// A decap destination: "10.1.0.0/16", "2001:db8::/32", or an address alone for its host prefix.
/// Refused are bits beyond the length, which are nearly always a slip, and the length 0, which no
/// tunnel can end in.
Pkt::IpGenPrefix destinationFromText(std::string_view text);

/// "gre", "ipip" or "udp".
Tunnel::Decap::TunnelType tunnelTypeFromText(std::string_view text);

/// "ip" or "mpls".
Tunnel::Decap::PayloadType payloadTypeFromText(std::string_view text);

/// An answer of hardware: "success", "not-ready", "exists", "unsupported", "full", "max",
/// "pending".
Fwd::dgRetCode answerFromWord(std::string_view text);

/// The name of a group or a VRF: 1 to 255 bytes, no control characters.
Mdl::String nameFromText(std::string_view text);

/// What stands for all interfaces of a family, where a decap group may name them.
inline constexpr std::string_view allInterfacesWord = "all";

/// The name of an interface, like any other name but for `allInterfacesWord`.
Pkt::IntfId intfIdFromText(std::string_view text);

/// An interface's address with the length of its network's prefix, "10.0.0.1/24"; an address alone
/// gets its full length.
Pkt::IpAddrWithMask ipAddrFromText(std::string_view text);
Pkt::Ip6AddrWithMask ip6AddrFromText(std::string_view text);

/// "ipv4" or "ipv6".
std::uint32_t familyFromText(std::string_view text);
/// The word of a family; its number when it has none.
std::string familyText(std::uint32_t family);

/// "primary" or "all".
Tunnel::Decap::AddressType addressTypeFromText(std::string_view text);

}  // namespace Agent
