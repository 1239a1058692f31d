// Any configuration, and any other after it: what a machine ends up with is what it would have on
// the second one alone.

#include "agent/BookCheck.h"
#include "agent/Reload.h"
#include "agent/serve/InterfaceSources.h"
#include "support/Generate.h"
#include "support/Reloads.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>
#include <map>
#include <optional>

namespace Agent {
namespace {

using Texts = std::vector<std::string>;
using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;
using Tunnel::Decap::TunnelType;

/// Configurations out of few names and values, so that two of them have much in common.
class Configurations {
 public:
   /// With `conflicts` a destination may be called for by several VRFs.
   Configurations(std::uint32_t seed, bool conflicts) : random_(seed), conflicts_(conflicts) {}

   Configuration next() {
      Configuration made;
      for (char const* name : {"a", "b", "c", "d"}) {
         if (random_.oneIn(4)) continue;
         made.groups.push_back(group(name));
         // The order is part of it.
         if (random_.oneIn(3)) std::swap(made.groups.front(), made.groups.back());
      }
      for (char const* name : {"Ethernet1", "Ethernet2", "Ethernet3", "Management1", "Internal1"}) {
         if (!random_.oneIn(4)) made.interfaces.push_back(interface(name));
      }
      return made;
   }

 private:
   template <std::size_t size>
   char const* oneOf(std::array<char const*, size> const& values) {
      return values[random_.below(size)];
   }

   GroupConfiguration group(char const* name) {
      GroupConfiguration made;
      made.name = name;
      made.tunnelType = static_cast<TunnelType>(random_.below(4));
      made.vrf = L3::VrfName(Mdl::String(vrfOf(made.tunnelType)));
      made.destPort = static_cast<std::uint16_t>(random_.oneIn(4) ? 0 : 6080 + random_.below(2));
      made.payloadType = static_cast<Tunnel::Decap::PayloadType>(random_.below(3));
      for (char const* prefix :
           {"10.1.0.0/16", "10.1.1.0/24", "10.2.0.0/16", "10.0.0.1/32", "2001:db8::/32"}) {
         if (random_.oneIn(2)) made.decapIps.push_back(Pkt::IpGenPrefix::fromText(prefix));
      }
      for (char const* intf : {"", "Ethernet1", "Ethernet2", "Ethernet9"}) {
         for (auto const family : {Pkt::familyIpv4, Pkt::familyIpv6}) {
            if (!random_.oneIn(3)) continue;
            made.decapInterfaces.emplace_back(
                DecapIntfKey(Pkt::IntfId(intf), family),
                random_.oneIn(2) ? AddressType::all : AddressType::primary);
         }
      }
      if (random_.oneIn(3)) {
         DecapExcludeIntfSet set{DecapIntfKey(Pkt::IntfId(), Pkt::familyIpv4)};
         set.excludeIntfIs(Pkt::IntfId(oneOf<3>({"Ethernet1", "Ethernet2", "Ethernet3"})));
         made.excludeInterfaces.push_back(set);
      }
      return made;
   }

   char const* vrfOf(TunnelType type) {
      if (conflicts_) return oneOf<3>({"default", "red", "blue"});
      return type == TunnelType::gre ? "red" : type == TunnelType::ipip ? "blue" : "default";
   }

   InterfaceConfiguration interface(char const* name) {
      InterfaceConfiguration made;
      made.name = Pkt::IntfId(name);
      if (random_.oneIn(5)) made.vrf = L3::VrfName("red");
      if (!random_.oneIn(4)) made.primary = address();
      for (std::uint32_t i = random_.below(3); i > 0; --i) {
         auto const addr = address();
         if (std::ranges::find(made.secondary, addr) == made.secondary.end() &&
             addr != made.primary) {
            made.secondary.push_back(addr);
         }
      }
      made.isVirtual = random_.oneIn(4);
      for (char const* addr : {"2001:db8:1::1/64", "2001:db8:1::2/64", "fe80::1/64"}) {
         if (random_.oneIn(3)) made.ipv6.push_back(Pkt::Ip6AddrWithMask::fromText(addr));
      }
      return made;
   }

   Pkt::IpAddrWithMask address() {
      return Pkt::IpAddrWithMask::fromText(
          oneOf<4>({"10.0.0.1/24", "10.0.0.2/24", "10.0.1.1/24", "10.0.2.1/31"}));
   }

