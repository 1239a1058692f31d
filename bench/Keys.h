#pragma once

#include "FwdL3Unicast/DecapKey.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace Bench {

using Fwd::DecapKey;

/// Host prefixes, each another one.
inline Pkt::IpGenPrefix prefixOf(std::size_t number) {
   return Pkt::IpGenPrefix(Pkt::IpAddr(0x0a000000U + static_cast<std::uint32_t>(number)), 32);
}

inline DecapKey keyOf(std::size_t number, L3::VrfName const& vrf) {
   return DecapKey(Pkt::ipGenPrefixV4Zero, prefixOf(number), Tunnel::Decap::TunnelType::udp,
                   std::uint16_t{6080}, Tunnel::Decap::PayloadType::ip, vrf);
}

template <class T>
std::vector<T> shuffled(std::vector<T> things, unsigned seed) {
   std::shuffle(things.begin(), things.end(), std::mt19937(seed));
   return things;
}

/// Keys for a table, in an order of their own, and as many that are not in it.
struct Keys {
   explicit Keys(std::size_t count) {
      L3::VrfName const vrf("default");
      for (std::size_t i = 0; i < count; ++i) inserted.push_back(keyOf(i, vrf));
      for (std::size_t i = count; i < 2 * count; ++i) absent.push_back(keyOf(i, vrf));
      inserted = shuffled(std::move(inserted), 1);
      present = shuffled(inserted, 2);
      absent = shuffled(std::move(absent), 3);
   }

   std::vector<DecapKey> inserted;
   std::vector<DecapKey> present;
   std::vector<DecapKey> absent;
};

}  // namespace Bench
