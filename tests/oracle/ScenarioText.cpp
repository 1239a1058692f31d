#include "oracle/ScenarioText.h"

#include "FwdL3Unicast/dgRetCode.h"
#include "platform/sim/KeyText.h"

#include <limits>
#include <sstream>

namespace Oracle {

namespace {

constexpr bool has(std::uint32_t set, std::uint8_t index) { return (set >> index & 1) != 0; }

std::string number(double value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

std::string typeWord(std::uint8_t type) {
   return type == 0 ? "none" : Mdl::enumName(typeOf(type)).stdString();
}
std::string payloadWord(std::uint8_t payload) {
   return payload == 0 ? "none" : Mdl::enumName(payloadOf(payload)).stdString();
}
std::string prefixWord(std::uint8_t prefix) { return prefixOf(prefix).stringValue().stdString(); }
/// The agent takes no prefix that covers every address.
bool isSaid(std::uint8_t prefix) { return prefixOf(prefix).length() != 0; }
std::string intfWord(std::uint8_t index) {
   return index == intfCount ? "all" : intfIdOf(index).name().stdString();
}
std::string familyWord(std::uint8_t family) {
   if (family == 1) return "ipv4";
   return family == 2 ? "ipv6" : "family " + std::to_string(family);
}
std::string ipWord(std::uint8_t addr) { return ipAddrOf(addr).stringValue().stdString(); }
std::string ip6Word(std::uint8_t addr) { return ip6AddrOf(addr).stringValue().stdString(); }
std::string primaryWord(std::uint8_t addr) { return hostOf(addr) == 0 ? "none" : ipWord(addr); }

std::string entryWords(std::uint8_t index, std::uint8_t family, std::int8_t addressType) {
   return " interface " + intfWord(index) + " " + familyWord(family) +
          (addressType == 0 ? "" : " address-type all");
}

std::string excludeWords(std::uint8_t family, std::uint8_t interfaces) {
   std::string words = " exclude " + familyWord(family);
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      if (has(interfaces, intf)) words += " " + intfWord(intf);
   }
   return interfaces == 0 ? words + " none" : words;
}

/// A key with all its attributes: what is left out would match any.
std::string keyWords(Key const& key) {
   return typeWord(key.type) + " " + decapKeyOf(key).dstIp().stringValue().stdString() + " port " +
          std::to_string(portOf(key.port)) + " payload " +
          Mdl::enumName(payloadOf(key.payload)).stdString() + " vrf " +
          vrfOf(key.vrf).name().stdString();
}

/// All attributes of a group, as they follow its name.
std::string groupWords(Group const& group) {
   std::string words = " type " + typeWord(group.type) + " port " +
                       std::to_string(portOf(group.values.port)) + " payload " +
                       payloadWord(group.values.payload) + " vrf " +
                       vrfOf(group.values.vrf).name().stdString();
   std::string prefixes;
   for (std::uint8_t prefix = 0; prefix < prefixCount; ++prefix) {
      if (has(group.prefixes, prefix) && isSaid(prefix)) prefixes += " " + prefixWord(prefix);
   }
   if (!prefixes.empty()) words += " ip" + prefixes;
   for (std::uint8_t family = 1; family <= 2; ++family) {
      for (std::uint8_t index = 0; index <= intfCount; ++index) {
         std::int8_t const type = group.entry(family, index);
         if (type != Group::noEntry) words += entryWords(index, family, type);
      }
      auto const& excluded = group.excludes[family - 1u];
      if (excluded) words += excludeWords(family, *excluded);
   }
   return words;
}

/// All of an interface, as it follows its name.
std::string intfWords(Scene const& scene, std::uint8_t intf) {
   std::string words;
   std::uint8_t vrf = 0;
   if (auto const& ip = scene.ip(intf)) {
      vrf = ip->vrf;
      words += " primary " + primaryWord(ip->primary);
      if (ip->secondaries != 0) words += " secondary";
      for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
         if (has(ip->secondaries, addr)) words += " " + ipWord(addr);
      }
      if (ip->isVirtual) words += " virtual on";
   }
   if (auto const& ip6 = scene.ip6(intf)) {
      vrf = ip6->vrf;
      if (ip6->addrs != 0) words += " ipv6";
      for (std::uint8_t addr = 0; addr < addrCount; ++addr) {
         if (has(ip6->addrs, addr)) words += " " + ip6Word(addr);
      }
   }
   return " vrf " + vrfOf(vrf).name().stdString() + words;
}

}  // namespace

ScenarioText::ScenarioText(std::string const& title) {
   comment(title);
   line("machine stop");
}

