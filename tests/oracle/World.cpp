#include "oracle/World.h"

#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlDgConfig.h"
#include "FwdL3Unicast/MdlIp6IntfStatus.h"
#include "FwdL3Unicast/MdlIp6Status.h"
#include "FwdL3Unicast/MdlIpIntfStatus.h"
#include "FwdL3Unicast/MdlIpStatus.h"
#include "FwdL3Unicast/Messages.h"

#include <utility>

namespace Oracle {

namespace {

using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;

constexpr bool has(std::uint32_t set, std::uint8_t index) { return (set >> index & 1) != 0; }

DecapIntfKey entryKey(std::uint8_t index, std::uint32_t family) {
   return {index == intfCount ? Pkt::emptyIntfId : intfIdOf(index), family};
}

DecapIntf entryOf(std::uint8_t index, std::uint32_t family, std::uint8_t addressType) {
   return DecapIntf(entryKey(index, family), static_cast<AddressType>(addressType));
}

DecapExcludeIntfSet excludeSet(std::uint32_t family, std::uint8_t interfaces) {
   DecapExcludeIntfSet set(entryKey(intfCount, family));
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      if (has(interfaces, intf)) set.excludeIntfIs(intfIdOf(intf));
   }
   return set;
}

Mdl::Ptr<Ip::IpIntfStatus> newIp(std::uint8_t intf, IpIntf const& content) {
   auto made = Mdl::allocate<Ip::IpIntfStatus>(intfIdOf(intf), vrfOf(content.vrf));
   made->addrWithMaskIs(ipAddrOf(content.primary));
   made->virtualAddrIs(content.isVirtual);
   for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
      if (has(content.secondaries, addr)) made->activeSecondaryWithMaskIs(ipAddrOf(addr));
   }
   return made;
}

Mdl::Ptr<Ip6::IntfStatus> newIp6(std::uint8_t intf, Ip6Intf const& content) {
   auto made = Mdl::allocate<Ip6::IntfStatus>(intfIdOf(intf), vrfOf(content.vrf));
   for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
      if (has(content.addrs, addr)) made->addrIs(ip6AddrOf(addr), {});
   }
   return made;
}

std::size_t capacityOf(Event const& event) {
   return event.entries() == 0 ? Sim::HardwareTable::unlimited : event.entries();
}

}  // namespace

World::World(Observer observer, Journal::Recorder* recorder)
    : recorder_(recorder), config_(Mdl::allocate<Config>()),
      status_(Mdl::allocate<Tunnel::Decap::Hardware::Status>()), ip_(Mdl::allocate<Ip::Status>()),
      ip6_(Mdl::allocate<Ip6::Status>()), verifyData_(Mdl::allocate<Fwd::VerifyData>()),
      acsd_(Mdl::allocate<Fwd::FwdCommonSmData>(verifyData_)),
      hardware_(Mdl::allocate<Sim::SimHelper>()) {
   for (std::uint8_t group = 0; group < groupCount; ++group) groups_[group] = newGroup(group, {});
   hardware_->journal().limitIs(0);
   hardware_->observerIs([this, observer = std::move(observer)](Sim::Call const& call) {
      observer(call, time_.now());
   });
   Mdl::Log::sinkIs([this](Mdl::LogHandle const& handle) {
      record([&](auto& to) { to.noteLog(handle); });
      if (&handle == &Fwd::TUNNEL_HW_RESOURCE_FULL) ++fullLogs_;
      if (&handle == &Fwd::TUNNEL_HW_RESOURCE_NORMAL) ++normalLogs_;
   });
}

World::~World() {
   hardware_->observerIs({});
   if (sm_) record([](auto& to) { to.noteDrop(); });
   sm_ = nullptr;
   Mdl::Log::sinkIs({});
}

