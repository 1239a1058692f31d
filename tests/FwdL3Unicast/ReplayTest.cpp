#include "support/DecapFixture.h"

#include <algorithm>

namespace {

/// The one replay of the configuration into the group reactors.
class Replay : public DecapFixture {
 protected:
   Replay() { givenMachine(); }

   /// The traces by which handlers of decap interfaces, exclude sets and prefixes announce
   /// themselves.
   Texts handlersTraced() const {
      Texts found;
      for (auto const& record : traces) {
         bool const announces = record.text.starts_with("handleUpdateExcludeIntf") ||
                                record.text.starts_with("handleUpdateIp") ||
                                record.text.find(" tunnelType : ") != std::string::npos;
         if (announces) found.push_back(record.text);
      }
      return found;
   }

   static std::string entryText(std::string_view name, std::uint32_t family = ipv4) {
      return DecapIntfKey{intf(name), family}.stringValue().stdString();
   }
   static std::string applied(std::string_view name, std::uint32_t family = ipv4) {
      return "handleUpdateIntf" + entryText(name, family) + " tunnelType : udp";
   }
   static std::string excluded(std::uint32_t family = ipv4) {
      return "handleUpdateExcludeIntf decapIntfKey: " + entryText("", family);
   }

   static std::string success(std::string_view destination, std::string_view vrfName = "default") {
      return "program udp " + std::string(destination) + " port 6080 payload ip vrf " +
             std::string(vrfName) + " -> success";
   }
};

TEST_F(Replay, TakesInterfacesBeforePrefixes) {
   givenInterface("et1", "10.9.0.1/24");
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   whenDecapIntfAdded("red", "et1");
   givenRunning();
   thenCalls({success("10.9.0.1/32"), success("10.1.0.0/16"), "configuration ready"});
}

TEST_F(Replay, TakesGroupsInTheOrderOfTheConfiguration) {
   givenInterface("et1", "10.9.0.1/24");
   for (auto const* const name : {"zulu", "alpha", "mike"}) {
      givenGroup(name, {.vrf = name})->decapIpIs(prefix("10.1.0.0/16"));
   }
   groupNamed("zulu").decapIpDelAll();
   whenDecapIpAdded("zulu", "10.3.0.0/16");
   groupNamed("mike").decapIpDelAll();
   whenDecapIpAdded("mike", "10.2.0.0/16");
   whenDecapIntfAdded("mike", "et1");
   givenRunning();
   thenCalls({success("10.3.0.0/16", "zulu"), success("10.1.0.0/16", "alpha"),
              success("10.9.0.1/32", "mike"), success("10.2.0.0/16", "mike"),
              "configuration ready"});
}

// Named entries go first, wherever they stand, so that an entry for all interfaces finds them.
TEST_F(Replay, LooksAtTheExcludeSetRightAfterAnEntryForAllInterfaces) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   whenDecapIntfAdded("red", "");
   whenDecapIntfAdded("red", "et1");
   givenTraceLevels({2});
   givenRunning();
   EXPECT_EQ(handlersTraced(), (Texts{applied("et1"), applied(""), excluded(),
                                      "handleUpdateIp decapIp 10.1.0.0/16"}));
}

TEST_F(Replay, LooksAtNoExcludeSetForANamedInterface) {
   givenGroup("red");
   whenDecapIntfAdded("red", "et1");
   whenDecapIntfAdded("red", "et2");
   givenTraceLevels({2});
   givenRunning();
   EXPECT_EQ(handlersTraced(), (Texts{applied("et1"), applied("et2")}));
}

TEST_F(Replay, TakesExcludeSetsOfBothFamilies) {
   givenGroup("red");
   whenDecapIntfAdded("red", "", AddressType::primary, ipv4);
   whenDecapIntfAdded("red", "", AddressType::primary, ipv6);
   givenTraceLevels({2});
   givenRunning();
   EXPECT_EQ(handlersTraced(),
             (Texts{applied("", ipv4), excluded(ipv4), applied("", ipv6), excluded(ipv6)}));
}

TEST_F(Replay, LeavesExcludedInterfacesOut) {
   givenInterface("et1", "10.9.0.1/24");
   givenInterface("et2", "10.9.1.1/24");
   givenGroup("red");
   whenDecapIntfAdded("red", "");
   whenExcluded("red", {"et1"});
   givenRunning();
   thenHardware({"udp 10.9.1.1/32 port 6080 payload ip vrf default"});
   thenCounts({"udp 10.9.1.1/32 port 6080 payload ip vrf default x1"});
}

TEST_F(Replay, CountsAKeyOfTwoGroupsTwiceAndProgramsItOnce) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenGroup("blue")->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   thenCalls({success("10.1.0.0/16"), "configuration ready"});
   thenCounts({"udp 10.1.0.0/16 port 6080 payload ip vrf default x2"});
}

