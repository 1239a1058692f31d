#include "support/DecapFixture.h"

#include <algorithm>

namespace {

/// The reactor on one group: what it is made of, and how it tells changes apart.
class GroupReactor : public DecapFixture {
 protected:
   /// The first trace of each handler that ran, in their order.
   Texts whatRan() const {
      Texts found;
      for (auto const& record : traces) {
         if (record.text.starts_with("handle")) found.push_back(record.text);
      }
      return found;
   }

   void givenRunningGroup(Group const& group = {}) {
      givenGroup("red", group);
      givenRunning();
      givenTraceLevels({2});
      forgetSoFar();
   }
};

TEST_F(GroupReactor, StartsWithEmptySets) {
   givenGroup("red");
   givenMachine();
   auto const group = reactor("red");
   EXPECT_TRUE(group->decapKeyFromIp().walk().begin() == group->decapKeyFromIp().walk().end());
   EXPECT_TRUE(group->decapKeyFromIntf().walk().begin() == group->decapKeyFromIntf().walk().end());
   EXPECT_FALSE(group->intfAddressType(intf("et1")));
   EXPECT_TRUE(group->prevDecapExcludeIntfSet({Pkt::emptyIntfId, ipv4}).excludeIntf().empty());
}

TEST_F(GroupReactor, ConstructionRunsNoHandler) {
   auto const group = makeGroup("red", {});
   group->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   givenTraceLevels({2});
   auto const alone = Mdl::allocate<Sm::MdlDecapGroup>(group, sm.get());
   thenTraces({});
   EXPECT_EQ(alone->group(), group);
   EXPECT_TRUE(alone->isRegisteredNotifiee());
   alone->stateMachineIs(nullptr);
}

TEST_F(GroupReactor, SetsOfPrefixKeysStoreListAndForget) {
   givenRunningGroup();
   auto const group = reactor("red");
   auto const one = key("10.1.0.0/16");
   auto const two = key("10.2.0.0/16");
   EXPECT_FALSE(group->decapKeyFromIp(one));
   group->decapKeyFromIpIs(one, true);
   group->decapKeyFromIpIs(two, false);
   EXPECT_TRUE(group->decapKeyFromIp(one));
   EXPECT_FALSE(group->decapKeyFromIp(two));
   group->decapKeyFromIpIs(two, true);
   EXPECT_TRUE(group->decapKeyFromIp(two));
   EXPECT_FALSE(group->decapKeyFromIntf(one));
   group->decapKeyFromIpDel(one);
   group->decapKeyFromIpDel(one);
   EXPECT_FALSE(group->decapKeyFromIp(one));
   EXPECT_TRUE(group->decapKeyFromIp(two));
   group->decapKeyFromIpDelAll();
   EXPECT_FALSE(group->decapKeyFromIp(two));
   thenCalls({});
   thenCounts({});
   thenTraces({});
}

TEST_F(GroupReactor, SetsOfInterfaceKeysStoreListAndForget) {
   givenRunningGroup();
   auto const group = reactor("red");
   auto const one = key("10.1.0.1/32");
   auto const two = key("10.2.0.1/32");
   EXPECT_FALSE(group->decapKeyFromIntf(one));
   group->decapKeyFromIntfIs(one, true);
   group->decapKeyFromIntfIs(two, false);
   EXPECT_TRUE(group->decapKeyFromIntf(one));
   EXPECT_FALSE(group->decapKeyFromIntf(two));
   group->decapKeyFromIntfIs(two, true);
   EXPECT_TRUE(group->decapKeyFromIntf(two));
   EXPECT_FALSE(group->decapKeyFromIp(one));
   group->decapKeyFromIntfDel(one);
   group->decapKeyFromIntfDel(one);
   EXPECT_FALSE(group->decapKeyFromIntf(one));
   EXPECT_TRUE(group->decapKeyFromIntf(two));
   group->decapKeyFromIntfDelAll();
   EXPECT_FALSE(group->decapKeyFromIntf(two));
   thenCalls({});
   thenCounts({});
   thenTraces({});
}

TEST_F(GroupReactor, DispatchesEachAttributeToItsHandler) {
   givenRunningGroup({.type = TunnelType::gre});
   auto const ran = [&](Texts const& expected) {
      EXPECT_EQ(whatRan(), expected);
      forgetSoFar();
   };
   whenDecapIpAdded("red", "10.1.0.0/16");
   ran({"handleUpdateIp decapIp 10.1.0.0/16"});
   whenDecapIpRemoved("red", "10.1.0.0/16");
   ran({"handleUpdateIp decapIp 10.1.0.0/16"});

   auto const et1 = DecapIntfKey{intf("et1"), ipv4}.stringValue().stdString();
   whenDecapIntfAdded("red", "et1");
   ASSERT_FALSE(whatRan().empty());
   EXPECT_EQ(whatRan().front(), "handleUpdateIntf" + et1 + " tunnelType : gre");
   forgetSoFar();
   whenDecapIntfRemoved("red", "et1");
   ASSERT_FALSE(whatRan().empty());
   EXPECT_EQ(whatRan().front(), "handleUpdateIntf" + et1 + " tunnelType : gre");
   forgetSoFar();

   whenExcluded("red", {"et1"});
   ran({"handleUpdateExcludeIntf decapIntfKey: " +
        DecapIntfKey{Pkt::emptyIntfId, ipv4}.stringValue().stdString()});
   groups[0]->tunnelTypeIs(TunnelType::udp);
   ran({"handleUpdateType notifier tunnel type udp"});
   groups[0]->destPortIs(7000);
   ran({"handleUpdateDestPort notifier dest Port 7000"});
   groups[0]->payloadTypeIs(PayloadType::mpls);
   ran({"handleUpdatePayloadType notifier payload mpls"});
   groups[0]->forwardingVrfIs(vrf("blue"));
   ran({"handleUpdateForwardingVrf notifier vrf name blue"});
}

TEST_F(GroupReactor, IgnoresOtherAttributes) {
   givenRunningGroup();
   auto const some = prefix("10.1.0.0/16");
   for (Mdl::AttributeId const attribute : {0U, 257U, 265U, 1000U}) {
      reactor("red")->onAttribute(attribute, &some);
   }
   thenTraces({});
   thenCalls({});
}

TEST_F(GroupReactor, FlaggedForDeletionIgnoresEveryAttribute) {
   givenRunningGroup();
   reactor("red")->isMarkedForDeletionIs(true);
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIntfAdded("red", "et1");
   whenExcluded("red", {"et1"});
   groups[0]->tunnelTypeIs(TunnelType::gre);
   groups[0]->destPortIs(7000);
   groups[0]->payloadTypeIs(PayloadType::mpls);
   groups[0]->forwardingVrfIs(vrf("blue"));
   thenTraces({});
   thenCalls({});
}

TEST_F(GroupReactor, RepointedToTheSameGroupDoesNothing) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.1.0.0/16");
   forgetSoFar();
   reactor("red")->notifierIs(groups[0]);
   reactor("red")->decapGroupIs(groups[0]);
   thenTraces({});
   thenCalls({});
}

