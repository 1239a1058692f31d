#include "mdl/Notifiee.h"
#include "mdl/Reflection.h"
#include "support/InterfaceFixture.h"

#include <variant>

#include <gtest/gtest.h>

// The address records of interfaces, and the VRF that owns a destination.

namespace {

class InterfaceRecords : public InterfaceFixture {};

TEST_F(InterfaceRecords, ANewRecordHasNoAddresses) {
   givenMachine();
   auto const record = sm->decapIntfIpIs(intf("Ethernet1"));
   EXPECT_EQ(record->intfId(), intf("Ethernet1"));
   EXPECT_TRUE(record->hasNotificationActive());
   thenRecord("Ethernet1", "0.0.0.0 0.0.0.0");
   EXPECT_EQ(sm->decapIntfIp(intf("Ethernet1")), record);
}

TEST_F(InterfaceRecords, AnExistingRecordIsReturnedAsItIs) {
   givenMachine();
   auto const record = sm->decapIntfIpIs(intf("Ethernet1"));
   record->primaryIpIs(Pkt::IpAddr::fromText("10.0.0.1"));
   record->virtualIpIs(Pkt::IpAddr::fromText("10.0.0.2"));
   EXPECT_EQ(sm->decapIntfIpIs(intf("Ethernet1")), record);
   thenRecord("Ethernet1", "10.0.0.1 10.0.0.2");
}

TEST_F(InterfaceRecords, RecordsGoOneByOneOrAllAtOnce) {
   givenMachine();
   for (auto const name : {"Ethernet1", "Ethernet2", "Ethernet3"}) sm->decapIntfIpIs(intf(name));
   sm->decapIntfIpDel(intf("Ethernet1"));
   EXPECT_FALSE(sm->decapIntfIp(intf("Ethernet1")));
   EXPECT_EQ(sm->decapIntfIp().size(), 2U);
   sm->decapIntfIpDelAll();
   EXPECT_TRUE(sm->decapIntfIp().empty());
}

// Deliberate: nothing but the withdrawal of the last group empties the records. Deleting them with
// the interface would be tidier, and other handlers rely on finding the addresses last seen.
TEST_F(InterfaceRecords, ARecordOutlivesItsInterface) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   givenRunning();
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {}, true);
   whenInterfaceRemoved("Ethernet1");
   thenDestinations({});
   thenRecord("Ethernet1", "10.0.0.1 10.0.0.1");
}

TEST_F(InterfaceRecords, ARecordOutlivesEntriesAndGroupsWhileAGroupIsLeft) {
   givenGroup("g");
   givenGroup("other");
   whenDecapIntfAdded("g", "Ethernet1");
   givenRunning();
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfRemoved("g", "Ethernet1");
   thenRecord("Ethernet1", "10.0.0.1 0.0.0.0");
   whenGroupRemoved("g");
   thenRecord("Ethernet1", "10.0.0.1 0.0.0.0");
   whenGroupRemoved("other");
   thenRecord("Ethernet1", "");
}

TEST_F(InterfaceRecords, AnInterfaceThatComesBackWithdrawsNothingThatIsNotHeld) {
   givenGroup("g");
   givenGroup("other");
   whenDecapIntfAdded("g", "Ethernet1");
   givenRunning();
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenInterfaceRemoved("Ethernet1");
   whenDecapIpAdded("other", "10.0.0.1/32");
   forgetSoFar();
   givenInterface("Ethernet1", "10.0.0.2/24");
   thenCalls({programs("10.0.0.2/32")});
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
}

class ChangeCounter final : public Mdl::PtrInterface::NotifieeConst {
 public:
   explicit ChangeCounter(Mdl::Ptr<Mdl::Entity const> const& notifier) : NotifieeConst(notifier) {
      hasNotificationActiveIs(true);
      isRegisteredNotifieeIs(true);
   }
   void onAttribute(Mdl::AttributeId, void const*) override { ++changes; }
   unsigned changes = 0;

 private:
   ~ChangeCounter() override = default;
};

TEST_F(InterfaceRecords, TheOwnerOfADestinationIsStoredReplacedAndRemoved) {
   givenMachine();
   Fwd::TunnelTypeDecapIp const one(TunnelType::udp, prefix("10.0.0.1/32"));
   Fwd::TunnelTypeDecapIp const two(TunnelType::gre, prefix("10.0.0.1/32"));
   EXPECT_EQ(sm->tunnelTypeDecapIpToVrf(one), L3::VrfName());
   sm->tunnelTypeDecapIpToVrfIs(one, vrf("red"));
   sm->tunnelTypeDecapIpToVrfIs(two, vrf("blue"));
   thenOwners({"udp 10.0.0.1/32 -> red", "gre 10.0.0.1/32 -> blue"});
   sm->tunnelTypeDecapIpToVrfIs(one, vrf("blue"));
   EXPECT_EQ(sm->tunnelTypeDecapIpToVrf(one), vrf("blue"));
   sm->tunnelTypeDecapIpToVrfDel(one);
   thenOwners({"gre 10.0.0.1/32 -> blue"});
   sm->tunnelTypeDecapIpToVrfDelAll();
   thenOwners({});
}

TEST_F(InterfaceRecords, AnEqualOwnerIsNoChangeAndTellsNobody) {
   givenMachine();
   Fwd::TunnelTypeDecapIp const one(TunnelType::udp, prefix("10.0.0.1/32"));
   sm->tunnelTypeDecapIpToVrfIs(one, vrf("red"));
   auto const watcher = Mdl::allocate<ChangeCounter>(sm);
   sm->tunnelTypeDecapIpToVrfIs(one, vrf("red"));
   EXPECT_EQ(watcher->changes, 0U);
   sm->tunnelTypeDecapIpToVrfIs(one, vrf("blue"));
   EXPECT_EQ(watcher->changes, 1U);
   watcher->notifierIs(nullptr);
}

TEST_F(InterfaceRecords, AnInterfaceKeyOwnsItsDestinationWhileItIsProgrammed) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1");
   givenRunning();
   givenInterface("Ethernet1", "10.0.0.1/24");
   thenOwners({"udp 10.0.0.1/32 -> default"});
   whenInterfaceRemoved("Ethernet1");
   thenOwners({});
}

TEST_F(InterfaceRecords, AttributesHaveTheirNumbers) {
   givenRunning();
   auto const address = sm->decapIntfIpIs(intf("Ethernet1"));
   address->primaryIpIs(Pkt::IpAddr(1));
   address->virtualIpIs(Pkt::IpAddr(2));
   givenGroup("red");
   auto const applied = reactor("red")->intfAddressTypeIs(intf("Ethernet1"));
   applied->addrTypeIs(AddressType::all);
   applied->tunnelTypeIs(TunnelType::gre);
   auto const text = [](auto const& record, Mdl::AttributeId id) {
      return std::get<Mdl::String>(Mdl::read(*record, id).value).stdString();
   };
   EXPECT_EQ(text(address, 257), "'Ethernet1'");
   EXPECT_EQ(text(address, 258), "'0.0.0.1'");
   EXPECT_EQ(text(address, 259), "'0.0.0.2'");
   EXPECT_EQ(text(applied, 257), "'Ethernet1'");
   EXPECT_EQ(text(applied, 258), "all");
   EXPECT_EQ(text(applied, 259), "gre");
}

TEST_F(InterfaceRecords, AnEntryMakesTheRecordOfAnInterfaceThatIsNotThereYet) {
   givenGroup("red");
   givenRunning();
   whenDecapIntfAdded("red", "Ethernet9");
   thenRecord("Ethernet9", "0.0.0.0 0.0.0.0");
}

}  // namespace
