#include "FwdL3Unicast/FwdDecapGroupSm.h"

#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroup.h"
#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlDgConfig.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIp6Status.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/MdlIpStatus.h"
#include "FwdL3Unicast/MdlVerifyData.h"

namespace Fwd {

Mdl::Ptr<FwdDecapGroupSm> fwdDecapGroupSmFactory(
    Mdl::Ptr<FwdCommonSmData> const& acsd, Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
    Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status,
    Mdl::Ptr<Ip::Status const> const& ipStatus, Mdl::Ptr<Ip6::Status const> const& ip6Status,
    Mdl::Ptr<Mdl::Clock const> const& clock, Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper) {
   return FwdDecapGroupSm::FwdDecapGroupSmIs(acsd, dgConfig, status, ipStatus, ip6Status, clock,
                                             decapHelper);
}

Mdl::Ptr<FwdDecapGroupSm> FwdDecapGroupSm::FwdDecapGroupSmIs(
    Mdl::Ptr<FwdCommonSmData> const& acsd, Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
    Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status,
    Mdl::Ptr<Ip::Status const> const& ipStatus, Mdl::Ptr<Ip6::Status const> const& ip6Status,
    Mdl::Ptr<Mdl::Clock const> const& clock, Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper) {
   auto stateMachine = Mdl::allocate<FwdDecapGroupSm>(acsd, dgConfig, status, ipStatus, ip6Status,
                                                      clock, decapHelper);
   stateMachine->hasNotificationActiveIs(true);
   return stateMachine;
}

FwdDecapGroupSm::FwdDecapGroupSm(Mdl::Ptr<FwdCommonSmData> const& acsd,
                                 Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
                                 Mdl::Ptr<Tunnel::Decap::Hardware::Status> const& status,
                                 Mdl::Ptr<Ip::Status const> const& ipStatus,
                                 Mdl::Ptr<Ip6::Status const> const& ip6Status,
                                 Mdl::Ptr<Mdl::Clock const> const& clock,
                                 Mdl::Ptr<FwdDecapGroupSmHelper> const& decapHelper)
    : acsd_(acsd), status_(status), decapHelper_(decapHelper) {
   try {
      createInputReactors(dgConfig, ipStatus, ip6Status, clock);
      replayInputs();
      verifyDataIs(acsd_ ? acsd_->verifyData() : nullptr);
   } catch (...) {
      tearDown();
      throw;
   }
}

FwdDecapGroupSm::~FwdDecapGroupSm() { tearDown(); }

void FwdDecapGroupSm::createInputReactors(Mdl::Ptr<Tunnel::Decap::Config const> const& dgConfig,
                                          Mdl::Ptr<Ip::Status const> const& ipStatus,
                                          Mdl::Ptr<Ip6::Status const> const& ip6Status,
                                          Mdl::Ptr<Mdl::Clock const> const& clock) {
   auto const listening = [](auto const& reactor) {
      reactor->hasNotificationActiveIs(true);
      return reactor;
   };
   if (dgConfig) dgConfig_ = listening(Mdl::allocate<MdlDgConfig>(dgConfig, this));
   if (ipStatus) ipStatus_ = listening(Mdl::allocate<MdlIpStatus>(ipStatus, this));
   if (ip6Status) ip6Status_ = listening(Mdl::allocate<MdlIp6Status>(ip6Status, this));
   if (clock) clock_ = listening(Mdl::allocate<MdlClock>(clock, this));
}

/// Reactors for what is there already. They wait for readiness like everything else.
void FwdDecapGroupSm::replayInputs() {
   if (auto const config = dgConfig()) {
      for (auto const& entry : config->decapGroup().walk()) decapGroupIs(entry.value);
   }
   if (auto const ip = ipStatus()) {
      for (auto const& entry : ip->ipIntfStatus().walk()) ipIntfStatusIs(entry.value);
   }
   if (auto const ip6 = ip6Status()) {
      for (auto const& entry : ip6->intf().walk()) ip6IntfStatusIs(entry.value);
   }
}

Mdl::Ptr<Tunnel::Decap::Config const> FwdDecapGroupSm::dgConfig() const noexcept {
   return dgConfig_ ? dgConfig_->config() : nullptr;
}

Mdl::Ptr<Ip::Status const> FwdDecapGroupSm::ipStatus() const noexcept {
   return ipStatus_ ? ipStatus_->status() : nullptr;
}

Mdl::Ptr<Ip6::Status const> FwdDecapGroupSm::ip6Status() const noexcept {
   return ip6Status_ ? ip6Status_->status() : nullptr;
}

Mdl::Ptr<Mdl::Clock const> FwdDecapGroupSm::clock() const noexcept {
   return clock_ ? clock_->clock() : nullptr;
}

Mdl::Ptr<VerifyData const> FwdDecapGroupSm::verifyData() const noexcept {
   return verifyData_ ? verifyData_->verifyData() : nullptr;
}

void FwdDecapGroupSm::verifyDataIs(Mdl::Ptr<VerifyData const> const& verifyData) {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   if (!verifyData) {
      verifyDataDel();
   } else if (verifyData_) {
      verifyData_->notifierIs(verifyData);
   } else {
      verifyData_ = Mdl::allocate<MdlVerifyData>(verifyData, this);
      verifyData_->hasNotificationActiveIs(true);
   }
}

void FwdDecapGroupSm::verifyDataDel() {
   if (!verifyData_) return;
   auto const reactor = std::exchange(verifyData_, nullptr);
   reactor->mdlDoZombieReactors(true);
   reactor->stateMachineIs(nullptr);
}

/// Visits every reactor in the order in which they are switched and put to rest.
template <class Visit>
void FwdDecapGroupSm::forEachReactor(Visit&& visit) {
   auto const visitIfThere = [&](auto reactor) {  // by value: the visit may remove it
      if (reactor) visit(*reactor);
   };
   visitIfThere(dgConfig_);
   visitIfThere(ipStatus_);
   visitIfThere(ip6Status_);
   visitIfThere(clock_);
   for (auto const& entry : mdlDecapGroup_.walk()) visit(*entry.value);
   for (auto const& entry : mdlIpIntfStatus_.walk()) visit(*entry.value);
   for (auto const& entry : mdlIp6IntfStatus_.walk()) visit(*entry.value);
   visitIfThere(verifyData_);
}

void FwdDecapGroupSm::hasNotificationActiveIs(bool active) {
   Mdl::Entity::hasNotificationActiveIs(active);
   forEachReactor([active](auto& reactor) { reactor.hasNotificationActiveIs(active); });
}

void FwdDecapGroupSm::mdlDoZombieReactors(bool zombie) {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   // 1.
   if (isMarkedForDeletion() == zombie) return;
   // 2. One hook that throws must not keep the others from cleaning up.
   FirstException errors;
   forEachReactor(
       [&](auto& reactor) { errors.attempt([&] { reactor.mdlDoZombieReactors(zombie); }); });
   // 3.
   isMarkedForDeletionIs(zombie);
   errors.rethrow();
}

void FwdDecapGroupSm::tearDown() noexcept {
   // Clean-ups first, while every collection and every way back is still there. The agent has
   // let go: there is nobody left to tell of a hook that throws.
   FirstException ignored;
   ignored.attempt([this] { FwdDecapGroupSm::mdlDoZombieReactors(true); });
   detachReactors();
   ignored.attempt([this] { decapIntfIpDelAll(); });
}

void FwdDecapGroupSm::detachReactors() noexcept {
   // A reactor that somebody else still holds no longer reaches the state machine.
   forEachReactor([](auto& reactor) { reactor.stateMachineIs(nullptr); });
}

}  // namespace Fwd
