#pragma once

#include "mdl/Export.h"
#include "mdl/ThreadSafety.h"

#include <cstdint>

namespace Mdl {

/// Base of everything that `Ptr` points to: an intrusive reference count that shares its word with
/// the framework's flags.
///
/// The low bits of the word hold the count, the high bits the flags; "no references" is decided
/// under a mask that leaves the flags out. Count and flags change plainly or atomically by the
/// process-wide switch (mdl/ThreadSafety.h).
///
/// Owner: its pointers. An object starts with one reference, which belongs to whoever constructs
///   it (`allocate` in mdl/Ptr.h takes it over), so that a constructor may hand out pointers to the
///   object under construction.
/// I1: the zero-reference handler runs once, when the last reference goes.
/// I2: from then on references may come and go (a destructor that calls code which holds the
///   object for the duration of a call), and none of them destroys it again.
/// I3: no reference is left when the destructor ends; one that is would dangle, and stops the
///   process.
class MDL_EXPORT PtrInterface {
 public:
   class NotifieeConst;

   PtrInterface(PtrInterface const&) = delete;
   PtrInterface& operator=(PtrInterface const&) = delete;

   /// The number of references now. For tests and diagnosis only.
   std::uint64_t references() const noexcept { return word_.load() & countMask; }

   /// Whether changes are delivered from an entity, or to a reactor.
   bool hasNotificationActive() const noexcept { return flag(notificationActiveFlag); }

   /// Switches delivery. What happens while it is off is dropped, not queued.
   virtual void hasNotificationActiveIs(bool active);

   /// Whether the object has been put to rest and only waits for its last reference to go.
   bool isMarkedForDeletion() const noexcept { return flag(markedForDeletionFlag); }
   void isMarkedForDeletionIs(bool marked) noexcept { flagIs(markedForDeletionFlag, marked); }

   void addReference() const noexcept { word_.add(); }

   void releaseReference() const noexcept {
      std::uint64_t const left = word_.sub();
      if ((left & countMask) == 0) [[unlikely]]
         lastReferenceGone(left);
   }

 protected:
   PtrInterface() noexcept;
   virtual ~PtrInterface();

   /// The zero-reference handler: destroys the object. Runs inside the release of the last
   /// reference, on the thread that released it.
   virtual void onZeroReferences();

   bool flag(std::uint64_t which) const noexcept { return (word_.load() & which) != 0; }
   void flagIs(std::uint64_t which, bool value) const noexcept {
      if (value) {
         word_.set(which);
      } else {
         word_.clear(which);
      }
   }

 private:
   static constexpr std::uint64_t zeroReferencesFlag = std::uint64_t{1} << 63;
   static constexpr std::uint64_t notificationActiveFlag = std::uint64_t{1} << 62;
   static constexpr std::uint64_t markedForDeletionFlag = std::uint64_t{1} << 61;
   static constexpr std::uint64_t countMask = (std::uint64_t{1} << 56) - 1;

   void lastReferenceGone(std::uint64_t word) const noexcept;

   mutable CountWord word_;
};

}  // namespace Mdl
