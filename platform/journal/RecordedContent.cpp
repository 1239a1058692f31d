// What entities hold, as lines: whole when an entity appears, one attribute at a time from then on.

#include "platform/journal/Recorder.h"

namespace Journal {

using Tunnel::Decap::Config;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapGroup;
using Tunnel::Decap::DecapIntf;
using Tunnel::Decap::DecapIntfKey;

/// The entity's number. A new one is written down by `written(number)`, and followed.
template <class E, class Written>
std::uint32_t Recorder::numberOf(Kind& kind, Mdl::Ptr<E const> const& entity,
                                 Written const& written) {
   auto const known = kind.find(entity.get());
   if (known != kind.end()) return known->second.number;
   auto const number = static_cast<std::uint32_t>(kind.size() + 1);
   Followed& followed = kind[entity.get()];
   followed.number = number;
   written(number);
   followed.watcher = Mdl::allocate<Watcher>(
       entity, [this, number, raw = entity.get()](Mdl::AttributeId attribute, void const* key) {
          if constexpr (requires { write(*raw, number, attribute, key); }) {
             write(*raw, number, attribute, key);
          } else {
             write(*raw, number, key);
          }
       });
   return number;
}

Recorder::Items Recorder::configNumber(Mdl::Ptr<Config const> const& config) {
   if (!config) return 0;
   return numberOf(configs_, config, [&](std::uint32_t number) {
      input({"config", number, "make"});
      for (auto const& entry : config->decapGroup()) {
         write(*config, number, Config::decapGroupAttributeId, &entry.key);
      }
      if (config->ready()) write(*config, number, Config::readyAttributeId, nullptr);
   });
}

void Recorder::write(Config const& config, std::uint32_t number, Mdl::AttributeId attribute,
                     void const* key) {
   if (attribute == Config::readyAttributeId)
      return input({"config", number, "ready", config.ready()});
   if (attribute != Config::decapGroupAttributeId) return;
   auto const& name = *static_cast<Mdl::String const*>(key);
   auto const group = config.decapGroup(name);
   Items const which = group ? groupNumber(group) : Items();
   input({"config", number, "decapGroup", nameJson(name.view()), which});
}

Recorder::Items Recorder::groupNumber(Mdl::Ptr<DecapGroup const> const& group) {
   return numberOf(groups_, group, [&](std::uint32_t number) {
      input({"group", number, "make", nameJson(group->name().view())});
      for (auto const scalar :
           {DecapGroup::tunnelTypeAttributeId, DecapGroup::destPortAttributeId,
            DecapGroup::payloadTypeAttributeId, DecapGroup::forwardingVrfAttributeId}) {
         write(*group, number, scalar, nullptr);
      }
      for (auto const& entry : group->decapIntf()) {
         write(*group, number, DecapGroup::decapIntfAttributeId, &entry.key);
      }
      for (auto const& entry : group->decapExcludeIntfSet()) {
         write(*group, number, DecapGroup::decapExcludeIntfSetAttributeId, &entry.key);
      }
      for (auto const& entry : group->decapIp()) {
         write(*group, number, DecapGroup::decapIpAttributeId, &entry.key);
      }
   });
}

void Recorder::write(DecapGroup const& group, std::uint32_t number, Mdl::AttributeId attribute,
                     void const* key) {
   auto const scalar = [&](char const* name, Items const& value) {
      input({"group", number, name, value});
   };
   auto const entry = [&](char const* name, Items const& value) {
      auto const& of = *static_cast<DecapIntfKey const*>(key);
      input({"group", number, name, nameJson(of.intfId().name().view()), of.family(), value});
   };
   switch (attribute) {
      case DecapGroup::tunnelTypeAttributeId:
         return scalar("tunnelType", enumJson(group.tunnelType()));
      case DecapGroup::destPortAttributeId: return scalar("destPort", group.destPort());
      case DecapGroup::payloadTypeAttributeId:
         return scalar("payloadType", enumJson(group.payloadType()));
      case DecapGroup::forwardingVrfAttributeId:
         return scalar("forwardingVrf", nameJson(group.forwardingVrf().name().view()));
      case DecapGroup::decapIpAttributeId: {
         auto const& prefix = *static_cast<Pkt::IpGenPrefix const*>(key);
         return input(
             {"group", number, "decapIp", prefix.stringValue().view(), group.decapIpHas(prefix)});
      }
      case DecapGroup::decapIntfAttributeId: {
         auto const* const intf = group.decapIntf().find(*static_cast<DecapIntfKey const*>(key));
         return entry("decapIntf", intf == nullptr ? Items() : enumJson(intf->addressType()));
      }
      case DecapGroup::decapExcludeIntfSetAttributeId: {
         auto const* const set =
             group.decapExcludeIntfSet().find(*static_cast<DecapIntfKey const*>(key));
         Items names;
         if (set != nullptr) {
            names = Items::array();
            for (auto const& intf : set->excludeIntf())
               names.push_back(nameJson(intf.name().view()));
         }
         return entry("decapExcludeIntfSet", names);
      }
      default: return;
   }
}

Recorder::Items Recorder::ipNumber(Mdl::Ptr<Ip::Status const> const& status) {
   if (!status) return 0;
   return numberOf(ips_, status, [&](std::uint32_t number) {
      input({"ip", number, "make"});
      for (auto const& entry : status->ipIntfStatus()) write(*status, number, &entry.key);
   });
}

void Recorder::write(Ip::Status const& status, std::uint32_t number, void const* key) {
   auto const& intfId = *static_cast<Pkt::IntfId const*>(key);
   auto const intf = status.ipIntfStatus(intfId);
   Items const which = intf ? ipIntfNumber(intf) : Items();
   input({"ip", number, "ipIntfStatus", nameJson(intfId.name().view()), which});
}

Recorder::Items Recorder::ipIntfNumber(Mdl::Ptr<Ip::IpIntfStatus const> const& status) {
   using Ip::IpIntfStatus;
   return numberOf(ipIntfs_, status, [&](std::uint32_t number) {
      input({"ipIntf", number, "make", nameJson(status->intfId().name().view()),
             nameJson(status->vrf().name().view())});
      write(*status, number, IpIntfStatus::addrWithMaskAttributeId, nullptr);
      write(*status, number, IpIntfStatus::virtualAddrAttributeId, nullptr);
      for (auto const& entry : status->activeSecondaryWithMask()) {
         write(*status, number, IpIntfStatus::activeSecondaryWithMaskAttributeId, &entry.key);
      }
   });
}

void Recorder::write(Ip::IpIntfStatus const& status, std::uint32_t number,
                     Mdl::AttributeId attribute, void const* key) {
   using Ip::IpIntfStatus;
   if (attribute == IpIntfStatus::addrWithMaskAttributeId) {
      input({"ipIntf", number, "addrWithMask", status.addrWithMask().stringValue().view()});
   } else if (attribute == IpIntfStatus::virtualAddrAttributeId) {
      input({"ipIntf", number, "virtualAddr", status.virtualAddr()});
   } else if (attribute == IpIntfStatus::activeSecondaryWithMaskAttributeId) {
      auto const& addr = *static_cast<Pkt::IpAddrWithMask const*>(key);
      input({"ipIntf", number, "activeSecondaryWithMask", addr.stringValue().view(),
             status.activeSecondaryWithMaskHas(addr)});
   }
}

Recorder::Items Recorder::ip6Number(Mdl::Ptr<Ip6::Status const> const& status) {
   if (!status) return 0;
   return numberOf(ip6s_, status, [&](std::uint32_t number) {
      input({"ip6", number, "make"});
      for (auto const& entry : status->intf()) write(*status, number, &entry.key);
   });
}

void Recorder::write(Ip6::Status const& status, std::uint32_t number, void const* key) {
   auto const& intfId = *static_cast<Pkt::IntfId const*>(key);
   auto const intf = status.intf(intfId);
   Items const which = intf ? ip6IntfNumber(intf) : Items();
   input({"ip6", number, "intf", nameJson(intfId.name().view()), which});
}

Recorder::Items Recorder::ip6IntfNumber(Mdl::Ptr<Ip6::IntfStatus const> const& status) {
   return numberOf(ip6Intfs_, status, [&](std::uint32_t number) {
      input({"ip6Intf", number, "make", nameJson(status->intfId().name().view()),
             nameJson(status->vrf().name().view())});
      for (auto const& entry : status->addr()) write(*status, number, &entry.key);
   });
}

void Recorder::write(Ip6::IntfStatus const& status, std::uint32_t number, void const* key) {
   auto const& addr = *static_cast<Pkt::Ip6AddrWithMask const*>(key);
   input({"ip6Intf", number, "addr", addr.stringValue().view(), status.addrHas(addr)});
}

}  // namespace Journal
