#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "FwdL3Unicast/MdlClock.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlDgConfig.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIp6Status.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/MdlIpStatus.h"
#include "FwdL3Unicast/MdlVerifyData.h"
#include "mdl/Log.h"
#include "mdl/Trace.h"
#include "platform/sim/KeyText.h"
#include "platform/sim/SimHelper.h"
#include "platform/sim/SimTime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A state machine between a configuration that the test writes and simulated hardware that it
/// reads back, on a clock that it moves.
///
/// Verbs: `given` sets the scene, `when` is the event under test, `then` compares a whole state at
/// once. Keys read as `Sim::keyText` writes them: "udp 10.1.0.0/16 port 6080 payload ip vrf red".
class DecapFixture : public ::testing::Test {
 protected:
   using Texts = std::vector<std::string>;
   using TunnelType = Tunnel::Decap::TunnelType;
   using PayloadType = Tunnel::Decap::PayloadType;
   using AddressType = Tunnel::Decap::AddressType;
   using DecapGroup = Tunnel::Decap::DecapGroup;
   using DecapIntf = Tunnel::Decap::DecapIntf;
   using DecapIntfKey = Tunnel::Decap::DecapIntfKey;
   using DecapExcludeIntfSet = Tunnel::Decap::DecapExcludeIntfSet;
   using Sm = Fwd::FwdDecapGroupSm;

   static constexpr std::uint32_t ipv4 = Pkt::familyIpv4;
   static constexpr std::uint32_t ipv6 = Pkt::familyIpv6;

   struct Group {
      TunnelType type = TunnelType::udp;
      std::uint16_t port = 6080;
      PayloadType payload = PayloadType::ip;
      std::string vrf = "default";
   };

   DecapFixture();
   ~DecapFixture() override;
   /// Drops the state machine.
   void TearDown() override;

   // Values from text.

   static Pkt::IpGenPrefix prefix(std::string_view text);
   static Pkt::IntfId intf(std::string_view name);
   static L3::VrfName vrf(std::string_view name);
   static Fwd::DecapKey key(std::string_view destination, Group const& group);
   static Fwd::DecapKey key(std::string_view destination) { return key(destination, Group()); }

   // The scene. `givenGroup` enters the group into the configuration, whatever runs already.

   Mdl::Ptr<DecapGroup> givenGroup(std::string_view name, Group const& group);
   Mdl::Ptr<DecapGroup> givenGroup(std::string_view name) { return givenGroup(name, Group()); }
   /// A group that is in no configuration yet.
   static Mdl::Ptr<DecapGroup> makeGroup(std::string_view name, Group const& group);
   /// Creates the state machine, neither initialized nor ready.
   void givenMachine();
   /// Creates the state machine if need be and brings it to the running state.
   void givenRunning();
   /// An interface with IPv4 status; an empty address for none.
   Mdl::Ptr<Ip::IpIntfStatus> givenInterface(std::string_view name, std::string_view address,
                                             std::string_view vrfName = "default");
   Mdl::Ptr<Ip6::IntfStatus> givenInterface6(std::string_view name,
                                             std::vector<std::string> const& addresses,
                                             std::string_view vrfName = "default");
   /// Bits of the trace levels that `thenTraces` sees.
   void givenTraceLevels(std::initializer_list<unsigned> levels);

   // Events.

   void whenDecapIpAdded(std::string_view group, std::string_view text);
   void whenDecapIpRemoved(std::string_view group, std::string_view text);
   /// An entry for an interface; the empty name stands for all of them.
   void whenDecapIntfAdded(std::string_view group, std::string_view interfaceName,
                           AddressType type = AddressType::primary, std::uint32_t family = ipv4);
   void whenDecapIntfRemoved(std::string_view group, std::string_view interfaceName,
                             std::uint32_t family = ipv4);
   void whenExcluded(std::string_view group, std::vector<std::string> const& interfaceNames,
                     std::uint32_t family = ipv4);
   void whenGroupRemoved(std::string_view name);
   /// Moves clock and current time on.
   void whenTimePasses(Mdl::Seconds duration);
   void whenMachineDropped() { sm = nullptr; }
   /// Forgets calls, logs and traces so far, so that `then` speaks of what follows.
   void forgetSoFar();

   // State. Hardware, counts and owners are compared without regard to order, the others with it.

   /// The text of a key of a group as `givenGroup` makes it.
   static std::string entry(std::string_view destination, std::string_view vrfName = "default",
                            int port = 6080);
   /// These keys are in hardware with one reference each, and nothing waits.
   void thenOnly(Texts const& entries) const;
   void thenNothingIsLeft() const;
   void thenHardware(Texts expected) const;
   void thenBacklog(Texts const& expected) const;
   /// "udp 10.1.0.0/16 port 6080 payload ip vrf red x2".
   void thenCounts(Texts expected) const;
   /// "udp 10.1.0.0/16 -> red".
   void thenOwners(Texts expected) const;
   /// Hook calls: "program udp ... vrf red -> full", "remove udp ... vrf red".
   void thenCalls(Texts const& expected) const;
   /// Names of operator log messages.
   void thenLogs(Texts const& expected) const;
   /// Texts of trace records.
   void thenTraces(Texts const& expected) const;
   void thenHwResourceFull(bool expected) const;
   /// The audit of groups, counts, backlog, owners and hardware finds no difference. Not for tests
   /// that call the counting operations themselves.
   void thenBooksAgree() const;

   DecapGroup& groupNamed(std::string_view name);
   Mdl::Ptr<Sm::MdlDecapGroup> reactor(std::string_view name) const;

   Sim::SimTime time;
   Mdl::Ptr<Tunnel::Decap::Config> config;
   Mdl::Ptr<Tunnel::Decap::Hardware::Status> status;
   Mdl::Ptr<Ip::Status> ip;
   Mdl::Ptr<Ip6::Status> ip6;
   Mdl::Ptr<Fwd::VerifyData> verifyData;
   Mdl::Ptr<Fwd::FwdCommonSmData> acsd;
   Mdl::Ptr<Sim::SimHelper> hardware;
   Mdl::Ptr<Sm> sm;
   std::vector<Mdl::Ptr<DecapGroup>> groups;
   Texts logs;
   struct Traced {
      unsigned level;
      std::string function;
      std::string text;
   };
   std::vector<Traced> traces;
};
