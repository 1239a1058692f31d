#include "ip/Status.h"

namespace Ip {

namespace {

constexpr Mdl::Member statusMembers[] = {
    {Status::ipIntfStatusAttributeId, "ipIntfStatus", Mdl::Member::Kind::collection,
     [](Mdl::Entity const& e) {
        return Mdl::Reading::ofCollection(static_cast<Status const&>(e).ipIntfStatus());
     }},
};

}  // namespace

Status::Status() noexcept = default;
Status::~Status() = default;

Mdl::Type const& Status::type() noexcept {
   static Mdl::Type const type(typeName, statusMembers);
   return type;
}

}  // namespace Ip
