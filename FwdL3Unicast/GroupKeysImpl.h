#pragma once

// How a group's reactor takes and gives back the references of its two sets. Private to the files
// that implement the reactor.

#include "FwdL3Unicast/BooksAhead.h"
#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/Messages.h"

namespace Fwd {

/// Takes one reference on a key that the set's entry wants, unless it holds one already or
/// something stops it; a key that was stopped is taken when it is produced again.
///
/// The mark is set as soon as the count is raised and before hardware is asked: a hook that
/// releases the key inside the call finds it held.
template <class Keys>
void FwdDecapGroupSm::MdlDecapGroup::hold(Mdl::Lookup<Keys>& entry) {
   using Use = typename Keys::Value;
   if (isMarkedForDeletion() || leaving_ || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   HashedKey const& key = entry.key();
   FWD_TRACE_AS("createDecapEntry", 2,
                "createDecapEntry"
                    << " decapKey=" << key.key());
   if (GroupKeys<Use>::isHeld(entry) || isStopped(key.key())) return;
   // The hook has been asked whether to wait, and may have done anything.
   Use* const use = entry.find();
   if (use == nullptr || use->held || isMarkedForDeletion()) return;
   RefCount count = stateMachine->refCountAt(key);
   std::uint32_t const counted = stateMachine->changeRefCount(count, true);
   use->held = true;
   stateMachine->referenceTaken(count, counted);
}

/// Gives back the reference that the set holds on a key; a key that it does not hold is left
/// alone, whoever else holds it.
template <class Keys>
void FwdDecapGroupSm::MdlDecapGroup::letGo(Mdl::Lookup<Keys>& entry) {
   if (stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   HashedKey const& key = entry.key();
   traceWithdrawal(key.key());
   if (!GroupKeys<typename Keys::Value>::letGo(entry)) return;
   RefCount count = stateMachine->refCountAt(key);
   if (referencesOf(count) == 0) return;
   stateMachine->referenceReleased(count, stateMachine->changeRefCount(count, false));
}

/// Gives back every reference of a set, whose lists stay. An exception does not keep the others.
template <class Use>
void FwdDecapGroupSm::MdlDecapGroup::letGoAll(GroupKeys<Use>& keys, FirstException& errors) {
   BooksAhead books{Mdl::Ptr<FwdDecapGroupSm const>(stateMachine_)};
   auto walk = keys.walk();
   for ([[maybe_unused]] auto const& entry : walk) {
      books.step(walk);
      auto now = keys.at(walk);
      errors.attempt([&] { letGo(now); });
   }
}

/// Gives back every reference of a set and empties it. An exception does not keep the others.
template <class Use>
void FwdDecapGroupSm::MdlDecapGroup::forgetAll(GroupKeys<Use>& keys, FirstException& errors) {
   // A hook that re-keys the group meanwhile must not carry over what is on its way out.
   keys.leaveAll();
   unsigned const mine = rebuilds_;
   BooksAhead books{Mdl::Ptr<FwdDecapGroupSm const>(stateMachine_)};
   auto walk = keys.walk();
   for ([[maybe_unused]] auto const& entry : walk) {
      books.step(walk);
      // A hook that re-keys the group may also take a key again that has just been given back.
      auto now = keys.at(walk);
      do {
         errors.attempt([&] { letGo(now); });
         // One that rebuilds the group has emptied the set: what it holds now is to stay. So is
         // what a group holds that has left its machine without giving it back.
         if (rebuilds_ != mine || stateMachine_ == nullptr) return;
         keys.forget(now);
      } while (keys.isHeld(now));
   }
}

}  // namespace Fwd
