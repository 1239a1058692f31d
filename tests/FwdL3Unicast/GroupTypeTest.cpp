#include "support/InterfaceFixture.h"
#include "support/MachineChecks.h"

namespace {

using Support::rep;

/// A change of the tunnel type: the group is rebuilt from the configuration.
class GroupType : public InterfaceFixture {
 protected:
   GroupType() { givenGroup("red"); }

   void givenKeys() {
      givenInterface("Ethernet1", "10.0.0.1/24");
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIpAdded("red", "10.1.0.0/16");
      whenDecapIpAdded("red", "10.2.0.0/16");
      givenRunning();
      forgetSoFar();
   }
   void whenTypeIs(TunnelType type) { groupNamed("red").tunnelTypeIs(type); }

   static std::string of(TunnelType type, std::string_view destination) {
      return Sim::keyText(key(destination, {.type = type}));
   }
   static std::string program(TunnelType type, std::string_view destination) {
      return "program " + of(type, destination) + " -> success";
   }
   static std::string remove(TunnelType type, std::string_view destination) {
      return "remove " + of(type, destination) + " -> removed";
   }
   void thenNothingIsHeld() const {
      thenHardware({});
      thenCounts({});
      thenBacklog({});
      thenOwners({});
      EXPECT_EQ(listed(reactor("red")->decapKeyFromIntf()), 0U);
      EXPECT_EQ(listed(reactor("red")->decapKeyFromIp()), 0U);
   }
   template <class Keys>
   static std::size_t listed(Keys const& keys) {
      std::size_t found = 0;
      for (auto const& entry : keys.walk()) found += entry.value.listed ? 1 : 0;
      return found;
   }
   void thenKeysOf(TunnelType type, std::initializer_list<std::string_view> destinations) const {
      Texts entries;
      Texts counts;
      for (auto const text : destinations) {
         entries.push_back(of(type, text));
         counts.push_back(of(type, text) + " x1");
      }
      thenHardware(entries);
      thenCounts(counts);
      thenBooksAgree();
   }
};

constexpr auto udpType = Tunnel::Decap::TunnelType::udp;
constexpr auto gre = Tunnel::Decap::TunnelType::gre;
constexpr auto unknown = Tunnel::Decap::TunnelType::unknown;

TEST_F(GroupType, WithdrawsAllKeysBeforeItProducesAny) {
   givenKeys();
   whenTypeIs(gre);
   thenCalls({remove(udpType, "10.0.0.1/32"), remove(udpType, "10.1.0.0/16"),
              remove(udpType, "10.2.0.0/16"), program(gre, "10.0.0.1/32"),
              program(gre, "10.1.0.0/16"), program(gre, "10.2.0.0/16")});
   thenKeysOf(gre, {"10.0.0.1/32", "10.1.0.0/16", "10.2.0.0/16"});
   thenOwners(
       {"gre 10.0.0.1/32 -> default", "gre 10.1.0.0/16 -> default", "gre 10.2.0.0/16 -> default"});
}

TEST_F(GroupType, TheKeysAreOutOfTheSetsBeforeAnyIsProduced) {
   givenKeys();
   std::size_t left = 99;
   hardware->duringProgram(4, [&] {
      left = listed(reactor("red")->decapKeyFromIntf()) + listed(reactor("red")->decapKeyFromIp());
   });
   whenTypeIs(gre);
   EXPECT_EQ(left, 0U);
}

TEST_F(GroupType, IsTraced) {
   givenKeys();
   givenTraceLevels({2});
   whenTypeIs(gre);
   EXPECT_EQ(tracesOf("handleUpdateType"), Texts{"handleUpdateType notifier tunnel type gre"});
   ASSERT_GE(traces.size(), 2U);
   EXPECT_EQ(traces.front().text, "handleUpdateType notifier tunnel type gre");
   EXPECT_EQ(traces[1].text,
             "deleteDecapEntry decapKey=" + rep(key("10.0.0.1/32")) + " refCount=1");
}

TEST_F(GroupType, ThatBecomesUnknownTakesEveryKey) {
   givenKeys();
   whenTypeIs(unknown);
   thenCalls({remove(udpType, "10.0.0.1/32"), remove(udpType, "10.1.0.0/16"),
              remove(udpType, "10.2.0.0/16")});
   thenNothingIsHeld();
}

TEST_F(GroupType, ThatComesBackGivesInterfaceKeysFirst) {
   givenKeys();
   whenTypeIs(unknown);
   forgetSoFar();
   whenTypeIs(udpType);
   thenCalls({program(udpType, "10.0.0.1/32"), program(udpType, "10.1.0.0/16"),
              program(udpType, "10.2.0.0/16")});
   thenKeysOf(udpType, {"10.0.0.1/32", "10.1.0.0/16", "10.2.0.0/16"});
}

TEST_F(GroupType, ThatIsSetForTheFirstTimeGivesTheKeys) {
   givenGroup("red", {.type = unknown});
   givenKeys();
   thenCounts({});
   whenTypeIs(gre);
   thenKeysOf(gre, {"10.0.0.1/32", "10.1.0.0/16", "10.2.0.0/16"});
}

TEST_F(GroupType, HandledAgainRebuildsTheGroup) {
   givenKeys();
   reactor("red")->handleUpdateType();
   EXPECT_EQ(hardware->journal().calls().size(), 6U);
   thenKeysOf(udpType, {"10.0.0.1/32", "10.1.0.0/16", "10.2.0.0/16"});
}

TEST_F(GroupType, HandledAgainAsUnknownOnlyTraces) {
   givenKeys();
   whenTypeIs(unknown);
   forgetSoFar();
   givenTraceLevels({2});
   reactor("red")->handleUpdateType();
   thenTraces({"handleUpdateType notifier tunnel type unknown"});
   thenCalls({});
}

TEST_F(GroupType, LeavesTheReferencesOfOtherGroups) {
   givenGroup("green")->decapIpIs(prefix("10.1.0.0/16"));
   givenKeys();
   whenTypeIs(unknown);
   thenHardware({of(udpType, "10.1.0.0/16")});
   thenCounts({of(udpType, "10.1.0.0/16") + " x1"});
   thenOwners({"udp 10.1.0.0/16 -> default"});
}

// Unlike the other attributes it does not wait for the machine to be initialized: what it leads to
// has gates of its own.
TEST_F(GroupType, IsFollowedThoughTheMachineIsNoLongerInitialized) {
   givenKeys();
   sm->initializedIs(false);
   whenTypeIs(unknown);
   thenNothingIsHeld();
   whenTypeIs(gre);
   thenHardware({of(gre, "10.0.0.1/32"), of(gre, "10.1.0.0/16"), of(gre, "10.2.0.0/16")});
}

TEST_F(GroupType, BeforeTheReplayIsTracedAndRebuildsNothing) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenMachine();
   givenTraceLevels({2});
   whenTypeIs(gre);
   thenTraces({"handleUpdateType notifier tunnel type gre"});
   thenCalls({});
   thenCounts({});
   givenRunning();
   thenKeysOf(gre, {"10.0.0.1/32", "10.1.0.0/16"});
}

