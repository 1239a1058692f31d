#include "mdl/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Mdl {

void assertionFailed(char const* condition, char const* file, char const* function) noexcept {
   // No allocation: an assertion may well be the consequence of there being no memory.
   std::fprintf(stderr, "Assertion failed: %s, file %s, function ", condition, file);
   for (char const* at = function; *at != '\0'; ++at) {
      bool const blankBeforeMark = at[0] == ' ' && (at[1] == '&' || at[1] == '*');
      if (!blankBeforeMark) std::fputc(*at, stderr);
   }
   std::fputc('\n', stderr);
   std::fflush(stderr);
   std::abort();
}

}  // namespace Mdl
