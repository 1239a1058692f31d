// What the state machine itself costs, against itself: with many groups and with few, and how much
// it gets through in one pass of a review.

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "bench/Contest.h"
#include "bench/Keys.h"
#include "ip/Status.h"
#include "tunnel/decap/DecapGroup.h"
#include "tunnel/decap/hardware/Status.h"

#include <string>
#include <vector>

namespace Bench {

namespace {

/// Answers as it is told, at once.
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

struct Scene {
   Mdl::Ptr<Tunnel::Decap::Config> config = Mdl::allocate<Tunnel::Decap::Config>();
   Mdl::Ptr<Ip::Status> ip = Mdl::allocate<Ip::Status>();
   Mdl::Ptr<Mdl::Clock> clock = Mdl::allocate<Mdl::Clock>();
   Mdl::Ptr<Hook> hook = Mdl::allocate<Hook>();
   Mdl::Ptr<Fwd::FwdDecapGroupSm> machine =
       Fwd::fwdDecapGroupSmFactory(nullptr, config, nullptr, ip, nullptr, clock, hook);

   ~Scene() { machine = nullptr; }
};

/// An interface changes its address; ten groups of `groups` decapsulate what it has.
double addressChange(std::size_t groups) {
   Scene scene;
   Pkt::IntfId const intfId{Mdl::String("Ethernet1")};
   std::vector<Mdl::Ptr<Tunnel::Decap::DecapGroup>> all;
   for (std::size_t i = 0; i < groups; ++i) {
      auto group = Mdl::allocate<Tunnel::Decap::DecapGroup>(Mdl::String("g" + std::to_string(i)));
      group->tunnelTypeIs(Tunnel::Decap::TunnelType::gre);
      group->forwardingVrfIs(L3::VrfName("default"));
      if (i % (groups / 10) == 0) {
         group->decapIntfIs(Tunnel::Decap::DecapIntf({intfId, Pkt::familyIpv4}));
      } else {
         group->decapIpIs(prefixOf(i));
      }
      scene.config->decapGroupIs(group);
      all.push_back(std::move(group));
   }
   auto const interface = Mdl::allocate<Ip::IpIntfStatus>(intfId, L3::VrfName::defaultVrf());
   scene.ip->ipIntfStatusIs(interface);
   scene.config->readyIs(true);
   scene.machine->initializedIs(true);

   std::uint64_t const before = scene.hook->calls;
   std::uint32_t changes = 0;
   double const seconds = timed(
       1,
       [&] {
          Pkt::IpAddr const address(0xc0000201U + ++changes % 2);
          interface->addrWithMaskIs(Pkt::IpAddrWithMask(address, 24));
       },
       200);
   // The ten groups share the key: one comes and one goes.
   return scene.hook->calls - before == 2 * changes - 1 ? seconds : -1;
}

/// The time of one key in a pass of ten milliseconds, with a million keys waiting.
double reviewedKey(std::size_t waiting) {
   Scene scene;
   scene.config->readyIs(true);
   scene.machine->initializedIs(true);
   L3::VrfName const vrf("default");
   for (std::size_t i = 0; i < waiting; ++i) {
      DecapKey const key = keyOf(i, vrf);
      scene.machine->refCountIs(key, 1);
      scene.machine->unprogrammedKeyIs(key, true);
   }
   scene.machine->doReview();
   if (scene.hook->calls == 0) return -1;
   return scene.machine->reviewQuanta() / static_cast<double>(scene.hook->calls);
}

bool const registered = [] {
   contestant("address-change", 10, "10-groups", [] { return addressChange(10); });
   contestant("address-change", 10, "10000-groups", [] { return addressChange(10'000); });
   contestant(
       "review-key", 1'000'000, "ours", [] { return reviewedKey(1'000'000); }, 5);
   return true;
}();

}  // namespace

}  // namespace Bench
