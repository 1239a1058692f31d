#include "support/Tour.h"

#include "FwdL3Unicast/Audit.h"
#include "mdl/Log.h"
#include "platform/sim/KeyText.h"
#include "support/FailingNew.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace Support {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

namespace {

constexpr std::uint32_t ipv4 = Pkt::familyIpv4;
constexpr std::uint32_t ipv6 = Pkt::familyIpv6;

Mdl::String string(std::string_view text) { return Mdl::String(text); }
Pkt::IpGenPrefix prefix(std::string_view text) { return Pkt::IpGenPrefix(string(text)); }
Pkt::IntfId intf(std::string_view name) { return Pkt::IntfId(string(name)); }
Pkt::IpAddrWithMask addr(std::string_view text) { return Pkt::IpAddrWithMask(string(text)); }
Pkt::Ip6AddrWithMask addr6(std::string_view text) { return Pkt::Ip6AddrWithMask(string(text)); }

std::map<std::string, std::uint32_t> countsOf(Fwd::FwdDecapGroupSm const& machine) {
   std::map<std::string, std::uint32_t> counts;
   for (auto const& entry : machine.refCount()) counts[Sim::keyText(entry.key)] = entry.value;
   return counts;
}

}  // namespace

// ---- The hook -----------------------------------------------------------------------------------

void TourHook::answer(std::string_view destination, Fwd::dgRetCode code, unsigned times) {
   scripted_.push_back({prefix(destination), code, times});
}

void TourHook::during(std::uint64_t call, std::function<void(Fwd::DecapKey const* key)> act) {
   actsIn_ = call;
   act_ = std::move(act);
}

void TourHook::pass(Fwd::DecapKey const* key) {
   if (++calls_ == actsIn_) act_(key);
}

Fwd::dgRetCode TourHook::programDecapKey(Fwd::DecapKey const& key) {
   FailingNew::Pause const pause;
   pass(&key);
   for (Scripted& scripted : scripted_) {
      if (scripted.times == 0 || scripted.destination != key.dstIp()) continue;
      --scripted.times;
      return scripted.code;
   }
   std::erase(heldOver_, key);
   if (std::ranges::find(table_, key) != table_.end()) return Fwd::dgRcAlreadyExists;
   sweep([&](Fwd::DecapKey const& old) {
      return old.dstIp() == key.dstIp() && old.tunnelType() == key.tunnelType();
   });
   if (table_.size() >= capacity_) return Fwd::dgRcHwFull;
   table_.push_back(key);
   return Fwd::dgRcSuccess;
}

void TourHook::decapGroupConfigReady() {
   FailingNew::Pause const pause;
   pass(nullptr);
   sweep([](Fwd::DecapKey const&) { return true; });
}

void TourHook::sweep(std::function<bool(Fwd::DecapKey const&)> const& isInTheWay) {
   std::erase_if(heldOver_, [&](Fwd::DecapKey const& old) {
      if (!isInTheWay(old)) return false;
      std::erase(table_, old);
      return true;
   });
}

void TourHook::removeDecapKey(Fwd::DecapKey const& key) {
   FailingNew::Pause const pause;
   // An exception that leaves this call counts as removed.
   std::erase(table_, key);
   std::erase(heldOver_, key);
   pass(&key);
}

// ---- The scene ----------------------------------------------------------------------------------

Tour::Tour()
    : config_(Mdl::allocate<Tunnel::Decap::Config>()),
      status_(Mdl::allocate<Tunnel::Decap::Hardware::Status>()), ip_(Mdl::allocate<Ip::Status>()),
      ip6_(Mdl::allocate<Ip6::Status>()), verifyData_(Mdl::allocate<Fwd::VerifyData>()),
      acsd_(Mdl::allocate<Fwd::FwdCommonSmData>(verifyData_)), hook_(Mdl::allocate<TourHook>()) {
   Mdl::Log::sinkIs([](Mdl::LogHandle const&) {});
}

Tour::~Tour() {
   end();
   Mdl::Log::sinkIs({});
}

void Tour::attempt(std::function<void()> const& event) {
   try {
      FailingNew::Resumption const resumption;
      event();
   } catch (std::exception const&) {
      ++exceptions_;
   }
   if (afterEvent_) afterEvent_();
}

