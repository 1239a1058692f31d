#include "support/FailingNew.h"
#include "support/InterfaceFixture.h"
#include "support/MachineChecks.h"

#include "mdl/Exception.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

// Which interfaces have a reactor, and how the two status entities are followed.

namespace {

class InterfaceRegistry : public InterfaceFixture {
 protected:
   Texts interfaces() const { return names(sm->mdlIpIntfStatus()); }
   Texts interfaces6() const { return names(sm->mdlIp6IntfStatus()); }

 private:
   template <class Reactors>
   static Texts names(Reactors const& reactors) {
      Texts found;
      for (auto const& entry : reactors) found.push_back(entry.key.name().stdString());
      return found;
   }
};

TEST_F(InterfaceRegistry, InterfacesThatAreThereAtConstructionHaveReactors) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet2", {"2001:db8::1/64"});
   givenMachine();
   EXPECT_EQ(interfaces(), Texts({"Ethernet1"}));
   EXPECT_EQ(interfaces6(), Texts({"Ethernet2"}));
}

TEST_F(InterfaceRegistry, InterfacesThatComeLaterHaveReactors) {
   givenMachine();
   givenInterface("Ethernet1", "");
   givenInterface6("Ethernet1", {});
   EXPECT_EQ(interfaces(), Texts({"Ethernet1"}));
   EXPECT_EQ(interfaces6(), Texts({"Ethernet1"}));
}

TEST_F(InterfaceRegistry, InterfacesThatNeverGiveKeysHaveReactorsToo) {
   givenMachine();
   for (auto const name : {"Management1", "Internal7"}) {
      givenInterface(name, "10.0.0.1/24");
      givenInterface6(name, {});
   }
   givenInterface("Ethernet1", "10.0.0.1/24", "red");
   EXPECT_EQ(interfaces(), Texts({"Management1", "Internal7", "Ethernet1"}));
   EXPECT_EQ(interfaces6(), Texts({"Management1", "Internal7"}));
}

TEST_F(InterfaceRegistry, AnInterfaceThatLeavesTheStatusLosesItsReactor) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet1", {});
   givenMachine();
   whenInterfaceRemoved("Ethernet1");
   whenInterface6Removed("Ethernet1");
   EXPECT_EQ(interfaces(), Texts());
   EXPECT_EQ(interfaces6(), Texts());
}

// Somebody may still hold a reactor whose interface has gone.
TEST_F(InterfaceRegistry, AReactorThatHasLeftTouchesNothing) {
   givenTraceLevels({2});
   givenGroup("red");
   whenDecapIntfAdded("red", "", AddressType::all);
   whenDecapIntfAdded("red", "", AddressType::all, ipv6);
   auto const one = givenInterface("Ethernet1", "10.0.0.1/24");
   auto const one6 = givenInterface6("Ethernet1", {"2001:db8::1/64"});
   givenRunning();
   auto const left = sm->mdlIpIntfStatus(intf("Ethernet1"));
   auto const left6 = sm->mdlIp6IntfStatus(intf("Ethernet1"));
   whenInterfaceRemoved("Ethernet1");
   whenInterface6Removed("Ethernet1");
   forgetSoFar();
   left->handlePrimaryAddrWithMask();
   left->handleVirtualAddrWithMask();
   left->handleSecondaryAddrWithMask(addr("10.0.0.2/24"));
   left6->handleAddr6WithMask(addr6("2001:db8::1/64"));
   left->ipIntfStatusIs(makeInterface("Ethernet1", "10.0.0.3/24"));
   thenCalls({});
   EXPECT_TRUE(traces.empty());
}

TEST_F(InterfaceRegistry, AReactorFollowsTheStatusThatItIsGiven) {
   givenGroup("red");
   whenDecapIntfAdded("red", "", AddressType::all);
   whenDecapIntfAdded("red", "", AddressType::all, ipv6);
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   givenRunning();
   thenDestinations({"10.0.0.1/32", "2001:db8::1/128"});
   auto const other = makeInterface("Ethernet1", "10.0.0.2/24");
   auto const other6 = makeInterface6("Ethernet1", {});
   sm->mdlIpIntfStatus(intf("Ethernet1"))->ipIntfStatusIs(other);
   sm->mdlIp6IntfStatus(intf("Ethernet1"))->ip6IntfStatusIs(other6);
   EXPECT_EQ(sm->ipIntfStatus(intf("Ethernet1")), other);
   EXPECT_EQ(sm->ip6IntfStatus(intf("Ethernet1")), other6);
   thenDestinations({"10.0.0.2/32"});
}

