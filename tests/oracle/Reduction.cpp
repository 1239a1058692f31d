#include "oracle/Reduction.h"

#include <algorithm>
#include <cstddef>

namespace Oracle {

namespace {

/// Tries to do without each piece of `size` events, from the end: what happened last matters most,
/// and what led there can go once it is known what it led to. Whether any could go.
bool withoutPieces(Events& events, std::size_t size, Fails const& fails,
                   std::function<void(std::size_t)> const& left) {
   bool any = false;
   for (std::size_t end = events.size(); end > 0;) {
      std::size_t const begin = end > size ? end - size : 0;
      Events fewer = events;
      fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(begin),
                  fewer.begin() + static_cast<std::ptrdiff_t>(end));
      if (fails(fewer)) {
         events = std::move(fewer);
         any = true;
         left(events.size());
      }
      end = begin;
   }
   return any;
}

}  // namespace

Events reduced(Events events, Fails const& fails, std::function<void(std::size_t)> const& left) {
   for (std::size_t size = events.size() / 2; size > 1; size /= 2) {
      withoutPieces(events, size, fails, left);
   }
   while (withoutPieces(events, 1, fails, left)) {
   }
   return events;
}

}  // namespace Oracle
