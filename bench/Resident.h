#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace Bench {

/// By how many bytes the memory of a process grows that makes something and keeps it: pages that
/// are really there, whatever was asked for. 0 when that cannot be told.
///
/// Each measurement has a process of its own, a fork of this one, so that none meets the holes that
/// another one left in the heap.
std::size_t residentBytesOf(std::function<std::shared_ptr<void>()> const& make);

}  // namespace Bench
