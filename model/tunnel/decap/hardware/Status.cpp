#include "tunnel/decap/hardware/Status.h"

namespace Tunnel::Decap::Hardware {

namespace {

constexpr Mdl::Member statusMembers[] = {
    {Status::hwResourceFullAttributeId, "hwResourceFull", Mdl::Member::Kind::scalar,
     [](Mdl::Entity const& e) {
        return Mdl::Reading::of(static_cast<Status const&>(e).hwResourceFull());
     }},
};

}  // namespace

Status::Status() noexcept = default;
Status::~Status() = default;

Mdl::Type const& Status::type() noexcept {
   static Mdl::Type const type(typeName, statusMembers);
   return type;
}

}  // namespace Tunnel::Decap::Hardware