   Support::Generate random_;
   bool const conflicts_;
};

/// What a world came to.
struct Ended {
   explicit Ended(World const& world)
       : table(Support::tableTexts(world)), backlog(Support::backlogTexts(world)),
         counts(Support::countTexts(world)), audit(auditBooks(world)) {}

   /// In hardware or waiting: where VRFs are rivals, who came first has the destination.
   Texts all() const {
      Texts all;
      std::ranges::merge(table, backlog, std::back_inserter(all));
      return all;
   }

   Texts table;
   Texts backlog;
   Texts counts;
   Texts audit;
};

/// A world that runs on a first configuration and is given others.
class Reloaded {
 public:
   explicit Reloaded(Configuration const& first) {
      apply(first);
      world_.start();
      world_.settle(60.0);
   }
   Changes whenReloaded(Configuration const& next) {
      world_.hardware().journal().clear();
      Changes const changes = apply(next);
      world_.settle(60.0);
      return changes;
   }
   World const& world() const { return world_; }

 private:
   Changes apply(Configuration const& configuration) {
      Reload reload(world_, {});
      sources_.fileIs(configuration.interfaces, reload);
      reload.groupsAre(configuration.groups);
      return reload.changes();
   }

   World world_;
   InterfaceSources sources_{InterfaceMode::file};
};

/// Of a fresh machine.
Ended endOf(Configuration const& configuration) {
   Reloaded fresh(configuration);
   return Ended(fresh.world());
}

class GeneratedReload : public testing::TestWithParam<std::uint32_t> {
 protected:
   static std::uint32_t rounds() { return Support::shareOf(150); }
};

TEST_P(GeneratedReload, EndsWhereAFreshMachineEnds) {
   Configurations configurations(GetParam(), false);
   for (std::uint32_t round = 0; round < rounds(); ++round) {
      SCOPED_TRACE(round);
      Configuration const first = configurations.next();
      Configuration const second = configurations.next();
      Ended const fresh = endOf(second);
      ASSERT_EQ(fresh.backlog, Texts());
      Reloaded reloaded(first);
      reloaded.whenReloaded(second);
      Ended const ended(reloaded.world());
      ASSERT_EQ(ended.table, fresh.table);
      ASSERT_EQ(ended.backlog, fresh.backlog);
      ASSERT_EQ(ended.counts, fresh.counts);
      ASSERT_EQ(ended.audit, Texts());
   }
}

TEST_P(GeneratedReload, EndsWithTheSameKeysWhereVrfsAreRivals) {
   Configurations configurations(GetParam(), true);
   std::size_t conflicts = 0;
   for (std::uint32_t round = 0; round < rounds(); ++round) {
      SCOPED_TRACE(round);
      Configuration const first = configurations.next();
      Configuration const second = configurations.next();
      Ended const fresh = endOf(second);
      Reloaded reloaded(first);
      reloaded.whenReloaded(second);
      Ended const ended(reloaded.world());
      ASSERT_EQ(ended.all(), fresh.all());
      ASSERT_EQ(ended.counts, fresh.counts);
      ASSERT_EQ(ended.audit, Texts());
      conflicts += ended.backlog.size();
   }
   EXPECT_GT(conflicts, 0u) << "there were rivals";
}

TEST_P(GeneratedReload, TheSameAgainChangesNothing) {
   Configurations configurations(GetParam(), true);
   for (std::uint32_t round = 0; round < rounds(); ++round) {
      SCOPED_TRACE(round);
      Reloaded reloaded(configurations.next());
      Configuration const second = configurations.next();
      reloaded.whenReloaded(second);
      Texts const before = Support::tableTexts(reloaded.world());
      ASSERT_EQ(reloaded.whenReloaded(second), Changes());
      ASSERT_EQ(Support::tableTexts(reloaded.world()), before);
      for (std::string const& call : Support::keyCalls(reloaded.world())) {
         // The backlog is still gone through.
         ASSERT_FALSE(call.starts_with("remove")) << call;
      }
   }
}

INSTANTIATE_TEST_SUITE_P(Seeds, GeneratedReload, testing::Range(1u, 5u));

}  // namespace
}  // namespace Agent
