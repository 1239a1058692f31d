#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace Support {

/// How much of something large a test takes: all of it; a tenth with DECAP_TEST_SHARE=10, as the
/// presets say where a sanitizer makes everything slow; ten times as much with DECAP_TEST_TIMES=10,
/// for somebody who looks for what is rare.
inline std::uint32_t shareOf(std::uint32_t whole) {
   auto const numberIn = [](char const* name) {
      char const* const text = std::getenv(name);
      std::uint32_t const number =
          text == nullptr ? 1 : static_cast<std::uint32_t>(std::stoul(text));
      return number == 0 ? 1 : number;
   };
   std::uint32_t const share = numberIn("DECAP_TEST_SHARE");
   return (whole * numberIn("DECAP_TEST_TIMES") + share - 1) / share;
}

}  // namespace Support
