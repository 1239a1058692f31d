#include "agent/KeyPattern.h"

#include "agent/Tokens.h"
#include "agent/Words.h"
#include "platform/sim/KeyText.h"

namespace Agent {

namespace {

using Sim::Operation;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

template <class T, class U>
bool fits(std::optional<T> const& wanted, U const& found) {
   return !wanted || *wanted == found;
}

char const* operationWord(Operation operation) noexcept {
   switch (operation) {
      case Operation::program: return "program";
      case Operation::remove: return "remove";
      case Operation::verify: return "verify";
      case Operation::configReady: return "config-ready";
   }
   return "";
}

CallPattern parseCallPattern(Tokens& tokens) {
   CallPattern pattern;
   for (Operation const simple : {Operation::configReady, Operation::verify}) {
      if (tokens.take(operationWord(simple))) {
         pattern.operation = simple;
         return pattern;
      }
   }
   if (tokens.take("remove")) {
      pattern.operation = Operation::remove;
   } else if (!tokens.take("program")) {
      tokens.unexpected("\"program\", \"remove\", \"verify\" or \"config-ready\"");
   }
   pattern.key = parseKeyPattern(tokens);
   if (pattern.operation == Operation::program && tokens.take("->")) {
      pattern.answer = tokens.read("an answer", answerFromWord);
   }
   return pattern;
}

template <class Pattern>
std::vector<Pattern> parseList(Tokens& tokens, Pattern (*parse)(Tokens&)) {
   std::vector<Pattern> patterns;
   if (tokens.take("none")) return patterns;
   do {
      patterns.push_back(parse(tokens));
   } while (tokens.take(","));
   return patterns;
}

}  // namespace

bool KeyPattern::matches(Fwd::DecapKey const& key) const {
   return destination == key.dstIp() && fits(tunnelType, key.tunnelType()) &&
          fits(destPort, key.destPort()) && fits(payloadType, key.payloadType()) &&
          fits(vrf, key.forwardingVrf());
}

std::string KeyPattern::text() const {
   std::string text;
   if (tunnelType) text = stringValue(*tunnelType).stdString() + ' ';
   destination.appendText(text);
   if (destPort) text += " port " + std::to_string(*destPort);
   if (payloadType) text += " payload " + stringValue(*payloadType).stdString();
   if (vrf) text += " vrf " + vrf->name().stdString();
   return text;
}

bool CallPattern::matches(Sim::Call const& call) const {
   if (operation != call.operation) return false;
   if (key && !key->matches(call.key)) return false;
   return !answer || (call.outcome == Sim::Outcome::answered && call.answer == *answer);
}

std::string CallPattern::text() const {
   std::string text = operationWord(operation);
   if (key) text += ' ' + key->text();
   if (answer) text += " -> " + Sim::answerText(*answer);
   return text;
}

KeyPattern parseKeyPattern(Tokens& tokens) {
   KeyPattern pattern;
   for (TunnelType const type : {TunnelType::gre, TunnelType::ipip, TunnelType::udp}) {
      if (tokens.take(stringValue(type).view())) {
         pattern.tunnelType = type;
         break;
      }
   }
   pattern.destination = tokens.read("a prefix", destinationFromText);
   for (;;) {
      if (tokens.take("port")) {
         pattern.destPort = static_cast<std::uint16_t>(tokens.number("a port", 65535));
      } else if (tokens.take("payload")) {
         pattern.payloadType = tokens.take("unset")
                                   ? PayloadType::unset
                                   : tokens.read("a payload type", payloadTypeFromText);
      } else if (tokens.take("vrf")) {
         pattern.vrf = L3::VrfName(tokens.read("the name of a VRF", nameFromText));
      } else {
         return pattern;
      }
   }
}

std::vector<KeyPattern> parseKeyPatterns(Tokens& tokens) {
   return parseList<KeyPattern>(tokens, parseKeyPattern);
}

std::vector<CallPattern> parseCallPatterns(Tokens& tokens) {
   return parseList<CallPattern>(tokens, parseCallPattern);
}

}  // namespace Agent
