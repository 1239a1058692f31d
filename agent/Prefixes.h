#pragma once

#include "pkt/IpGenPrefix.h"

#include <cstdint>

namespace Agent {

/// Whether every address of `inner` is one of `outer`, whose bits beyond its length do not count.
bool covers(Pkt::IpGenPrefix const& outer, Pkt::IpGenPrefix const& inner) noexcept;

/// Whether the prefix is a single address.
bool isAddress(Pkt::IpGenPrefix const& prefix) noexcept;

/// The first `length` bits of the prefix, which has no fewer; the rest zero.
Pkt::IpGenPrefix shortened(Pkt::IpGenPrefix const& prefix, std::uint32_t length);

}  // namespace Agent
