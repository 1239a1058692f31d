#pragma once

#include "FwdL3Unicast/DecapKey.h"

#include <cstdint>

namespace Bench {

/// What all keys of a group share, for the contestants that have no groups of their own.
struct GroupValues {
   Tunnel::Decap::TunnelType type = Tunnel::Decap::TunnelType::udp;
   std::uint16_t port = 6080;
   Tunnel::Decap::PayloadType payload = Tunnel::Decap::PayloadType::ip;
   L3::VrfName vrf{"default"};

   Fwd::DecapKey keyOf(Pkt::IpGenPrefix const& prefix) const {
      return Fwd::DecapKey(Pkt::IpGenPrefix(Pkt::IpAddr()), prefix, type, port, payload, vrf);
   }
};

}  // namespace Bench