void ScenarioText::add(Event const& event, Scene const& before, Scene const& after) {
   if (event.kind >= Kind::ipPut) {
      addToIntf(event, before, after);
   } else if (event.kind == Kind::configReplace) {
      replaceConfig(event, before, after);
   } else if (event.kind >= Kind::groupPut && event.kind < Kind::configReplace) {
      addToGroup(event, before, after);
   } else if (event.kind >= Kind::capacity && event.kind < Kind::groupPut) {
      addToHardware(event);
   } else {
      addToMachine(event, after.ready());
   }
}

void ScenarioText::addToMachine(Event const& event, bool isReady) {
   std::string const time = number(event.seconds());
   if (event.kind == Kind::build) {
      line("machine build");
      // There the configuration is to be declared ready to each machine.
      if (isReady) line("machine config-ready");
   } else if (event.kind == Kind::configReady) {
      line("machine config-ready");
   } else if (event.kind == Kind::initialize) {
      line("machine initialized");
   } else if (event.kind == Kind::uninitialize) {
      line("machine not-initialized");
   } else if (event.kind == Kind::stop) {
      line("machine stop");
   } else if (event.kind == Kind::stopKeepingHardware) {
      line("machine stop keep-hardware");
   } else if (event.kind == Kind::reviewInterval) {
      line("machine review-interval " + time);
   } else if (event.kind == Kind::reviewBudget) {
      line("machine review-budget " + time);
   } else if (event.kind == Kind::verify) {
      line("verify");
   } else if (event.kind == Kind::advance) {
      line("advance " + time);
   } else {
      noWord(event);
   }
}

void ScenarioText::addToHardware(Event const& event) {
   if (event.kind == Kind::answerForDestination && !isSaid(event.group)) return noWord(event);
   std::string const entries = event.entries() == 0 ? "unlimited" : std::to_string(event.entries());
   std::string const time = number(event.seconds());
   std::string const answer = Sim::answerText(static_cast<Fwd::dgRetCode>(event.answer()));
   bool const nameless = !Sim::answerFromText(answer).has_value();
   if (event.kind == Kind::capacity) {
      line("hardware capacity " + entries);
   } else if (event.kind == Kind::typeCapacity) {
      line("hardware capacity " + typeWord(event.family) + " " + entries);
   } else if (event.kind == Kind::latency) {
      line("hardware latency " + time);
   } else if (event.kind == Kind::callCost) {
      line("hardware call-cost " + time);
   } else if (event.kind == Kind::notReady) {
      if (event.seconds() == 0.0) {
         line("hardware ready");
      } else if (event.seconds() == Mdl::never) {
         line("hardware not-ready");
      } else {
         line("hardware not-ready for " + time);
      }
   } else if (event.kind == Kind::answerForDestination || event.kind == Kind::answerNext) {
      bool const isNext = event.kind == Kind::answerNext;
      if (nameless) comment("near: another answer that is not tried again, " + answer);
      std::string words = "hardware answer " + (isNext ? "next" : prefixWord(event.group)) + " " +
                          (nameless ? "unsupported" : answer);
      if (isNext) words += " times " + std::to_string(event.times() + 1);
      if (!isNext && event.times() != 0) words += " times " + std::to_string(event.times());
      if (!isNext) answered_.insert(event.group);
      line(words);
   } else if (event.kind == Kind::answersForgotten) {
      comment("near: answers to the next calls would be forgotten too");
      for (std::uint8_t const prefix : answered_) {
         line("hardware no answer " + prefixWord(prefix));
      }
      answered_.clear();
   } else {
      line(std::string("hardware udp-wait ") + (event.flag() ? "on" : "off"));
   }
}

void ScenarioText::addToGroup(Event const& event, Scene const& before, Scene const& after) {
   std::string const name = groupName(event.group);
   bool const isListed = before.isConfigured(event.group);
   if (event.kind == Kind::groupPut) {
      line("group " + name + groupWords(after.group(event.group)));
      return;
   }
   // What happens to a group that is in no configuration shows when it is put there.
   if (!isListed) return;
   bool const isPrefix = event.kind == Kind::prefixAdd || event.kind == Kind::prefixRemove;
   if (isPrefix && !isSaid(event.prefix())) return noWord(event);
   if (event.kind == Kind::groupRemove) {
      line("no group " + name);
   } else if (event.kind == Kind::groupReplace) {
      line("replace group " + name + groupWords(after.group(event.group)));
   } else if (event.kind == Kind::tunnelType) {
      line("group " + name + " type " + typeWord(event.type()));
   } else if (event.kind == Kind::port) {
      line("group " + name + " port " + std::to_string(portOf(event.value())));
   } else if (event.kind == Kind::payload) {
      line("group " + name + " payload " + payloadWord(event.value()));
   } else if (event.kind == Kind::vrf) {
      line("group " + name + " vrf " + vrfOf(event.value()).name().stdString());
   } else if (event.kind == Kind::prefixAdd) {
      line("group " + name + " ip " + prefixWord(event.prefix()));
   } else if (event.kind == Kind::prefixRemove) {
      line("group " + name + " no ip " + prefixWord(event.prefix()));
   } else {
      addToEntries(event);
   }
}

