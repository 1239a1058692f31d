#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "bench/job/Hook.h"
#include "tunnel/decap/DecapGroup.h"

#include <string>
#include <vector>

namespace Bench {

/// The state machine itself, with groups that it has replayed.
class Machine {
 public:
   static constexpr char name[] = "ours";

   explicit Machine(unsigned groups) {
      for (unsigned i = 0; i < groups; ++i) {
         groups_.push_back(makeGroup("group-" + std::to_string(i)));
         config_->decapGroupIs(groups_.back());
      }
      config_->readyIs(true);
      machine_->initializedIs(true);
   }
   ~Machine() { machine_ = nullptr; }
   Machine(Machine const&) = delete;
   Machine& operator=(Machine const&) = delete;

   void add(unsigned group, Pkt::IpGenPrefix const& prefix) { groups_[group]->decapIpIs(prefix); }
   void apply(unsigned group, std::vector<Pkt::IpGenPrefix> const& prefixes) {
      groups_[group]->decapIpIsEach(prefixes);
   }
   void withdraw(unsigned group, Pkt::IpGenPrefix const& prefix) {
      groups_[group]->decapIpDel(prefix);
   }

   void deleteGroup(unsigned group) { config_->decapGroupDel(groups_[group]->name()); }
   void rekey(unsigned group, std::uint16_t port) { groups_[group]->destPortIs(port); }

   Hardware const& hardware() const { return hook_->hardware; }

 private:
   class Hook final : public Fwd::FwdDecapGroupSmHelper {
    public:
      Hook() : FwdDecapGroupSmHelper(Mdl::String("counting")) {}
      Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override {
         hardware.program(key);
         return Fwd::dgRcSuccess;
      }
      void removeDecapKey(Fwd::DecapKey const& key) override { hardware.remove(key); }
      Hardware hardware;

    private:
      ~Hook() override = default;
   };

   static Mdl::Ptr<Tunnel::Decap::DecapGroup> makeGroup(std::string const& groupName) {
      auto group = Mdl::allocate<Tunnel::Decap::DecapGroup>(Mdl::String(groupName));
      group->tunnelTypeIs(Tunnel::Decap::TunnelType::udp);
      group->destPortIs(6080);
      group->payloadTypeIs(Tunnel::Decap::PayloadType::ip);
      group->forwardingVrfIs(L3::VrfName("default"));
      return group;
   }

   Mdl::Ptr<Tunnel::Decap::Config> const config_ = Mdl::allocate<Tunnel::Decap::Config>();
   Mdl::Ptr<Hook> const hook_ = Mdl::allocate<Hook>();
   Mdl::Ptr<Fwd::FwdDecapGroupSm> machine_ = Fwd::fwdDecapGroupSmFactory(
       nullptr, config_, nullptr, nullptr, nullptr, Mdl::allocate<Mdl::Clock>(), hook_);
   std::vector<Mdl::Ptr<Tunnel::Decap::DecapGroup>> groups_;
};

}  // namespace Bench
