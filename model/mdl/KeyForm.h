#pragma once

#include <utility>

namespace Mdl {

/// How a collection keeps its keys: as they are, unless a key type knows a form that takes less
/// room and specialises this. Who uses the collection sees keys all the same.
///
/// One object for each collection, which may hold what its keys have in common. Kept forms are as
/// good as the object that made them, and move with it. `keep` may throw std::bad_alloc and then
/// has changed nothing; what it gave is kept until `take` or `drop`, or until the object goes with
/// all of them. None of this may call back into a collection.
///
/// A form of a few small members has its `keep` always in line: returned from a call, they are put
/// together in memory piece by piece and loaded as a whole, for which the processor waits ten
/// cycles and more.
template <class K>
struct KeyForm {
   using Kept = K;
   /// What a scan shows: a reference only where the key itself is kept.
   using Shown = K const&;

   K const& keep(K const& key) const noexcept { return key; }
   Shown show(Kept const& kept) const noexcept { return kept; }
   K take(Kept& kept) const noexcept { return std::move(kept); }
   void drop(Kept const&) const noexcept {}
   bool isSame(Kept const& kept, K const& key) const noexcept { return kept == key; }
};

}  // namespace Mdl