Mdl::Ptr<Tunnel::Decap::DecapGroup> World::newGroup(std::uint8_t group, Group const& content) {
   auto made = Mdl::allocate<DecapGroup>(Mdl::String(groupName(group)));
   made->tunnelTypeIs(typeOf(content.type));
   made->destPortIs(portOf(content.values.port));
   made->payloadTypeIs(payloadOf(content.values.payload));
   made->forwardingVrfIs(vrfOf(content.values.vrf));
   for (std::uint8_t prefix = 0; prefix < prefixCount; ++prefix) {
      if (has(content.prefixes, prefix)) made->decapIpIs(prefixOf(prefix));
   }
   for (std::uint8_t family = 1; family <= 2; ++family) {
      for (std::uint8_t index = 0; index <= intfCount; ++index) {
         std::int8_t const type = content.entry(family, index);
         if (type == Group::noEntry) continue;
         made->decapIntfIs(entryOf(index, family, static_cast<std::uint8_t>(type)));
      }
      auto const& excluded = content.excludes[family - 1u];
      if (excluded) made->decapExcludeIntfSetIs(excludeSet(family, *excluded));
   }
   return made;
}

void World::apply(Event const& event, Scene const& scene) {
   if (event.kind < Kind::capacity) {
      applyToMachine(event);
   } else if (event.kind < Kind::groupPut) {
      applyToHardware(event);
   } else if (event.kind < Kind::configReplace) {
      applyToGroup(event, scene);
   } else if (event.kind < Kind::ipPut) {
      applyToConfig(event, scene);
   } else if (event.kind < Kind::ip6Put) {
      applyToIp(event, scene);
   } else {
      applyToIp6(event, scene);
   }
}

void World::applyToMachine(Event const& event) {
   if (event.kind == Kind::build) {
      build();
   } else if (event.kind == Kind::configReady) {
      config_->readyIs(true);
   } else if (event.kind == Kind::initialize) {
      record([](auto& to) { to.noteInitialized(true); });
      sm_->initializedIs(true);
   } else if (event.kind == Kind::uninitialize) {
      record([](auto& to) { to.noteInitialized(false); });
      sm_->initializedIs(false);
   } else if (event.kind == Kind::stopKeepingHardware || event.kind == Kind::stop) {
      bool const keep = event.kind == Kind::stopKeepingHardware;
      record([&](auto& to) { to.noteCleanupDisabled(keep), to.noteDrop(); });
      sm_->disableCleanupOnRestartIs(keep);
      sm_ = nullptr;
   } else if (event.kind == Kind::reviewInterval) {
      record([&](auto& to) { to.noteReviewInterval(event.seconds()); });
      sm_->reviewIntervalIs(event.seconds());
   } else if (event.kind == Kind::reviewBudget) {
      record([&](auto& to) { to.noteReviewQuanta(event.seconds()); });
      sm_->reviewQuantaIs(event.seconds());
   } else if (event.kind == Kind::verify) {
      // Each change of the request is a request.
      verifyData_->requestVerifyIs(true);
      verifyData_->requestVerifyIs(false);
   } else {
      time_.advanceTo(time_.now() + event.seconds());
   }
}

/// As after a start of the process: hardware has what the machine before it left there.
void World::build() {
   status_ = Mdl::allocate<Tunnel::Decap::Hardware::Status>();
   hardware_->holdOver();
   Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> hook = hardware_;
   record([&](auto& to) {
      to.noteBuild({config_, status_, ip_, ip6_, verifyData_, time_.clock()});
      hook = to.hook(hardware_);
   });
   sm_ = Fwd::fwdDecapGroupSmFactory(acsd_, config_, status_, ip_, ip6_, time_.clock(), hook);
}