TEST_F(GroupType, ToUdpWithoutAPortWaits) {
   givenGroup("red", {.type = gre, .port = 0, .payload = PayloadType::unset});
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   EXPECT_EQ(hardware->table().size(), 2U);
   whenTypeIs(udpType);
   thenHardware({});
   thenCounts({});
   groupNamed("red").payloadTypeIs(PayloadType::ip);
   groupNamed("red").destPortIs(6080);
   thenKeysOf(udpType, {"10.0.0.1/32", "10.1.0.0/16"});
}

TEST_F(GroupType, TakesWaitingKeysOutOfTheBacklog) {
   givenRunning();
   hardware->notReadyUntilIs(Mdl::never);
   whenDecapIpAdded("red", "10.1.0.0/16");
   forgetSoFar();
   whenTypeIs(unknown);
   thenCalls({});
   thenNothingIsHeld();
}

// What was applied for the interfaces goes with the keys; a record that stayed behind would take
// the entries for unchanged when the type comes back.

TEST_F(GroupType, ThatGoesTakesTheRecordsOfItsEntries) {
   givenKeys();
   EXPECT_NE(reactor("red")->intfAddressType(intf("Ethernet1")), nullptr);
   whenTypeIs(unknown);
   EXPECT_EQ(reactor("red")->intfAddressType(intf("Ethernet1")), nullptr);
}

