#include "ip6/IntfStatus.h"

#include <utility>

namespace Ip6 {

namespace {

using Mdl::Member;
using Mdl::Reading;
using Kind = Mdl::Member::Kind;

IntfStatus const& status(Mdl::Entity const& entity) {
   return static_cast<IntfStatus const&>(entity);
}

Reading readAddresses(Mdl::Entity const& entity) {
   Reading reading;
   for (auto const& entry : status(entity).addr().walk()) {
      reading.entries.emplace_back(Reading::valueOf(entry.key), std::monostate());
   }
   return reading;
}

constexpr Member intfMembers[] = {
    {257, "intfId", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(status(e).intfId()); }},
    {258, "vrf", Kind::scalar, [](Mdl::Entity const& e) { return Reading::of(status(e).vrf()); }},
    {IntfStatus::addrAttributeId, "addr", Kind::collection, readAddresses},
};

}  // namespace

IntfStatus::IntfStatus(Pkt::IntfId intfId, L3::VrfName vrf)
    : intfId_(std::move(intfId)), vrf_(std::move(vrf)) {}
IntfStatus::~IntfStatus() = default;

void IntfStatus::vrfIs(L3::VrfName vrf) { vrf_ = std::move(vrf); }

Mdl::Type const& IntfStatus::type() noexcept {
   static Mdl::Type const type(typeName, intfMembers);
   return type;
}

}  // namespace Ip6
