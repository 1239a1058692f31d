#include "support/InterfaceFixture.h"
#include "support/MachineChecks.h"

namespace {

/// Another entity takes the place of a group: everything is derived anew from it.
class GroupRepoint : public InterfaceFixture {
 protected:
   GroupRepoint() {
      givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true);
      givenInterfaceWith("Ethernet2", "10.0.1.1/24", {"10.0.1.2/24"});
      givenInterface6("Ethernet1", {"2001:db8::1/64"});
      givenGroup("red");
   }

   /// Another entity named "red", not in the configuration yet.
   static Mdl::Ptr<DecapGroup> another(Group const& group = Group()) {
      return makeGroup("red", group);
   }
   static void addEntry(DecapGroup& group, std::string_view name, AddressType type,
                        std::uint32_t family = ipv4) {
      group.decapIntfIs(DecapIntf({intf(name), family}, type));
   }
   static void exclude(DecapGroup& group, std::initializer_list<std::string_view> names) {
      DecapExcludeIntfSet set({Pkt::emptyIntfId, ipv4});
      for (auto const name : names) set.excludeIntfIs(intf(name));
      group.decapExcludeIntfSetIs(set);
   }
   void whenReplacedBy(Mdl::Ptr<DecapGroup> const& group) {
      std::erase_if(groups, [](auto const& old) { return old->name() == Mdl::String("red"); });
      groups.push_back(group);
      config->decapGroupIs(group);
   }
   void thenCountedOnceEach(std::initializer_list<std::string_view> destinations) const {
      Texts expected;
      for (auto const text : destinations) expected.push_back(counted(text, 1));
      thenCounts(expected);
      thenDestinations(destinations);
      thenBooksAgree();
   }
};

TEST_F(GroupRepoint, ToAnEqualGroupKeepsAllKeysDerived) {
   auto const next = another();
   for (auto* const group : {&groupNamed("red"), next.operator->()}) {
      addEntry(*group, "Ethernet1", all);
      addEntry(*group, "", primaryOnly);
      addEntry(*group, "Ethernet1", primaryOnly, ipv6);
      group->decapIpIs(prefix("10.7.0.0/16"));
   }
   givenRunning();
   auto const before = reactor("red");
   whenReplacedBy(next);
   EXPECT_EQ(reactor("red"), before);
   EXPECT_EQ(before->group(), next);
   thenCountedOnceEach(
       {"10.0.0.1/32", "10.0.0.2/32", "10.0.1.1/32", "2001:db8::1/128", "10.7.0.0/16"});
}

TEST_F(GroupRepoint, TakesOverOtherEntriesAndPrefixes) {
   addEntry(groupNamed("red"), "Ethernet1", all);
   whenDecapIpAdded("red", "10.7.0.0/16");
   givenRunning();
   auto const next = another();
   addEntry(*next, "Ethernet2", all);
   next->decapIpIs(prefix("10.8.0.0/16"));
   whenReplacedBy(next);
   thenCountedOnceEach({"10.0.1.1/32", "10.0.1.2/32", "10.8.0.0/16"});
   EXPECT_EQ(reactor("red")->intfAddressType(intf("Ethernet1")), nullptr);
}

TEST_F(GroupRepoint, TakesOverAnotherAddressTypeOfTheSameEntry) {
   addEntry(groupNamed("red"), "Ethernet1", all);
   givenRunning();
   auto next = another();
   addEntry(*next, "Ethernet1", primaryOnly);
   whenReplacedBy(next);
   thenCountedOnceEach({"10.0.0.1/32"});
   next = another();
   addEntry(*next, "Ethernet1", all);
   whenReplacedBy(next);
   thenCountedOnceEach({"10.0.0.1/32", "10.0.0.2/32"});
}

TEST_F(GroupRepoint, TakesOverAnotherExcludeSet) {
   addEntry(groupNamed("red"), "", primaryOnly);
   exclude(groupNamed("red"), {"Ethernet1"});
   givenRunning();
   auto const next = another();
   addEntry(*next, "", primaryOnly);
   exclude(*next, {"Ethernet2"});
   whenReplacedBy(next);
   thenCountedOnceEach({"10.0.0.1/32"});
   exclude(*next, {});
   thenCountedOnceEach({"10.0.0.1/32", "10.0.1.1/32"});
}

TEST_F(GroupRepoint, LosesTheExcludeSetThatTheNewGroupDoesNotHave) {
   addEntry(groupNamed("red"), "", primaryOnly);
   exclude(groupNamed("red"), {"Ethernet1"});
   givenRunning();
   auto const next = another();
   addEntry(*next, "", primaryOnly);
   whenReplacedBy(next);
   thenCountedOnceEach({"10.0.0.1/32", "10.0.1.1/32"});
   exclude(*next, {"Ethernet1"});
   thenCountedOnceEach({"10.0.1.1/32"});
}