class GroupTypeOfAllAddresses : public GroupType {
 protected:
   GroupTypeOfAllAddresses() {
      givenInterfaceWith("Ethernet1", "10.0.0.1/24", {"10.0.0.2/24"}, true);
      givenInterfaceWith("Ethernet2", "10.0.1.1/24", {"10.0.1.2/24"});
      givenInterface6("Ethernet1", {"2001:db8::1/64", "fe80::1/64"});
   }
   void whenTypeGoesAndComes() {
      whenTypeIs(unknown);
      thenNothingIsHeld();
      whenTypeIs(udpType);
   }
};

TEST_F(GroupTypeOfAllAddresses, ANamedEntryGivesAllItsAddressesAgain) {
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   whenTypeGoesAndComes();
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
   thenBooksAgree();
}

TEST_F(GroupTypeOfAllAddresses, AnEntryForAllInterfacesGivesAllTheirAddressesAgain) {
   whenDecapIntfAdded("red", "", all);
   whenDecapIntfAdded("red", "Ethernet2", primaryOnly);
   whenDecapIntfAdded("red", "", primaryOnly, ipv6);
   givenRunning();
   whenTypeGoesAndComes();
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "10.0.1.1/32", "2001:db8::1/128"});
   thenBooksAgree();
}

TEST_F(GroupTypeOfAllAddresses, AddressesThatChangeMeanwhileAreTheCurrentOnes) {
   whenDecapIntfAdded("red", "", all);
   auto const moved = givenInterfaceWith("Ethernet3", "10.0.3.1/24", {"10.0.3.2/24"}, true);
   givenRunning();
   whenTypeIs(unknown);
   whenPrimaryIs(moved, "10.0.3.9/24");
   whenSecondaryRemoved(moved, "10.0.3.2/24");
   whenTypeIs(udpType);
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "10.0.1.1/32", "10.0.1.2/32", "10.0.3.9/32"});
   whenPrimaryIs(moved, "10.0.3.10/24");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "10.0.1.1/32", "10.0.1.2/32", "10.0.3.10/32"});
   thenBooksAgree();
}

TEST_F(GroupTypeOfAllAddresses, EntriesThatChangeMeanwhileAreTheCurrentOnes) {
   whenDecapIntfAdded("red", "Ethernet1", all);
   givenRunning();
   whenTypeIs(unknown);
   whenDecapIntfAdded("red", "Ethernet1", primaryOnly);
   whenDecapIntfAdded("red", "Ethernet2", all);
   whenTypeIs(udpType);
   thenDestinations({"10.0.0.1/32", "10.0.1.1/32", "10.0.1.2/32"});
   whenDecapIntfRemoved("red", "Ethernet2");
   thenDestinations({"10.0.0.1/32"});
}

TEST_F(GroupTypeOfAllAddresses, ExcludedInterfacesStayOutAndComeBackLater) {
   whenDecapIntfAdded("red", "", all);
   whenExcluded("red", {"Ethernet2"});
   givenRunning();
   whenTypeGoesAndComes();
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
   whenExcluded("red", {});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "10.0.1.1/32", "10.0.1.2/32"});
   thenBooksAgree();
}

TEST_F(GroupTypeOfAllAddresses, ExcludeSetsThatChangeMeanwhileAreInForce) {
   whenDecapIntfAdded("red", "", primaryOnly);
   whenExcluded("red", {"Ethernet2"});
   givenRunning();
   whenTypeIs(unknown);
   whenExcluded("red", {"Ethernet1"});
   whenTypeIs(udpType);
   thenDestinations({"10.0.1.1/32"});
   whenExcluded("red", {"Ethernet1", "Ethernet2"});
   thenDestinations({});
   whenExcluded("red", {});
   thenDestinations({"10.0.0.1/32", "10.0.1.1/32"});
   thenBooksAgree();
}

}  // namespace
