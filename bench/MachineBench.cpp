// What the state machine itself costs, against itself: with many groups and with few, and how much
// it gets through in one pass of a review.

#include "bench/Contest.h"
#include "bench/Scene.h"

namespace Bench {

namespace {

/// An interface changes its address; ten groups of `groups` decapsulate what it has.
double addressChange(std::size_t groups) {
   Scene scene;
   for (std::size_t i = 0; i < groups; ++i) {
      auto const group = scene.addGroup(i);
      if (i % (groups / 10) == 0) {
         group->decapIntfIs(Tunnel::Decap::DecapIntf({Scene::interfaceName(0), Pkt::familyIpv4}));
      } else {
         group->decapIpIs(prefixOf(i));
      }
   }
   auto const interface = scene.addInterface(0, 0);
   scene.start();

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
   return scene.hook->calls - before == std::uint64_t{2} * changes ? seconds : -1;
}

/// The time of one key in a pass of ten milliseconds, with a million keys waiting.
double reviewedKey(std::size_t waiting) {
   Scene scene;
   scene.start();
   return scene.secondsForEachReviewed(waiting);
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
