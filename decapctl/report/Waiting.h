#pragma once

#include "decapctl/report/KeyBook.h"
#include "decapctl/report/Wanted.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>

namespace Ctl::Report {

/// The keys that hardware has refused for now.
///
/// A journal says when a key is refused and when it is accepted, but not when one that waits is no
/// longer called for. Two things tell. A change of the groups takes the keys of their prefixes at
/// once. And a review asks for what waits in the order of joining: a key before the one that is
/// asked for is not there any more, and neither is any key when a review is due and asks for none.
/// (A key whose destination hardware has for another VRF is passed over, and stays.)
class Waiting {
 public:
   explicit Waiting(KeyBook& book) : book_(book) {}

   std::size_t size() const noexcept { return order_.size() + passedOver_.size(); }
   /// A key is asked for.
   void asked(KeyId id, Place place);
   void refused(KeyId id, Place place);
   /// Accepted, refused for good, removed, or not called for.
   void leaves(KeyId id, Place place);
   void allLeave(Place place);
   /// What waits until the end of the journal has waited until there.
   void close(Place place);
   void lost(Wanted const& wanted, Wanted::Loss const& loss, Place place);

   /// A review may begin: the clock has moved.
   void reviewBegins(bool isDue) noexcept;
   /// Something else begins.
   void reviewEnds(Place place);

 private:
   void account(Key& key, Place place);
   void passBefore(std::int64_t position, Place place);

   KeyBook& book_;
   /// By the order of joining, and the other way round.
   std::map<std::int64_t, KeyId> order_;
   std::map<KeyId, std::int64_t> positions_;
   std::set<KeyId> passedOver_;
   std::int64_t last_ = 0;
   std::int64_t first_ = 0;
   bool inReview_ = false;
   bool isDue_ = false;
   bool hasAsked_ = false;
};

}  // namespace Ctl::Report