void Tour::newcomerIs(std::function<void(Mdl::Ptr<Mdl::Entity const> const&)> newcomer) {
   newcomer_ = std::move(newcomer);
   entering(config_);
   entering(status_);
   entering(ip_);
   entering(ip6_);
   entering(acsd_);
   entering(verifyData_);
   entering(time_.clock());
}

void Tour::end() {
   attempt([&] { machine_ = nullptr; });
}

std::map<std::string, std::uint32_t> Tour::counts() const {
   return machine_ ? countsOf(*machine_) : std::map<std::string, std::uint32_t>();
}

std::map<std::string, std::uint32_t> Tour::countsCalledFor() const {
   auto const fresh =
       Fwd::fwdDecapGroupSmFactory(Mdl::allocate<Fwd::FwdCommonSmData>(), config_,
                                   Mdl::allocate<Tunnel::Decap::Hardware::Status>(), ip_, ip6_,
                                   Mdl::allocate<Mdl::Clock>(), Mdl::allocate<TourHook>());
   fresh->initializedIs(true);
   return countsOf(*fresh);
}

std::vector<std::string> Tour::findings() const {
   std::vector<std::string> found;
   if (!machine_) return found;
   for (auto const& finding : Fwd::audit(*machine_, &hook_->table())) {
      std::ostringstream text;
      text << finding;
      found.push_back(text.str());
   }
   return found;
}

Mdl::Ptr<Tour::DecapGroup> Tour::group(std::string_view name) const {
   auto const found = groups_.find(name);
   return found == groups_.end() ? nullptr : found->second;
}

// ---- Events -------------------------------------------------------------------------------------

void Tour::startMachine() {
   // Who finds no memory to start tries again.
   for (int i = 0; i < 2 && !machine_; ++i) {
      attempt([&] {
         machine_ =
             Fwd::fwdDecapGroupSmFactory(acsd_, config_, status_, ip_, ip6_, time_.clock(), hook_);
      });
   }
   attempt([&] {
      if (machine_) machine_->initializedIs(true);
   });
   insistOnReplay();
}

void Tour::insistOnReplay() {
   if (!machine_ || !config_->ready() || machine_->dgConfigReadyHandled()) return;
   attempt([&] { machine_->initializedIs(false); });
   attempt([&] { machine_->initializedIs(true); });
}

void Tour::makeGroup(std::string_view name, Values const& values) {
   auto const made = Mdl::allocate<DecapGroup>(string(name));
   made->tunnelTypeIs(values.type);
   made->destPortIs(values.port);
   made->payloadTypeIs(values.payload);
   made->forwardingVrfIs(L3::VrfName(string(values.vrf)));
   groups_.insert_or_assign(std::string(name), entering(made));
}

void Tour::putGroup(std::string_view name) {
   attempt([&] { config_->decapGroupIs(group(name)); });
}

void Tour::change(std::string_view name, std::function<void(DecapGroup&)> const& change) {
   attempt([&] { change(*group(name)); });
}

void Tour::addIntf(std::string_view name, std::string_view interfaceName, std::uint32_t family,
                   AddressType type) {
   DecapIntf const entry({intf(interfaceName), family}, type);
   change(name, [&](DecapGroup& changed) { changed.decapIntfIs(entry); });
}

void Tour::exclude(std::string_view name, std::uint32_t family,
                   std::vector<std::string_view> const& names) {
   DecapExcludeIntfSet set(DecapIntfKey(Pkt::emptyIntfId, family));
   for (auto const excluded : names) set.excludeIntfIs(intf(excluded));
   change(name, [&](DecapGroup& changed) { changed.decapExcludeIntfSetIs(set); });
}

void Tour::changeIp(std::string_view name, std::function<void(Ip::IpIntfStatus&)> const& change) {
   auto const found = interfaces_.find(name)->second;
   attempt([&] { change(*found); });
}

void Tour::changeIp6(std::string_view name, std::function<void(Ip6::IntfStatus&)> const& change) {
   auto const found = interfaces6_.find(name)->second;
   attempt([&] { change(*found); });
}

void Tour::wait(Mdl::Seconds duration) {
   attempt([&] { time_.advanceTo(time_.now() + duration); });
}

// ---- The stations -------------------------------------------------------------------------------

