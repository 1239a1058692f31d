#pragma once

#include "oracle/Event.h"

#include <cstdint>

namespace Oracle {

/// The sequence of a seed: at least `length` events, the same ones every time. It begins without a
/// machine; one is built, started, and now and then restarted on the way.
Events generate(std::uint32_t seed, std::uint32_t length);

}  // namespace Oracle
