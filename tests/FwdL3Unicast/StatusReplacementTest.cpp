#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

// The IPv4 or IPv6 status as a whole gives way to another one.

namespace {

class StatusReplacement : public InterfaceFixture {
 protected:
   StatusReplacement() {
      givenGroup("g");
      whenDecapIntfAdded("g", "", all);
      whenDecapIntfAdded("g", "", all, ipv6);
      kept = givenInterface("Ethernet1", "10.0.0.1/24");
      givenInterface("Ethernet2", "10.0.0.2/24");
      kept6 = givenInterface6("Ethernet1", {"2001:db8::1/64"});
      givenInterface6("Ethernet2", {"2001:db8::2/64"});
      givenRunning();
      forgetSoFar();
   }

   IntfStatus kept;
   Intf6Status kept6;
   Mdl::Ptr<Ip::Status> next = Mdl::allocate<Ip::Status>();
   Mdl::Ptr<Ip6::Status> next6 = Mdl::allocate<Ip6::Status>();
};

TEST_F(StatusReplacement, NewInterfacesAreAddedBeforeOldOnesAreRemoved) {
   next->ipIntfStatusIs(kept);
   next->ipIntfStatusIs(makeInterface("Ethernet3", "10.0.0.3/24"));
   sm->mdlIpStatus()->notifierIs(next);
   thenCalls({programs("10.0.0.3/32"), removes("10.0.0.2/32")});
   EXPECT_FALSE(sm->mdlIpIntfStatusHas(intf("Ethernet2")));
   EXPECT_EQ(sm->ipStatus(), next);
}

TEST_F(StatusReplacement, NewIp6InterfacesAreAddedAndOldOnesRemoved) {
   next6->intfIs(kept6);
   next6->intfIs(makeInterface6("Ethernet3", {"2001:db8::3/64"}));
   sm->mdlIp6Status()->notifierIs(next6);
   // Addresses that are there already when their reactor is made wait to be told of.
   thenCalls({removes("2001:db8::2/128")});
   EXPECT_TRUE(sm->mdlIp6IntfStatusHas(intf("Ethernet3")));
   EXPECT_FALSE(sm->mdlIp6IntfStatusHas(intf("Ethernet2")));
   EXPECT_EQ(sm->ip6Status(), next6);
}

TEST_F(StatusReplacement, TheNewStatusIsFollowedAndTheOldOneNot) {
   next->ipIntfStatusIs(kept);
   next6->intfIs(kept6);
   sm->mdlIpStatus()->notifierIs(next);
   sm->mdlIp6Status()->notifierIs(next6);
   forgetSoFar();
   givenInterface("Ethernet4", "10.0.0.4/24");
   givenInterface6("Ethernet4", {});
   EXPECT_FALSE(sm->mdlIpIntfStatusHas(intf("Ethernet4")));
   EXPECT_FALSE(sm->mdlIp6IntfStatusHas(intf("Ethernet4")));
   next->ipIntfStatusIs(makeInterface("Ethernet5", "10.0.0.5/24"));
   next6->intfIs(makeInterface6("Ethernet5", {}));
   EXPECT_TRUE(sm->mdlIpIntfStatusHas(intf("Ethernet5")));
   EXPECT_TRUE(sm->mdlIp6IntfStatusHas(intf("Ethernet5")));
   thenCalls({programs("10.0.0.5/32")});
}

TEST_F(StatusReplacement, TheSameStatusChangesNothing) {
   sm->mdlIpStatus()->notifierIs(ip);
   sm->mdlIp6Status()->notifierIs(ip6);
   thenCalls({});
   EXPECT_EQ(sm->mdlIpIntfStatus().size(), 2U);
}

TEST_F(StatusReplacement, NullOnlyDetaches) {
   sm->mdlIpStatus()->notifierIs(nullptr);
   sm->mdlIp6Status()->notifierIs(nullptr);
   thenCalls({});
   EXPECT_EQ(sm->mdlIpIntfStatus().size(), 2U);
   givenInterface("Ethernet3", "10.0.0.3/24");
   givenInterface6("Ethernet3", {"2001:db8::3/64"});
   EXPECT_EQ(sm->mdlIpIntfStatus().size(), 2U);
   EXPECT_EQ(sm->mdlIp6IntfStatus().size(), 2U);
}

TEST_F(StatusReplacement, AnInterfaceOfTheSameNameKeepsItsReactor) {
   auto const reactor = sm->mdlIpIntfStatus(intf("Ethernet1"));
   next->ipIntfStatusIs(makeInterface("Ethernet1", "10.0.0.9/24"));
   sm->mdlIpStatus()->notifierIs(next);
   EXPECT_EQ(sm->mdlIpIntfStatus(intf("Ethernet1")), reactor);
   thenCalls({removes("10.0.0.1/32"), programs("10.0.0.9/32"), removes("10.0.0.2/32")});
}

}  // namespace
