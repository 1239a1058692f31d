#include "support/FirstToHear.h"
#include "support/InterfaceFixture.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace {

/// Somebody hears first that an interface has come, or has another status; has a group take its
/// addresses, and maybe takes it away again. The machine hears of it all when it is over.
class UnheardInterfaces : public InterfaceFixture {
 protected:
   void meanwhile(std::function<void()> act) { watcher_.nextIs(std::move(act)); }

   Mdl::Ptr<DecapGroup> const red = givenGroup("red");

 private:
   Support::FirstToHear watcher_{{ip, ip6}};
};

TEST_F(UnheardInterfaces, AnEntryTakesWhatIsNotHeardOfForGood) {
   givenRunning();
   meanwhile([&] { whenDecapIntfAdded("red", "Ethernet1", all); });
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(UnheardInterfaces, AnIpv6EntryTakesWhatIsNotHeardOfForGood) {
   givenRunning();
   meanwhile([&] { whenDecapIntfAdded("red", "Ethernet1", all, ipv6); });
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   thenDestinations({"2001:db8::1/128"});
}

TEST_F(UnheardInterfaces, WhatHasGoneAgainIsGivenBack) {
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      red->tunnelTypeIs(TunnelType::gre);
      whenInterfaceRemoved("Ethernet1");
   });
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenDestinations({});
   thenBooksAgree();
}

TEST_F(UnheardInterfaces, Ipv6AddressesThatHaveGoneAgainAreGivenBack) {
   whenDecapIntfAdded("red", "", all, ipv6);
   givenRunning();
   meanwhile([&] {
      red->tunnelTypeIs(TunnelType::gre);
      whenInterface6Removed("Ethernet1");
   });
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   thenDestinations({});
   thenBooksAgree();
}

TEST_F(UnheardInterfaces, WhatHasGoneAgainIsGivenBackByANewGroup) {
   givenRunning();
   meanwhile([&] {
      givenGroup("blue");
      whenDecapIntfAdded("blue", "Ethernet1", all);
      whenInterfaceRemoved("Ethernet1");
   });
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenDestinations({});
}

TEST_F(UnheardInterfaces, WhatAnotherStatusHadForAWhileIsGivenBack) {
   auto const one = givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      red->tunnelTypeIs(TunnelType::gre);
      red->tunnelTypeIs(TunnelType::udp);
      ip->ipIntfStatusIs(one);
   });
   givenInterfaceWith("Ethernet1", "10.0.0.2/24", {"10.0.0.3/24"});
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(UnheardInterfaces, WhatAnotherIpv6StatusHadForAWhileIsGivenBack) {
   auto const one = givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1", all, ipv6);
   givenRunning();
   meanwhile([&] {
      red->tunnelTypeIs(TunnelType::gre);
      red->tunnelTypeIs(TunnelType::udp);
      ip6->intfIs(one);
   });
   givenInterface6("Ethernet1", {"2001:db8::3/64"});
   thenDestinations({"2001:db8::1/128"});
}

// A restart that is to leave hardware as it is.
TEST_F(UnheardInterfaces, NothingIsGivenBackWhereARestartLeavesHardware) {
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      red->tunnelTypeIs(TunnelType::gre);
      sm->disableCleanupOnRestartIs(true);
      whenInterfaceRemoved("Ethernet1");
   });
   givenInterface("Ethernet1", "10.0.0.1/24");
   EXPECT_EQ(hardware->table().size(), 1U);
}

// Each time that the machine hears of the interface, hardware throws at an address that it takes.
TEST_F(UnheardInterfaces, WhatHasGoneAgainIsGivenBackThoughHardwareThrows) {
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   meanwhile([&] {
      red->tunnelTypeIs(TunnelType::gre);
      red->tunnelTypeIs(TunnelType::udp);
      for (std::uint64_t const call : {1U, 2U}) {
         hardware->duringProgram(hardware->programCalls() + call,
                                 [] { throw Sim::HardwareFault("not programmed"); });
      }
      givenInterfaceWith("Ethernet1", "10.0.0.2/24", {"10.0.0.3/24"});
   });
   EXPECT_THROW(givenInterfaceWith("Ethernet1", "", {"10.0.0.1/24"}), Sim::HardwareFault);
   thenCounts({counted("10.0.0.2/32", 1), counted("10.0.0.3/32", 1)});
}

// Who watches what the machine records of interfaces takes the group away as the entry is applied.
TEST_F(UnheardInterfaces, AGroupThatAWatcherOfTheRecordsRemovesTakesNothing) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenRunning();
   sm->decapIntfIpDelAll();
   Support::FirstToHear records({sm});
   records.nextIs([&] { whenGroupRemoved("red"); });
   red->decapIntfIs(DecapIntf({intf("Ethernet1"), ipv4}, all));
   thenDestinations({});
}

TEST_F(UnheardInterfaces, OneThatAWatcherOfItsRecordRemovesGivesNothing) {
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   Support::FirstToHear record({sm->decapIntfIp(intf("Ethernet1"))});
   Mdl::Ptr<Fwd::FwdDecapGroupSm::MdlIpIntfStatus> removed;
   record.nextIs([&] {
      removed = sm->mdlIpIntfStatus(intf("Ethernet1"));
      whenInterfaceRemoved("Ethernet1");
   });
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenDestinations({});
   EXPECT_TRUE(removed->isMarkedForDeletion());
}

}  // namespace
