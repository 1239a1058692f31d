#include "FwdL3Unicast/DecapIntfIp.h"

#include <utility>

namespace Fwd {

namespace {

using Mdl::Reading;
using Kind = Mdl::Member::Kind;

DecapIntfIp const& record(Mdl::Entity const& entity) {
   return static_cast<DecapIntfIp const&>(entity);
}

constexpr Mdl::Member recordMembers[] = {
    {257, "intfId", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(record(e).intfId()); }},
    {DecapIntfIp::primaryIpAttributeId, "primaryIp", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(record(e).primaryIp()); }},
    {DecapIntfIp::virtualIpAttributeId, "virtualIp", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(record(e).virtualIp()); }},
};

}  // namespace

DecapIntfIp::DecapIntfIp(Pkt::IntfId intfId) : intfId_(std::move(intfId)) {}
DecapIntfIp::~DecapIntfIp() = default;

Mdl::Type const& DecapIntfIp::type() noexcept {
   static Mdl::Type const type(typeName, recordMembers);
   return type;
}

}  // namespace Fwd