void World::applyToHardware(Event const& event) {
   if (event.kind == Kind::capacity) {
      hardware_->table().capacityIs(capacityOf(event));
   } else if (event.kind == Kind::typeCapacity) {
      hardware_->table().capacityIs(typeOf(event.family), capacityOf(event));
   } else if (event.kind == Kind::latency) {
      hardware_->latencyIs(event.seconds());
   } else if (event.kind == Kind::callCost) {
      hardware_->callCostIs(event.seconds(), &time_);
   } else if (event.kind == Kind::notReady) {
      hardware_->notReadyUntilIs(time_.now() + event.seconds());
   } else if (event.kind == Kind::udpWait) {
      hardware_->waitForUdpIs(event.flag());
   } else if (event.kind == Kind::answersForgotten) {
      hardware_->script().clear();
   } else {
      answer(event);
   }
}

void World::answer(Event const& event) {
   auto const given = Sim::Answer::of(static_cast<Fwd::dgRetCode>(event.answer()));
   if (event.kind == Kind::answerNext) {
      hardware_->script().next(given, event.times() + 1);
   } else {
      hardware_->script().forPrefix(prefixOf(event.group), given, event.times());
   }
}

void World::applyToGroup(Event const& event, Scene const& scene) {
   Mdl::Ptr<DecapGroup>& group = groups_[event.group];
   if (event.kind == Kind::groupPut) {
      config_->decapGroupIs(group);
   } else if (event.kind == Kind::groupRemove) {
      config_->decapGroupDel(group->name());
   } else if (event.kind == Kind::groupReplace) {
      group = newGroup(event.group, scene.group(event.group));
      if (scene.isConfigured(event.group)) config_->decapGroupIs(group);
   } else if (event.kind == Kind::tunnelType) {
      group->tunnelTypeIs(typeOf(event.type()));
   } else if (event.kind == Kind::port) {
      group->destPortIs(portOf(event.value()));
   } else if (event.kind == Kind::payload) {
      group->payloadTypeIs(payloadOf(event.value()));
   } else if (event.kind == Kind::vrf) {
      group->forwardingVrfIs(vrfOf(event.value()));
   } else if (event.kind == Kind::prefixAdd) {
      group->decapIpIs(prefixOf(event.prefix()));
   } else if (event.kind == Kind::prefixRemove) {
      group->decapIpDel(prefixOf(event.prefix()));
   } else {
      applyToEntries(event);
   }
}

void World::applyToEntries(Event const& event) {
   Mdl::Ptr<DecapGroup> const& group = groups_[event.group];
   DecapIntfKey const key = entryKey(event.entryIndex(), event.family);
   DecapIntfKey const all = entryKey(intfCount, event.family);
   if (event.kind == Kind::entrySet) {
      group->decapIntfIs(entryOf(event.entryIndex(), event.family, event.addressType()));
   } else if (event.kind == Kind::entryRemove) {
      group->decapIntfDel(key);
   } else if (event.kind == Kind::entryAgain) {
      record([&](auto& to) { to.noteEntry(group->name(), key); });
      sm_->mdlDecapGroup(group->name())->handleUpdateIntf(key);
   } else if (event.kind == Kind::excludeSet) {
      group->decapExcludeIntfSetIs(excludeSet(event.family, event.interfaces()));
   } else if (event.kind == Kind::excludeRemove) {
      group->decapExcludeIntfSetDel(all);
   } else {
      record([&](auto& to) { to.noteExcludeSet(group->name(), all); });
      sm_->mdlDecapGroup(group->name())->handleUpdateExcludeIntf(all);
   }
}

void World::applyToConfig(Event const& event, Scene const& scene) {
   if (event.kind == Kind::configAway) return pointAtConfig(nullptr);
   if (event.kind == Kind::configBack) return pointAtConfig(config_);
   auto const next = Mdl::allocate<Config>();
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      if (event.fate(group) == Event::Fate::replaced) {
         groups_[group] = newGroup(group, scene.group(group));
      }
      if (scene.isConfigured(group)) next->decapGroupIs(groups_[group]);
   }
   next->readyIs(true);
   config_ = next;
   if (sm_) pointAtConfig(next);
}

void World::pointAtConfig(Mdl::Ptr<Config> const& config) {
   record([&](auto& to) { to.noteConfig(config); });
   sm_->mdlDgConfig()->notifierIs(config);
}

