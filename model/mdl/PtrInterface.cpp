#include "mdl/PtrInterface.h"

#include "mdl/Assert.h"

namespace Mdl {

PtrInterface::PtrInterface() noexcept {
   word_.add();  // the constructor's own reference
}

PtrInterface::~PtrInterface() {
   // An object whose constructor threw never ran the zero-reference handler and still has its
   // constructor's reference; no other may be left, in either case.
   bool const handlerRan = flag(zeroReferencesFlag);
   MDL_ASSERT(references() == (handlerRan ? 0u : 1u));
}

void PtrInterface::hasNotificationActiveIs(bool active) { flagIs(notificationActiveFlag, active); }

void PtrInterface::onZeroReferences() { delete this; }

void PtrInterface::lastReferenceGone(std::uint64_t word) const noexcept {
   if ((word & zeroReferencesFlag) != 0) return;  // already on its way out
   flagIs(zeroReferencesFlag, true);
   // Being const is a promise to the users of the object; with the last of them it has ended.
   const_cast<PtrInterface*>(this)->onZeroReferences();
}

}  // namespace Mdl
