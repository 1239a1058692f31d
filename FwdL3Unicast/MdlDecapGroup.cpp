#include "FwdL3Unicast/MdlDecapGroup.h"

#include "FwdL3Unicast/Messages.h"

namespace Fwd {

FwdDecapGroupSm::MdlDecapGroup::MdlDecapGroup(Mdl::Ptr<DecapGroup const> const& group,
                                              FwdDecapGroupSm* stateMachine)
    : NotifieeConst(group), stateMachine_(stateMachine),
      name_(group ? group->name() : Mdl::String()), nameHash_(name_.hash(Mdl::hashSeed32())),
      unheard_(*this) {
   isRegisteredNotifieeIs(true);
   listIntfs();
}

FwdDecapGroupSm::MdlDecapGroup::~MdlDecapGroup() {
   // Withdraws what a transition before has not.
   FwdDecapGroupSm::MdlDecapGroup::mdlDoZombieReactors(true);
   intfAddressTypeDelAll();
}

Mdl::Ptr<Tunnel::Decap::DecapGroup const> FwdDecapGroupSm::MdlDecapGroup::group() const noexcept {
   return Mdl::staticPtrCast<DecapGroup const>(notifier());
}

void FwdDecapGroupSm::MdlDecapGroup::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<DecapGroup const>(entity);
   if (next == notifier()) return;
   Mdl::Ptr<MdlDecapGroup> const self(this);
   baseNotifierIs(next);
   // Before the handlers, so that a hook that changes the new group inside them is heard.
   isRegisteredNotifieeIs(true);
   listIntfs();
   if (next) produceKeys();
}

void FwdDecapGroupSm::MdlDecapGroup::produceKeys() {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   FirstException errors;
   auto const run = [&](auto handler) {
      if (!isMarkedForDeletion()) errors.attempt([&] { (this->*handler)(); });
   };
   run(static_cast<void (MdlDecapGroup::*)()>(&MdlDecapGroup::handleUpdateIntf));
   run(static_cast<void (MdlDecapGroup::*)()>(&MdlDecapGroup::handleUpdateIp));
   run(&MdlDecapGroup::handleUpdateDestPort);
   run(&MdlDecapGroup::handleUpdatePayloadType);
   run(&MdlDecapGroup::handleUpdateType);
   run(&MdlDecapGroup::handleUpdateForwardingVrf);
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::onAttribute(Mdl::AttributeId attribute, void const* key) {
   if (stateMachine_ == nullptr) return;
   if (attribute == DecapGroup::decapIntfAttributeId) {
      listIntf(*static_cast<DecapIntfKey const*>(key));
   }
   if (isMarkedForDeletion()) return;
   Mdl::Ptr<FwdDecapGroupSm> const alive(stateMachine_);
   switch (attribute) {
      // Before the replay the group is not followed entry by entry: the replay derives everything
      // from what stands there then.
      case DecapGroup::decapIpAttributeId:
         if (following_) handleUpdateIp(*static_cast<Pkt::IpGenPrefix const*>(key));
         return;
      case DecapGroup::decapIntfAttributeId:
         if (following_) handleIntfEntry(*static_cast<DecapIntfKey const*>(key));
         return;
      case DecapGroup::decapExcludeIntfSetAttributeId:
         if (following_) handleExcludeSet(*static_cast<DecapIntfKey const*>(key));
         return;
      case DecapGroup::tunnelTypeAttributeId: handleUpdateType(); return;
      case DecapGroup::destPortAttributeId: handleUpdateDestPort(); return;
      case DecapGroup::payloadTypeAttributeId: handleUpdatePayloadType(); return;
      case DecapGroup::forwardingVrfAttributeId: handleUpdateForwardingVrf(); return;
      default:  // an attribute that decides nothing here
         return;
   }
}

void FwdDecapGroupSm::MdlDecapGroup::mdlDoZombieReactors(bool zombie) {
   // The group is withdrawn in both directions of the transition: deliberate. A group that is
   // revived has given everything back on its way out, and the second time finds nothing held.
   zombieTransition(zombie, [this] { handleDelete(); });
}

void FwdDecapGroupSm::MdlDecapGroup::hasNotificationActiveIs(bool active) {
   NotifieeConst::hasNotificationActiveIs(active);
   if (active) listIntfs();
}

void FwdDecapGroupSm::MdlDecapGroup::replay(unsigned replay) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   auto const watched = group();
   if (!following_ && watched) heard_ = keyOf({});
   following_ = true;  // what changes from here on is followed entry by entry
   if (watched && !isMarkedForDeletion()) {
      FirstException errors;
      forEachIntfEntry(errors, true);
      // Sets without an entry are not handled above; the next change is a change against them.
      errors.attempt([&] { followExcludeSets(); });
      errors.rethrow();
      for (auto const& entry : watched->decapIp().walk()) {
         if (isMarkedForDeletion()) break;
         handleUpdateIp(entry.key);
      }
   }
   replayed_ = replay;
}

Tunnel::Decap::TunnelType FwdDecapGroupSm::MdlDecapGroup::tunnelType() const noexcept {
   auto const* const watched = static_cast<DecapGroup const*>(notifier().get());
   return watched != nullptr ? watched->tunnelType() : Tunnel::Decap::TunnelType::unknown;
}

}  // namespace Fwd
