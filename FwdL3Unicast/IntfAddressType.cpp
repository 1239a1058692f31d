#include "FwdL3Unicast/IntfAddressType.h"

#include <utility>

namespace Fwd {

namespace {

using Mdl::Reading;
using Kind = Mdl::Member::Kind;

IntfAddressType const& record(Mdl::Entity const& entity) {
   return static_cast<IntfAddressType const&>(entity);
}

constexpr Mdl::Member recordMembers[] = {
    {257, "intfId", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(record(e).intfId()); }},
    {IntfAddressType::addrTypeAttributeId, "addrType", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(record(e).addrType()); }},
    {IntfAddressType::tunnelTypeAttributeId, "tunnelType", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(record(e).tunnelType()); }},
};

}  // namespace

IntfAddressType::IntfAddressType(Pkt::IntfId intfId) : intfId_(std::move(intfId)) {}
IntfAddressType::~IntfAddressType() = default;

Mdl::Type const& IntfAddressType::type() noexcept {
   static Mdl::Type const type(typeName, recordMembers);
   return type;
}

}  // namespace Fwd