void Tour::groupsAndMachine() {
   makeGroup("red", {TunnelType::udp, 6635, PayloadType::mpls, "red"});
   makeGroup("shared", {TunnelType::udp, 6635, PayloadType::mpls, "red"});
   makeGroup("rival", {TunnelType::udp, 6635, PayloadType::mpls, "blue"});
   makeGroup("gre", {TunnelType::gre, 0, PayloadType::unset, "default"});
   makeGroup("late", {TunnelType::udp, 0, PayloadType::unset, "default"});
   hook_->answer("10.66.0.0/16", Fwd::dgRcUnSupported, 1);
   hook_->answer("10.67.0.0/16", Fwd::dgRcNotReady, 2);
   hook_->answer("10.68.0.0/16", Fwd::dgRcPending, 1);
   hook_->answer("10.69.0.0/16", Fwd::dgRcMax, 1);
   change("red", [](DecapGroup& red) { red.decapIpIs(prefix("10.1.0.0/16")); });
   putGroup("red");
   startMachine();
   attempt([&] { config_->readyIs(true); });
   insistOnReplay();
   for (auto const name : {"shared", "rival", "gre", "late"}) putGroup(name);
   for (auto const text : {"10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32"}) {
      change("red", [&](DecapGroup& red) { red.decapIpIs(prefix(text)); });
      change("shared", [&](DecapGroup& shared) { shared.decapIpIs(prefix(text)); });
      change("rival", [&](DecapGroup& rival) { rival.decapIpIs(prefix(text)); });
   }
   for (auto const text : {"10.66.0.0/16", "10.67.0.0/16", "10.68.0.0/16", "10.69.0.0/16"}) {
      change("gre", [&](DecapGroup& gre) { gre.decapIpIs(prefix(text)); });
      change("late", [&](DecapGroup& late) { late.decapIpIs(prefix(text)); });
   }
   wait(0.35);
}

void Tour::interfacesAppear() {
   addIntf("red", "", ipv4, AddressType::all);
   addIntf("red", "", ipv6, AddressType::primary);
   exclude("red", ipv4, {"Ethernet3"});
   addIntf("gre", "Ethernet1", ipv4, AddressType::primary);
   addIntf("gre", "Ethernet2", ipv6, AddressType::primary);
   for (auto const name : {"Ethernet1", "Ethernet2", "Ethernet3", "Management1"}) {
      auto const made = Mdl::allocate<Ip::IpIntfStatus>(intf(name), L3::VrfName::defaultVrf());
      interfaces_.insert_or_assign(name, entering(made));
      attempt([&] { ip_->ipIntfStatusIs(made); });
      auto const made6 = Mdl::allocate<Ip6::IntfStatus>(intf(name), L3::VrfName::defaultVrf());
      interfaces6_.insert_or_assign(name, entering(made6));
      attempt([&] { ip6_->intfIs(made6); });
   }
}

void Tour::addressesChange() {
   using Ip4 = Ip::IpIntfStatus;
   changeIp("Ethernet1", [](Ip4& of) { of.addrWithMaskIs(addr("192.0.2.1/24")); });
   changeIp("Ethernet1", [](Ip4& of) { of.activeSecondaryWithMaskIs(addr("192.0.2.9/24")); });
   changeIp("Ethernet2", [](Ip4& of) { of.addrWithMaskIs(addr("192.0.2.1/25")); });
   changeIp("Ethernet2", [](Ip4& of) { of.virtualAddrIs(true); });
   changeIp("Ethernet3", [](Ip4& of) { of.addrWithMaskIs(addr("198.51.100.3/24")); });
   changeIp("Management1", [](Ip4& of) { of.addrWithMaskIs(addr("198.51.100.4/24")); });
   changeIp("Ethernet1", [](Ip4& of) { of.addrWithMaskIs(addr("192.0.2.9/24")); });
   changeIp("Ethernet2", [](Ip4& of) { of.addrWithMaskIs(addr("192.0.2.17/25")); });
   changeIp("Ethernet1", [](Ip4& of) { of.activeSecondaryWithMaskDel(addr("192.0.2.9/24")); });
   changeIp("Ethernet2", [](Ip4& of) { of.virtualAddrIs(false); });
   using Ip6 = Ip6::IntfStatus;
   changeIp6("Ethernet1", [](Ip6& of) { of.addrIs(addr6("2001:db8:1::1/64"), {}); });
   changeIp6("Ethernet1", [](Ip6& of) { of.addrIs(addr6("fe80::1/64"), {}); });
   changeIp6("Ethernet2", [](Ip6& of) { of.addrIs(addr6("2001:db8:1::1/128"), {}); });
   changeIp6("Ethernet2", [](Ip6& of) { of.addrIs(addr6("2001:db8:2::2/64"), {}); });
   changeIp6("Ethernet1", [](Ip6& of) { of.addrDel(addr6("2001:db8:1::1/64")); });
}

