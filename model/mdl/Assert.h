#pragma once

#include "mdl/Export.h"

namespace Mdl {

/// Reports a broken invariant on standard error and stops the process (SIGABRT).
///
/// The report is one line: condition, source file and function. `function` is what
/// `__PRETTY_FUNCTION__` gives; compilers differ in the blank before `&` and `*`, which is left
/// out, so that the same invariant reads the same everywhere.
[[noreturn]] MDL_EXPORT void assertionFailed(char const* condition, char const* file,
                                             char const* function) noexcept;

}  // namespace Mdl

/// Stops the process unless `condition` holds. `file` names the source as its users know it, which
/// need not be the file that the line stands in. Always on: an invariant that is broken in the
/// field must not go on to program hardware.
#define MDL_ASSERT_IN(condition, file)                  \
   (static_cast<bool>(condition) ? static_cast<void>(0) \
                                 : ::Mdl::assertionFailed(#condition, file, __PRETTY_FUNCTION__))

/// The same for code whose users have no other name for its source than the file itself.
#define MDL_ASSERT(condition) MDL_ASSERT_IN(condition, __FILE__)
