#pragma once

#include "mdl/Export.h"
#include "mdl/String.h"

namespace Mdl {

/// The text that `printf` would write for the same arguments, of any length.
///
/// Null is a programming error. Throws Exception when the C library cannot encode an argument, and
/// RangeException when the text is longer than a string can be.
MDL_EXPORT String format(char const* pattern, ...) __attribute__((format(printf, 1, 2)));

}  // namespace Mdl
