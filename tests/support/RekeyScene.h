#pragma once

#include "support/DecapFixture.h"

#include <functional>
#include <map>
#include <string>

namespace Support {

/// A small running scene in which one group is changed as a whole while the hook changes something
/// else inside one of the calls that this leads to.
///
/// Red holds two prefixes and an interface; green shares one of the prefixes. A scene is played
/// once: a new one for each call in which the hook acts.
class RekeyScene final : public DecapFixture {
 public:
   using Act = void (*)(RekeyScene&);

   RekeyScene() {
      givenInterface("Ethernet1", "10.0.0.1/24");
      givenInterface("Ethernet2", "10.0.1.1/24");
      givenGroup("red");
      givenGroup("green");
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.2.0.0/16");
      whenDecapIpAdded("green", "10.2.0.0/16");
      givenRunning();
      programs_ = hardware->programCalls();
      removals_ = hardware->removeCalls();
   }

   std::uint64_t programs() const { return hardware->programCalls() - programs_; }
   std::uint64_t removals() const { return hardware->removeCalls() - removals_; }
   void duringProgram(std::uint64_t call, Act act) {
      hardware->duringProgram(programs_ + call, [this, act] { act(*this); });
   }
   void duringRemoval(std::uint64_t call, Act act) {
      hardware->duringRemoval(removals_ + call, [this, act] { act(*this); });
   }

   // What may happen to red and around it. Each is possible whatever has become of red.

   void changeRed(std::function<void(DecapGroup&)> const& change) {
      if (auto const red = configured()) change(*red);
   }
   void removeRed() { config->decapGroupDel(Mdl::String("red")); }
   /// Another entity in the place of the old one, or a new one when there is none.
   void replaceRed(Group const& group, std::string_view prefixText) {
      auto const next = makeGroup("red", group);
      next->decapIpIs(prefix(prefixText));
      next->decapIpIs(prefix("10.2.0.0/16"));
      next->decapIntfIs(DecapIntf({intf("Ethernet2"), ipv4}));
      red_ = next;
      config->decapGroupIs(next);
   }
   void moveInterface(std::string_view name, std::string_view address) {
      givenInterface(name, address);
   }
   void dropMachine() { sm = nullptr; }

   // Protected verbs of the fixture for the acts.
   using DecapFixture::config;
   using DecapFixture::DecapGroup;
   using DecapFixture::DecapIntf;
   using DecapFixture::Group;
   using DecapFixture::groupNamed;
   using DecapFixture::hardware;
   using DecapFixture::intf;
   using DecapFixture::ip;
   using DecapFixture::ipv4;
   using DecapFixture::prefix;
   using DecapFixture::sm;
   using DecapFixture::verifyData;
   using DecapFixture::vrf;
   using DecapFixture::whenDecapIpAdded;
   using DecapFixture::whenDecapIpRemoved;
   using DecapFixture::whenTimePasses;

   /// Counts, backlog and hardware are what the configuration calls for now, and all of it goes
   /// with the machine.
   void thenAllIsAsConfigured() {
      if (!sm) {
         thenHardware({});
         return;
      }
      for (int i = 0; i < 4; ++i) whenTimePasses(1.0);
      thenCounts(called());
      thenEachKeyIsInHardwareOrWaitsForAnotherVrf();
      thenBooksAgree();
      sm = nullptr;
      thenHardware({});
      EXPECT_EQ(unknownRemovals(), 0U);
   }

 private:
   void TestBody() override {}

   Mdl::Ptr<DecapGroup> configured() {
      if (!config->decapGroupHas(Mdl::String("red"))) return nullptr;
      return red_ ? red_ : Mdl::Ptr<DecapGroup>(&groupNamed("red"));
   }

   /// The references that the configuration calls for, straight from its groups.
   Texts called() const {
      std::map<std::string, unsigned> references;
      for (auto const& entry : config->decapGroup()) {
         DecapGroup const& group = *entry.value;
         if (group.tunnelType() == TunnelType::unknown) continue;
         bool const isUdp = group.tunnelType() == TunnelType::udp;
         if (isUdp && (group.destPort() == 0 || group.payloadType() == PayloadType::unset)) {
            continue;
         }
         Group const values{group.tunnelType(), group.destPort(), group.payloadType(),
                            group.forwardingVrf().name().stdString()};
         auto const add = [&](Pkt::IpGenPrefix const& to) {
            ++references[Sim::keyText(key(to.stringValue().stdString(), values))];
         };
         for (auto const& listed : group.decapIp()) add(listed.key);
         for (auto const& listed : group.decapIntf()) {
            auto const interfaceStatus = ip->ipIntfStatus(listed.key.intfId());
            if (interfaceStatus) add(Pkt::IpGenPrefix(interfaceStatus->addrWithMask().addr()));
         }
      }
      Texts texts;
      for (auto const& [text, count] : references) {
         texts.push_back(text + " x" + std::to_string(count));
      }
      return texts;
   }

   void thenEachKeyIsInHardwareOrWaitsForAnotherVrf() const {
      for (auto const& entry : sm->refCount()) {
         bool const waits = sm->unprogrammedKey(entry.key);
         EXPECT_NE(hardware->table().contains(entry.key), waits) << Sim::keyText(entry.key);
         if (waits) {
            EXPECT_TRUE(isHeldByAnotherVrf(entry.key)) << Sim::keyText(entry.key);
         }
      }
      EXPECT_EQ(hardware->table().size() + sm->unprogrammedKey().size(), sm->refCount().size());
   }
   bool isHeldByAnotherVrf(Fwd::DecapKey const& waiting) const {
      for (auto const& entry : hardware->table().entries()) {
         if (entry.key.dstIp() == waiting.dstIp() &&
             entry.key.tunnelType() == waiting.tunnelType() &&
             entry.key.forwardingVrf() != waiting.forwardingVrf()) {
            return true;
         }
      }
      return false;
   }
   std::size_t unknownRemovals() const {
      std::size_t found = 0;
      for (auto const& call : hardware->journal().calls()) {
         found += call.outcome == Sim::Outcome::unknown ? 1 : 0;
      }
      return found;
   }

   std::uint64_t programs_ = 0;
   std::uint64_t removals_ = 0;
   Mdl::Ptr<DecapGroup> red_;
};

}  // namespace Support
