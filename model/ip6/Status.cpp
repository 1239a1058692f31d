#include "ip6/Status.h"

namespace Ip6 {

namespace {

constexpr Mdl::Member statusMembers[] = {
    {Status::intfAttributeId, "intf", Mdl::Member::Kind::collection,
     [](Mdl::Entity const& e) {
        return Mdl::Reading::ofCollection(static_cast<Status const&>(e).intf());
     }},
};

}  // namespace

Status::Status() noexcept = default;
Status::~Status() = default;

Mdl::Type const& Status::type() noexcept {
   static Mdl::Type const type(typeName, statusMembers);
   return type;
}

}  // namespace Ip6
