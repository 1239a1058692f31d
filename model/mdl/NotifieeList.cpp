#include "mdl/NotifieeList.h"

#include "mdl/Assert.h"

#include <algorithm>
#include <exception>

namespace Mdl {

NotifieeList::~NotifieeList() { MDL_ASSERT(live_ == 0 && walks_ == 0); }

void NotifieeList::add(PtrInterface::NotifieeConst& notifiee) {
   places_.push_back(&notifiee);
   ++live_;
}

void NotifieeList::remove(PtrInterface::NotifieeConst& notifiee) noexcept {
   auto const place = std::find(places_.begin(), places_.end(), &notifiee);
   MDL_ASSERT(place != places_.end());
   --live_;
   if (walks_ == 0) {
      places_.erase(place);
   } else {
      *place = nullptr;
   }
}

void NotifieeList::dispatch(AttributeId attribute, void const* key) {
   struct Walk {
      NotifieeList& list;
      explicit Walk(NotifieeList& l) noexcept : list(l) { ++list.walks_; }
      ~Walk() { list.walkEnded(); }
   } const walk(*this);

   std::exception_ptr first;
   std::size_t const end = places_.size();
   for (std::size_t at = 0; at < end; ++at) {
      auto* const notifiee = places_[at];
      if (notifiee == nullptr || !notifiee->hasNotificationActive()) continue;
      Ptr<PtrInterface::NotifieeConst> const alive(notifiee);
      try {
         notifiee->onAttribute(attribute, key);
      } catch (...) {
         if (!first) first = std::current_exception();
      }
   }
   if (first) std::rethrow_exception(first);
}

void NotifieeList::walkEnded() noexcept {
   if (--walks_ == 0 && live_ != places_.size()) std::erase(places_, nullptr);
}

}  // namespace Mdl
