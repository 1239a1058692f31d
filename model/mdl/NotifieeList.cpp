#include "mdl/NotifieeList.h"

#include "mdl/Assert.h"

#include <algorithm>

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

/// A dispatch that is under way. The last one to end does I2.
struct NotifieeList::Walk {
   explicit Walk(NotifieeList& walked) noexcept : list(walked) { ++list.walks_; }
   Walk(Walk const&) = delete;
   Walk& operator=(Walk const&) = delete;
   ~Walk() {
      if (--list.walks_ == 0 && list.live_ != list.places_.size()) [[unlikely]]
         std::erase(list.places_, nullptr);
   }
   NotifieeList& list;
};

void NotifieeList::dispatch(PtrInterface const& entity, AttributeId attribute, void const* key) {
   Ptr<PtrInterface const> const alive(&entity);
   Walk const walk(*this);
   std::size_t const end = places_.size();
   std::size_t at = 0;
   try {
      tell(at, end, attribute, key);
   } catch (...) {
      tellRest(at, end, attribute, key, std::current_exception());
   }
}

/// Tells those from place `at` on. When one throws, `at` is the place behind it.
inline void NotifieeList::tell(std::size_t& at, std::size_t end, AttributeId attribute,
                               void const* key) {
   while (at < end) {
      auto* const notifiee = places_[at++];
      if (notifiee == nullptr || !notifiee->hasNotificationActive()) continue;
      Ptr<PtrInterface::NotifieeConst> const alive(notifiee);
      notifiee->onAttribute(attribute, key);
   }
}

/// What is left to be told after an exception, which reaches the caller in the end.
void NotifieeList::tellRest(std::size_t at, std::size_t end, AttributeId attribute, void const* key,
                            std::exception_ptr const& first) {
   while (at < end) {
      try {
         tell(at, end, attribute, key);
      } catch (...) {
         // The first one has been kept.
      }
   }
   std::rethrow_exception(first);
}

void NotifieeList::announce(AttributeId attribute, void const* key, Soon soon) const noexcept {
   for (auto* const notifiee : places_) {
      if (notifiee != nullptr && notifiee->hasNotificationActive()) {
         notifiee->onAttributeSoon(attribute, key, soon);
      }
   }
}

}  // namespace Mdl
