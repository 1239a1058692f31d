// What one event costs as what is there grows tenfold, and tenfold again: for the plots. Nothing is
// compared with a peer here; a curve that is not flat wants a reason.

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "bench/Contest.h"
#include "bench/Scene.h"
#include "mdl/Notifiee.h"
#include "tunnel/decap/DecapGroup.h"

#include <string>
#include <vector>

namespace Bench {

namespace {

using Tunnel::Decap::DecapGroup;

/// A prefix comes and goes in the last of `groups` groups.
double groupsGrow(std::size_t groups) {
   Scene scene;
   for (std::size_t i = 0; i < groups; ++i) scene.addGroup(i)->decapIpIs(prefixOf(i));
   auto const last = scene.groups.back();
   scene.start();
   auto const prefix = prefixOf(groups);
   return timed(2, [&] {
      last->decapIpIs(prefix);
      last->decapIpDel(prefix);
   });
}

/// A prefix comes and goes beside `keys` others.
double keysGrow(std::size_t keys) {
   Scene scene;
   auto const group = scene.addGroup(0);
   for (std::size_t i = 0; i < keys; ++i) group->decapIpIs(prefixOf(i));
   scene.start();
   std::size_t next = keys;
   return timed(2, [&] {
      group->decapIpIs(prefixOf(next));
      group->decapIpDel(prefixOf(next++));
   });
}

/// One of `interfaces` interfaces changes its address; one group takes the addresses of all.
double interfacesGrow(std::size_t interfaces) {
   Scene scene;
   scene.addGroup(0)->decapIntfIs(Tunnel::Decap::DecapIntf({Pkt::emptyIntfId, Pkt::familyIpv4}));
   std::vector<Mdl::Ptr<Ip::IpIntfStatus>> all;
   for (std::size_t i = 0; i < interfaces; ++i) {
      all.push_back(scene.addInterface(i, static_cast<std::uint32_t>(i)));
   }
   scene.start();
   std::uint32_t address = static_cast<std::uint32_t>(interfaces);
   return timed(1, [&] {
      auto const& one = all[address % all.size()];
      one->addrWithMaskIs(Pkt::IpAddrWithMask(Pkt::IpAddr(0x64000001U + address++), 24));
   });
}

/// An interface that one group names changes its address; the others name other interfaces.
double usersGrow(std::size_t groups) {
   Scene scene;
   for (std::size_t i = 0; i < groups; ++i) {
      scene.addGroup(i)->decapIntfIs(
          Tunnel::Decap::DecapIntf({Scene::interfaceName(i), Pkt::familyIpv4}));
   }
   auto const first = scene.addInterface(0, 0);
   scene.start();
   std::uint32_t address = 0;
   return timed(1, [&] {
      first->addrWithMaskIs(Pkt::IpAddrWithMask(Pkt::IpAddr(0x64000001U + ++address), 24));
   });
}

/// One of `waiting` keys, in a pass of a review.
double backlogGrows(std::size_t waiting) {
   Scene scene;
   scene.start();
   return scene.secondsForEachReviewed(waiting);
}

/// One of `reactors` reactors hears of a change.
double notifieesGrow(std::size_t reactors) {
   class Reactor final : public Mdl::PtrInterface::NotifieeConst {
    public:
      explicit Reactor(Mdl::Ptr<DecapGroup> const& group) : NotifieeConst(group) {
         hasNotificationActiveIs(true);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Mdl::AttributeId, void const*) override { ++heard; }
      std::uint64_t heard = 0;

    private:
      ~Reactor() override = default;
   };
   auto const group = Mdl::allocate<DecapGroup>(Mdl::String("watched"));
   std::vector<Mdl::Ptr<Reactor>> all;
   for (std::size_t i = 0; i < reactors; ++i) all.push_back(Mdl::allocate<Reactor>(group));
   std::uint16_t port = 0;
   return timed(reactors, [&] { group->destPortIs(++port); });
}

bool const registered = [] {
   struct Curve {
      char const* name;
      double (*measure)(std::size_t);
      std::size_t from, to;
   };
   for (auto const& curve : {Curve{"growth-groups", groupsGrow, 1, 10'000},
                             Curve{"growth-keys", keysGrow, 10, 1'000'000},
                             Curve{"growth-interfaces", interfacesGrow, 1, 100'000},
                             Curve{"growth-users", usersGrow, 1, 10'000},
                             Curve{"growth-backlog", backlogGrows, 1'000, 1'000'000},
                             Curve{"growth-notifiees", notifieesGrow, 1, 100'000}}) {
      for (std::size_t size = curve.from; size <= curve.to; size *= 10) {
         contestant(
             curve.name, size, "ours", [measure = curve.measure, size] { return measure(size); },
             5);
      }
   }
   return true;
}();

}  // namespace

}  // namespace Bench
