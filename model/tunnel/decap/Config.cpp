#include "tunnel/decap/Config.h"

namespace Tunnel::Decap {

namespace {

using Mdl::Member;
using Mdl::Reading;

Config const& config(Mdl::Entity const& entity) { return static_cast<Config const&>(entity); }

constexpr Member configMembers[] = {
    {Config::decapGroupAttributeId, "decapGroup", Member::Kind::collection,
     [](Mdl::Entity const& e) { return Reading::ofCollection(config(e).decapGroup()); }},
    {Config::readyAttributeId, "ready", Member::Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(config(e).ready()); }},
};

}  // namespace

Config::Config() noexcept = default;
Config::~Config() = default;

Mdl::Type const& Config::type() noexcept {
   static Mdl::Type const type(typeName, configMembers);
   return type;
}

}  // namespace Tunnel::Decap
