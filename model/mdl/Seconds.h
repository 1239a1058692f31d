#pragma once

#include <limits>

namespace Mdl {

/// A time or a duration in seconds.
using Seconds = double;

/// The time that never comes.
inline constexpr Seconds never = std::numeric_limits<Seconds>::infinity();

}  // namespace Mdl