TEST_F(InterfaceRegistry, LookupsGiveReactorAndStatusOrNothing) {
   auto const one = givenInterface("Ethernet1", "10.0.0.1/24");
   auto const one6 = givenInterface6("Ethernet1", {});
   givenMachine();
   EXPECT_TRUE(sm->mdlIpIntfStatusHas(intf("Ethernet1")));
   EXPECT_EQ(sm->ipIntfStatus(intf("Ethernet1")), one);
   EXPECT_EQ(sm->mdlIpIntfStatus(intf("Ethernet1"))->status(), one);
   EXPECT_TRUE(sm->mdlIp6IntfStatusHas(intf("Ethernet1")));
   EXPECT_EQ(sm->ip6IntfStatus(intf("Ethernet1")), one6);
   EXPECT_EQ(sm->mdlIp6IntfStatus(intf("Ethernet1"))->status(), one6);

   EXPECT_FALSE(sm->mdlIpIntfStatusHas(intf("Ethernet2")));
   EXPECT_FALSE(sm->ipIntfStatus(intf("Ethernet2")));
   EXPECT_FALSE(sm->mdlIpIntfStatus(intf("Ethernet2")));
   EXPECT_FALSE(sm->mdlIp6IntfStatusHas(intf("Ethernet2")));
   EXPECT_FALSE(sm->ip6IntfStatus(intf("Ethernet2")));
   EXPECT_FALSE(sm->mdlIp6IntfStatus(intf("Ethernet2")));
}

TEST_F(InterfaceRegistry, NullStatusIsRefusedAndNothingChanges) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenMachine();
   EXPECT_THROW(sm->ipIntfStatusIs(nullptr), Mdl::NullArgumentException);
   EXPECT_THROW(sm->ip6IntfStatusIs(nullptr), Mdl::NullArgumentException);
   EXPECT_EQ(interfaces(), Texts({"Ethernet1"}));
   EXPECT_EQ(interfaces6(), Texts());
}

TEST_F(InterfaceRegistry, TheSameStatusAgainReturnsTheReactorAsItIs) {
   givenGroup("g");
   whenDecapIntfAdded("g", "Ethernet1");
   auto const one = givenInterface("Ethernet1", "10.0.0.1/24");
   auto const one6 = givenInterface6("Ethernet1", {});
   givenRunning();
   auto const before = sm->mdlIpIntfStatus(intf("Ethernet1"));
   auto const before6 = sm->mdlIp6IntfStatus(intf("Ethernet1"));
   forgetSoFar();
   EXPECT_EQ(sm->ipIntfStatusIs(one), before);
   EXPECT_EQ(sm->ip6IntfStatusIs(one6), before6);
   thenCalls({});
}

TEST_F(InterfaceRegistry, AReplacedStatusKeepsTheReactorAndIsFollowed) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet1", {});
   givenMachine();
   auto const before = sm->mdlIpIntfStatus(intf("Ethernet1"));
   auto const before6 = sm->mdlIp6IntfStatus(intf("Ethernet1"));
   auto const next = givenInterface("Ethernet1", "10.0.0.2/24");
   auto const next6 = givenInterface6("Ethernet1", {});
   EXPECT_EQ(sm->mdlIpIntfStatus(intf("Ethernet1")), before);
   EXPECT_EQ(before->status(), next);
   EXPECT_EQ(sm->mdlIp6IntfStatus(intf("Ethernet1")), before6);
   EXPECT_EQ(before6->status(), next6);
   EXPECT_EQ(interfaces(), Texts({"Ethernet1"}));
   EXPECT_EQ(interfaces6(), Texts({"Ethernet1"}));
}

TEST_F(InterfaceRegistry, RemovingAnUnknownInterfaceDoesNothing) {
   givenMachine();
   sm->ipIntfStatusDel(intf("Ethernet1"));
   sm->ip6IntfStatusDel(intf("Ethernet1"));
   EXPECT_EQ(interfaces(), Texts());
   EXPECT_EQ(interfaces6(), Texts());
}

TEST_F(InterfaceRegistry, RemovingAllWithdrawsWhatEachInterfaceGave) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   whenDecapIntfAdded("g", "", all, ipv6);
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface("Ethernet2", "10.0.0.2/24");
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   givenInterface6("Ethernet2", {"2001:db8::2/64"});
   givenRunning();
   sm->ipIntfStatusDelAll();
   EXPECT_EQ(interfaces(), Texts());
   thenDestinations({"2001:db8::1/128", "2001:db8::2/128"});
   sm->ip6IntfStatusDelAll();
   EXPECT_EQ(interfaces6(), Texts());
   thenDestinations({});
}

TEST_F(InterfaceRegistry, AnInterfaceThatGoesLeavesGroupAfterGroupAndItsAddressesInOrder) {
   for (auto const* const group : {"one", "two"}) {
      givenGroup(group);
      whenDecapIntfAdded(group, "", all);
   }
   groupNamed("two").destPortIs(7000);
   givenInterfaceWith("Ethernet1", "10.0.0.9/24", {"10.0.0.3/24", "10.0.0.2/24"});
   givenRunning();
   forgetSoFar();
   whenInterfaceRemoved("Ethernet1");
   Texts expected;
   for (auto const* const port : {"6080", "7000"}) {
      for (auto const* const address : {"10.0.0.9", "10.0.0.2", "10.0.0.3"}) {
         expected.push_back("remove udp " + std::string(address) + "/32 port " + port +
                            " payload ip vrf default -> removed");
      }
   }
   thenCalls(expected);
}

