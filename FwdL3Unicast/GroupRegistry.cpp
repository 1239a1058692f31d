// One reactor for every decap group of the configuration, by the group's name.

#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "mdl/Exception.h"

namespace Fwd {

using Tunnel::Decap::DecapGroup;

Mdl::Ptr<FwdDecapGroupSm::MdlDecapGroup> FwdDecapGroupSm::mdlDecapGroup(
    Mdl::String const& name) const {
   auto const* const reactor = mdlDecapGroup_.find(name);
   return reactor == nullptr ? nullptr : *reactor;
}

Mdl::Ptr<DecapGroup const> FwdDecapGroupSm::decapGroup(Mdl::String const& name) const {
   auto const reactor = mdlDecapGroup(name);
   return reactor ? reactor->group() : nullptr;
}

void FwdDecapGroupSm::decapGroupIs(Mdl::Ptr<DecapGroup const> const& groupArgument) {
   // 1.
   if (!groupArgument) throw Mdl::NullArgumentException(typeName, "mdlDecapGroup");
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   // The caller's pointer may go with what a hook does.
   // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
   Mdl::Ptr<DecapGroup const> const group = groupArgument;
   // 2.
   auto reactor = mdlDecapGroup(group->name());
   // One that a hook has taken out meanwhile stays at rest.
   auto const passOnRest = [&] {
      if (mdlDecapGroup(group->name()) == reactor)
         reactor->mdlDoZombieReactors(isMarkedForDeletion());
   };
   if (reactor) {
      // 3.
      if (reactor->notifier() == group) return;
      reactor->notifierIs(group);
      // 5.
      passOnRest();
      return;
   }
   // 4.
   reactor = Mdl::allocate<MdlDecapGroup>(group, this);
   reactor->hasNotificationActiveIs(true);
   if (dgConfigReadyHandled_) reactor->replayedIs(replay_);
   mdlDecapGroup_.insertOrAssign(group->name(), reactor);
   notify(memberId::mdlDecapGroup, &group->name());
   // 5. A reactor made while the state machine is being torn down starts at rest.
   passOnRest();
   // The group's first keys: nothing else produces them for a group that arrives populated.
   reactor->produceKeys();
}

Mdl::Ptr<DecapGroup const> FwdDecapGroupSm::decapGroupDel(Mdl::String const& name) {
   // 1.
   auto removed = mdlDecapGroup_.extract(name);
   if (!removed) return nullptr;
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   Mdl::Ptr<MdlDecapGroup> const reactor = std::move(removed->value);
   // 3., 4. Also when the clean-up throws: nobody else could detach the reactor any more.
   struct Detach {
      MdlDecapGroup& reactor;
      ~Detach() {
         reactor.stateMachineIs(nullptr);
         reactor.hasNotificationActiveIs(false);
      }
   } const detachAtEnd{*reactor};
   notify(memberId::mdlDecapGroup, &removed->key);
   // 2.
   reactor->mdlDoZombieReactors(true);
   // 5.
   return reactor->group();
}

void FwdDecapGroupSm::decapGroupDelAll() {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   for (auto const& entry : mdlDecapGroup_.walk()) decapGroupDel(entry.key);
}

}  // namespace Fwd
