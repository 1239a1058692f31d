#include "support/DecapFixture.h"

#include <algorithm>
#include <ranges>

namespace {

Mdl::String string(std::string_view text) { return Mdl::String(text); }

std::vector<std::string> sorted(std::vector<std::string> texts) {
   std::ranges::sort(texts);
   return texts;
}

}  // namespace

DecapFixture::DecapFixture()
    : config(Mdl::allocate<Tunnel::Decap::Config>()),
      status(Mdl::allocate<Tunnel::Decap::Hardware::Status>()), ip(Mdl::allocate<Ip::Status>()),
      ip6(Mdl::allocate<Ip6::Status>()), verifyData(Mdl::allocate<Fwd::VerifyData>()),
      acsd(Mdl::allocate<Fwd::FwdCommonSmData>(verifyData)),
      hardware(Mdl::allocate<Sim::SimHelper>()) {
   Mdl::Log::sinkIs([this](Mdl::LogHandle const& handle) { logs.emplace_back(handle.name()); });
   Mdl::Trace::sinkIs([this](Mdl::TraceRecord const& record) {
      traces.push_back({record.level, std::string(record.function), std::string(record.text)});
   });
}

DecapFixture::~DecapFixture() {
   Fwd::traceHandle.maskIs(0);
   Mdl::Trace::sinkIs({});
   Mdl::Log::sinkIs({});
}

void DecapFixture::TearDown() { sm = nullptr; }

Pkt::IpGenPrefix DecapFixture::prefix(std::string_view text) {
   return Pkt::IpGenPrefix::fromText(text);
}
Pkt::IntfId DecapFixture::intf(std::string_view name) { return Pkt::IntfId(string(name)); }
L3::VrfName DecapFixture::vrf(std::string_view name) { return L3::VrfName(string(name)); }

Fwd::DecapKey DecapFixture::key(std::string_view destination, Group const& group) {
   Pkt::IpGenPrefix const to = prefix(destination);
   auto const from =
       to.isIpv4() ? Pkt::IpGenPrefix(Pkt::IpAddr()) : Pkt::IpGenPrefix(Pkt::Ip6Addr());
   return Fwd::DecapKey(from, to, group.type, group.port, group.payload, vrf(group.vrf));
}

Mdl::Ptr<Tunnel::Decap::DecapGroup> DecapFixture::makeGroup(std::string_view name,
                                                            Group const& group) {
   auto made = Mdl::allocate<DecapGroup>(string(name));
   made->tunnelTypeIs(group.type);
   made->destPortIs(group.port);
   made->payloadTypeIs(group.payload);
   made->forwardingVrfIs(vrf(group.vrf));
   return made;
}

Mdl::Ptr<Tunnel::Decap::DecapGroup> DecapFixture::givenGroup(std::string_view name,
                                                             Group const& group) {
   auto made = makeGroup(name, group);
   std::erase_if(groups, [&](auto const& old) { return old->name() == made->name(); });
   groups.push_back(made);
   config->decapGroupIs(made);
   return made;
}

void DecapFixture::givenMachine() {
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hardware);
}

void DecapFixture::givenRunning() {
   if (!sm) givenMachine();
   config->readyIs(true);
   sm->initializedIs(true);
}

Mdl::Ptr<Ip::IpIntfStatus> DecapFixture::givenInterface(std::string_view name,
                                                        std::string_view address,
                                                        std::string_view vrfName) {
   auto made = Mdl::allocate<Ip::IpIntfStatus>(intf(name), vrf(vrfName));
   if (!address.empty()) made->addrWithMaskIs(Pkt::IpAddrWithMask(string(address)));
   ip->ipIntfStatusIs(made);
   return made;
}

Mdl::Ptr<Ip6::IntfStatus> DecapFixture::givenInterface6(std::string_view name,
                                                        std::vector<std::string> const& addresses,
                                                        std::string_view vrfName) {
   auto made = Mdl::allocate<Ip6::IntfStatus>(intf(name), vrf(vrfName));
   for (auto const& address : addresses) made->addrIs(Pkt::Ip6AddrWithMask(string(address)), {});
   ip6->intfIs(made);
   return made;
}

void DecapFixture::givenTraceLevels(std::initializer_list<unsigned> levels) {
   std::uint32_t mask = 0;
   for (unsigned const level : levels) mask |= 1u << level;
   Fwd::traceHandle.maskIs(mask);
}

