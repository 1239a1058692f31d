// The inputs of a journal, done again.

#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlDgConfig.h"
#include "FwdL3Unicast/MdlIp6Status.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/MdlIpStatus.h"
#include "platform/journal/Player.h"

namespace Journal {

using Tunnel::Decap::Config;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;

namespace {

template <class Map>
auto const& numbered(Map const& made, Line const& line, std::size_t index) {
   auto const found = made.find(line.number(index));
   if (found == made.end()) line.fail("there is no number " + std::to_string(line.number(index)));
   return found->second;
}

/// The same, null for the number 0.
template <class Map>
typename Map::mapped_type numberedOrNone(Map const& made, Line const& line, std::size_t index) {
   if (line.number(index) == 0) return nullptr;
   return numbered(made, line, index);
}

template <class Map>
void keep(Map& made, Line const& line, typename Map::mapped_type entity) {
   if (!made.try_emplace(line.number(2), std::move(entity)).second) {
      line.fail("the number " + std::to_string(line.number(2)) + " is taken");
   }
}

Pkt::IntfId intfIdAt(Line const& line, std::size_t index) { return Pkt::IntfId(line.name(index)); }
L3::VrfName vrfAt(Line const& line, std::size_t index) { return L3::VrfName(line.name(index)); }
DecapIntfKey entryAt(Line const& line, std::size_t index) {
   return {intfIdAt(line, index), line.number(index + 1)};
}

}  // namespace

void Player::act(Line const& line) {
   if (line.is(1, "machine")) return actOnMachine(line);
   if (line.is(1, "config")) return actOnConfig(line);
   if (line.is(1, "group")) return actOnGroup(line);
   if (line.is(1, "ip")) return actOnIp(line);
   if (line.is(1, "ipIntf")) return actOnIpIntf(line);
   if (line.is(1, "ip6")) return actOnIp6(line);
   if (line.is(1, "ip6Intf")) return actOnIp6Intf(line);
   if (line.is(1, "clock")) return clock_->timeIs(line.seconds(2));
   if (line.is(1, "verify")) return actOnVerify(line);
   if (line.is(1, "trace")) return actOnTrace(line);
   // Whoever asks the platform has not asked.
   if (line.is(1, "udp-wait")) return differs({});
   line.fail("no input is so called");
}

Fwd::FwdDecapGroupSm& Player::machine(Line const& line) const {
   if (!machine_) line.fail("there is no machine");
   return *machine_;
}

void Player::build(Line const& line) {
   if (machine_) line.fail("there is a machine already");
   auto const config = numberedOrNone(configs_, line, 3);
   auto const ip = numberedOrNone(ips_, line, 4);
   auto const ip6 = numberedOrNone(ip6s_, line, 5);
   auto const status = Mdl::allocate<Tunnel::Decap::Hardware::Status>();
   recorder_->noteBuild({config, status, ip, ip6, verifyData_, clock_});
   machine_ = Fwd::fwdDecapGroupSmFactory(shared_, config, status, ip, ip6, clock_,
                                          recorder_->hook(platform()));
}

void Player::actOnMachine(Line const& line) {
   if (line.is(2, "build")) return build(line);
   Mdl::Ptr<Fwd::FwdDecapGroupSm> const sm(&machine(line));
   if (line.is(2, "drop")) {
      recorder_->noteDrop();
      machine_ = nullptr;
   } else if (line.is(2, "initialized")) {
      recorder_->noteInitialized(line.flag(3));
      sm->initializedIs(line.flag(3));
   } else if (line.is(2, "reviewInterval")) {
      recorder_->noteReviewInterval(line.seconds(3));
      sm->reviewIntervalIs(line.seconds(3));
   } else if (line.is(2, "reviewQuanta")) {
      recorder_->noteReviewQuanta(line.seconds(3));
      sm->reviewQuantaIs(line.seconds(3));
   } else if (line.is(2, "disableCleanupOnRestart")) {
      recorder_->noteCleanupDisabled(line.flag(3));
      sm->disableCleanupOnRestartIs(line.flag(3));
   } else if (line.is(2, "config") && sm->mdlDgConfig()) {
      auto const config = numberedOrNone(configs_, line, 3);
      recorder_->noteConfig(config);
      sm->mdlDgConfig()->notifierIs(config);
   } else if (line.is(2, "ip") && sm->mdlIpStatus()) {
      auto const status = numberedOrNone(ips_, line, 3);
      recorder_->noteIp(status);
      sm->mdlIpStatus()->notifierIs(status);
   } else if (line.is(2, "ip6") && sm->mdlIp6Status()) {
      auto const status = numberedOrNone(ip6s_, line, 3);
      recorder_->noteIp6(status);
      sm->mdlIp6Status()->notifierIs(status);
   } else if (line.is(2, "ipIntfStatus")) {
      auto const status = numbered(ipIntfs_, line, 3);
      recorder_->noteIntfStatus(status);
      sm->ipIntfStatusIs(status);
   } else if (line.is(2, "entry") || line.is(2, "excludeSet")) {
      actOnHandler(line, *sm);
   } else {
      line.fail("a machine has no such input");
   }
}

/// A handler of a group is called.
void Player::actOnHandler(Line const& line, Fwd::FwdDecapGroupSm& sm) {
   auto const reactor = sm.mdlDecapGroup(line.name(3));
   if (!reactor) line.fail("the machine has no such group");
   DecapIntfKey const key = entryAt(line, 4);
   if (line.is(2, "entry")) {
      recorder_->noteEntry(line.name(3), key);
      reactor->handleUpdateIntf(key);
   } else {
      recorder_->noteExcludeSet(line.name(3), key);
      reactor->handleUpdateExcludeIntf(key);
   }
}

void Player::actOnConfig(Line const& line) {
   if (line.is(3, "make")) return keep(configs_, line, Mdl::allocate<Config>());
   auto const& config = numbered(configs_, line, 2);
   if (line.is(3, "ready")) return config->readyIs(line.flag(4));
   if (!line.is(3, "decapGroup")) line.fail("a configuration has no such attribute");
   if (line.isNull(5)) return config->decapGroupDel(line.name(4));
   config->decapGroupIs(numbered(groups_, line, 5));
}

void Player::actOnGroup(Line const& line) {
   if (line.is(3, "make")) return keep(groups_, line, Mdl::allocate<DecapGroup>(line.name(4)));
   auto const& group = numbered(groups_, line, 2);
   if (line.is(3, "tunnelType")) {
      group->tunnelTypeIs(line.enumerator<Tunnel::Decap::TunnelType>(4));
   } else if (line.is(3, "destPort")) {
      group->destPortIs(static_cast<std::uint16_t>(line.number(4, 65535)));
   } else if (line.is(3, "payloadType")) {
      group->payloadTypeIs(line.enumerator<Tunnel::Decap::PayloadType>(4));
   } else if (line.is(3, "forwardingVrf")) {
      group->forwardingVrfIs(vrfAt(line, 4));
   } else if (line.is(3, "decapIp")) {
      auto const prefix = line.read(4, Pkt::IpGenPrefix::fromText);
      if (line.flag(5)) {
         group->decapIpIs(prefix);
      } else {
         group->decapIpDel(prefix);
      }
   } else if (line.is(3, "decapIntf")) {
      DecapIntfKey const key = entryAt(line, 4);
      if (line.isNull(6)) return group->decapIntfDel(key);
      group->decapIntfIs(DecapIntf(key, line.enumerator<Tunnel::Decap::AddressType>(6)));
   } else if (line.is(3, "decapExcludeIntfSet")) {
      DecapExcludeIntfSet set(entryAt(line, 4));
      if (line.isNull(6)) return group->decapExcludeIntfSetDel(set.key());
      line.forEachName(6, [&](Mdl::String const& name) { set.excludeIntfIs(Pkt::IntfId(name)); });
      group->decapExcludeIntfSetIs(set);
   } else {
      line.fail("a group has no such attribute");
   }
}

void Player::actOnIp(Line const& line) {
   if (line.is(3, "make")) return keep(ips_, line, Mdl::allocate<Ip::Status>());
   auto const& status = numbered(ips_, line, 2);
   if (!line.is(3, "ipIntfStatus")) line.fail("the IPv4 status has no such attribute");
   if (line.isNull(5)) return status->ipIntfStatusDel(intfIdAt(line, 4));
   status->ipIntfStatusIs(numbered(ipIntfs_, line, 5));
}

void Player::actOnIpIntf(Line const& line) {
   if (line.is(3, "make")) {
      return keep(ipIntfs_, line,
                  Mdl::allocate<Ip::IpIntfStatus>(intfIdAt(line, 4), vrfAt(line, 5)));
   }
   auto const& status = numbered(ipIntfs_, line, 2);
   if (line.is(3, "vrf")) {
      recorder_->noteVrf(status, vrfAt(line, 4));
      status->vrfIs(vrfAt(line, 4));
   } else if (line.is(3, "addrWithMask")) {
      status->addrWithMaskIs(line.read(4, Pkt::IpAddrWithMask::fromText));
   } else if (line.is(3, "virtualAddr")) {
      status->virtualAddrIs(line.flag(4));
   } else if (line.is(3, "activeSecondaryWithMask")) {
      auto const addr = line.read(4, Pkt::IpAddrWithMask::fromText);
      if (line.flag(5)) {
         status->activeSecondaryWithMaskIs(addr);
      } else {
         status->activeSecondaryWithMaskDel(addr);
      }
   } else {
      line.fail("an interface has no such attribute");
   }
}

void Player::actOnIp6(Line const& line) {
   if (line.is(3, "make")) return keep(ip6s_, line, Mdl::allocate<Ip6::Status>());
   auto const& status = numbered(ip6s_, line, 2);
   if (!line.is(3, "intf")) line.fail("the IPv6 status has no such attribute");
   if (line.isNull(5)) return status->intfDel(intfIdAt(line, 4));
   status->intfIs(numbered(ip6Intfs_, line, 5));
}

void Player::actOnIp6Intf(Line const& line) {
   if (line.is(3, "make")) {
      return keep(ip6Intfs_, line,
                  Mdl::allocate<Ip6::IntfStatus>(intfIdAt(line, 4), vrfAt(line, 5)));
   }
   auto const& status = numbered(ip6Intfs_, line, 2);
   if (line.is(3, "vrf")) {
      recorder_->noteVrf(status, vrfAt(line, 4));
      status->vrfIs(vrfAt(line, 4));
   } else if (line.is(3, "addr")) {
      auto const addr = line.read(4, Pkt::Ip6AddrWithMask::fromText);
      if (line.flag(5)) {
         status->addrIs(addr, {});
      } else {
         status->addrDel(addr);
      }
   } else {
      line.fail("an interface has no such attribute");
   }
}

void Player::actOnVerify(Line const& line) {
   bool const silent = line.is(3, "silently");
   if (silent) verifyData_->hasNotificationActiveIs(false);
   if (line.flag(2)) {
      verifyData_->doRequestVerify();
   } else {
      verifyData_->requestVerifyIs(false);
   }
   verifyData_->hasNotificationActiveIs(true);
}

void Player::actOnTrace(Line const& line) {
   std::uint32_t const mask = line.number(2);
   if (auto* const handle = Mdl::TraceHandle::find("FwdDecapGroup")) {
      handle->maskIs(mask | extraTraces_);
   }
   recorder_->noteTraceMask(mask);
}

}  // namespace Journal