void World::applyToIp(Event const& event, Scene const& scene) {
   if (event.kind == Kind::ipReplace) return replaceIp(event, scene);
   Mdl::Ptr<Ip::IpIntfStatus>& intf = ipIntf_[event.intf];
   if (event.kind == Kind::ipPut) {
      intf = newIp(event.intf, *scene.ip(event.intf));
      ip_->ipIntfStatusIs(intf);
   } else if (event.kind == Kind::ipAgain) {
      ip_->ipIntfStatusIs(intf);
      if (!sm_) return;
      record([&](auto& to) { to.noteIntfStatus(intf); });
      sm_->ipIntfStatusIs(intf);
   } else if (event.kind == Kind::ipRemove) {
      ip_->ipIntfStatusDel(intf->intfId());
      intf = nullptr;
   } else if (event.kind == Kind::ipPrimary) {
      intf->addrWithMaskIs(ipAddrOf(event.addr()));
   } else if (event.kind == Kind::ipVirtual) {
      intf->virtualAddrIs(event.flag());
   } else if (event.kind == Kind::ipVrf) {
      record([&](auto& to) { to.noteVrf(intf, vrfOf(event.intfVrf())); });
      intf->vrfIs(vrfOf(event.intfVrf()));
   } else if (event.kind == Kind::ipSecondaryAdd) {
      intf->activeSecondaryWithMaskIs(ipAddrOf(event.addr()));
   } else {
      intf->activeSecondaryWithMaskDel(ipAddrOf(event.addr()));
   }
}

void World::applyToIp6(Event const& event, Scene const& scene) {
   if (event.kind == Kind::ipReplace) return replaceIp(event, scene);
   if (event.kind == Kind::ip6Replace) return replaceIp6(event, scene);
   Mdl::Ptr<Ip6::IntfStatus>& intf = ip6Intf_[event.intf];
   if (event.kind == Kind::ip6Put) {
      intf = newIp6(event.intf, *scene.ip6(event.intf));
      ip6_->intfIs(intf);
   } else if (event.kind == Kind::ip6Remove) {
      ip6_->intfDel(intf->intfId());
      intf = nullptr;
   } else if (event.kind == Kind::ip6Vrf) {
      record([&](auto& to) { to.noteVrf(intf, vrfOf(event.intfVrf())); });
      intf->vrfIs(vrfOf(event.intfVrf()));
   } else if (event.kind == Kind::ip6AddrAdd) {
      intf->addrIs(ip6AddrOf(event.addr()), {});
   } else {
      intf->addrDel(ip6AddrOf(event.addr()));
   }
}

void World::replaceIp(Event const& event, Scene const& scene) {
   auto const next = Mdl::allocate<Ip::Status>();
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      if (event.fate(intf) == Event::Fate::lost) ipIntf_[intf] = nullptr;
      if (event.fate(intf) == Event::Fate::replaced) ipIntf_[intf] = newIp(intf, *scene.ip(intf));
      if (ipIntf_[intf]) next->ipIntfStatusIs(ipIntf_[intf]);
   }
   ip_ = next;
   if (!sm_) return;
   record([&](auto& to) { to.noteIp(next); });
   sm_->mdlIpStatus()->notifierIs(next);
}

void World::replaceIp6(Event const& event, Scene const& scene) {
   auto const next = Mdl::allocate<Ip6::Status>();
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      if (event.fate(intf) == Event::Fate::lost) ip6Intf_[intf] = nullptr;
      if (event.fate(intf) == Event::Fate::replaced) {
         ip6Intf_[intf] = newIp6(intf, *scene.ip6(intf));
      }
      if (ip6Intf_[intf]) next->intfIs(ip6Intf_[intf]);
   }
   ip6_ = next;
   if (!sm_) return;
   record([&](auto& to) { to.noteIp6(next); });
   sm_->mdlIp6Status()->notifierIs(next);
}

}  // namespace Oracle