void Tour::entriesChange() {
   exclude("red", ipv4, {"Ethernet1"});
   exclude("red", ipv6, {"Ethernet2"});
   addIntf("red", "Ethernet2", ipv4, AddressType::primary);
   addIntf("red", "Ethernet2", ipv4, AddressType::all);
   change("red", [](DecapGroup& red) { red.decapIntfDel({intf("Ethernet2"), ipv4}); });
   change("red", [](DecapGroup& red) {
      red.decapExcludeIntfSetDel(DecapIntfKey(Pkt::emptyIntfId, ipv4));
   });
   addIntf("red", "", ipv4, AddressType::primary);
   change("gre", [](DecapGroup& gre) { gre.decapIntfDel({intf("Ethernet1"), ipv4}); });
}

void Tour::groupsChange() {
   change("late", [](DecapGroup& late) { late.destPortIs(6080); });
   change("late", [](DecapGroup& late) { late.payloadTypeIs(PayloadType::ip); });
   change("red", [](DecapGroup& red) { red.destPortIs(7000); });
   change("red", [](DecapGroup& red) { red.forwardingVrfIs(L3::VrfName(string("green"))); });
   wait(0.2);
   change("red", [](DecapGroup& red) { red.tunnelTypeIs(TunnelType::unknown); });
   change("red", [](DecapGroup& red) { red.tunnelTypeIs(TunnelType::ipip); });
   attempt([&] { verifyData_->requestVerifyIs(true); });
   attempt([&] { verifyData_->requestVerifyIs(false); });
}

void Tour::hardwareFills() {
   hook_->capacityIs(hook_->table().size() + 1);
   for (auto const text : {"10.11.0.0/16", "10.12.0.0/16", "10.13.0.0/16"}) {
      change("gre", [&](DecapGroup& gre) { gre.decapIpIs(prefix(text)); });
   }
   wait(0.2);
   change("gre", [](DecapGroup& gre) { gre.decapIpDel(prefix("10.12.0.0/16")); });
   hook_->capacityIs(1000);
   wait(0.2);
}

void Tour::groupsGoAndCome() {
   makeGroup("gre", {TunnelType::gre, 0, PayloadType::unset, "default"});
   change("gre", [](DecapGroup& gre) { gre.decapIpIs(prefix("10.11.0.0/16")); });
   addIntf("gre", "Ethernet3", ipv4, AddressType::all);
   putGroup("gre");
   attempt([&] { config_->decapGroupDel(string("shared")); });
   attempt([&] { config_->decapGroupDel(string("rival")); });
   attempt([&] { ip_->ipIntfStatusDel(intf("Ethernet2")); });
   attempt([&] { ip6_->intfDel(intf("Ethernet2")); });
   putGroup("rival");
   wait(0.3);
}

void Tour::restart() {
   attempt([&] {
      if (machine_) machine_->disableCleanupOnRestartIs(true);
   });
   attempt([&] { machine_ = nullptr; });
   hook_->holdOver();
   startMachine();
   wait(0.3);
}

void Tour::play(std::function<void()> const& afterEvent) {
   FailingNew::Pause const pause;
   using Station = void (Tour::*)();
   constexpr Station stations[] = {&Tour::groupsAndMachine, &Tour::interfacesAppear,
                                   &Tour::addressesChange,  &Tour::entriesChange,
                                   &Tour::groupsChange,     &Tour::hardwareFills,
                                   &Tour::groupsGoAndCome,  &Tour::restart};
   afterEvent_ = afterEvent;
   for (Station const station : stations) (this->*station)();
   afterEvent_ = {};
}

}  // namespace Support
