#include "support/InterfaceFixture.h"

namespace {

/// Clean-up that is disabled, so that hardware goes on forwarding while the agent restarts.
class Restart : public InterfaceFixture {
 protected:
   Restart() {
      givenGroup("red");
      givenGroup("green", {.vrf = "green"});
      givenGroup("bare", {.type = TunnelType::unknown});
      givenInterface("Ethernet1", "10.0.0.1/24");
      givenInterface("Management1", "10.9.9.9/24");
      givenInterface6("Ethernet1", {"2001:db8::1/64"});
      whenDecapIntfAdded("red", "");
      whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
      whenDecapIpAdded("green", "10.2.0.0/16");
   }
   void givenAllRunning() {
      givenRunning();
      hardware->table().capacityIs(0);
      whenDecapIpAdded("red", "10.3.0.0/16");
      forgetSoFar();
   }
   static std::string green(std::string_view destination) {
      return Sim::keyText(key(destination, {.vrf = "green"}));
   }
   void thenHardwareIsAsItWas() const {
      thenHardware({udp("10.0.0.1/32"), udp("2001:db8::1/128"), green("10.2.0.0/16")});
      thenHwResourceFull(true);
      thenLogs({});
      thenCalls({});
   }
   /// The functions that traced that they leave hardware alone.
   Texts disabledIn() const {
      Texts found;
      for (auto const& record : traces) {
         if (record.text == "Disabling FwdDecapGroupSm cleanup in case of restart") {
            EXPECT_EQ(record.level, 5U);
            found.push_back(record.function);
         }
      }
      return found;
   }
};

TEST_F(Restart, LeavesHardwareAndAlarmAsTheyAre) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   whenMachineDropped();
   thenHardwareIsAsItWas();
}

TEST_F(Restart, LeavesCountsAndBacklogAsTheyAre) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   sm->mdlDoZombieReactors(true);
   thenHardwareIsAsItWas();
   thenCounts({udp("10.0.0.1/32") + " x1", udp("2001:db8::1/128") + " x1",
               udp("10.3.0.0/16") + " x1", green("10.2.0.0/16") + " x1"});
   thenBacklog({udp("10.3.0.0/16")});
   EXPECT_FALSE(sm->decapIntfIp().empty());
}

// Groups without a tunnel type have nothing to leave. IPv4 interfaces look at the setting before
// they look at the interface, IPv6 interfaces likewise once the machine is running.
TEST_F(Restart, IsTracedByEachCleanUpThatIsSkipped) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   givenTraceLevels({5});
   whenMachineDropped();
   EXPECT_EQ(disabledIn(), (Texts{"handleDelete", "handleDelete", "doIntfCleanup", "doIntfCleanup",
                                  "doIntfCleanup"}));
   EXPECT_EQ(traces.size(), 5U);
}

TEST_F(Restart, IsNotTracedWithoutTheLevel) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   givenTraceLevels({2});
   whenMachineDropped();
   EXPECT_EQ(disabledIn(), Texts{});
}

// An IPv6 interface looks at the setting only once the machine is running, an IPv4 interface
// before anything else.
TEST_F(Restart, OfAMachineThatNeverRanIsTracedByGroupsAndIpv4Interfaces) {
   givenMachine();
   sm->disableCleanupOnRestartIs(true);
   givenTraceLevels({5});
   whenMachineDropped();
   EXPECT_EQ(disabledIn(),
             (Texts{"handleDelete", "handleDelete", "doIntfCleanup", "doIntfCleanup"}));
}

TEST_F(Restart, IsDecidedAtTheMomentOfCleanUp) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   sm->disableCleanupOnRestartIs(false);
   whenMachineDropped();
   thenHardware({});
   thenHwResourceFull(false);
}

TEST_F(Restart, AllowedAgainInsideAMachineAtRestIsTooLate) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   sm->mdlDoZombieReactors(true);
   sm->disableCleanupOnRestartIs(false);
   whenMachineDropped();
   thenHardwareIsAsItWas();
}

TEST_F(Restart, TheNextMachineTakesHardwareOverWithoutARewrite) {
   givenAllRunning();
   hardware->table().capacityIs(Sim::HardwareTable::unlimited);
   whenTimePasses(1.0);
   sm->disableCleanupOnRestartIs(true);
   whenMachineDropped();
   auto const written = hardware->written();
   forgetSoFar();
   givenMachine();
   sm->initializedIs(true);
   thenCalls({"program " + udp("10.0.0.1/32") + " -> exists",
              "program " + udp("2001:db8::1/128") + " -> exists",
              "program " + udp("10.3.0.0/16") + " -> exists",
              "program " + green("10.2.0.0/16") + " -> exists", "configuration ready"});
   EXPECT_EQ(hardware->written(), written);
   thenBooksAgree();
   thenOwners({"udp 10.0.0.1/32 -> default", "udp 2001:db8::1/128 -> default",
               "udp 10.3.0.0/16 -> default", "udp 10.2.0.0/16 -> green"});
}

TEST_F(Restart, LeavesTheKeysOfInterfacesThatGo) {
   givenAllRunning();
   sm->disableCleanupOnRestartIs(true);
   whenInterfaceRemoved("Ethernet1");
   whenInterface6Removed("Ethernet1");
   thenHardwareIsAsItWas();
}

}  // namespace
