#include "FwdL3Unicast/MdlDgConfig.h"

#include "FwdL3Unicast/CatchingUp.h"
#include "FwdL3Unicast/MdlDecapGroup.h"

namespace Fwd {

using Tunnel::Decap::Config;

FwdDecapGroupSm::MdlDgConfig::MdlDgConfig(Mdl::Ptr<Config const> const& config,
                                          FwdDecapGroupSm* stateMachine)
    : NotifieeConst(config), stateMachine_(stateMachine) {
   isRegisteredNotifieeIs(true);
}

FwdDecapGroupSm::MdlDgConfig::~MdlDgConfig() = default;

Mdl::Ptr<Config const> FwdDecapGroupSm::MdlDgConfig::config() const noexcept {
   return Mdl::staticPtrCast<Config const>(notifier());
}

void FwdDecapGroupSm::MdlDgConfig::notifierIs(Mdl::Ptr<Mdl::Entity const> const& entity) {
   auto const next = Mdl::dynamicPtrCast<Config const>(entity);
   if (next == notifier()) return;
   bool const hadNone = notifier() == nullptr;
   baseNotifierIs(next);
   // Registered before the groups are told: a hook that changes the new configuration while they
   // are must not go unheard.
   isRegisteredNotifieeIs(true);
   if (!next) return;
   if (Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_); stateMachine) {
      for (auto const& entry : next->decapGroup().walk()) stateMachine->decapGroupIs(entry.value);
      for (auto const& entry : stateMachine->mdlDecapGroup().walk()) {
         if (!next->decapGroupHas(entry.key)) stateMachine->decapGroupDel(entry.key);
      }
      if (isMarkedForDeletion()) return;
      bool const alreadyReplayed = stateMachine->dgConfigReadyHandled();
      stateMachine->handleDecapGroupConfigReady();
      if (!hadNone || !alreadyReplayed || !stateMachine->initializedAndReady()) return;
      // Without a configuration nothing could be followed.
      FirstException errors;
      Fwd::catchUp(*stateMachine, errors);
      errors.rethrow();
   }
}

void FwdDecapGroupSm::MdlDgConfig::onAttribute(Mdl::AttributeId attribute, void const* key) {
   if (isMarkedForDeletion() || stateMachine_ == nullptr) return;
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   if (attribute == Config::decapGroupAttributeId) {
      handleDecapGroup(*static_cast<Mdl::String const*>(key));
   } else if (attribute == Config::readyAttributeId) {
      stateMachine->handleDecapGroupConfigReady();
   }
}

void FwdDecapGroupSm::MdlDgConfig::handleDecapGroup(Mdl::String const& name) {
   auto const watched = config();
   if (!watched) return;
   if (auto const group = watched->decapGroup(name)) {
      auto const known = stateMachine_->mdlDecapGroup(name);
      bool const wasOut = known && known->group() == group;
      stateMachine_->decapGroupIs(group);
      // Somebody who heard first that it went has put it back: what changed meanwhile passed by.
      if (wasOut) known->resume();
   } else {
      stateMachine_->decapGroupDel(name);
   }
}

}  // namespace Fwd
