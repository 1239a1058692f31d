// One reactor for every interface with IPv4 status, one for every interface with IPv6 status, and
// the record of each interface's addresses.

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "mdl/Exception.h"

#include <utility>

namespace Fwd {

namespace {

template <class Registry>
auto reactorOf(Registry const& registry, Pkt::IntfId const& intfId) {
   auto const* const reactor = registry.find(intfId);
   return reactor == nullptr ? typename Registry::Value() : *reactor;
}

/// Finds or creates the reactor of a status, under the status's interface. `created` is told of a
/// new one before it looks at any address.
template <class Reactor, class Registry, class Status, class Created>
Mdl::Ptr<Reactor> reactorIs(FwdDecapGroupSm& stateMachine, Registry& registry,
                            Mdl::Ptr<Status const> const& status, Created&& created) {
   Mdl::Ptr<Reactor> reactor;
   FirstException errors;
   if (auto const* const found = registry.find(status->intfId())) {
      reactor = *found;
      if (reactor->notifier() == status) return reactor;
      errors.attempt([&] { reactor->notifierIs(status); });
   } else {
      reactor = Mdl::allocate<Reactor>(status, &stateMachine);
      reactor->hasNotificationActiveIs(true);
      registry.insertOrAssign(status->intfId(), reactor);
      errors.attempt([&] { created(); });
      // Only now that the reactor is in its place and listening: a hook that changes the interface
      // while its first keys are programmed is heard, and one that throws does not lose it.
      errors.attempt([&] { reactor->evaluate(); });
   }
   // One that a hook has taken out meanwhile stays at rest.
   if (reactorOf(registry, status->intfId()) == reactor) {
      bool const leaving = stateMachine.isMarkedForDeletion() || status->isMarkedForDeletion();
      errors.attempt([&] { reactor->mdlDoZombieReactors(leaving); });
   }
   errors.rethrow();
   return reactor;
}

/// Takes the reactor of an interface out, lets it withdraw its keys and detaches it.
template <class Reactor, class Registry>
bool reactorDel(Registry& registry, Pkt::IntfId const& intfId) {
   auto removed = registry.extract(intfId);
   if (!removed) return false;
   Mdl::Ptr<Reactor> const reactor = std::move(removed->value);
   struct Detach {
      Reactor& reactor;
      ~Detach() {
         reactor.stateMachineIs(nullptr);
         reactor.hasNotificationActiveIs(false);
      }
   } const detachAtEnd{*reactor};
   reactor->mdlDoZombieReactors(true);
   return true;
}

}  // namespace

Mdl::Ptr<FwdDecapGroupSm::MdlIpIntfStatus> FwdDecapGroupSm::ipIntfStatusIs(
    Mdl::Ptr<Ip::IpIntfStatus const> const& status) {
   if (!status) throw Mdl::NullArgumentException(typeName, "mdlIpIntfStatus");
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   Mdl::Ptr<Ip::IpIntfStatus const> const pinned = status;
   return reactorIs<MdlIpIntfStatus>(*this, mdlIpIntfStatus_, pinned,
                                     [&] { notify(memberId::mdlIpIntfStatus, &pinned->intfId()); });
}

void FwdDecapGroupSm::ipIntfStatusDel(Pkt::IntfId const& intfId) {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   Pkt::IntfId const pinned = intfId;
   if (reactorDel<MdlIpIntfStatus>(mdlIpIntfStatus_, pinned)) {
      notify(memberId::mdlIpIntfStatus, &pinned);
   }
}

void FwdDecapGroupSm::ipIntfStatusDelAll() {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   for (auto const& entry : mdlIpIntfStatus_.walk()) ipIntfStatusDel(entry.key);
}

Mdl::Ptr<FwdDecapGroupSm::MdlIpIntfStatus> FwdDecapGroupSm::mdlIpIntfStatus(
    Pkt::IntfId const& intfId) const {
   return reactorOf(mdlIpIntfStatus_, intfId);
}

bool FwdDecapGroupSm::mdlIpIntfStatusHas(Pkt::IntfId const& intfId) const {
   return mdlIpIntfStatus_.contains(intfId);
}

Mdl::Ptr<Ip::IpIntfStatus const> FwdDecapGroupSm::ipIntfStatus(Pkt::IntfId const& intfId) const {
   auto const reactor = mdlIpIntfStatus(intfId);
   return reactor ? reactor->status() : nullptr;
}

Mdl::Ptr<FwdDecapGroupSm::MdlIp6IntfStatus> FwdDecapGroupSm::ip6IntfStatusIs(
    Mdl::Ptr<Ip6::IntfStatus const> const& status) {
   if (!status) throw Mdl::NullArgumentException(typeName, "mdlIp6IntfStatus");
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   Mdl::Ptr<Ip6::IntfStatus const> const pinned = status;
   return reactorIs<MdlIp6IntfStatus>(*this, mdlIp6IntfStatus_, pinned, [&] {
      notify(memberId::mdlIp6IntfStatus, &pinned->intfId());
   });
}

void FwdDecapGroupSm::ip6IntfStatusDel(Pkt::IntfId const& intfId) {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   Pkt::IntfId const pinned = intfId;
   if (reactorDel<MdlIp6IntfStatus>(mdlIp6IntfStatus_, pinned)) {
      notify(memberId::mdlIp6IntfStatus, &pinned);
   }
}

void FwdDecapGroupSm::ip6IntfStatusDelAll() {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   for (auto const& entry : mdlIp6IntfStatus_.walk()) ip6IntfStatusDel(entry.key);
}

Mdl::Ptr<FwdDecapGroupSm::MdlIp6IntfStatus> FwdDecapGroupSm::mdlIp6IntfStatus(
    Pkt::IntfId const& intfId) const {
   return reactorOf(mdlIp6IntfStatus_, intfId);
}

bool FwdDecapGroupSm::mdlIp6IntfStatusHas(Pkt::IntfId const& intfId) const {
   return mdlIp6IntfStatus_.contains(intfId);
}

Mdl::Ptr<Ip6::IntfStatus const> FwdDecapGroupSm::ip6IntfStatus(Pkt::IntfId const& intfId) const {
   auto const reactor = mdlIp6IntfStatus(intfId);
   return reactor ? reactor->status() : nullptr;
}

Mdl::Ptr<DecapIntfIp> FwdDecapGroupSm::decapIntfIpIs(Pkt::IntfId const& intfId) {
   if (auto const* const record = decapIntfIp_.find(intfId)) return *record;
   auto record = Mdl::allocate<DecapIntfIp>(intfId);
   record->hasNotificationActiveIs(true);
   entryIs(decapIntfIp_, intfId, record, memberId::decapIntfIp);
   return record;
}

}  // namespace Fwd
