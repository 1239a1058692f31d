#include "decapctl/report/Waiting.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace Ctl::Report {

void Waiting::asked(KeyId id, Place place) {
   hasAsked_ = true;
   if (!inReview_) return;
   auto const found = positions_.find(id);
   if (found != positions_.end()) passBefore(found->second, place);
}

void Waiting::refused(KeyId id, Place place) {
   Key& key = book_[id];
   if (key.story.waiting && !passedOver_.contains(id)) return;
   if (!key.story.waiting) {
      key.waitsSince = place.time;
      key.destination->waiting.push_back(id);
   }
   key.story.waiting = true;
   passedOver_.erase(id);
   // A review has only come to a key that nobody knew of if it is before all others.
   std::int64_t const position = inReview_ ? --first_ : ++last_;
   order_.emplace(position, id);
   positions_.emplace(id, position);
}

void Waiting::leaves(KeyId id, Place place) {
   Key& key = book_[id];
   if (!key.story.waiting) return;
   key.story.waiting = false;
   std::erase(key.destination->waiting, id);
   account(key, place);
   passedOver_.erase(id);
   auto const found = positions_.find(id);
   if (found == positions_.end()) return;
   order_.erase(found->second);
   positions_.erase(found);
}

void Waiting::account(Key& key, Place place) {
   double const waited = place.time - key.waitsSince;
   key.story.waited += waited;
   key.story.longestWait = std::max(key.story.longestWait, waited);
}

void Waiting::close(Place place) {
   for (auto const& entry : order_) account(book_[entry.second], place);
   for (KeyId const id : passedOver_) account(book_[id], place);
}

void Waiting::allLeave(Place place) {
   while (!order_.empty()) leaves(order_.begin()->second, place);
   while (!passedOver_.empty()) leaves(*passedOver_.begin(), place);
}

void Waiting::lost(Wanted const& wanted, Wanted::Loss const& loss, Place place) {
   if (loss.group == 0 || size() == 0) return;
   std::vector<KeyId> gone;
   auto const look = [&](KeyId id) {
      if (!wanted.isCalledFor(KeyWords(book_[id].text))) gone.push_back(id);
   };
   auto const lookAt = [&](std::string const& prefix) {
      Destination const* const at = book_.destination(loss.type + ' ' + prefix);
      if (at != nullptr) std::for_each(at->waiting.begin(), at->waiting.end(), look);
   };
   if (!loss.prefix.empty()) {
      lookAt(loss.prefix);
   } else {
      auto const& prefixes = wanted.prefixesOf(loss.group);
      std::for_each(prefixes.begin(), prefixes.end(), lookAt);
   }
   for (KeyId const id : gone) leaves(id, place);
}

void Waiting::reviewBegins(bool isDue) noexcept {
   inReview_ = true;
   isDue_ = isDue;
   hasAsked_ = false;
}

void Waiting::reviewEnds(Place place) {
   if (inReview_ && isDue_ && !hasAsked_) {
      passBefore(std::numeric_limits<std::int64_t>::max(), place);
   }
   inReview_ = false;
}

void Waiting::passBefore(std::int64_t position, Place place) {
   while (!order_.empty() && order_.begin()->first < position) {
      KeyId const id = order_.begin()->second;
      if (!book_.isTaken(book_[id])) {
         leaves(id, place);
         continue;
      }
      passedOver_.insert(id);
      positions_.erase(id);
      order_.erase(order_.begin());
   }
}

}  // namespace Ctl::Report
