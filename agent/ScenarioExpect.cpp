// Scenario events that look whether the world is as it should be.

#include "agent/ScenarioEvents.h"
#include "agent/Stage.h"
#include "agent/Tokens.h"
#include "agent/Wording.h"
#include "agent/Words.h"

#include <limits>
#include <optional>
#include <utility>

namespace Agent {

namespace {

constexpr std::uint64_t greatestCount = std::numeric_limits<std::uint32_t>::max();

ScenarioEvent expectation(std::function<void(Stage&)> act) {
   return {0, 0, {}, ScenarioEvent::Kind::observe, std::move(act)};
}

/// "count" n, where it stands.
std::optional<std::uint64_t> parseCount(Tokens& tokens) {
   if (!tokens.take("count")) return std::nullopt;
   return tokens.number("a count", greatestCount);
}

ScenarioEvent expectCount(std::string const& subject, std::uint64_t wanted,
                          std::uint64_t (*found)(Stage&)) {
   return expectation([subject, wanted, found](Stage& stage) {
      stage.expectText(subject + " count", std::to_string(wanted), std::to_string(found(stage)));
   });
}

std::uint64_t hardwareCount(Stage& stage) { return stage.world().hardware().table().size(); }
std::uint64_t highWater(Stage& stage) { return stage.world().hardware().table().highWater(); }
std::uint64_t callCount(Stage& stage) { return stage.narration().calls().size(); }
std::uint64_t backlogCount(Stage& stage) {
   auto const& machine = stage.world().machine();
   return machine ? machine->unprogrammedKey().size() : 0;
}

ScenarioEvent parseLog(Tokens& tokens) {
   std::vector<std::string> names;
   if (!tokens.take("none")) {
      do {
         names.push_back(tokens.word("the name of a message").text);
      } while (tokens.take(","));
   }
   return expectation([names](Stage& stage) { stage.expectLog(names); });
}

/// What is one number and has no list.
std::optional<ScenarioEvent> parseNumber(Tokens& tokens) {
   if (tokens.take("high-water")) {
      return expectCount("high-water", tokens.number("a count", greatestCount), highWater);
   }
   if (tokens.take("references")) {
      KeyPattern const key = parseKeyPattern(tokens);
      std::uint64_t const count = tokens.number("a count", greatestCount);
      return expectation([key, count](Stage& stage) { stage.expectReferences(key, count); });
   }
   if (tokens.take("differences")) {
      std::uint64_t const count = tokens.number("a count", greatestCount);
      return expectation([count](Stage& stage) { stage.expectDifferences(count); });
   }
   return std::nullopt;
}

/// name role address, as the report writes it.
std::string parseAddress(Tokens& tokens) {
   std::string text =
       tokens.read("the name of an interface", intfIdFromText).name().stdString() + ' ';
   if (tokens.take("ipv6")) {
      return text + "ipv6 " +
             tokens.read("an IPv6 address", ip6AddrFromText).stringValue().stdString();
   }
   for (char const* const role : {"primary", "secondary", "virtual"}) {
      if (!tokens.take(role)) continue;
      return text + role + ' ' +
             tokens.read("an IPv4 address", ipAddrFromText).stringValue().stdString();
   }
   tokens.unexpected("one of primary, secondary, virtual, ipv6");
}

ScenarioEvent parseAddresses(Tokens& tokens) {
   Mdl::String const group = tokens.read("the name of a group", nameFromText);
   std::vector<std::string> addresses;
   if (!tokens.take("none")) {
      do {
         addresses.push_back(parseAddress(tokens));
      } while (tokens.take(","));
   }
   return expectation(
       [group, addresses](Stage& stage) { stage.expectAddresses(group, addresses); });
}

Pkt::IpAddr parseRecorded(Tokens& tokens) {
   if (tokens.take("none")) return {};
   return tokens.read("an IPv4 address or \"none\"", ipAddrFromText).addr();
}

ScenarioEvent parseRecord(Tokens& tokens) {
   Pkt::IntfId const intfId = tokens.read("the name of an interface", intfIdFromText);
   std::optional<RecordedAddresses> wanted;
   if (!tokens.take("none")) {
      wanted.emplace();
      if (!tokens.take("primary")) tokens.unexpected("primary or none");
      wanted->primary = parseRecorded(tokens);
      tokens.need("virtual");
      wanted->virtualIp = parseRecorded(tokens);
   }
   return expectation([intfId, wanted](Stage& stage) { stage.expectRecord(intfId, wanted); });
}

}  // namespace

ScenarioEvent parseExpect(Tokens& tokens) {
   if (tokens.take("hardware")) {
      if (auto const count = parseCount(tokens)) {
         return expectCount("hardware", *count, hardwareCount);
      }
      auto const keys = parseKeyPatterns(tokens);
      return expectation([keys](Stage& stage) { stage.expectHardware(keys); });
   }
   if (tokens.take("backlog")) {
      if (auto const count = parseCount(tokens))
         return expectCount("backlog", *count, backlogCount);
      auto const keys = parseKeyPatterns(tokens);
      return expectation([keys](Stage& stage) { stage.expectBacklog(keys); });
   }
   if (tokens.take("not-programmed")) {
      auto const keys = parseKeyPatterns(tokens);
      return expectation([keys](Stage& stage) { stage.expectMissing(keys); });
   }
   if (tokens.take("calls")) {
      if (auto const count = parseCount(tokens)) return expectCount("calls", *count, callCount);
      auto const calls = parseCallPatterns(tokens);
      return expectation([calls](Stage& stage) { stage.expectCalls(calls); });
   }
   if (tokens.take("log")) return parseLog(tokens);
   if (tokens.take("addresses")) return parseAddresses(tokens);
   if (tokens.take("record")) return parseRecord(tokens);
   if (auto const number = parseNumber(tokens)) return *number;
   if (tokens.take("resource-full")) {
      bool const wanted = tokens.take("yes");
      if (!wanted) tokens.need("no");
      return expectation([wanted](Stage& stage) {
         bool const found = stage.world().status().hwResourceFull();
         stage.expectText("resource-full", wanted ? "yes" : "no", found ? "yes" : "no");
      });
   }
   if (tokens.take("time")) {
      double const wanted = tokens.seconds();
      return expectation([wanted](Stage& stage) {
         stage.expectText("time", secondsText(wanted), secondsText(stage.world().now()));
      });
   }
   tokens.unexpected(
       "one of hardware, backlog, not-programmed, calls, log, addresses, record, "
       "high-water, references, differences, resource-full, time");
}

}  // namespace Agent
