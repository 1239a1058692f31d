#pragma once

#include "mdl/String.h"

#include <cstdint>

namespace Fwd {

/// A failure that a verification found, as a simulation records it.
struct VerifyOutput {
   Mdl::String text;
   /// The source file by the name its users know it under, and the line of the check in it.
   Mdl::String file;
   std::uint32_t line = 0;
   Mdl::String function;
   std::uint8_t code = 0;
};

}  // namespace Fwd
