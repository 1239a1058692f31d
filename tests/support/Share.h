#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace Support {

/// How much of something large a test takes: all of it, or a tenth with DECAP_TEST_SHARE=10. The
/// presets say so where a sanitizer makes everything slow.
inline std::uint32_t shareOf(std::uint32_t whole) {
   char const* const text = std::getenv("DECAP_TEST_SHARE");
   std::uint32_t const share = text == nullptr ? 1 : static_cast<std::uint32_t>(std::stoul(text));
   return share == 0 ? whole : (whole + share - 1) / share;
}

}  // namespace Support
