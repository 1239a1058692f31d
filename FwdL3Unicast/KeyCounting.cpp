// The references on each key, and what the first and the last of them mean for hardware.

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/HardwareCall.h"
#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/Messages.h"
#include "mdl/Assert.h"

namespace Fwd {

void FwdDecapGroupSm::updateRefCount(DecapKey const& key, bool inc) {
   if (key == invalidDecapKey || key == emptyDecapKey) return;
   DecapKey const pinned = key;
   RefCount count = refCountAt(hashedKey(pinned));
   changeRefCount(count, inc);
   notify(memberId::refCount, &pinned);
}

/// Changes the count and tells nobody yet; returns the new count. Either it has changed, or an
/// exception for lack of memory says that nothing has.
std::uint32_t FwdDecapGroupSm::changeRefCount(RefCount& count, bool inc) {
   FWD_TRACE_AS("updateRefCount", 2,
                "updateRefCount"
                    << " key " << count.key().key() << " refCount " << referencesOf(count)
                    << (inc ? " inc by 1" : " dec by 1"));
   if (inc) return ++count.orInsert(0U);
   std::uint32_t* const stored = count.find();
   if (stored == nullptr || *stored == 0) {
      Mdl::assertionFailed("0", sourceFile,
                           "void Fwd::FwdDecapGroupSm::updateRefCount(const Fwd::DecapKey&, bool)");
   }
   if (*stored > 1) return --*stored;
   count.erase();
   refusedKey_.erase(count.key());
   return 0;
}

/// Step by step what a new reference means: tell, and on the first one hand the key to hardware
/// and ask for a verification. A watcher that throws does not stop the rest.
void FwdDecapGroupSm::referenceTaken(RefCount& count, std::uint32_t references) {
   FirstException errors;
   errors.attempt([&] { notify(memberId::refCount, &count.key().key()); });
   bool asked = false;
   if (references == 1 && count.exists()) errors.attempt([&] { asked = handOver(count); });
   if (asked) errors.attempt([&] { requestVerifyIfAsked(); });
   errors.rethrow();
}

void FwdDecapGroupSm::referenceReleased(RefCount& count, std::uint32_t references) {
   FirstException errors;
   errors.attempt([&] { notify(memberId::refCount, &count.key().key()); });
   if (references == 0 && !count.exists()) errors.attempt([&] { takeBack(count); });
   errors.rethrow();
}

/// The key has its first reference. False when hardware need not be asked: another VRF owns the
/// destination, or a call that is under way for the key answers for it.
bool FwdDecapGroupSm::handOver(RefCount const& count) {
   if (HardwareCall::leaveTo(*this, count.key().key())) return false;
   return HardwareCall(*this, count).program();
}

/// The key has lost its last reference.
void FwdDecapGroupSm::takeBack(RefCount const& count) {
   HashedKey const& key = count.key();
   FWD_TRACE_AS("deleteDecapEntry", 2, " delete key from hw " << key.key());
   if (unprogrammedKey_.contains(key)) {
      // Hardware never held it: the hook is not called, and no other VRF can be let in.
      FirstException errors;
      errors.attempt([&] { entryDel(unprogrammedKey_, key, memberId::unprogrammedKey); });
      // A review that is still to come clears the alarm; without one nobody else would.
      if (!reviewScheduled()) errors.attempt([&] { clearHwResourceFull(); });
      errors.rethrow();
      return;
   }
   if (HardwareCall::leaveTo(*this, key.key())) return;
   HardwareCall(*this, count).remove();
}

}  // namespace Fwd
