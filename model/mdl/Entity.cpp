#include "mdl/Entity.h"

#include "mdl/Reflection.h"

namespace Mdl {

Entity::Entity() noexcept { PtrInterface::hasNotificationActiveIs(true); }

Entity::~Entity() = default;

void Entity::handleParent(Ptr<Entity> const&) {}

void Entity::noteAllocation() noexcept {
   allocationNoted_ = true;
   fwkType().noteAllocation();
}

void Entity::onZeroReferences() {
   // Asked before the destructor, which leaves nothing to ask.
   Type const* const counted = allocationNoted_ ? &fwkType() : nullptr;
   PtrInterface::onZeroReferences();
   if (counted != nullptr) counted->noteDeallocation();
}

}  // namespace Mdl
