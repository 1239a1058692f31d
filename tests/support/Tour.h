#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "platform/sim/SimTime.h"

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Support {

/// What a faulty hook throws.
class TourFault final : public std::runtime_error {
 public:
   TourFault() : std::runtime_error("the hook fails") {}
};

/// Hardware for a tour: a table with a capacity, answers by destination, and something that happens
/// in one of its calls, all of them counted together.
class TourHook final : public Fwd::FwdDecapGroupSmHelper {
 public:
   TourHook() : FwdDecapGroupSmHelper("tour") {}

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override;
   void removeDecapKey(Fwd::DecapKey const& key) override;
   void verify() override { pass(nullptr); }
   void decapGroupConfigReady() override;
   bool waitForDstPortPayloadTypeForUdpTunnel() override {
      pass(nullptr);
      return true;
   }

   std::vector<Fwd::DecapKey> const& table() const noexcept { return table_; }
   std::uint64_t calls() const noexcept { return calls_; }
   void capacityIs(std::size_t capacity) noexcept { capacity_ = capacity; }
   /// What the table holds now goes when the configuration is ready, unless it is asked for again,
   /// or before that where it is in the way of another VRF.
   void holdOver() { heldOver_ = table_; }
   /// Answers for the next `times` requests for a destination.
   void answer(std::string_view destination, Fwd::dgRetCode code, unsigned times);

   /// Runs `act` in the n-th call, before it does anything; the key is null for a call that has
   /// none. What `act` throws leaves the call.
   void during(std::uint64_t call, std::function<void(Fwd::DecapKey const* key)> act);

 private:
   struct Scripted {
      Pkt::IpGenPrefix destination;
      Fwd::dgRetCode code;
      unsigned times;
   };

   void pass(Fwd::DecapKey const* key);
   void sweep(std::function<bool(Fwd::DecapKey const&)> const& isInTheWay);

   std::vector<Fwd::DecapKey> table_;
   std::vector<Fwd::DecapKey> heldOver_;
   std::vector<Scripted> scripted_;
   std::size_t capacity_ = 1000;
   std::uint64_t calls_ = 0;
   std::uint64_t actsIn_ = 0;
   std::function<void(Fwd::DecapKey const*)> act_;
};

/// A machine's life that touches everything: groups of all types that share keys and fight over
/// VRFs, prefixes, own and all-interfaces entries, excludes, every kind of address, every answer of
/// hardware, a full table, re-keying, groups replaced and removed, verification, a restart that
/// keeps hardware, and the end.
///
/// Every event is attempted: an exception that comes out is counted and the tour goes on, as an
/// agent would. Allocations are counted by `FailingNew` inside events alone, and not in the hook.
class Tour {
 public:
   using DecapGroup = Tunnel::Decap::DecapGroup;

   Tour();
   Tour(Tour const&) = delete;
   Tour& operator=(Tour const&) = delete;
   ~Tour();

   /// All of it except the end. `afterEvent` runs after each event.
   void play(std::function<void()> const& afterEvent = {});
   /// Is told of each entity that the tour brings in, before the machine knows of it.
   void newcomerIs(std::function<void(Mdl::Ptr<Mdl::Entity const> const&)> newcomer);
   /// The machine goes, and with it what it programmed.
   void end();

   /// Runs an event.
   void attempt(std::function<void()> const& event);
   unsigned exceptions() const noexcept { return exceptions_; }

   /// Counts of a machine that is built now on what there is, and has it all applied.
   std::map<std::string, std::uint32_t> countsCalledFor() const;
   std::map<std::string, std::uint32_t> counts() const;
   /// What an audit finds; empty without a machine.
   std::vector<std::string> findings() const;

   Mdl::Ptr<DecapGroup> group(std::string_view name) const;
   Mdl::Ptr<Tunnel::Decap::Config> const& config() const noexcept { return config_; }
   Mdl::Ptr<Ip::Status> const& ip() const noexcept { return ip_; }
   Mdl::Ptr<Ip6::Status> const& ip6() const noexcept { return ip6_; }
   TourHook& hook() noexcept { return *hook_; }
   void dropMachine() { machine_ = nullptr; }
   Mdl::Ptr<Fwd::FwdDecapGroupSm> const& machine() const noexcept { return machine_; }

 private:
   struct Values {
      Tunnel::Decap::TunnelType type;
      std::uint16_t port;
      Tunnel::Decap::PayloadType payload;
      char const* vrf;
   };

   /// Brings an entity in.
   template <class Made>
   Made entering(Made const& made) const {
      if (newcomer_) newcomer_(made);
      return made;
   }
   void startMachine();
   /// A replay that an exception has ended is started again, as an agent would.
   void insistOnReplay();
   void makeGroup(std::string_view name, Values const& values);
   void putGroup(std::string_view name);
   void change(std::string_view group, std::function<void(DecapGroup&)> const& change);
   void addIntf(std::string_view group, std::string_view name, std::uint32_t family,
                Tunnel::Decap::AddressType type);
   void exclude(std::string_view group, std::uint32_t family,
                std::vector<std::string_view> const& names);
   void changeIp(std::string_view name, std::function<void(Ip::IpIntfStatus&)> const& change);
   void changeIp6(std::string_view name, std::function<void(Ip6::IntfStatus&)> const& change);
   void wait(Mdl::Seconds duration);

   void groupsAndMachine();
   void interfacesAppear();
   void addressesChange();
   void entriesChange();
   void groupsChange();
   void hardwareFills();
   void groupsGoAndCome();
   void restart();

   Sim::SimTime time_;
   Mdl::Ptr<Tunnel::Decap::Config> config_;
   Mdl::Ptr<Tunnel::Decap::Hardware::Status> status_;
   Mdl::Ptr<Ip::Status> ip_;
   Mdl::Ptr<Ip6::Status> ip6_;
   Mdl::Ptr<Fwd::VerifyData> verifyData_;
   Mdl::Ptr<Fwd::FwdCommonSmData> acsd_;
   Mdl::Ptr<TourHook> hook_;
   Mdl::Ptr<Fwd::FwdDecapGroupSm> machine_;
   std::map<std::string, Mdl::Ptr<DecapGroup>, std::less<>> groups_;
   std::map<std::string, Mdl::Ptr<Ip::IpIntfStatus>, std::less<>> interfaces_;
   std::map<std::string, Mdl::Ptr<Ip6::IntfStatus>, std::less<>> interfaces6_;
   std::function<void()> afterEvent_;
   std::function<void(Mdl::Ptr<Mdl::Entity const> const&)> newcomer_;
   unsigned exceptions_ = 0;
};

}  // namespace Support
