#include "support/BacklogFixture.h"

namespace {

/// A wake-up or a notification that still reaches a reactor flagged for deletion does nothing.
class ReactorsAtRest : public BacklogFixture {
 protected:
   ReactorsAtRest() { givenTraceLevels({2, 5}); }

   template <class Reactor>
   static void flag(Mdl::Ptr<Reactor> const& reactor) {
      ASSERT_NE(reactor, nullptr);
      reactor->isMarkedForDeletionIs(true);
   }
};

TEST_F(ReactorsAtRest, TheClockWakesNoReview) {
   givenWaiting({"10.1.0.0/16"});
   flag(sm->mdlClock());
   whenTimePasses(1.0);
   thenTraces({});
   thenBacklog({udp("10.1.0.0/16")});
}

TEST_F(ReactorsAtRest, AnotherClockIsNotReviewedAtOnce) {
   givenWaiting({"10.1.0.0/16"});
   flag(sm->mdlClock());
   sm->mdlClock()->notifierIs(Mdl::allocate<Mdl::Clock>());
   thenTraces({});
   thenBacklog({udp("10.1.0.0/16")});
}

TEST_F(ReactorsAtRest, TheVerifyDataRequestsNothing) {
   flag(sm->mdlVerifyData());
   verifyData->doRequestVerify();
   thenTraces({});
   thenCalls({});
}

TEST_F(ReactorsAtRest, OtherVerifyDataIsNotVerifiedAtOnce) {
   flag(sm->mdlVerifyData());
   sm->mdlVerifyData()->notifierIs(Mdl::allocate<Fwd::VerifyData>());
   thenTraces({});
   thenCalls({});
}

TEST_F(ReactorsAtRest, TheConfigurationBringsAndRemovesNoGroup) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   flag(sm->mdlDgConfig());
   forgetSoFar();
   givenGroup("late");
   whenGroupRemoved("red");
   thenTraces({});
   EXPECT_EQ(reactor("late"), nullptr);
   EXPECT_NE(reactor("red"), nullptr);
   thenHardware({udp("10.1.0.0/16")});
}

TEST_F(ReactorsAtRest, TheIpv4StatusBringsAndRemovesNoInterface) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   flag(sm->mdlIpStatus());
   givenInterface("Ethernet2", "10.0.0.2/24");
   ip->ipIntfStatusDel(intf("Ethernet1"));
   EXPECT_TRUE(sm->mdlIpIntfStatusHas(intf("Ethernet1")));
   EXPECT_FALSE(sm->mdlIpIntfStatusHas(intf("Ethernet2")));
}

TEST_F(ReactorsAtRest, TheIpv6StatusBringsAndRemovesNoInterface) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   flag(sm->mdlIp6Status());
   givenInterface6("Ethernet2", {"2001:db8::2/64"});
   ip6->intfDel(intf("Ethernet1"));
   EXPECT_TRUE(sm->mdlIp6IntfStatusHas(intf("Ethernet1")));
   EXPECT_FALSE(sm->mdlIp6IntfStatusHas(intf("Ethernet2")));
}

TEST_F(ReactorsAtRest, AGroupFollowsNoChange) {
   flag(reactor("red"));
   whenDecapIpAdded("red", "10.1.0.0/16");
   groupNamed("red").destPortIs(6081);
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   thenTraces({});
   thenCalls({});
}

TEST_F(ReactorsAtRest, AnInterfaceFollowsNoAddress) {
   auto const four = givenInterface("Ethernet1", "10.0.0.1/24");
   auto const six = givenInterface6("Ethernet1", {});
   flag(sm->mdlIpIntfStatus(intf("Ethernet1")));
   flag(sm->mdlIp6IntfStatus(intf("Ethernet1")));
   forgetSoFar();
   four->addrWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.9/24"));
   four->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.8/24"));
   four->virtualAddrIs(true);
   six->addrIs(Pkt::Ip6AddrWithMask::fromText("2001:db8::1/64"), {});
   thenTraces({});
}

}  // namespace
