#pragma once

#include <cstdint>

namespace Pkt {

/// Address families, as prefixes and keys carry them: 32 bits wide, with these fixed numbers.
inline constexpr std::uint32_t familyNone = 0;
inline constexpr std::uint32_t familyIpv4 = 1;
inline constexpr std::uint32_t familyIpv6 = 2;

}  // namespace Pkt
