#include "support/InterfaceFixture.h"

namespace {

/// The machine's switch of notifications, which it passes on to all its reactors.
class NotificationSwitch : public InterfaceFixture {
 protected:
   NotificationSwitch() {
      givenGroup("red");
      four = givenInterface("Ethernet1", "10.0.0.1/24");
      six = givenInterface6("Ethernet1", {"2001:db8::1/64"});
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIntfAdded("red", "Ethernet1", AddressType::primary, ipv6);
      whenDecapIpAdded("red", "10.1.0.0/16");
      givenRunning();
      forgetSoFar();
   }

   void thenAllAre(bool active) const {
      EXPECT_EQ(sm->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlDgConfig()->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlIpStatus()->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlIp6Status()->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlClock()->hasNotificationActive(), active);
      EXPECT_EQ(reactor("red")->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlIpIntfStatus(intf("Ethernet1"))->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlIp6IntfStatus(intf("Ethernet1"))->hasNotificationActive(), active);
      EXPECT_EQ(sm->mdlVerifyData()->hasNotificationActive(), active);
   }
   /// One change for each reactor.
   void whenEverythingChanges() {
      givenGroup("late")->decapIpIs(prefix("10.9.0.0/16"));
      givenInterface("Ethernet9", "10.0.9.1/24");
      givenInterface6("Ethernet9", {"2001:db8:9::1/64"});
      whenDecapIpRemoved("red", "10.1.0.0/16");
      groupNamed("red").destPortIs(6081);
      whenPrimaryIs(four, "10.0.0.2/24");
      whenAddress6Added(six, "2001:db8::2/64");
      verifyData->doRequestVerify();
      sm->mdlClock()->timeMinIs(1.0);
      whenTimePasses(2.0);
   }

   IntfStatus four;
   Intf6Status six;
};

TEST_F(NotificationSwitch, IsPassedOnToEveryReactor) {
   thenAllAre(true);
   sm->hasNotificationActiveIs(false);
   thenAllAre(false);
   sm->hasNotificationActiveIs(true);
   thenAllAre(true);
}

TEST_F(NotificationSwitch, TurnedOffSilencesAndCleansNothingUp) {
   givenTraceLevels({2, 5, 7});
   sm->hasNotificationActiveIs(false);
   whenEverythingChanges();
   thenTraces({});
   thenCalls({});
   thenDestinations({"10.0.0.1/32", "2001:db8::1/128", "10.1.0.0/16"});
   EXPECT_EQ(reactor("late"), nullptr);
   EXPECT_FALSE(sm->isMarkedForDeletion());
   EXPECT_FALSE(reactor("red")->isMarkedForDeletion());
}

// What happened meanwhile is dropped and not queued.
TEST_F(NotificationSwitch, TurnedOnAgainFollowsWhatChangesFromThenOn) {
   sm->hasNotificationActiveIs(false);
   whenDecapIpAdded("red", "10.2.0.0/16");
   sm->hasNotificationActiveIs(true);
   thenCalls({});
   whenDecapIpAdded("red", "10.3.0.0/16");
   thenDestinations({"10.0.0.1/32", "2001:db8::1/128", "10.1.0.0/16", "10.3.0.0/16"});
}

TEST_F(NotificationSwitch, TurnedOffTellsNobodyOfTheMachinesOwnChanges) {
   unsigned told = 0;
   class Watcher final : public Mdl::PtrInterface::NotifieeConst {
    public:
      Watcher(Mdl::Ptr<Mdl::Entity const> const& machine, unsigned& told)
          : NotifieeConst(machine), told_(told) {
         hasNotificationActiveIs(true);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Mdl::AttributeId, void const*) override { ++told_; }

    private:
      ~Watcher() override = default;
      unsigned& told_;
   };
   auto const watcher = Mdl::allocate<Watcher>(sm, told);
   sm->updateRefCount(key("10.7.0.0/16"), true);
   EXPECT_EQ(told, 1U);
   sm->hasNotificationActiveIs(false);
   sm->updateRefCount(key("10.7.0.0/16"), false);
   EXPECT_EQ(told, 1U);
   watcher->notifierIs(nullptr);
}

TEST_F(NotificationSwitch, OfAMachineWithoutInputsIsItsOwnAlone) {
   sm = Fwd::fwdDecapGroupSmFactory(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
   EXPECT_TRUE(sm->hasNotificationActive());
   sm->hasNotificationActiveIs(false);
   EXPECT_FALSE(sm->hasNotificationActive());
   sm->mdlDoZombieReactors(true);
   EXPECT_TRUE(sm->isMarkedForDeletion());
}

TEST_F(NotificationSwitch, TurnedOffStillCleansUpWhenTheMachineGoes) {
   sm->hasNotificationActiveIs(false);
   whenMachineDropped();
   thenHardware({});
}

}  // namespace
