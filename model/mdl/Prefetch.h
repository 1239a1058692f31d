#pragma once

namespace Mdl {

/// Has the processor load the line of memory at `address`, and waits for nothing. Any address will
/// do.
///
/// The empty instruction says that something happens here: to GCC a function that does nothing but
/// load ahead has no effect, and calls of it may be left out.
inline void prefetch(void const* address) noexcept {
   __builtin_prefetch(address);
   asm volatile("");
}

}  // namespace Mdl
