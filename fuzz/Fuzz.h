#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// What the fuzz targets share. A target is one file here with one function; the fuzzing engine, or
/// Replay.cpp in an ordinary build, calls it with one input after the other.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace Fuzz {

/// Stops the process with a word about what does not hold, which the engine takes as a finding.
inline void require(bool holds, char const* what) {
   if (holds) return;
   std::fprintf(stderr, "does not hold: %s\n", what);
   std::abort();
}

inline std::string_view textOf(std::uint8_t const* data, std::size_t size) {
   return {reinterpret_cast<char const*>(data), size};
}

/// An error message is for one line of a terminal.
inline void requireOneLine(std::string_view message) {
   require(!message.empty(), "an error has a message");
   for (char const byte : message) {
      require(static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7f,
              "an error message is one printable line");
   }
}

}  // namespace Fuzz
