#include "support/DecapFixture.h"

#include <algorithm>

namespace {

/// The first keys of a group that arrives while the machine runs.
class FirstKeys : public DecapFixture {
 protected:
   FirstKeys() {
      givenInterface("et1", "10.9.0.1/24");
      givenRunning();
      forgetSoFar();
   }

   void whenGroupArrives(std::string_view name, std::vector<std::string> const& prefixes,
                         bool withInterface = false, Group const& group = {}) {
      auto const made = makeGroup(name, group);
      for (auto const& text : prefixes) made->decapIpIs(prefix(text));
      if (withInterface) made->decapIntfIs(DecapIntf({intf("et1"), ipv4}));
      groups.push_back(made);
      config->decapGroupIs(made);
   }

   static std::string programmed(std::string_view destination) {
      return "program " + entry(destination) + " -> success";
   }
   static std::string removed(std::string_view destination) {
      return "remove " + entry(destination) + " -> removed";
   }
};

// The type brings the keys, and the VRF, which comes after it, re-keys them without looking
// whether it changed.
TEST_F(FirstKeys, AreProgrammedRemovedAndProgrammed) {
   whenGroupArrives("red", {"10.1.0.0/16"});
   thenCalls({programmed("10.1.0.0/16"), removed("10.1.0.0/16"), programmed("10.1.0.0/16")});
   thenCounts({entry("10.1.0.0/16") + " x1"});
   thenHardware({entry("10.1.0.0/16")});
   thenOwners({"udp 10.1.0.0/16 -> default"});
   thenBacklog({});
}

TEST_F(FirstKeys, AreRekeyedOneByOneInterfacesFirst) {
   whenGroupArrives("red", {"10.1.0.0/16", "10.2.0.0/16"}, true);
   thenCalls({programmed("10.9.0.1/32"), programmed("10.1.0.0/16"), programmed("10.2.0.0/16"),
              removed("10.9.0.1/32"), programmed("10.9.0.1/32"), removed("10.1.0.0/16"),
              programmed("10.1.0.0/16"), removed("10.2.0.0/16"), programmed("10.2.0.0/16")});
   thenCounts(
       {entry("10.9.0.1/32") + " x1", entry("10.1.0.0/16") + " x1", entry("10.2.0.0/16") + " x1"});
}

TEST_F(FirstKeys, ThatAnotherGroupHoldsLeaveHardwareAlone) {
   whenGroupArrives("red", {"10.1.0.0/16"});
   forgetSoFar();
   whenGroupArrives("blue", {"10.1.0.0/16"});
   thenCalls({});
   thenCounts({entry("10.1.0.0/16") + " x2"});
}

TEST_F(FirstKeys, AreMadeByTheSixHandlersInTheirOrder) {
   givenTraceLevels({2});
   whenGroupArrives("red", {});
   thenTraces({"handleUpdateIntf", "handleUpdateIp", "handleUpdateDestPort notifier dest Port 6080",
               "handleUpdatePayloadType notifier payload ip",
               "handleUpdateType notifier tunnel type udp",
               "handleUpdateForwardingVrf notifier vrf name default"});
}

TEST_F(FirstKeys, OfAGroupWithoutATunnelTypeAreNone) {
   givenTraceLevels({2});
   whenGroupArrives("red", {"10.1.0.0/16"}, true, {.type = TunnelType::unknown});
   thenTraces({"handleUpdateIntf", "handleUpdateIp", "handleUpdateDestPort notifier dest Port 6080",
               "handleUpdateDestPort notifier tunnelType unknown ",
               "handleUpdatePayloadType notifier payload ip",
               "handleUpdateType notifier tunnel type unknown",
               "handleUpdateForwardingVrf notifier vrf name default"});
   thenCalls({});
   thenCounts({});
}

TEST_F(FirstKeys, OfAUdpGroupWithoutAPortWait) {
   whenGroupArrives("red", {"10.1.0.0/16"}, true, {.port = 0});
   thenCalls({});
   thenCounts({});
   groups[0]->destPortIs(6080);
   thenHardware({entry("10.1.0.0/16"), entry("10.9.0.1/32")});
}

TEST_F(FirstKeys, OfAMachineAtRestAreNone) {
   sm->mdlDoZombieReactors(true);
   auto const red = makeGroup("red", {});
   red->decapIpIs(prefix("10.1.0.0/16"));
   config->decapGroupIs(red);
   givenTraceLevels({2});
   sm->decapGroupIs(red);
   thenCalls({});
   thenCounts({});
}

TEST_F(FirstKeys, ThatHardwareRefusesWaitOnce) {
   hardware->notReadyUntilIs(5.0);
   whenGroupArrives("red", {"10.1.0.0/16"});
   thenBacklog({entry("10.1.0.0/16")});
   thenCounts({entry("10.1.0.0/16") + " x1"});
   whenTimePasses(6.0);
   thenHardware({entry("10.1.0.0/16")});
   thenBacklog({});
}

}  // namespace
