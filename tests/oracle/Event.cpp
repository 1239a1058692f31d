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
   switch (event.kind) {
      case Kind::build: return "machine built";
      case Kind::configReady: return "configuration ready";
      case Kind::initialize: return "machine initialized";
      case Kind::uninitialize: return "machine not initialized any more";
      case Kind::stop: return "machine stopped";
      case Kind::stopKeepingHardware: return "machine stopped, hardware kept";
      case Kind::reviewInterval: return "review interval " + number(event.seconds());
      case Kind::reviewBudget: return "review budget " + number(event.seconds());
      case Kind::verify: return "verification requested";
      case Kind::configReplace: return "configuration replaced:" + fates(event, groupCount);
      case Kind::configAway: return "configuration taken away";
      case Kind::configBack: return "configuration given back";
      default: return "time advances by " + number(event.seconds());
   }
}

std::string hardwareText(Event const& event) {
   std::string const entries = event.entries() == 0 ? "unlimited" : std::to_string(event.entries());
   switch (event.kind) {
      case Kind::capacity: return "hardware capacity " + entries;
      case Kind::typeCapacity:
         return "hardware capacity of " + Mdl::enumName(typeOf(event.family)).stdString() + " " +
                entries;
      case Kind::latency: return "hardware latency " + number(event.seconds());
      case Kind::callCost: return "hardware calls take " + number(event.seconds());
      case Kind::notReady: return "hardware not ready for " + number(event.seconds());
      case Kind::answerForDestination:
         return "hardware answers " + prefixOf(event.group).stringValue().stdString() + " with " +
                answerText(event) + " times " + std::to_string(event.times());
      case Kind::answerNext:
         return "hardware answers next with " + answerText(event) + " times " +
                std::to_string(event.times());
      case Kind::answersForgotten: return "hardware has no scripted answers";
      default: return std::string("UDP keys wait for their port: ") + (event.flag() ? "yes" : "no");
   }
}

std::string groupText(Event const& event) {
   std::string const name = groupName(event.group);
   std::string const family = " for family " + std::to_string(event.family);
   switch (event.kind) {
      case Kind::groupPut: return name + " added";
      case Kind::groupRemove: return name + " removed";
      case Kind::groupReplace:
         return name + (event.word % 4 == 0
                            ? " replaced by an equal group"
                            : " replaced by group number " + std::to_string(event.word));
      case Kind::tunnelType:
         return name + " type " + Mdl::enumName(typeOf(event.type())).stdString();
      case Kind::port: return name + " port " + std::to_string(portOf(event.value()));
      case Kind::payload:
         return name + " payload " + Mdl::enumName(payloadOf(event.value())).stdString();
      case Kind::vrf: return name + " vrf " + vrfOf(event.value()).name().stdString();
      case Kind::prefixAdd:
         return name + " prefix " + prefixOf(event.prefix()).stringValue().stdString();
      case Kind::prefixRemove:
         return name + " prefix removed " + prefixOf(event.prefix()).stringValue().stdString();
      case Kind::entrySet:
         return entryText(event, "entry") + " address type " + std::to_string(event.addressType());
      case Kind::entryRemove: return entryText(event, "entry removed");
      case Kind::entryAgain: return entryText(event, "entry applied again");
      case Kind::excludeSet: return name + " excludes" + family + names(event.interfaces());
      case Kind::excludeRemove: return name + " excludes nothing" + family;
      default: return name + " exclude set applied again" + family;
   }
}

std::string intfEventText(Event const& event) {
   std::string const name = intfIdOf(event.intf).name().stdString();
   std::string const ip = ipAddrOf(event.addr()).stringValue().stdString();
   std::string const ip6 = ip6AddrOf(event.addr()).stringValue().stdString();
   std::string const moved = " silently moves to VRF " + vrfOf(event.intfVrf()).name().stdString();
   switch (event.kind) {
      case Kind::ipPut: return name + " IPv4 status number " + std::to_string(event.word);
      case Kind::ipAgain: return name + " IPv4 status reported again";
      case Kind::ipRemove: return name + " loses its IPv4 status";
      case Kind::ipPrimary: return name + " primary " + ip;
      case Kind::ipVirtual: return name + (event.flag() ? " virtual on" : " virtual off");
      case Kind::ipSecondaryAdd: return name + " secondary " + ip;
      case Kind::ipSecondaryRemove: return name + " secondary removed " + ip;
      case Kind::ipVrf: return name + " IPv4" + moved;
      case Kind::ip6Put: return name + " IPv6 status number " + std::to_string(event.word);
      case Kind::ip6Remove: return name + " loses its IPv6 status";
      case Kind::ip6AddrAdd: return name + " IPv6 " + ip6;
      case Kind::ip6AddrRemove: return name + " IPv6 removed " + ip6;
      case Kind::ip6Vrf: return name + " IPv6" + moved;
      case Kind::ipReplace:
         return "all of IPv4 status replaced, number " + std::to_string(event.word) + ":" +
                fates(event, intfCount);
      default:
         return "all of IPv6 status replaced, number " + std::to_string(event.word) + ":" +
                fates(event, intfCount);
   }
}

}  // namespace

Event::Fate Event::fate(std::uint8_t index) const {
   std::uint32_t const bits = word >> (2 * index) & 3;
   if (bits == 0) return Fate::lost;
   return bits == 1 ? Fate::replaced : Fate::kept;
}

double Event::seconds() const {
   switch (kind) {
      case Kind::reviewInterval: return pick(std::array{0.1, 0.05, 0.3}, word);
      case Kind::reviewBudget: return pick(std::array{0.01, 0.0, 0.005, 0.05}, word);
      case Kind::latency: return pick(std::array{0.0, 0.0, 0.05, 0.25}, word);
      case Kind::callCost: return pick(std::array{0.0, 0.0, 0.002, 0.006}, word);
      case Kind::notReady: return pick(std::array{0.0, 0.0, 0.15, 1.0, Mdl::never}, word);
      default: return pick(std::array{0.1, 0.02, 0.05, 0.11, 0.2, 1.0}, word);
   }
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