void DecapFixture::whenDecapIpAdded(std::string_view group, std::string_view text) {
   groupNamed(group).decapIpIs(prefix(text));
}
void DecapFixture::whenDecapIpRemoved(std::string_view group, std::string_view text) {
   groupNamed(group).decapIpDel(prefix(text));
}
void DecapFixture::whenDecapIntfAdded(std::string_view group, std::string_view interfaceName,
                                      AddressType type, std::uint32_t family) {
   groupNamed(group).decapIntfIs(DecapIntf({intf(interfaceName), family}, type));
}
void DecapFixture::whenDecapIntfRemoved(std::string_view group, std::string_view interfaceName,
                                        std::uint32_t family) {
   groupNamed(group).decapIntfDel({intf(interfaceName), family});
}
void DecapFixture::whenExcluded(std::string_view group,
                                std::vector<std::string> const& interfaceNames,
                                std::uint32_t family) {
   DecapExcludeIntfSet set({Pkt::emptyIntfId, family});
   for (auto const& name : interfaceNames) set.excludeIntfIs(intf(name));
   groupNamed(group).decapExcludeIntfSetIs(set);
}
void DecapFixture::whenGroupRemoved(std::string_view name) {
   config->decapGroupDel(string(name));
   std::erase_if(groups, [&](auto const& group) { return group->name() == string(name); });
}

void DecapFixture::whenTimePasses(Mdl::Seconds duration) { time.advanceTo(time.now() + duration); }

void DecapFixture::forgetSoFar() {
   hardware->journal().clear();
   logs.clear();
   traces.clear();
}

std::string DecapFixture::entry(std::string_view destination, std::string_view vrfName, int port) {
   return "udp " + std::string(destination) + " port " + std::to_string(port) + " payload ip vrf " +
          std::string(vrfName);
}

void DecapFixture::thenOnly(Texts const& entries) const {
   Texts counts;
   for (auto const& text : entries) counts.push_back(text + " x1");
   thenHardware(entries);
   thenCounts(counts);
   thenBacklog({});
}

void DecapFixture::thenNothingIsLeft() const {
   thenOnly({});
   thenOwners({});
}

void DecapFixture::thenHardware(Texts expected) const {
   Texts found;
   for (auto const& entry : hardware->table().entries()) found.push_back(Sim::keyText(entry.key));
   EXPECT_EQ(sorted(found), sorted(std::move(expected)));
}

void DecapFixture::thenBacklog(Texts const& expected) const {
   Texts found;
   for (auto const& entry : sm->unprogrammedKey()) found.push_back(Sim::keyText(entry.key));
   EXPECT_EQ(found, expected);
}

void DecapFixture::thenCounts(Texts expected) const {
   Texts found;
   for (auto const& entry : sm->refCount()) {
      found.push_back(Sim::keyText(entry.key) + " x" + std::to_string(entry.value));
   }
   EXPECT_EQ(sorted(found), sorted(std::move(expected)));
}

void DecapFixture::thenOwners(Texts expected) const {
   Texts found;
   for (auto const& entry : sm->tunnelTypeDecapIpToVrf()) {
      found.push_back(Mdl::enumName(entry.key.tunnelType()).stdString() + " " +
                      entry.key.decapIp().stringValue().stdString() + " -> " +
                      entry.value.name().stdString());
   }
   EXPECT_EQ(sorted(found), sorted(std::move(expected)));
}

void DecapFixture::thenCalls(Texts const& expected) const {
   EXPECT_EQ(hardware->journal().texts(), expected);
}

void DecapFixture::thenLogs(Texts const& expected) const { EXPECT_EQ(logs, expected); }

void DecapFixture::thenTraces(Texts const& expected) const {
   Texts found;
   for (auto const& record : traces) found.push_back(record.text);
   EXPECT_EQ(found, expected);
}

void DecapFixture::thenHwResourceFull(bool expected) const {
   EXPECT_EQ(status->hwResourceFull(), expected);
}

void DecapFixture::thenBooksAgree() const {
   std::vector<Fwd::DecapKey> readback;
   for (auto const& entry : hardware->table().entries()) readback.push_back(entry.key);
   for (auto const& finding : Fwd::audit(*sm, &readback)) ADD_FAILURE() << finding;
}

Tunnel::Decap::DecapGroup& DecapFixture::groupNamed(std::string_view name) {
   for (auto const& group : groups) {
      if (group->name() == string(name)) return *group;
   }
   ADD_FAILURE() << "no group " << name;
   return *givenGroup(name);
}

Mdl::Ptr<Fwd::FwdDecapGroupSm::MdlDecapGroup> DecapFixture::reactor(std::string_view name) const {
   return sm->mdlDecapGroup(string(name));
}