TEST_F(Replay, SkipsAGroupWithoutAReactor) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   givenGroup("blue")->decapIpIs(prefix("10.2.0.0/16"));
   sm->decapGroupDel(Mdl::String("red"));
   givenRunning();
   thenCalls({success("10.2.0.0/16"), "configuration ready"});
   EXPECT_TRUE(sm->dgConfigReadyHandled());
}

TEST_F(Replay, LeavesAGroupWithoutATunnelTypeAlone) {
   givenGroup("red", {.type = TunnelType::unknown})->decapIpIs(prefix("10.1.0.0/16"));
   givenRunning();
   thenCalls({"configuration ready"});
   thenCounts({});
}

TEST_F(Replay, BrokenByAnExceptionStartsAgainWithoutCountingTwice) {
   for (auto const* const text : {"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"}) {
      if (groups.empty()) givenGroup("red");
      whenDecapIpAdded("red", text);
   }
   givenGroup("blue")->decapIpIs(prefix("10.1.0.0/16"));
   config->readyIs(true);
   hardware->script().atCall(2, Sim::Answer::fault());

   EXPECT_THROW(sm->initializedIs(true), Sim::HardwareFault);
   EXPECT_TRUE(sm->initialized());
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   auto const readyCalls = [&] {
      return std::ranges::count(hardware->journal().calls(), Sim::Operation::configReady,
                                &Sim::Call::operation);
   };
   EXPECT_EQ(readyCalls(), 0);

   sm->handleDecapGroupConfigReady();
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   EXPECT_EQ(readyCalls(), 1);
   thenCounts({"udp 10.1.0.0/16 port 6080 payload ip vrf default x2",
               "udp 10.2.0.0/16 port 6080 payload ip vrf default x1",
               "udp 10.3.0.0/16 port 6080 payload ip vrf default x1"});

   whenTimePasses(1.0);
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf default",
                 "udp 10.2.0.0/16 port 6080 payload ip vrf default",
                 "udp 10.3.0.0/16 port 6080 payload ip vrf default"});
   thenBacklog({});
   config->decapGroupDelAll();
   thenCounts({});
   thenHardware({});
}

TEST_F(Replay, BrokenByAnExceptionStartsAgainWithTheNextInitialization) {
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   sm->initializedIs(true);
   hardware->script().atCall(1, Sim::Answer::fault());
   EXPECT_THROW(config->readyIs(true), Sim::HardwareFault);
   EXPECT_TRUE(config->ready());
   EXPECT_FALSE(sm->dgConfigReadyHandled());

   sm->initializedIs(false);
   EXPECT_FALSE(sm->dgConfigReadyHandled());
   sm->initializedIs(true);
   EXPECT_TRUE(sm->dgConfigReadyHandled());
   whenTimePasses(1.0);
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf default"});
   thenCounts({"udp 10.1.0.0/16 port 6080 payload ip vrf default x1"});
}

TEST_F(Replay, BrokenAtAnyCallEndsInTheSameStateAsAnUnbrokenOne) {
   givenInterface("et1", "10.9.0.1/24");
   givenGroup("red")->decapIpIs(prefix("10.1.0.0/16"));
   whenDecapIntfAdded("red", "et1");
   givenGroup("blue")->decapIpIs(prefix("10.1.0.0/16"));
   whenDecapIpAdded("blue", "10.2.0.0/16");
   config->readyIs(true);
   for (std::uint64_t call = 1; call <= 3; ++call) {
      hardware = Mdl::allocate<Sim::SimHelper>();
      hardware->script().atCall(call, Sim::Answer::fault());
      givenMachine();
      EXPECT_THROW(sm->initializedIs(true), Sim::HardwareFault) << call;
      sm->handleDecapGroupConfigReady();
      whenTimePasses(1.0);
      thenCounts({"udp 10.9.0.1/32 port 6080 payload ip vrf default x1",
                  "udp 10.1.0.0/16 port 6080 payload ip vrf default x2",
                  "udp 10.2.0.0/16 port 6080 payload ip vrf default x1"});
      thenHardware({"udp 10.9.0.1/32 port 6080 payload ip vrf default",
                    "udp 10.1.0.0/16 port 6080 payload ip vrf default",
                    "udp 10.2.0.0/16 port 6080 payload ip vrf default"});
      thenBacklog({});
      EXPECT_TRUE(sm->dgConfigReadyHandled()) << call;
      whenMachineDropped();
      thenHardware({});
   }
}

TEST_F(Replay, IsNumberedFromOne) {
   givenGroup("red");
   givenMachine();
   EXPECT_EQ(reactor("red")->replayed(), 0U);
   givenRunning();
   EXPECT_EQ(reactor("red")->replayed(), 1U);
}

}  // namespace
