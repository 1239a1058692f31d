#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "support/Generate.h"

namespace Support {

/// A key of any values, sentinels and nonsense among them.
inline Fwd::DecapKey decapKey(Generate& generate) {
   Pkt::IpGenPrefix const srcIp = generate.oneIn(2) ? Pkt::IpGenPrefix() : generate.prefix();
   Pkt::IpGenPrefix const dstIp = generate.prefix();
   Tunnel::Decap::TunnelType const tunnelType = generate.tunnelType();
   auto const destPort = static_cast<std::uint16_t>(generate.below(generate.oneIn(2) ? 3 : 65536));
   Tunnel::Decap::PayloadType const payloadType = generate.payloadType();
   return Fwd::DecapKey(srcIp, dstIp, tunnelType, destPort, payloadType, generate.vrfName());
}

}  // namespace Support
