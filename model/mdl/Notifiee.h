#pragma once

#include "mdl/Export.h"
#include "mdl/Ptr.h"
#include "mdl/PtrInterface.h"

#include <cstdint>

namespace Mdl {

class Entity;

/// How soon a change is to come. The removal of an entry is announced twice in a burst: `later`,
/// for loading what waits for nothing, and as the `next`, for loading what that has led to. One by
/// itself comes `now`, which is for both. An entry that is added is announced once, `later`: what
/// there is of it leads to nothing yet.
enum class Soon : std::uint8_t { later, next, now };

/// Identifies an attribute of a type, in notifications and in reflection.
using AttributeId = std::uint32_t;

/// A reactor: watches one entity, its notifier, and is told of each change of its attributes.
///
/// A reactor is told while it is registered with its notifier and its own notifications are
/// active; it starts unregistered and inactive. What changes before that, or while it is off, is
/// dropped: a reactor that is switched on looks at its notifier to catch up.
///
/// Owner: whoever created it; the notifier only knows it. The reactor holds the notifier.
/// I1: a registered reactor has a notifier and stands in the notifier's list once.
/// Re-entrancy: a reactor may be unregistered, re-pointed, switched off or released inside its own
///   or any other reactor's `onAttribute`; the dispatcher keeps it alive until that returns.
class MDL_EXPORT PtrInterface::NotifieeConst : public PtrInterface {
 public:
   Ptr<Entity const> const& notifier() const noexcept { return notifier_; }

   /// Watches another entity, or none. A registration does not move along: the reactor leaves the
   /// old notifier's list, and registers again when it wants to be told by the new one. Reactors
   /// that keep something in step with their notifier override this to catch up.
   virtual void notifierIs(Ptr<Entity const> const& notifier);

   bool isRegisteredNotifiee() const noexcept { return registered_; }
   /// Joins the end of the notifier's list, or leaves it. Without a notifier it stays out.
   void isRegisteredNotifieeIs(bool registered);

   /// Called after each change of an attribute of the notifier. `key` points to the key for a
   /// collection attribute (the same call for an entry added, changed and removed: look the key
   /// up) and is null for a scalar; it is valid during the call.
   virtual void onAttribute(AttributeId attribute, void const* key);

   /// Called before an entry of a large collection is searched for, to be changed: for who wants to
   /// have the processor load what the handling of the change will read, so that both wait for
   /// memory at the same time. Must do nothing else. No change need follow.
   virtual void onAttributeSoon(AttributeId attribute, void const* key, Soon soon) noexcept;

   /// Puts the reactor to rest (true), with whatever clean-up its class calls for, or revives it.
   virtual void mdlDoZombieReactors(bool zombie);

 protected:
   explicit NotifieeConst(Ptr<Entity const> notifier) noexcept;
   ~NotifieeConst() override;

   /// Leaves the notifier's list before the destructors begin: a reactor that is half destroyed
   /// is told of nothing.
   void onZeroReferences() override;

   /// Replaces the notifier and runs no handler.
   void baseNotifierIs(Ptr<Entity const> const& notifier);

   /// The zombie transition that the machine's reactors share: nothing when the flag stands
   /// already; otherwise notifications are switched the other way, `cleanUp` runs, and then the
   /// flag is set. The flag is set even when `cleanUp` throws, so that nobody cleans up twice.
   template <class CleanUp>
   void zombieTransition(bool zombie, CleanUp&& cleanUp);

 private:
   Ptr<Entity const> notifier_;
   bool registered_ = false;
};

template <class CleanUp>
void PtrInterface::NotifieeConst::zombieTransition(bool zombie, CleanUp&& cleanUp) {
   if (isMarkedForDeletion() == zombie) return;
   Ptr<NotifieeConst> const self(this);
   if (notifier_) hasNotificationActiveIs(!zombie);
   struct FlagAtEnd {
      NotifieeConst& reactor;
      bool zombie;
      ~FlagAtEnd() { reactor.isMarkedForDeletionIs(zombie); }
   } const flagAtEnd{*this, zombie};
   cleanUp();
}

}  // namespace Mdl
