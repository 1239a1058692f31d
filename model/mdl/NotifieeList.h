#pragma once

#include "mdl/Export.h"
#include "mdl/Notifiee.h"

#include <cstddef>
#include <exception>
#include <vector>

namespace Mdl {

/// The reactors registered with one entity, in order of registration.
///
/// Owner: the entity. Holds no references: a reactor leaves the list before it goes.
/// I1: a dispatch tells the reactors that stood in the list when it began and still do when their
///   turn comes. It walks positions: one that leaves turns its place into a tombstone, one that
///   joins goes to the end, behind every walk's last place.
/// I2: tombstones are removed only while no walk is under way, by the last walk to end.
/// Re-entrancy: any call inside a dispatch, including one that starts another.
/// Cost: adding amortised O(1), removing O(n), telling one virtual call each and two reference
///   counts.
class MDL_EXPORT NotifieeList {
 public:
   NotifieeList() noexcept = default;
   NotifieeList(NotifieeList const&) = delete;
   NotifieeList& operator=(NotifieeList const&) = delete;
   ~NotifieeList();

   bool empty() const noexcept { return live_ == 0; }
   std::size_t size() const noexcept { return live_; }

   void add(PtrInterface::NotifieeConst& notifiee);
   void remove(PtrInterface::NotifieeConst& notifiee) noexcept;

   /// Tells every reactor of a change of `entity`, whose list this is and which stays alive
   /// meanwhile. Depth first: a change made by one of them is told to all before the next hears of
   /// this one. An exception does not keep the change from the others; the first one reaches the
   /// caller once all have been told.
   void dispatch(PtrInterface const& entity, AttributeId attribute, void const* key);

   /// Lets every reactor load what it will need for a change that is about to be made.
   void announce(AttributeId attribute, void const* key, Soon soon) const noexcept;

 private:
   struct Walk;
   void tell(std::size_t& at, std::size_t end, AttributeId attribute, void const* key);
   void tellRest(std::size_t at, std::size_t end, AttributeId attribute, void const* key,
                 std::exception_ptr const& first);

   std::vector<PtrInterface::NotifieeConst*> places_;
   std::size_t live_ = 0;
   unsigned walks_ = 0;
};

}  // namespace Mdl
