#include "ip/IpIntfStatus.h"

#include <utility>

namespace Ip {

namespace {

using Mdl::Member;
using Mdl::Reading;
using Kind = Mdl::Member::Kind;

IpIntfStatus const& status(Mdl::Entity const& entity) {
   return static_cast<IpIntfStatus const&>(entity);
}

constexpr Member intfMembers[] = {
    {257, "intfId", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(status(e).intfId()); }},
    {258, "vrf", Kind::scalar, [](Mdl::Entity const& e) { return Reading::of(status(e).vrf()); }},
    {IpIntfStatus::addrWithMaskAttributeId, "addrWithMask", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(status(e).addrWithMask()); }},
    {IpIntfStatus::activeSecondaryWithMaskAttributeId, "activeSecondaryWithMask", Kind::collection,
     [](Mdl::Entity const& e) {
        return Reading::ofCollection(status(e).activeSecondaryWithMask());
     }},
    {IpIntfStatus::virtualAddrAttributeId, "virtualAddr", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(status(e).virtualAddr()); }},
};

}  // namespace

IpIntfStatus::IpIntfStatus(Pkt::IntfId intfId, L3::VrfName vrf)
    : intfId_(std::move(intfId)), vrf_(std::move(vrf)) {}
IpIntfStatus::~IpIntfStatus() = default;

void IpIntfStatus::vrfIs(L3::VrfName vrf) { vrf_ = std::move(vrf); }

Pkt::IpAddr IpIntfStatus::virtualIp() const noexcept {
   return virtualAddr() ? addrWithMask().addr() : Pkt::IpAddr();
}

Mdl::Type const& IpIntfStatus::type() noexcept {
   static Mdl::Type const type(typeName, intfMembers);
   return type;
}

}  // namespace Ip
