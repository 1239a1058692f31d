#include "bench/Contest.h"

namespace Bench {

std::string sizeName(std::size_t size) {
   unsigned zeros = 0;
   std::size_t rest = size;
   while (rest != 0 && rest % 10 == 0) {
      rest /= 10;
      ++zeros;
   }
   return rest == 1 && zeros >= 3 ? "1e" + std::to_string(zeros) : std::to_string(size);
}

}  // namespace Bench