void ScenarioText::addToEntries(Event const& event) {
   std::string const name = groupName(event.group);
   std::uint8_t const index = event.entryIndex();
   std::string const entry = " interface " + intfWord(index) + " " + familyWord(event.family);
   if (event.kind == Kind::entrySet) {
      if (event.addressType() > 1) comment("near: an address type without a name");
      line("group " + name +
           entryWords(index, event.family, static_cast<std::int8_t>(event.addressType())));
   } else if (event.kind == Kind::entryRemove) {
      line("group " + name + " no" + entry);
   } else if (event.kind == Kind::entryAgain) {
      line("apply " + name + entry);
   } else if (event.kind == Kind::excludeSet) {
      line("group " + name + excludeWords(event.family, event.interfaces()));
   } else if (event.kind == Kind::excludeRemove) {
      line("group " + name + excludeWords(event.family, 0));
   } else {
      noWord(event);
   }
}

void ScenarioText::replaceConfig(Event const& event, Scene const& before, Scene const& after) {
   comment("near: the groups change one by one instead of the configuration as a whole");
   if (!before.ready()) line("machine config-ready");
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      bool const isNew = after.isConfigured(group) && !before.isConfigured(group);
      bool const isOther = event.fate(group) == Event::Fate::replaced && before.isConfigured(group);
      std::string const words = groupName(group) + groupWords(after.group(group));
      if (isNew) line("group " + words);
      if (isOther) line("replace group " + words);
   }
   for (std::uint8_t group = 0; group < groupCount; ++group) {
      if (before.isConfigured(group) && !after.isConfigured(group)) {
         line("no group " + groupName(group));
      }
   }
}

/// An interface here has both families at once.
void ScenarioText::renewIntf(std::uint8_t intf, Scene const& before, Scene const& after) {
   bool const was = before.has(intf, 1) || before.has(intf, 2);
   bool const is = after.has(intf, 1) || after.has(intf, 2);
   if (was && is) comment("near: the interface is removed and made again, for both families");
   if (was) line("no interface " + intfWord(intf));
   if (is) line("interface " + intfWord(intf) + intfWords(after, intf));
}

void ScenarioText::addToIntf(Event const& event, Scene const& before, Scene const& after) {
   std::string const name = "interface " + intfWord(event.intf);
   std::string const ip = ipWord(event.addr());
   std::string const ip6 = ip6Word(event.addr());
   if (event.kind == Kind::ipPut || event.kind == Kind::ip6Put || event.kind == Kind::ipRemove ||
       event.kind == Kind::ip6Remove) {
      renewIntf(event.intf, before, after);
   } else if (event.kind == Kind::ipReplace || event.kind == Kind::ip6Replace) {
      for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
         if (event.fate(intf) != Event::Fate::kept) renewIntf(intf, before, after);
      }
   } else if (event.kind == Kind::ipPrimary) {
      line(name + " primary " + primaryWord(event.addr()));
   } else if (event.kind == Kind::ipVirtual) {
      line(name + " virtual " + (event.flag() ? "on" : "off"));
   } else if (event.kind == Kind::ipSecondaryAdd) {
      line(name + " secondary " + ip);
   } else if (event.kind == Kind::ipSecondaryRemove) {
      line(name + " no secondary " + ip);
   } else if (event.kind == Kind::ip6AddrAdd) {
      line(name + " ipv6 " + ip6);
   } else if (event.kind == Kind::ip6AddrRemove) {
      line(name + " no ipv6 " + ip6);
   } else if (event.kind == Kind::ipVrf || event.kind == Kind::ip6Vrf) {
      line(name + " vrf " + vrfOf(event.intfVrf()).name().stdString());
   } else {
      noWord(event);
   }
}

void ScenarioText::expect(Run const& run) {
   if (!run.scene().built()) return;
   for (auto const& [key, references] : run.counts()) {
      if (key.destination == 0) {
         comment("no word for it here: references of " + keyText(key));
      } else {
         line("expect references " + keyWords(key) + " " + std::to_string(references));
      }
   }
   line("expect hardware count " + std::to_string(run.inHardware()));
   line("expect backlog count " + std::to_string(run.waiting()));
   line("expect differences 0");
}

std::string scenarioOf(Events const& events, std::string const& title) {
   ScenarioText scenario(title);
   Scene scene;
   for (Event const& event : events) {
      Scene const before = scene;
      if (scene.apply(event)) scenario.add(event, before, scene);
   }
   return scenario.text();
}

std::string expectationsOf(Events const& events) {
   Run run;
   for (Event const& event : events) run.apply(event);
   ScenarioText scenario;
   scenario.expect(run);
   return scenario.text();
}

}  // namespace Oracle
