#include "support/InterfaceFixture.h"

namespace {

/// What becomes of a group's keys when its port, payload type or VRF changes.
class RekeyedKeys : public InterfaceFixture {
 protected:
   RekeyedKeys() { givenGroup("red"); }

   /// A group with a key of each source, running.
   void givenKeys() {
      givenInterface("Ethernet1", "10.0.0.1/24");
      whenDecapIntfAdded("red", "Ethernet1");
      whenDecapIpAdded("red", "10.1.0.0/16");
      givenRunning();
      forgetSoFar();
   }
   template <class Changes>
   void whenUnnoticed(Changes const& changes) {
      reactor("red")->hasNotificationActiveIs(false);
      changes();
      reactor("red")->hasNotificationActiveIs(true);
   }
   void thenKeysAre(Group const& group) const {
      thenHardware({text("10.0.0.1/32", group), text("10.1.0.0/16", group)});
      thenBooksAgree();
   }
   static std::string text(std::string_view destination, Group const& group) {
      return Sim::keyText(key(destination, group));
   }
};

TEST_F(RekeyedKeys, TheVrfMapFollowsTheVrf) {
   givenKeys();
   groupNamed("red").forwardingVrfIs(vrf("blue"));
   thenOwners({"udp 10.0.0.1/32 -> blue", "udp 10.1.0.0/16 -> blue"});
}

// The set already shows the new key when the hook is asked for it; a prefix that is added shows
// its key only afterwards.
TEST_F(RekeyedKeys, TheSetHoldsTheNewKeyBeforeTheMachineIsTold) {
   givenKeys();
   bool fromIntf = false;
   bool fromIp = false;
   bool oldOne = true;
   Group const after{.port = 6081};
   hardware->duringProgram(3, [&] {
      fromIntf = reactor("red")->decapKeyFromIntf(key("10.0.0.1/32", after));
      oldOne = reactor("red")->decapKeyFromIntf(key("10.0.0.1/32"));
   });
   hardware->duringProgram(
       4, [&] { fromIp = reactor("red")->decapKeyFromIp(key("10.1.0.0/16", after)); });
   groupNamed("red").destPortIs(6081);
   EXPECT_TRUE(fromIntf);
   EXPECT_TRUE(fromIp);
   EXPECT_FALSE(oldOne);
}

// A key keeps what did not change, whatever the configuration says by now: changes that nobody
// noticed do not slip in with another change.

TEST_F(RekeyedKeys, ANewPortComesAlone) {
   givenKeys();
   whenUnnoticed([&] {
      groupNamed("red").payloadTypeIs(PayloadType::mpls);
      groupNamed("red").forwardingVrfIs(vrf("blue"));
   });
   groupNamed("red").destPortIs(6081);
   thenKeysAre({.port = 6081});
}

TEST_F(RekeyedKeys, ANewPayloadTypeComesAlone) {
   givenKeys();
   whenUnnoticed([&] {
      groupNamed("red").destPortIs(6081);
      groupNamed("red").forwardingVrfIs(vrf("blue"));
   });
   groupNamed("red").payloadTypeIs(PayloadType::mpls);
   thenKeysAre({.payload = PayloadType::mpls});
}

TEST_F(RekeyedKeys, ANewVrfComesAlone) {
   givenKeys();
   whenUnnoticed([&] {
      groupNamed("red").destPortIs(6081);
      groupNamed("red").payloadTypeIs(PayloadType::mpls);
   });
   groupNamed("red").forwardingVrfIs(vrf("blue"));
   thenKeysAre({.vrf = "blue"});
}

TEST_F(RekeyedKeys, KeepTheTypeThatChangedUnnoticed) {
   givenKeys();
   reactor("red")->hasNotificationActiveIs(false);
   groupNamed("red").tunnelTypeIs(TunnelType::gre);
   reactor("red")->hasNotificationActiveIs(true);
   groupNamed("red").destPortIs(6081);
   groupNamed("red").payloadTypeIs(PayloadType::mpls);
   groupNamed("red").forwardingVrfIs(vrf("blue"));
   thenKeysAre({.port = 6081, .payload = PayloadType::mpls, .vrf = "blue"});
}

TEST_F(RekeyedKeys, AUdpGroupProgramsItsKeysOnceBothValuesAreSet) {
   givenGroup("red", {.port = 0, .payload = PayloadType::unset});
   givenInterface("Ethernet1", "10.0.0.1/24");
   whenDecapIntfAdded("red", "Ethernet1");
   whenDecapIpAdded("red", "10.1.0.0/16");
   givenRunning();
   groupNamed("red").destPortIs(6081);
   thenCounts({});
   EXPECT_TRUE(reactor("red")->decapKeyFromIp(
       key("10.1.0.0/16", {.port = 6081, .payload = PayloadType::unset})));
   groupNamed("red").payloadTypeIs(PayloadType::ip);
   thenHardware({text("10.0.0.1/32", {.port = 6081}), text("10.1.0.0/16", {.port = 6081})});
   thenBooksAgree();
}

TEST_F(RekeyedKeys, AUdpGroupThatLosesItsPortWithdrawsItsKeysAndWaits) {
   givenKeys();
   groupNamed("red").destPortIs(0);
   thenHardware({});
   thenCounts({});
   thenOwners({});
   EXPECT_TRUE(reactor("red")->decapKeyFromIntf(key("10.0.0.1/32", {.port = 0})));
   groupNamed("red").destPortIs(6081);
   thenHardware({text("10.0.0.1/32", {.port = 6081}), text("10.1.0.0/16", {.port = 6081})});
}

TEST_F(RekeyedKeys, TheVrfThatIsTakenMakesTheKeyWait) {
   givenGroup("blue", {.vrf = "blue"})->decapIpIs(prefix("10.1.0.0/16"));
   givenGroup("green", {.vrf = "green"});
   givenRunning();
   whenDecapIpAdded("green", "10.2.0.0/16");
   forgetSoFar();
   whenDecapIpAdded("green", "10.1.0.0/16");
   groupNamed("green").forwardingVrfIs(vrf("red"));
   thenCalls({"remove " + text("10.2.0.0/16", {.vrf = "green"}) + " -> removed",
              "program " + text("10.2.0.0/16", {.vrf = "red"}) + " -> success"});
   thenBacklog({text("10.1.0.0/16", {.vrf = "red"})});
   groupNamed("green").forwardingVrfIs(vrf("blue"));
   thenBacklog({});
   thenOwners({"udp 10.1.0.0/16 -> blue", "udp 10.2.0.0/16 -> blue"});
   thenCounts({text("10.1.0.0/16", {.vrf = "blue"}) + " x2",
               text("10.2.0.0/16", {.vrf = "blue"}) + " x1"});
}

TEST_F(RekeyedKeys, Ipv6KeysFollowLikewise) {
   givenInterface6("Ethernet1", {"2001:db8::1/64"});
   whenDecapIntfAdded("red", "Ethernet1", AddressType::primary, ipv6);
   whenDecapIpAdded("red", "2001:db8:1::/48");
   givenRunning();
   groupNamed("red").destPortIs(6081);
   thenHardware({text("2001:db8::1/128", {.port = 6081}), text("2001:db8:1::/48", {.port = 6081})});
   thenBooksAgree();
}

TEST_F(RekeyedKeys, ThatAreOnlyListedMoveEachTime) {
   givenRunning();
   auto const old = key("10.9.0.0/16", {.port = 6000});
   reactor("red")->decapKeyFromIpIs(old, true);
   reactor("red")->decapKeyFromIntfIs(old, true);
   for (std::uint16_t const port : {std::uint16_t{6001}, std::uint16_t{6002}}) {
      groupNamed("red").destPortIs(port);
      auto const now = key("10.9.0.0/16", {.port = port});
      EXPECT_TRUE(reactor("red")->decapKeyFromIp(now));
      EXPECT_TRUE(reactor("red")->decapKeyFromIntf(now));
   }
}

}  // namespace
