#include "oracle/Event.h"

#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/Seconds.h"
#include "platform/sim/KeyText.h"

#include <array>
#include <sstream>

namespace Oracle {

namespace {

template <std::size_t size>
double pick(std::array<double, size> const& values, std::uint32_t word) {
   return values[word % size];
}

std::string intfText(Event const& event) {
   return event.entryIndex() == intfCount ? "all interfaces"
                                          : intfIdOf(event.intf).name().stdString();
}

std::string entryText(Event const& event, char const* what) {
   return groupName(event.group) + " " + what + " " + intfText(event) + " family " +
          std::to_string(event.family);
}

std::string names(std::uint8_t interfaces) {
   std::string text;
   for (std::uint8_t i = 0; i < intfCount; ++i) {
      if ((interfaces >> i & 1) != 0) text += " " + intfIdOf(i).name().stdString();
   }
   return text.empty() ? " none" : text;
}

std::string fates(Event const& event, std::uint8_t count) {
   std::string text;
   for (std::uint8_t i = 0; i < count; ++i) {
      switch (event.fate(i)) {
         case Event::Fate::lost: text += " lost"; break;
         case Event::Fate::replaced: text += " replaced"; break;
         case Event::Fate::kept: text += " kept"; break;
      }
   }
   return text;
}

std::string number(double value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

std::string answerText(Event const& event) {
   return Sim::answerText(static_cast<Fwd::dgRetCode>(event.answer()));
}

std::string machineText(Event const& event) {
   if (event.kind == Kind::build) return "machine built";
   if (event.kind == Kind::configReady) return "configuration ready";
   if (event.kind == Kind::initialize) return "machine initialized";
   if (event.kind == Kind::uninitialize) return "machine not initialized any more";
   if (event.kind == Kind::stop) return "machine stopped";
   if (event.kind == Kind::stopKeepingHardware) return "machine stopped, hardware kept";
   if (event.kind == Kind::reviewInterval) return "review interval " + number(event.seconds());
   if (event.kind == Kind::reviewBudget) return "review budget " + number(event.seconds());
   if (event.kind == Kind::verify) return "verification requested";
   if (event.kind == Kind::configReplace)
      return "configuration replaced:" + fates(event, groupCount);
   if (event.kind == Kind::configAway) return "configuration taken away";
   if (event.kind == Kind::configBack) return "configuration given back";
   return "time advances by " + number(event.seconds());
}

std::string hardwareText(Event const& event) {
   std::string const entries = event.entries() == 0 ? "unlimited" : std::to_string(event.entries());
   if (event.kind == Kind::capacity) return "hardware capacity " + entries;
   if (event.kind == Kind::typeCapacity)
      return "hardware capacity of " + Mdl::enumName(typeOf(event.family)).stdString() + " " +
             entries;
   if (event.kind == Kind::latency) return "hardware latency " + number(event.seconds());
   if (event.kind == Kind::callCost) return "hardware calls take " + number(event.seconds());
   if (event.kind == Kind::notReady) return "hardware not ready for " + number(event.seconds());
   if (event.kind == Kind::answerForDestination)
      return "hardware answers " + prefixOf(event.group).stringValue().stdString() + " with " +
             answerText(event) + " times " + std::to_string(event.times());
   if (event.kind == Kind::answerNext)
      return "hardware answers next with " + answerText(event) + " times " +
             std::to_string(event.times());
   if (event.kind == Kind::answersForgotten) return "hardware has no scripted answers";
   return std::string("UDP keys wait for their port: ") + (event.flag() ? "yes" : "no");
}

std::string groupText(Event const& event) {
   std::string const name = groupName(event.group);
   std::string const family = " for family " + std::to_string(event.family);
   if (event.kind == Kind::groupPut) return name + " added";
   if (event.kind == Kind::groupRemove) return name + " removed";
   if (event.kind == Kind::groupReplace)
      return name + (event.word % 4 == 0
                         ? " replaced by an equal group"
                         : " replaced by group number " + std::to_string(event.word));
   if (event.kind == Kind::tunnelType)
      return name + " type " + Mdl::enumName(typeOf(event.type())).stdString();
   if (event.kind == Kind::port) return name + " port " + std::to_string(portOf(event.value()));
   if (event.kind == Kind::payload)
      return name + " payload " + Mdl::enumName(payloadOf(event.value())).stdString();
   if (event.kind == Kind::vrf) return name + " vrf " + vrfOf(event.value()).name().stdString();
   if (event.kind == Kind::prefixAdd)
      return name + " prefix " + prefixOf(event.prefix()).stringValue().stdString();
   if (event.kind == Kind::prefixRemove)
      return name + " prefix removed " + prefixOf(event.prefix()).stringValue().stdString();
   if (event.kind == Kind::entrySet)
      return entryText(event, "entry") + " address type " + std::to_string(event.addressType());
   if (event.kind == Kind::entryRemove) return entryText(event, "entry removed");
   if (event.kind == Kind::entryAgain) return entryText(event, "entry applied again");
   if (event.kind == Kind::excludeSet)
      return name + " excludes" + family + names(event.interfaces());
   if (event.kind == Kind::excludeRemove) return name + " excludes nothing" + family;
   return name + " exclude set applied again" + family;
}

std::string intfEventText(Event const& event) {
   std::string const name = intfIdOf(event.intf).name().stdString();
   std::string const ip = ipAddrOf(event.addr()).stringValue().stdString();
   std::string const ip6 = ip6AddrOf(event.addr()).stringValue().stdString();
   std::string const moved = " silently moves to VRF " + vrfOf(event.intfVrf()).name().stdString();
   if (event.kind == Kind::ipPut) return name + " IPv4 status number " + std::to_string(event.word);
   if (event.kind == Kind::ipAgain) return name + " IPv4 status reported again";
   if (event.kind == Kind::ipRemove) return name + " loses its IPv4 status";
   if (event.kind == Kind::ipPrimary) return name + " primary " + ip;
   if (event.kind == Kind::ipVirtual) return name + (event.flag() ? " virtual on" : " virtual off");
   if (event.kind == Kind::ipSecondaryAdd) return name + " secondary " + ip;
   if (event.kind == Kind::ipSecondaryRemove) return name + " secondary removed " + ip;
   if (event.kind == Kind::ipVrf) return name + " IPv4" + moved;
   if (event.kind == Kind::ip6Put)
      return name + " IPv6 status number " + std::to_string(event.word);
   if (event.kind == Kind::ip6Remove) return name + " loses its IPv6 status";
   if (event.kind == Kind::ip6AddrAdd) return name + " IPv6 " + ip6;
   if (event.kind == Kind::ip6AddrRemove) return name + " IPv6 removed " + ip6;
   if (event.kind == Kind::ip6Vrf) return name + " IPv6" + moved;
   if (event.kind == Kind::ipReplace)
      return "all of IPv4 status replaced, number " + std::to_string(event.word) + ":" +
             fates(event, intfCount);
   return "all of IPv6 status replaced, number " + std::to_string(event.word) + ":" +
          fates(event, intfCount);
}

}  // namespace

Event::Fate Event::fate(std::uint8_t index) const {
   std::uint32_t const bits = word >> (2 * index) & 3;
   if (bits == 0) return Fate::lost;
   return bits == 1 ? Fate::replaced : Fate::kept;
}

double Event::seconds() const {
   if (kind == Kind::reviewInterval) return pick(std::array{0.1, 0.05, 0.3}, word);
   if (kind == Kind::reviewBudget) return pick(std::array{0.01, 0.0, 0.005, 0.05}, word);
   if (kind == Kind::latency) return pick(std::array{0.0, 0.0, 0.05, 0.25}, word);
   if (kind == Kind::callCost) return pick(std::array{0.0, 0.0, 0.002, 0.006}, word);
   if (kind == Kind::notReady) return pick(std::array{0.0, 0.0, 0.15, 1.0, Mdl::never}, word);
   return pick(std::array{0.1, 0.02, 0.05, 0.11, 0.2, 1.0}, word);
}

std::uint8_t Event::answer() const {
   // Retried ones often, success against the table's own judgement seldom, and one without a name.
   constexpr std::array<std::uint8_t, 16> answers = {1, 4, 6, 1, 4, 6, 4, 4,
                                                     1, 3, 3, 5, 5, 7, 0, 4};
   return answers[word >> 16 & 15];
}

std::string text(Event const& event) {
   if (event.kind >= Kind::ipPut) return intfEventText(event);
   if (event.kind >= Kind::configReplace) return machineText(event);
   if (event.kind >= Kind::groupPut) return groupText(event);
   if (event.kind >= Kind::capacity) return hardwareText(event);
   return machineText(event);
}

std::string text(Events const& events) {
   std::string lines;
   std::size_t count = 0;
   for (Event const& event : events) {
      lines += "  " + std::to_string(++count) + ". " + text(event) + "\n";
   }
   return lines;
}

}  // namespace Oracle
