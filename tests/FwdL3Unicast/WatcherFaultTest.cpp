#include "support/Actor.h"
#include "support/InterfaceFixture.h"

#include <stdexcept>

// Reactors of others watch the machine's books and the alarm, and may throw when they are told. The
// step that told them is done, those after it are done too, and the exception reaches whoever
// caused the change.

namespace {

class Unhappy : public std::runtime_error {
 public:
   Unhappy() : std::runtime_error("a watcher is unhappy") {}
};

class WatcherFault : public InterfaceFixture {
 protected:
   WatcherFault() {
      givenGroup("red");
      givenGroup("blue", {.vrf = "blue"});
      givenRunning();
   }

   /// From now on a watcher of the entity throws whenever the attribute changes.
   void givenUnhappyOver(Mdl::Ptr<Mdl::Entity const> const& entity, Mdl::AttributeId attribute) {
      watcher = Support::actorOn(entity, journal, "unhappy");
      watcher->actIs([attribute](Mdl::AttributeId changed, void const*) {
         if (changed == attribute) throw Unhappy();
      });
   }
   void givenUnhappyOver(Mdl::AttributeId attribute) { givenUnhappyOver(sm, attribute); }
   void givenUnhappyOverAlarm() {
      givenUnhappyOver(status, Tunnel::Decap::Hardware::Status::hwResourceFullAttributeId);
   }
   /// The prefix of red waits, as hardware has no room.
   void givenFull() {
      hardware->table().capacityIs(0);
      whenDecapIpAdded("red", "10.1.0.0/16");
      forgetSoFar();
   }
   template <class Event>
   void thenThrows(Event const& event) {
      EXPECT_THROW(event(), Unhappy);
      watcher->actDel();
   }

   Support::Journal journal;
   Mdl::Ptr<Support::Actor> watcher;
};

TEST_F(WatcherFault, OverACountThatRisesProgramsTheKeyAllTheSame) {
   givenUnhappyOver(Fwd::memberId::refCount);
   thenThrows([&] { whenDecapIpAdded("red", "10.1.0.0/16"); });
   thenOnly({entry("10.1.0.0/16")});
}

TEST_F(WatcherFault, OverACountThatFallsRemovesTheKeyAllTheSame) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenUnhappyOver(Fwd::memberId::refCount);
   thenThrows([&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   thenNothingIsLeft();
}

TEST_F(WatcherFault, OverTheOwnerLeavesTheKeyInHardware) {
   givenUnhappyOver(Fwd::memberId::tunnelTypeDecapIpToVrf);
   thenThrows([&] { whenDecapIpAdded("red", "10.1.0.0/16"); });
   thenOnly({entry("10.1.0.0/16")});
}

TEST_F(WatcherFault, OverTheOwnerThatGoesLeavesNothing) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenUnhappyOver(Fwd::memberId::tunnelTypeDecapIpToVrf);
   thenThrows([&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   thenNothingIsLeft();
}

TEST_F(WatcherFault, OverAKeyThatJoinsTheBacklogStillRaisesTheAlarm) {
   hardware->table().capacityIs(0);
   givenUnhappyOver(Fwd::memberId::unprogrammedKey);
   thenThrows([&] { whenDecapIpAdded("red", "10.1.0.0/16"); });
   thenBacklog({entry("10.1.0.0/16")});
   thenHwResourceFull(true);
}

TEST_F(WatcherFault, OverAKeyThatLeavesTheBacklogStillRecordsTheOwner) {
   givenFull();
   hardware->table().capacityIs(1);
   givenUnhappyOver(Fwd::memberId::unprogrammedKey);
   thenThrows([&] { whenTimePasses(1.0); });
   thenOnly({entry("10.1.0.0/16")});
   thenOwners({"udp 10.1.0.0/16 -> default"});
}

TEST_F(WatcherFault, OverAWaitingKeyThatIsReleasedStillClearsTheAlarm) {
   givenFull();
   sm->mdlClock()->timeMinIs(Mdl::never);
   givenUnhappyOver(Fwd::memberId::unprogrammedKey);
   thenThrows([&] { whenDecapIpRemoved("red", "10.1.0.0/16"); });
   thenHwResourceFull(false);
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
}

TEST_F(WatcherFault, OverTheAlarmThatRisesStillLogs) {
   hardware->table().capacityIs(0);
   givenUnhappyOverAlarm();
   thenThrows([&] { whenDecapIpAdded("red", "10.1.0.0/16"); });
   thenLogs({"TUNNEL_HW_RESOURCE_FULL"});
   thenBacklog({entry("10.1.0.0/16")});
}

TEST_F(WatcherFault, OverTheAlarmThatIsClearedStillLogs) {
   givenFull();
   hardware->table().capacityIs(1);
   givenUnhappyOverAlarm();
   thenThrows([&] { whenTimePasses(1.0); });
   thenLogs({"TUNNEL_HW_RESOURCE_NORMAL"});
   thenOnly({entry("10.1.0.0/16")});
}

TEST_F(WatcherFault, OverTheAlarmThatAGroupClearsAsItGoesReachesTheConfiguration) {
   givenFull();
   givenUnhappyOverAlarm();
   thenThrows([&] { whenGroupRemoved("red"); });
   thenHwResourceFull(false);
}

TEST_F(WatcherFault, OverTheRecordOfAVirtualAddressReachesTheInterface) {
   auto const status1 = givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("red", "", all);
   givenUnhappyOver(sm->decapIntfIp(intf("Ethernet1")), Fwd::DecapIntfIp::virtualIpAttributeId);
   EXPECT_THROW(whenVirtualIs(status1, true), Unhappy);
   thenRecord("Ethernet1", "10.0.0.1 10.0.0.1");
   EXPECT_THROW(whenPrimaryIs(status1, "10.0.0.2/24"), Unhappy);
   watcher->actDel();
   thenRecord("Ethernet1", "10.0.0.2 10.0.0.2");
   thenDestinations({"10.0.0.2/32"});
}

TEST_F(WatcherFault, OverTheRecordOfAPrimaryAddressReachesTheEntryThatIsApplied) {
   givenInterfaceWith("Ethernet1", "10.0.0.1/24", {});
   whenDecapIntfAdded("red", "Ethernet1");
   sm->decapIntfIp(intf("Ethernet1"))->primaryIpIs(Pkt::IpAddr());
   givenUnhappyOver(sm->decapIntfIp(intf("Ethernet1")), Fwd::DecapIntfIp::primaryIpAttributeId);
   thenThrows([&] { whenDecapIntfAdded("blue", "Ethernet1"); });
   thenRecord("Ethernet1", "10.0.0.1 0.0.0.0");
}

}  // namespace
