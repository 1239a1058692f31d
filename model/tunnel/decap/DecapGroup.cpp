#include "tunnel/decap/DecapGroup.h"

#include <utility>

namespace Tunnel::Decap {

namespace {

using Mdl::Member;
using Mdl::Reading;
using Kind = Mdl::Member::Kind;

DecapGroup const& group(Mdl::Entity const& entity) {
   return static_cast<DecapGroup const&>(entity);
}

constexpr Member groupMembers[] = {
    {257, "name", Kind::scalar, [](Mdl::Entity const& e) { return Reading::of(group(e).name()); }},
    {DecapGroup::decapIpAttributeId, "decapIp", Kind::collection,
     [](Mdl::Entity const& e) { return Reading::ofCollection(group(e).decapIp()); }},
    {DecapGroup::decapIntfAttributeId, "decapIntf", Kind::collection,
     [](Mdl::Entity const& e) { return Reading::ofCollection(group(e).decapIntf()); }},
    {DecapGroup::decapExcludeIntfSetAttributeId, "decapExcludeIntfSet", Kind::collection,
     [](Mdl::Entity const& e) { return Reading::ofCollection(group(e).decapExcludeIntfSet()); }},
    {DecapGroup::tunnelTypeAttributeId, "tunnelType", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(group(e).tunnelType()); }},
    {DecapGroup::destPortAttributeId, "destPort", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(group(e).destPort()); }},
    {DecapGroup::payloadTypeAttributeId, "payloadType", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(group(e).payloadType()); }},
    {DecapGroup::forwardingVrfAttributeId, "forwardingVrf", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(group(e).forwardingVrf()); }},
};

}  // namespace

DecapGroup::DecapGroup(Mdl::String name) : name_(std::move(name)) {}
DecapGroup::~DecapGroup() = default;

Mdl::Type const& DecapGroup::type() noexcept {
   static Mdl::Type const type(typeName, groupMembers);
   return type;
}

}  // namespace Tunnel::Decap
