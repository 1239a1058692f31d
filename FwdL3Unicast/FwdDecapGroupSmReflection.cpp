// The reflection of the state machine: one table, in the order of the identifiers.

#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "mdl/Exception.h"
#include "mdl/Reflection.h"
#include "mdl/Value.h"

#include <string>

namespace Fwd {

namespace {

using Mdl::Entity;
using Mdl::Member;
using Mdl::Reading;
using Kind = Mdl::Member::Kind;
using Arguments = std::span<Mdl::String const>;

FwdDecapGroupSm const& machine(Entity const& e) { return static_cast<FwdDecapGroupSm const&>(e); }
FwdDecapGroupSm& machine(Entity& e) { return static_cast<FwdDecapGroupSm&>(e); }

/// A registry of reactors, read as what each of them watches. Reactors are no entities; the
/// registry's own reading and the view derived from it show the same.
template <class Registry, class Watched>
Reading readWatched(Registry const& registry, Watched const& watched) {
   Reading reading;
   for (auto const& entry : registry.walk()) {
      reading.entries.emplace_back(Reading::valueOf(entry.key),
                                   Mdl::Ptr<Entity const>(watched(*entry.value)));
   }
   return reading;
}

Reading readGroups(Entity const& e) {
   return readWatched(machine(e).mdlDecapGroup(), [](auto const& r) { return r.group(); });
}
Reading readIpIntfs(Entity const& e) {
   return readWatched(machine(e).mdlIpIntfStatus(), [](auto const& r) { return r.status(); });
}
Reading readIp6Intfs(Entity const& e) {
   return readWatched(machine(e).mdlIp6IntfStatus(), [](auto const& r) { return r.status(); });
}

constexpr Member attribute(Mdl::AttributeId id, char const* name, Member::Read read) {
   return {id, name, Kind::scalar, read};
}
constexpr Member collection(Mdl::AttributeId id, char const* name, Member::Read read) {
   return {id, name, Kind::collection, read};
}
constexpr Member view(Mdl::AttributeId id, char const* name, Member::Read read) {
   return {id, name, Kind::view, read};
}
constexpr Member operation(Mdl::AttributeId id, char const* name, unsigned arguments,
                           Member::Invoke invoke) {
   return {id, name, Kind::operation, nullptr, invoke, arguments};
}

constexpr Member members[] = {
    attribute(memberId::acsd, "acsd",
              [](Entity const& e) { return Reading::of(machine(e).acsd()); }),
    attribute(memberId::dgConfig, "dgConfig",
              [](Entity const& e) { return Reading::of(machine(e).dgConfig()); }),
    attribute(memberId::status, "status",
              [](Entity const& e) { return Reading::of(machine(e).status()); }),
    attribute(memberId::ipStatus, "ipStatus",
              [](Entity const& e) { return Reading::of(machine(e).ipStatus()); }),
    attribute(memberId::ip6Status, "ip6Status",
              [](Entity const& e) { return Reading::of(machine(e).ip6Status()); }),
    attribute(memberId::clock, "clock",
              [](Entity const& e) { return Reading::of(machine(e).clock()); }),
    attribute(memberId::decapHelper, "decapHelper",
              [](Entity const& e) { return Reading::of(machine(e).decapHelper()); }),
    collection(memberId::decapIntfIp, "decapIntfIp",
               [](Entity const& e) { return Reading::ofCollection(machine(e).decapIntfIp()); }),
    operation(memberId::decapIntfIpDel, "decapIntfIpDel", 1,
              [](Entity& e, Arguments a) {
                 machine(e).decapIntfIpDel(Mdl::strepToValue<Pkt::IntfId>(a[0]));
              }),
    collection(memberId::unprogrammedKey, "unprogrammedKey",
               [](Entity const& e) { return Reading::ofCollection(machine(e).unprogrammedKey()); }),
    operation(memberId::addKeyToUnprogrammed, "addKeyToUnprogrammed", 1,
              [](Entity& e, Arguments a) {
                 machine(e).addKeyToUnprogrammed(Mdl::strepToValue<DecapKey>(a[0]));
              }),
    operation(memberId::doMaybeScheduleReview, "doMaybeScheduleReview", 0,
              [](Entity& e, Arguments) { machine(e).doMaybeScheduleReview(); }),
    operation(memberId::doReview, "doReview", 0,
              [](Entity& e, Arguments) { machine(e).doReview(); }),
    collection(
        memberId::tunnelTypeDecapIpToVrf, "tunnelTypeDecapIpToVrf",
        [](Entity const& e) { return Reading::ofCollection(machine(e).tunnelTypeDecapIpToVrf()); }),
    collection(memberId::refCount, "refCount",
               [](Entity const& e) { return Reading::ofCollection(machine(e).refCount()); }),
    operation(memberId::updateRefCount, "updateRefCount", 2,
              [](Entity& e, Arguments a) {
                 machine(e).updateRefCount(Mdl::strepToValue<DecapKey>(a[0]),
                                           Mdl::strepToValue<bool>(a[1]));
              }),
    attribute(memberId::reviewInterval, "reviewInterval",
              [](Entity const& e) { return Reading::of(machine(e).reviewInterval()); }),
    attribute(memberId::reviewQuanta, "reviewQuanta",
              [](Entity const& e) { return Reading::of(machine(e).reviewQuanta()); }),
    attribute(memberId::disableCleanupOnRestart, "disableCleanupOnRestart",
              [](Entity const& e) { return Reading::of(machine(e).disableCleanupOnRestart()); }),
    collection(memberId::mdlDecapGroup, "mdlDecapGroup", readGroups),
    view(memberId::decapGroup, "decapGroup", readGroups),
    attribute(memberId::dgConfigReadyHandled, "dgConfigReadyHandled",
              [](Entity const& e) { return Reading::of(machine(e).dgConfigReadyHandled()); }),
    operation(memberId::handleDecapGroupConfigReady, "handleDecapGroupConfigReady", 0,
              [](Entity& e, Arguments) { machine(e).handleDecapGroupConfigReady(); }),
    collection(memberId::mdlIpIntfStatus, "mdlIpIntfStatus", readIpIntfs),
    view(memberId::ipIntfStatus, "ipIntfStatus", readIpIntfs),
    collection(memberId::mdlIp6IntfStatus, "mdlIp6IntfStatus", readIp6Intfs),
    view(memberId::ip6IntfStatus, "ip6IntfStatus", readIp6Intfs),
    attribute(memberId::verifyData, "verifyData",
              [](Entity const& e) { return Reading::of(machine(e).verifyData()); }),
    operation(memberId::handleVerify, "handleVerify", 0,
              [](Entity& e, Arguments) { machine(e).handleVerify(); }),
    attribute(memberId::initialized, "initialized",
              [](Entity const& e) { return Reading::of(machine(e).initialized()); }),
    view(memberId::initializedAndReady, "initializedAndReady",
         [](Entity const& e) { return Reading::of(machine(e).initializedAndReady()); }),
    operation(memberId::handleInitialized, "handleInitialized", 0,
              [](Entity& e, Arguments) { machine(e).handleInitialized(); }),
};

constexpr std::size_t constructorArguments = 7;

Mdl::Ptr<Entity> construct(std::span<Mdl::Ptr<Entity> const> arguments) {
   if (arguments.size() != constructorArguments) {
      throw Mdl::ReflectionException(std::string(FwdDecapGroupSm::typeName) + " takes " +
                                     std::to_string(constructorArguments) + " arguments, not " +
                                     std::to_string(arguments.size()));
   }
   using Mdl::constructionArgument;
   return FwdDecapGroupSm::FwdDecapGroupSmIs(
       constructionArgument<FwdCommonSmData>(arguments, 0),
       constructionArgument<Tunnel::Decap::Config>(arguments, 1),
       constructionArgument<Tunnel::Decap::Hardware::Status>(arguments, 2),
       constructionArgument<Ip::Status>(arguments, 3),
       constructionArgument<Ip6::Status>(arguments, 4),
       constructionArgument<Mdl::Clock>(arguments, 5),
       constructionArgument<FwdDecapGroupSmHelper>(arguments, 6));
}

}  // namespace

Mdl::Type const& FwdDecapGroupSm::type() noexcept {
   static Mdl::Type const type(typeName, members, construct);
   return type;
}

}  // namespace Fwd