TEST_F(GroupRepoint, ToAnotherTypePortPayloadAndVrfMovesEveryKey) {
   addEntry(groupNamed("red"), "Ethernet1", primaryOnly);
   whenDecapIpAdded("red", "10.7.0.0/16");
   givenRunning();
   Group const other{TunnelType::gre, 0, PayloadType::mpls, "blue"};
   auto const next = another(other);
   addEntry(*next, "Ethernet1", primaryOnly);
   next->decapIpIs(prefix("10.7.0.0/16"));
   whenReplacedBy(next);
   thenHardware({Sim::keyText(key("10.0.0.1/32", other)), Sim::keyText(key("10.7.0.0/16", other))});
   thenOwners({"gre 10.0.0.1/32 -> blue", "gre 10.7.0.0/16 -> blue"});
   thenBooksAgree();
}

TEST_F(GroupRepoint, ToAGroupWithoutATunnelTypeWithdrawsEverything) {
   addEntry(groupNamed("red"), "Ethernet1", all);
   whenDecapIpAdded("red", "10.7.0.0/16");
   givenRunning();
   auto const next = another({.type = TunnelType::unknown});
   addEntry(*next, "Ethernet1", all);
   next->decapIpIs(prefix("10.7.0.0/16"));
   whenReplacedBy(next);
   thenCountedOnceEach({});
   next->tunnelTypeIs(TunnelType::udp);
   thenCountedOnceEach({"10.0.0.1/32", "10.0.0.2/32", "10.7.0.0/16"});
}

TEST_F(GroupRepoint, BeforeTheReplayDerivesNothing) {
   addEntry(groupNamed("red"), "Ethernet1", primaryOnly);
   givenMachine();
   auto const next = another();
   addEntry(*next, "Ethernet2", primaryOnly);
   whenReplacedBy(next);
   thenCalls({});
   thenCounts({});
   givenRunning();
   thenCountedOnceEach({"10.0.1.1/32"});
}

TEST_F(GroupRepoint, KeepsTheKeysInHardwareThatAnotherGroupShares) {
   givenGroup("green")->decapIpIs(prefix("10.7.0.0/16"));
   whenDecapIpAdded("red", "10.7.0.0/16");
   givenRunning();
   forgetSoFar();
   auto const next = another();
   next->decapIpIs(prefix("10.7.0.0/16"));
   whenReplacedBy(next);
   thenCalls({});
   thenCounts({counted("10.7.0.0/16", 2)});
}

// A group whose entity is gone still knows by its sets what it holds.

class GroupWithoutAnEntity : public GroupRepoint {
 protected:
   GroupWithoutAnEntity() {
      addEntry(groupNamed("red"), "Ethernet1", all);
      whenDecapIpAdded("red", "10.7.0.0/16");
      givenRunning();
      reactor("red")->notifierIs(nullptr);
      forgetSoFar();
   }
};

TEST_F(GroupWithoutAnEntity, KeepsItsKeys) {
   thenCountedOnceEach({"10.0.0.1/32", "10.0.0.2/32", "10.7.0.0/16"});
}

TEST_F(GroupWithoutAnEntity, WithdrawsByItsSetsWhenItIsDeleted) {
   config->decapGroupDel(Mdl::String("red"));
   thenCalls({"remove " + udp("10.0.0.1/32") + " -> removed",
              "remove " + udp("10.0.0.2/32") + " -> removed",
              "remove " + udp("10.7.0.0/16") + " -> removed"});
   thenCountedOnceEach({});
}

TEST_F(GroupWithoutAnEntity, WithdrawsByItsSetsWhenTheMachineGoes) {
   sm->mdlDoZombieReactors(true);
   thenCounts({});
   thenDestinations({});
}

TEST_F(GroupWithoutAnEntity, LeavesHardwareAloneWhenCleanUpIsDisabled) {
   sm->disableCleanupOnRestartIs(true);
   givenTraceLevels({5});
   config->decapGroupDel(Mdl::String("red"));
   thenTraces({"Disabling FwdDecapGroupSm cleanup in case of restart"});
   thenCalls({});
}

TEST_F(GroupWithoutAnEntity, IsDerivedAnewFromTheNextOne) {
   auto const next = another();
   addEntry(*next, "Ethernet2", primaryOnly);
   whenReplacedBy(next);
   thenCountedOnceEach({"10.0.1.1/32"});
}

TEST_F(GroupWithoutAnEntity, ItsHandlersFindNothingToDerive) {
   auto const group = reactor("red");
   group->handleUpdateDestPort();
   group->handleUpdatePayloadType();
   group->handleUpdateForwardingVrf();
   group->handleUpdateIp(prefix("10.8.0.0/16"));
   group->handleUpdateIntf({intf("Ethernet2"), ipv4});
   group->handleUpdateExcludeIntf({Pkt::emptyIntfId, ipv4});
   thenCountedOnceEach({"10.0.0.1/32", "10.0.0.2/32", "10.7.0.0/16"});
}

}  // namespace