TEST_F(GroupReactor, RepointedRunsTheSixHandlersInTheirOrder) {
   givenRunningGroup();
   reactor("red")->decapGroupIs(makeGroup("red", {}));
   EXPECT_EQ(whatRan(), (Texts{"handleUpdateIntf", "handleUpdateIp",
                               "handleUpdateDestPort notifier dest Port 6080",
                               "handleUpdatePayloadType notifier payload ip",
                               "handleUpdateType notifier tunnel type udp",
                               "handleUpdateForwardingVrf notifier vrf name default"}));
}

TEST_F(GroupReactor, FlaggedForDeletionIsRepointedWithoutAHandler) {
   givenRunningGroup();
   auto const other = makeGroup("red", {});
   reactor("red")->isMarkedForDeletionIs(true);
   reactor("red")->notifierIs(other);
   thenTraces({});
   EXPECT_EQ(reactor("red")->group(), other);
   EXPECT_TRUE(reactor("red")->isRegisteredNotifiee());
}

TEST_F(GroupReactor, RepointedIsSkippedFromTheHandlerOnThatFlagsItForDeletion) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.1.0.0/16");
   forgetSoFar();
   auto const kept = reactor("red");
   hardware->duringRemoval(1, [&] { kept->isMarkedForDeletionIs(true); });
   kept->notifierIs(makeGroup("red", {.port = 7000}));
   auto const ran = whatRan();
   EXPECT_EQ(ran.front(), "handleUpdateIntf");
   EXPECT_EQ(
       std::ranges::count_if(
           ran, [](auto const& text) { return text.starts_with("handleUpdateForwardingVrf"); }),
       0);
}

TEST_F(GroupReactor, RepointedToAnEntityOfAnotherTypeWatchesNothing) {
   givenRunningGroup();
   whenDecapIpAdded("red", "10.1.0.0/16");
   forgetSoFar();
   auto const kept = reactor("red");
   kept->notifierIs(config);
   EXPECT_FALSE(kept->group());
   EXPECT_FALSE(kept->notifier());
   thenTraces({});
   thenCalls({});
   whenDecapIpAdded("red", "10.2.0.0/16");
   thenCalls({});
}

TEST_F(GroupReactor, RepointedFromNothingRunsTheHandlers) {
   givenRunningGroup();
   auto const kept = reactor("red");
   kept->notifierIs(nullptr);
   forgetSoFar();
   kept->notifierIs(groups[0]);
   EXPECT_EQ(whatRan().size(), 6U);
   EXPECT_TRUE(kept->isRegisteredNotifiee());
   whenDecapIpAdded("red", "10.1.0.0/16");
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf default"});
}

TEST_F(GroupReactor, RepointedMovesTheKeysToTheNewGroup) {
   givenInterface("et1", "10.9.0.1/24");
   givenInterface("et2", "10.9.1.1/24");
   givenRunningGroup();
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   whenDecapIntfAdded("red", "et1");
   auto const other = makeGroup("red", {.vrf = "blue"});
   other->decapIpIs(prefix("10.2.0.0/16"));
   other->decapIntfIs(DecapIntf({intf("et2"), ipv4}));
   config->decapGroupIs(other);
   thenHardware({"udp 10.2.0.0/16 port 6080 payload ip vrf blue",
                 "udp 10.9.1.1/32 port 6080 payload ip vrf blue"});
   thenCounts({"udp 10.2.0.0/16 port 6080 payload ip vrf blue x1",
               "udp 10.9.1.1/32 port 6080 payload ip vrf blue x1"});
   thenBacklog({});
}

}  // namespace
