#include "support/AdmissionRun.h"

#include <algorithm>
#include <iterator>

namespace Support {

using Kind = AdmissionEvent::Kind;
using Fwd::AddressRole;
using Tunnel::Decap::AddressType;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::TunnelType;

namespace {

template <class Keys>
auto const& nth(Keys const& keys, std::uint32_t number) {
   auto at = keys.begin();
   for (std::uint32_t left = number % static_cast<std::uint32_t>(keys.size()); left > 0; --left)
      ++at;
   return (*at).key;
}

ModelOrigin originOf(Pkt::IntfId const& intfId, Pkt::IpAddrWithMask const& addr) {
   return {intfId, AddressRole::secondary, Pkt::IpGenPrefix(addr.addr(), addr.length())};
}

ModelOrigin originOf(Pkt::IntfId const& intfId, Pkt::Ip6AddrWithMask const& addr) {
   return {intfId, AddressRole::ip6, Pkt::IpGenPrefix(addr.addr(), addr.length())};
}

std::string minus(AdmissionModel::Origins const& a, AdmissionModel::Origins const& b,
                  std::string const& what) {
   std::string text;
   for (ModelOrigin const& origin : a) {
      if (!std::ranges::binary_search(b, origin)) text += what + modelOriginText(origin) + "\n";
   }
   return text;
}

}  // namespace

AdmissionRun::AdmissionRun() : model_(config) {
   model_.ipStatusIs(ip);
   model_.ip6StatusIs(ip6);
   TunnelType const types[] = {TunnelType::gre, TunnelType::gre, TunnelType::udp, TunnelType::ipip};
   for (std::uint32_t i = 0; i < AdmissionEvent::groups; ++i) {
      // All in one VRF, so that no group stands in another's way; the last one waits for its port
      // whenever it is of a type that needs one.
      std::uint16_t const port = i + 1 == AdmissionEvent::groups ? 0 : 6080;
      givenGroup("g" + std::to_string(i), {types[i], port, PayloadType::ip, "default"});
   }
   hardware->journal().limitIs(10000);
}

void AdmissionRun::apply(AdmissionEvent const& event) {
   switch (event.kind) {
      case Kind::createMachine: givenMachine(); break;
      case Kind::initialize:
         sm->initializedIs(true);
         started();
         break;
      case Kind::ready:
         config->readyIs(true);
         started();
         break;
      case Kind::ipPut:
      case Kind::ipSame:
      case Kind::ipRemove:
      case Kind::ipPrimary:
      case Kind::ipVirtual:
      case Kind::ipSecondaryAdd:
      case Kind::ipSecondaryDel:
      case Kind::ipVrf: applyIp(event); break;
      case Kind::ip6Put:
      case Kind::ip6Remove:
      case Kind::ip6Add:
      case Kind::ip6Del:
      case Kind::ip6Vrf: applyIp6(event); break;
      case Kind::entrySet: setEntry(event); break;
      case Kind::entryDel: deleteEntry(event); break;
      case Kind::excludeSet:
      case Kind::excludeDel:
      case Kind::applyAgain:
      case Kind::excludeAgain:
      case Kind::tunnelType:
      case Kind::prefix: applyGroup(event); break;
      case Kind::groupToggle: toggleGroup(event); break;
      case Kind::ipStatusReplaced: replaceIp(event); break;
      case Kind::ip6StatusReplaced: replaceIp6(event); break;
   }
   model_.settle();
}

void AdmissionRun::started() {
   if (sm->initialized() && config->ready()) model_.runningIs();
}

void AdmissionRun::applyIp(AdmissionEvent const& event) {
   Mdl::Ptr<Ip::IpIntfStatus>& intfStatus = ipOf(event);
   Pkt::IntfId const intfId = event.intfId();
   if (event.kind == Kind::ipPut) {
      intfStatus = event.ipStatus();
      ip->ipIntfStatusIs(intfStatus);
      model_.appeared(intfId, ipv4);
      return;
   }
   if (!intfStatus) return;
   if (event.kind == Kind::ipSame) {
      ip->ipIntfStatusIs(intfStatus);
      if (sm) sm->ipIntfStatusIs(intfStatus);
   } else if (event.kind == Kind::ipRemove) {
      ip->ipIntfStatusDel(intfId);
      intfStatus = nullptr;
      model_.removed(intfId, ipv4);
   } else if (event.kind == Kind::ipPrimary) {
      intfStatus->addrWithMaskIs(event.ipAddr());
   } else if (event.kind == Kind::ipVirtual) {
      intfStatus->virtualAddrIs((event.word & 1) != 0);
   } else if (event.kind == Kind::ipSecondaryAdd) {
      bool const isNew = !intfStatus->activeSecondaryWithMaskHas(event.ipAddr());
      intfStatus->activeSecondaryWithMaskIs(event.ipAddr());
      if (isNew) model_.told(originOf(intfId, event.ipAddr()));
   } else if (event.kind == Kind::ipSecondaryDel &&
              !intfStatus->activeSecondaryWithMask().empty()) {
      Pkt::IpAddrWithMask const addr = nth(intfStatus->activeSecondaryWithMask(), event.word);
      intfStatus->activeSecondaryWithMaskDel(addr);
      model_.told(originOf(intfId, addr));
   } else if (event.kind == Kind::ipVrf && intfStatus->vrf() != event.vrf()) {
      intfStatus->vrfIs(event.vrf());
      model_.vrfChangedSilently(intfId, ipv4);
   }
}

void AdmissionRun::applyIp6(AdmissionEvent const& event) {
   Mdl::Ptr<Ip6::IntfStatus>& intfStatus = ip6Of(event);
   Pkt::IntfId const intfId = event.intfId();
   if (event.kind == Kind::ip6Put) {
      intfStatus = event.ip6Status();
      ip6->intfIs(intfStatus);
      model_.appeared(intfId, ipv6);
      return;
   }
   if (!intfStatus) return;
   if (event.kind == Kind::ip6Remove) {
      ip6->intfDel(intfId);
      intfStatus = nullptr;
      model_.removed(intfId, ipv6);
   } else if (event.kind == Kind::ip6Add) {
      bool const isNew = !intfStatus->addrHas(event.ip6Addr());
      intfStatus->addrIs(event.ip6Addr(), {});
      if (isNew) model_.told(originOf(intfId, event.ip6Addr()));
   } else if (event.kind == Kind::ip6Del && !intfStatus->addr().empty()) {
      Pkt::Ip6AddrWithMask const addr = nth(intfStatus->addr(), event.word);
      intfStatus->addrDel(addr);
      model_.told(originOf(intfId, addr));
   } else if (event.kind == Kind::ip6Vrf && intfStatus->vrf() != event.vrf()) {
      intfStatus->vrfIs(event.vrf());
      model_.vrfChangedSilently(intfId, ipv6);
   }
}

void AdmissionRun::setEntry(AdmissionEvent const& event) {
   DecapGroup& group = groupNamed(event.groupName());
   DecapIntfKey const key = event.entryKey();
   DecapIntf const entry(key, event.addressType());
   DecapIntf const* const found = group.decapIntf().find(key);
   bool const isChange = found == nullptr || *found != entry;
   group.decapIntfIs(entry);
   if (isChange) model_.applied(group, key);
}

void AdmissionRun::deleteEntry(AdmissionEvent const& event) {
   DecapGroup& group = groupNamed(event.groupName());
   DecapIntfKey const key = event.entryKey();
   if (!group.decapIntfHas(key)) return;
   group.decapIntfDel(key);
   // The interface is handed to the entry for all of them, with the addresses of now.
   if (!event.all) model_.appliedTo(group, key.intfId(), key.family());
}

void AdmissionRun::applyGroup(AdmissionEvent const& event) {
   DecapGroup& group = groupNamed(event.groupName());
   DecapIntfKey const key = event.entryKey();
   DecapIntfKey const all(Pkt::emptyIntfId, event.family);
   bool const runs = model_.running() && isConfigured(group);
   if (event.kind == Kind::excludeSet) {
      group.decapExcludeIntfSetIs(event.excludeSet());
   } else if (event.kind == Kind::excludeDel) {
      group.decapExcludeIntfSetDel(all);
   } else if (event.kind == Kind::applyAgain && runs && group.decapIntfHas(key)) {
      reactor(event.groupName())->handleUpdateIntf(key);
      // An unchanged IPv4 entry is no work.
      if (key.family() == ipv6) model_.applied(group, key);
   } else if (event.kind == Kind::excludeAgain && runs) {
      reactor(event.groupName())->handleUpdateExcludeIntf(all);
   } else if (event.kind == Kind::tunnelType) {
      if (group.tunnelType() != event.newTunnelType()) model_.rebuilt(group);
      group.tunnelTypeIs(event.newTunnelType());
   } else if (event.kind == Kind::prefix) {
      Pkt::IpGenPrefix const destination(event.ipAddr().addr());
      if (group.decapIpHas(destination))
         group.decapIpDel(destination);
      else
         group.decapIpIs(destination);
   }
}

void AdmissionRun::toggleGroup(AdmissionEvent const& event) {
   DecapGroup& group = groupNamed(event.groupName());
   if (isConfigured(group)) {
      model_.rebuilt(group);
      config->decapGroupDel(group.name());
      return;
   }
   auto const same = std::ranges::find(groups, &group, &Mdl::Ptr<DecapGroup>::get);
   config->decapGroupIs(*same);
}

void AdmissionRun::replaceIp(AdmissionEvent const& event) {
   auto const next = Mdl::allocate<Ip::Status>();
   std::vector<std::uint8_t> replaced;
   std::vector<std::uint8_t> lost;
   for (std::uint8_t i = 0; i < AdmissionEvent::interfaces; ++i) {
      AdmissionEvent put = event;
      put.intf = i;
      put.word = event.word * (2 * i + 3);
      std::uint32_t const fate = event.word >> (2 * i) & 3;
      if (fate == 0) {
         if (ipIntf_[i]) lost.push_back(i);
         ipIntf_[i] = nullptr;
      } else if (fate == 1) {
         ipIntf_[i] = put.ipStatus();
         replaced.push_back(i);
      }
      if (ipIntf_[i]) next->ipIntfStatusIs(ipIntf_[i]);
   }
   ip = next;
   if (sm) sm->mdlIpStatus()->notifierIs(next);
   model_.ipStatusIs(ip);
   for (std::uint8_t const i : replaced) model_.appeared(AdmissionEvent::intfIdAt(i), ipv4);
   for (std::uint8_t const i : lost) model_.removed(AdmissionEvent::intfIdAt(i), ipv4);
}

void AdmissionRun::replaceIp6(AdmissionEvent const& event) {
   auto const next = Mdl::allocate<Ip6::Status>();
   std::vector<std::uint8_t> replaced;
   std::vector<std::uint8_t> lost;
   for (std::uint8_t i = 0; i < AdmissionEvent::interfaces; ++i) {
      AdmissionEvent put = event;
      put.intf = i;
      put.word = event.word * (2 * i + 3);
      std::uint32_t const fate = event.word >> (2 * i) & 3;
      if (fate == 0) {
         if (ip6Intf_[i]) lost.push_back(i);
         ip6Intf_[i] = nullptr;
      } else if (fate == 1) {
         ip6Intf_[i] = put.ip6Status();
         replaced.push_back(i);
      }
      if (ip6Intf_[i]) next->intfIs(ip6Intf_[i]);
   }
   ip6 = next;
   if (sm) sm->mdlIp6Status()->notifierIs(next);
   model_.ip6StatusIs(ip6);
   for (std::uint8_t const i : replaced) model_.appeared(AdmissionEvent::intfIdAt(i), ipv6);
   for (std::uint8_t const i : lost) model_.removed(AdmissionEvent::intfIdAt(i), ipv6);
}

bool AdmissionRun::isConfigured(DecapGroup const& group) const {
   return config->decapGroupHas(group.name());
}

bool AdmissionRun::isStopped(DecapGroup const& group) const {
   return group.tunnelType() == TunnelType::udp && group.destPort() == 0;
}

Fwd::DecapKey AdmissionRun::keyOf(DecapGroup const& group, Pkt::IpGenPrefix const& destination) {
   auto const source =
       destination.isIpv4() ? Pkt::IpGenPrefix(Pkt::IpAddr()) : Pkt::IpGenPrefix(Pkt::Ip6Addr());
   return Fwd::DecapKey(source, destination, group.tunnelType(), group.destPort(),
                        group.payloadType(), group.forwardingVrf());
}

std::string AdmissionRun::difference() {
   if (!sm) return {};
   std::string text;
   std::vector<Fwd::DecapKey> references;
   for (auto const& group : groups) {
      if (isConfigured(*group)) text += differenceOf(*group, references);
   }
   text += differenceOfCounts(references);
   text += differenceOfCalls();
   return text;
}

std::string AdmissionRun::differenceOf(DecapGroup const& group,
                                       std::vector<Fwd::DecapKey>& references) {
   std::string text;
   AdmissionModel::Origins found;
   bool const stopped = isStopped(group);
   for (auto const& entry : sm->mdlDecapGroup(group.name())->decapKeyFromIntf().walk()) {
      if (entry.value.held == stopped || !entry.value.listed) {
         text += "wrongly held or listed: " + Sim::keyText(entry.key) + "\n";
      }
      for (auto const& origin : entry.value.origins) {
         ModelOrigin const same{origin.intfId, origin.role, origin.address};
         if (keyOf(group, same.destination()) != entry.key) {
            text += "origin of another key: " + modelOriginText(same) + "\n";
         }
         if (!model_.isAdrift(same.intfId, same.family())) found.push_back(same);
      }
      if (entry.value.origins.empty()) text += "no origin: " + Sim::keyText(entry.key) + "\n";
      if (!stopped) references.push_back(entry.key);
   }
   std::ranges::sort(found);
   AdmissionModel::Origins const& expected = model_.held(group);
   if (found != expected) {
      std::string const name = group.name().stdString();
      text += minus(expected, found, name + " lacks ") + minus(found, expected, name + " keeps ");
      if (text.empty()) text += name + " holds an origin twice\n";
   }
   if (model_.running() && !stopped && group.tunnelType() != TunnelType::unknown) {
      for (auto const& entry : group.decapIp()) references.push_back(keyOf(group, entry.key));
   }
   return text;
}

std::string AdmissionRun::differenceOfCounts(std::vector<Fwd::DecapKey>& references) const {
   std::string text;
   std::ranges::sort(references);
   std::size_t keys = 0;
   for (std::size_t i = 0; i < references.size();) {
      Fwd::DecapKey const& key = references[i];
      std::size_t const first = i;
      while (i < references.size() && references[i] == key) ++i;
      ++keys;
      std::uint32_t const* const count = sm->refCount().find(key);
      if (count == nullptr || *count != i - first) {
         text += "count of " + Sim::keyText(key) + " is " +
                 std::to_string(count == nullptr ? 0 : *count) + " instead of " +
                 std::to_string(i - first) + "\n";
      }
      if (!hardware->table().contains(key)) {
         text += "hardware lacks " + Sim::keyText(key) + "\n";
      }
   }
   if (sm->refCount().size() != keys) text += "too many keys are counted\n";
   if (hardware->table().size() != keys) text += "too many keys are in hardware\n";
   if (!sm->unprogrammedKey().empty()) text += "keys wait\n";
   return text;
}

std::string AdmissionRun::differenceOfCalls() {
   std::string text;
   for (Sim::Call const& call : hardware->journal().calls()) {
      bool const programmed = call.operation == Sim::Operation::program &&
                              call.outcome == Sim::Outcome::answered &&
                              call.answer == Fwd::dgRcSuccess;
      bool const removed = call.outcome == Sim::Outcome::removed;
      bool const told = call.operation == Sim::Operation::configReady;
      if (!programmed && !removed && !told) text += "odd call: " + Sim::callText(call) + "\n";
   }
   hardware->journal().clear();
   return text;
}

}  // namespace Support
