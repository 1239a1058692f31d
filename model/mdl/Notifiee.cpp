#include "mdl/Notifiee.h"

#include "mdl/Entity.h"

namespace Mdl {

PtrInterface::NotifieeConst::NotifieeConst(Ptr<Entity const> notifier) noexcept
    : notifier_(std::move(notifier)) {}

PtrInterface::NotifieeConst::~NotifieeConst() { isRegisteredNotifieeIs(false); }

void PtrInterface::NotifieeConst::notifierIs(Ptr<Entity const> const& notifier) {
   baseNotifierIs(notifier);
}

void PtrInterface::NotifieeConst::baseNotifierIs(Ptr<Entity const> const& notifier) {
   Ptr<Entity const> next = notifier;
   isRegisteredNotifieeIs(false);
   notifier_.swap(next);
}

void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) {
   if (registered == registered_ || !notifier_) return;
   if (registered) {
      notifier_->notifiees().add(*this);
   } else {
      notifier_->notifiees().remove(*this);
   }
   registered_ = registered;
}

void PtrInterface::NotifieeConst::onAttribute(AttributeId, void const*) {}

void PtrInterface::NotifieeConst::onAttributeSoon(AttributeId, void const*, Soon) noexcept {}

void PtrInterface::NotifieeConst::mdlDoZombieReactors(bool zombie) {
   zombieTransition(zombie, [] {});
}

void PtrInterface::NotifieeConst::onZeroReferences() {
   isRegisteredNotifieeIs(false);
   PtrInterface::onZeroReferences();
}

}  // namespace Mdl
