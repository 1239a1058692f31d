// The modules of the model's types, one for each namespace that defines some.

#include "fwd/FwdCommonSmData.h"
#include "fwd/VerifyData.h"
#include "ip/Status.h"
#include "ip6/Status.h"
#include "l3/VrfName.h"
#include "mdl/Clock.h"
#include "mdl/TypeModule.h"
#include "pkt/Ip6AddrWithMask.h"
#include "pkt/IpAddrWithMask.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/Config.h"
#include "tunnel/decap/hardware/Status.h"

namespace {

using Mdl::TypeModule;
using Mdl::ValueType;
using EntityType = TypeModule::EntityType;

constexpr EntityType frameworkEntities[] = {Mdl::Clock::type};
TypeModule const framework("Mdl", frameworkEntities, {}, {});

constexpr ValueType networkValues[] = {
    ValueType::of<Pkt::IntfId>("Pkt::IntfId"),
    ValueType::of<Pkt::IpAddr>("Pkt::IpAddr"),
    ValueType::of<Pkt::Ip6Addr>("Pkt::Ip6Addr"),
    ValueType::of<Pkt::IpGenPrefix>("Pkt::IpGenPrefix"),
    ValueType::of<Pkt::IpAddrWithMask>("Pkt::IpAddrWithMask"),
    ValueType::of<Pkt::Ip6AddrWithMask>("Pkt::Ip6AddrWithMask"),
};
constexpr char const* networkUses[] = {"Mdl"};
TypeModule const network("Pkt", {}, networkValues, networkUses);

constexpr ValueType vrfValues[] = {ValueType::of<L3::VrfName>("L3::VrfName")};
TypeModule const vrf("L3", {}, vrfValues, networkUses);

constexpr char const* statusUses[] = {"Mdl", "Pkt", "L3"};
constexpr EntityType ipEntities[] = {Ip::Status::type, Ip::IpIntfStatus::type};
TypeModule const ip("Ip", ipEntities, {}, statusUses);

constexpr EntityType ip6Entities[] = {Ip6::Status::type, Ip6::IntfStatus::type};
TypeModule const ip6("Ip6", ip6Entities, {}, statusUses);

constexpr EntityType decapEntities[] = {Tunnel::Decap::Config::type,
                                        Tunnel::Decap::DecapGroup::type,
                                        Tunnel::Decap::Hardware::Status::type};
constexpr ValueType decapValues[] = {
    ValueType::of<Tunnel::Decap::TunnelType>("Tunnel::Decap::TunnelType"),
    ValueType::of<Tunnel::Decap::PayloadType>("Tunnel::Decap::PayloadType"),
    ValueType::of<Tunnel::Decap::AddressType>("Tunnel::Decap::AddressType"),
    ValueType::of<Tunnel::Decap::DecapIntfKey>("Tunnel::Decap::DecapIntfKey"),
    ValueType::of<Tunnel::Decap::DecapIntf>("Tunnel::Decap::DecapIntf"),
    ValueType::of<Tunnel::Decap::DecapExcludeIntfSet>("Tunnel::Decap::DecapExcludeIntfSet"),
};
TypeModule const decap("Tunnel::Decap", decapEntities, decapValues, statusUses);

constexpr EntityType sharedEntities[] = {Fwd::FwdCommonSmData::type, Fwd::VerifyData::type};
TypeModule const shared("Fwd", sharedEntities, {}, networkUses);

}  // namespace
