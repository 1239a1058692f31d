#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "bench/Contest.h"
#include "bench/Keys.h"
#include "ip/Status.h"
#include "tunnel/decap/DecapGroup.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

/// The state machine with groups and interfaces, and a hook that takes everything at once.
struct Scene {
   class Hook final : public Fwd::FwdDecapGroupSmHelper {
    public:
      Hook() : FwdDecapGroupSmHelper(Mdl::String("hook")) {}
      Fwd::dgRetCode programDecapKey(Fwd::DecapKey const&) override {
         ++calls;
         return Fwd::dgRcSuccess;
      }
      void removeDecapKey(Fwd::DecapKey const&) override { ++calls; }
      std::uint64_t calls = 0;

    private:
      ~Hook() override = default;
   };

   Scene() = default;
   Scene(Scene const&) = delete;
   Scene& operator=(Scene const&) = delete;
   ~Scene() { machine = nullptr; }

   Mdl::Ptr<Tunnel::Decap::DecapGroup> addGroup(std::size_t number) {
      std::string const name = "g" + std::to_string(number);
      auto group = Mdl::allocate<Tunnel::Decap::DecapGroup>(Mdl::String(name));
      group->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
      group->forwardingVrfIs(L3::VrfName("default"));
      config->decapGroupIs(group);
      groups.push_back(group);
      return group;
   }

   static Pkt::IntfId interfaceName(std::size_t number) {
      return Pkt::IntfId(Mdl::String("Ethernet" + std::to_string(number)));
   }
   Mdl::Ptr<Ip::IpIntfStatus> addInterface(std::size_t number, std::uint32_t address) {
      auto interface =
          Mdl::allocate<Ip::IpIntfStatus>(interfaceName(number), L3::VrfName::defaultVrf());
      interface->addrWithMaskIs(Pkt::IpAddrWithMask(Pkt::IpAddr(0x64000001U + address), 24));
      ip->ipIntfStatusIs(interface);
      return interface;
   }

   void start() {
      config->readyIs(true);
      machine->initializedIs(true);
   }

   /// The time of one key in a pass of a review over this many that wait.
   double secondsForEachReviewed(std::size_t waiting) {
      L3::VrfName const vrf("default");
      for (std::size_t i = 0; i < waiting; ++i) {
         DecapKey const key = keyOf(i, vrf);
         machine->refCountIs(key, 1);
         machine->unprogrammedKeyIs(key, true);
      }
      std::uint64_t const before = hook->calls;
      auto const start = Clock::now();
      machine->doReview();
      double const seconds = secondsSince(start);
      std::uint64_t const tried = hook->calls - before;
      return tried == 0 ? -1 : seconds / static_cast<double>(tried);
   }

   Mdl::Ptr<Tunnel::Decap::Config> config = Mdl::allocate<Tunnel::Decap::Config>();
   Mdl::Ptr<Ip::Status> ip = Mdl::allocate<Ip::Status>();
   Mdl::Ptr<Mdl::Clock> clock = Mdl::allocate<Mdl::Clock>();
   Mdl::Ptr<Hook> hook = Mdl::allocate<Hook>();
   Mdl::Ptr<Fwd::FwdDecapGroupSm> machine =
       Fwd::fwdDecapGroupSmFactory(nullptr, config, nullptr, ip, nullptr, clock, hook);
   std::vector<Mdl::Ptr<Tunnel::Decap::DecapGroup>> groups;
};

}  // namespace Bench
