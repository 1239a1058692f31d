#include "support/InterfaceFixture.h"

namespace {

/// An interface that is in another VRF for a while, without a notice: what it loses there is told
/// to nobody.
class MissedInAnotherVrf : public InterfaceFixture {
 protected:
   MissedInAnotherVrf() {
      givenGroup("red");
      ethernet1_ = givenInterface("Ethernet1", "10.0.0.1/24");
      ethernet2_ = givenInterface6("Ethernet2", {});
      whenDecapIntfAdded("red", "", AddressType::all);
      whenDecapIntfAdded("red", "", AddressType::all, ipv6);
      givenRunning();
      ethernet1_->activeSecondaryWithMaskIs(secondary_);
      ethernet2_->addrIs(ip6_, {});
      thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "2001:db8::1/128"});
   }
   void whenAddressesGoInAnotherVrf() {
      ethernet1_->vrfIs(vrf("blue"));
      ethernet2_->vrfIs(vrf("blue"));
      ethernet1_->activeSecondaryWithMaskDel(secondary_);
      ethernet2_->addrDel(ip6_);
      ethernet1_->vrfIs(vrf("default"));
      ethernet2_->vrfIs(vrf("default"));
   }

   Pkt::IpAddrWithMask const secondary_{Mdl::String("10.0.0.2/24")};
   Pkt::Ip6AddrWithMask const ip6_{Mdl::String("2001:db8::1/64")};
   Mdl::Ptr<Ip::IpIntfStatus> ethernet1_;
   Mdl::Ptr<Ip6::IntfStatus> ethernet2_;
};

TEST_F(MissedInAnotherVrf, AnInterfaceThatLeavesTakesEverythingAlong) {
   whenAddressesGoInAnotherVrf();
   ip->ipIntfStatusDel(intf("Ethernet1"));
   ip6->intfDel(intf("Ethernet2"));
   thenHardware({});
   thenCounts({});
}

TEST_F(MissedInAnotherVrf, AnInterfaceWithAnotherStatusGivesUpWhatItLost) {
   whenAddressesGoInAnotherVrf();
   givenInterface("Ethernet1", "10.0.0.3/24");
   givenInterface6("Ethernet2", {});
   thenDestinations({"10.0.0.3/32"});
}

// Only once: what happens from then on is followed address by address.
TEST_F(MissedInAnotherVrf, WhatWasMissedIsMadeUpForOnce) {
   givenTraceLevels({2});
   whenAddressesGoInAnotherVrf();
   givenInterface6("Ethernet2", {});
   auto const next6 = makeInterface6("Ethernet2", {"2001:db8::1/64"});
   ip6->intfIs(next6);
   whenAddress6Added(next6, "2001:db8::2/64");
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32", "2001:db8::2/128"});
   forgetSoFar();
   ip6->intfIs(makeInterface6("Ethernet2", {}));
   thenDestinations({"10.0.0.1/32", "10.0.0.2/32"});
   EXPECT_FALSE(tracesOf("handleIpIntfStatusChange").empty());
}

// What the new status still has stays, whatever was missed.
TEST_F(MissedInAnotherVrf, AnInterfaceWithAnotherStatusKeepsWhatItHas) {
   whenAddressesGoInAnotherVrf();
   auto const next = makeInterface("Ethernet1", "10.0.0.3/24", {"10.0.0.2/24"});
   ip->ipIntfStatusIs(next);
   forgetSoFar();
   thenDestinations({"10.0.0.2/32", "10.0.0.3/32", "2001:db8::1/128"});
}

// Hardware is nobody's to touch while the machine is not initialized, whatever was missed.
TEST_F(MissedInAnotherVrf, InterfacesThatLeaveAMachineThatIsNotInitializedKeepTheirKeys) {
   whenAddressesGoInAnotherVrf();
   sm->initializedIs(false);
   forgetSoFar();
   ip->ipIntfStatusDel(intf("Ethernet1"));
   ip6->intfDel(intf("Ethernet2"));
   thenCalls({});
   sm->initializedIs(true);
   thenHardware({});
}

}  // namespace
