#include "FwdL3Unicast/Audit.h"
#include "support/ReentrantWorld.h"

#include <algorithm>
#include <sstream>

// What a world at rest should look like, and does not.

namespace Support {

namespace {

using Group = Tunnel::Decap::DecapGroup;

Fwd::DecapKey keyOf(Group const& group, Pkt::IpGenPrefix const& destination) {
   auto const source =
       destination.isIpv4() ? Pkt::IpGenPrefix(Pkt::IpAddr()) : Pkt::IpGenPrefix(Pkt::Ip6Addr());
   return Fwd::DecapKey(source, destination, group.tunnelType(), group.destPort(),
                        group.payloadType(), group.forwardingVrf());
}

/// Whether the group's keys wait for its port: it lists them then and holds none.
bool isStopped(Group const& group) {
   return group.tunnelType() == Tunnel::Decap::TunnelType::udp && group.destPort() == 0;
}

}  // namespace

std::string ReentrantWorld::difference() {
   // A machine that is not initialized follows little; what it missed it makes up for later.
   if (!sm->initialized()) return {};
   // Made anew each time: from the present alone, it has all that is called for.
   AdmissionModel model(config);
   model.ipStatusIs(ip);
   model.ip6StatusIs(ip6);
   model.runningIs();
   model.settle();

   std::string text;
   References references;
   for (auto const& entry : config->decapGroup()) {
      text += differenceOf(*entry.value, model.held(*entry.value), references);
   }
   return text + differenceOfCounts(references) + differenceOfHardware(references) +
          findingsOfAudit();
}

std::string ReentrantWorld::differenceOf(DecapGroup const& group, Origins const& calledFor,
                                         References& references) const {
   std::string const name = group.name().stdString();
   auto const reactor = sm->mdlDecapGroup(group.name());
   if (!reactor) return name + " has no reactor\n";

   std::ostringstream text;
   Origins found;
   bool const stopped = isStopped(group);
   for (auto const& entry : reactor->decapKeyFromIntf().walk()) {
      std::string const key = Sim::keyText(entry.key);
      if (!entry.value.listed) text << name << " does not list " << key << "\n";
      if (entry.value.held == stopped) {
         text << name << (stopped ? " should not hold " : " does not hold ") << key << "\n";
      }
      if (entry.value.origins.empty()) text << name << " has no origin for " << key << "\n";
      for (auto const& origin : entry.value.origins) {
         ModelOrigin const same{origin.intfId, origin.role, origin.address};
         found.push_back(same);
         if (keyOf(group, same.destination()) == entry.key) continue;
         text << name << " has " << modelOriginText(same) << " under " << key << "\n";
      }
      if (entry.value.held) ++references[entry.key];
   }
   std::ranges::sort(found);
   for (auto const& origin : found) {
      if (std::ranges::binary_search(calledFor, origin)) continue;
      text << name << " keeps " << modelOriginText(origin) << "\n";
   }
   for (auto const& origin : calledFor) {
      // Nobody was told of an address that its status had before the machine followed it. Whether
      // it is held depends on whether an entry that covers the interface was applied since, or the
      // group derived anew; either is right.
      if (untold_.contains(origin) || std::ranges::binary_search(found, origin)) continue;
      text << name << " lacks " << modelOriginText(origin) << "\n";
   }
   if (std::ranges::adjacent_find(found) != found.end()) text << name << " has an origin twice\n";

   // A prefix is one reference more, whether or not an interface calls for the same key.
   if (!stopped && group.tunnelType() != TunnelType::unknown) {
      for (auto const& entry : group.decapIp()) ++references[keyOf(group, entry.key)];
   }
   return text.str();
}

std::string ReentrantWorld::differenceOfCounts(References const& references) const {
   std::string text;
   for (auto const& [key, expected] : references) {
      std::uint32_t const* const found = sm->refCount().find(key);
      std::uint32_t const count = found == nullptr ? 0 : *found;
      if (count == expected) continue;
      text += "count of " + Sim::keyText(key) + " is " + std::to_string(count) + " instead of " +
              std::to_string(expected) + "\n";
   }
   for (auto const& entry : sm->refCount()) {
      if (!references.contains(entry.key)) text += "counted: " + Sim::keyText(entry.key) + "\n";
   }
   return text;
}

std::string ReentrantWorld::differenceOfHardware(References const& references) const {
   std::string text;
   for (auto const& [key, count] : references) {
      if (!hook_->table().contains(key)) text += "hardware lacks " + Sim::keyText(key) + "\n";
   }
   for (auto const& key : hook_->table()) {
      if (!references.contains(key)) text += "hardware keeps " + Sim::keyText(key) + "\n";
   }
   for (auto const& entry : sm->unprogrammedKey()) {
      text += "waits: " + Sim::keyText(entry.key) + "\n";
   }
   return text;
}

std::string ReentrantWorld::findingsOfAudit() const {
   std::vector<Fwd::DecapKey> const readback(hook_->table().begin(), hook_->table().end());
   std::ostringstream text;
   for (auto const& finding : Fwd::audit(*sm, &readback)) text << "audit: " << finding << "\n";
   return text.str();
}

}  // namespace Support
