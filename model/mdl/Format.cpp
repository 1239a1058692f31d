#include "mdl/Format.h"

#include "mdl/Assert.h"
#include "mdl/Exception.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace Mdl {

namespace {

std::size_t encoded(int length) {
   if (length < 0) throw Exception("Mdl::format: an argument cannot be encoded");
   return static_cast<std::size_t>(length);
}

}  // namespace

String format(char const* pattern, ...) {
   MDL_ASSERT(pattern != nullptr);
   // Nothing may throw while a list of arguments is open, as the list has to be ended here.
   std::va_list arguments;

   std::array<char, 256> small;
   va_start(arguments, pattern);
   int result = std::vsnprintf(small.data(), small.size(), pattern, arguments);
   va_end(arguments);
   std::size_t const length = encoded(result);
   if (length < small.size()) return String(small.data(), length);

   // Nearly every text fits the small buffer; a longer one is written a second time.
   std::string large(length + 1, '\0');
   va_start(arguments, pattern);
   result = std::vsnprintf(large.data(), large.size(), pattern, arguments);
   va_end(arguments);
   return String(large.data(), encoded(result));
}

}  // namespace Mdl
