// What the library registers with the framework when it is loaded.

#include "FwdL3Unicast/DecapIntfIp.h"
#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/IntfAddressType.h"
#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/TypeModule.h"

namespace Fwd {

namespace {

constexpr Mdl::TypeModule::EntityType entities[] = {
    FwdDecapGroupSm::type, FwdDecapGroupSmHelper::type, DecapIntfIp::type, IntfAddressType::type};

constexpr Mdl::ValueType values[] = {
    Mdl::ValueType::of<DecapKey>("Fwd::DecapKey"),
    Mdl::ValueType::of<TunnelTypeDecapIp>("Fwd::TunnelTypeDecapIp"),
    Mdl::ValueType::of<dgRetCode>("Fwd::dgRetCode"),
};

constexpr char const* uses[] = {"Mdl", "Pkt", "L3", "Ip", "Ip6", "Tunnel::Decap", "Fwd"};

Mdl::TypeModule const module("FwdDecapGroup", entities, values, uses);

}  // namespace

}  // namespace Fwd