// One allocation finds no memory, whichever it is.
TEST_F(InterfaceRegistry, AnInterfaceThatGoesIsGivenBackWithoutMemory) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   whenDecapIntfAdded("g", "", all, ipv6);
   givenRunning();
   bool reached = true;
   for (int successes = 0; reached; ++successes) {
      SCOPED_TRACE("after " + std::to_string(successes) + " allocations");
      givenInterface("Ethernet1", "10.0.0.1/24");
      auto const status6 = givenInterface6("Ethernet1", {});
      status6->addrIs(addr6("2001:db8::1/64"), {});
      ASSERT_EQ(sm->refCount().size(), 2U);
      {
         Support::FailingNew const failing(successes, 1);
         auto const remove = [&](auto const& removal) {
            try {
               removal();
            } catch (std::bad_alloc const&) {
               // What is looked at is what has been done all the same.
            }
         };
         remove([&] { whenInterfaceRemoved("Ethernet1"); });
         remove([&] { whenInterface6Removed("Ethernet1"); });
         reached = failing.hasFailed();
      }
      // One whose removal found no memory is still there.
      EXPECT_EQ(sm->refCount().size(), ip->ipIntfStatus().size() + ip6->intf().size());
   }
}

TEST_F(InterfaceRegistry, AReactorThatHasLeftFollowsNothing) {
   givenGroup("g");
   whenDecapIntfAdded("g", "", all);
   auto const one = givenInterface("Ethernet1", "10.0.0.1/24");
   givenRunning();
   auto const reactor = sm->mdlIpIntfStatus(intf("Ethernet1"));
   whenInterfaceRemoved("Ethernet1");
   forgetSoFar();
   whenPrimaryIs(one, "10.0.0.2/24");
   reactor->handlePrimaryAddrWithMask();
   reactor->handleSecondaryAddrWithMask(addr("10.0.0.3/24"));
   reactor->handleVirtualAddrWithMask();
   reactor->doIntfCleanup();
   thenCalls({});
}

TEST_F(InterfaceRegistry, OnlyTheInterfaceCollectionIsLookedAt) {
   givenInterface("Ethernet1", "10.0.0.1/24");
   givenInterface6("Ethernet1", {});
   givenMachine();
   auto const other = intf("Ethernet1");
   ip->hasNotificationActiveIs(false);
   ip6->hasNotificationActiveIs(false);
   whenInterfaceRemoved("Ethernet1");
   whenInterface6Removed("Ethernet1");
   sm->mdlIpStatus()->onAttribute(Ip::Status::ipIntfStatusAttributeId + 1, &other);
   sm->mdlIp6Status()->onAttribute(Ip6::Status::intfAttributeId + 1, &other);
   EXPECT_EQ(interfaces(), Texts({"Ethernet1"}));
   EXPECT_EQ(interfaces6(), Texts({"Ethernet1"}));
   sm->mdlIpStatus()->onAttribute(Ip::Status::ipIntfStatusAttributeId, &other);
   sm->mdlIp6Status()->onAttribute(Ip6::Status::intfAttributeId, &other);
   EXPECT_EQ(interfaces(), Texts());
   EXPECT_EQ(interfaces6(), Texts());
}

TEST_F(InterfaceRegistry, TellsOfInterfacesThatComeAndGo) {
   givenMachine();
   auto const changes = Support::ChangeLog::of(sm);
   givenInterface("Ethernet7", "10.0.7.1/24");
   givenInterface6("Ethernet7", {"2001:db8:7::1/64"});
   whenInterfaceRemoved("Ethernet7");
   whenInterface6Removed("Ethernet7");
   using Fwd::memberId::mdlIp6IntfStatus;
   using Fwd::memberId::mdlIpIntfStatus;
   EXPECT_EQ(changes->changes(),
             (std::vector<Mdl::AttributeId>{mdlIpIntfStatus, mdlIp6IntfStatus, mdlIpIntfStatus,
                                            mdlIp6IntfStatus}));
}

TEST_F(InterfaceRegistry, AReactorThatIsDestroyedWithdrawsWhatItsInterfaceGave) {
   auto const status1 = givenInterface("Ethernet7", "10.0.7.1/24");
   auto const status6 = givenInterface6("Ethernet7", {"2001:db8:7::1/64"});
   givenGroup("red");
   whenDecapIntfAdded("red", "Ethernet7");
   whenDecapIntfAdded("red", "Ethernet7", primaryOnly, ipv6);
   givenRunning();
   Mdl::allocate<Sm::MdlIpIntfStatus>(status1, sm.get());
   thenDestinations({"2001:db8:7::1/128"});
   Mdl::allocate<Sm::MdlIp6IntfStatus>(status6, sm.get());
   thenDestinations({});
}

}  // namespace
