#pragma once

#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/String.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/PayloadType.h"
#include "tunnel/decap/TunnelType.h"

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

}  // namespace Agent
