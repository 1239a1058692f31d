#include "agent/ScenarioEvents.h"

#include "agent/Stage.h"
#include "agent/Tokens.h"
#include "agent/Words.h"

#include <array>
#include <limits>
#include <optional>
#include <utility>

namespace Agent {

namespace {

using Act = std::function<void(Stage&)>;
using Kind = ScenarioEvent::Kind;

ScenarioEvent event(Kind kind, Act act) { return {0, 0, {}, kind, std::move(act)}; }
ScenarioEvent change(Act act) { return event(Kind::change, std::move(act)); }
ScenarioEvent observe(Act act) { return event(Kind::observe, std::move(act)); }

ScenarioEvent parseNo(Tokens& tokens) {
   if (tokens.take("interface")) {
      Pkt::IntfId const name = tokens.read("the name of an interface", intfIdFromText);
      return change([name](Stage& stage) { stage.world().interfaceDel(name); });
   }
   if (!tokens.take("group")) tokens.unexpected("group or interface");
   Mdl::String const name = tokens.read("the name of a group", nameFromText);
   return change([name](Stage& stage) { stage.world().groupDel(name); });
}

ScenarioEvent parseAdvance(Tokens& tokens) {
   double const seconds = tokens.seconds();
   return change([seconds](Stage& stage) {
      World& world = stage.world();
      world.advanceTo(world.now() + seconds);
   });
}

ScenarioEvent parseSettle(Tokens& tokens) {
   double const limit = tokens.take("within") ? tokens.seconds() : 3600.0;
   return change([limit](Stage& stage) {
      Settled const settled = stage.world().settle(limit);
      if (!settled.quiet) stage.say("not quiet within the time given");
   });
}

ScenarioEvent parseShow(Tokens& tokens) {
   constexpr std::array sections = {"all",     "groups",  "interfaces", "hardware",
                                    "restart", "backlog", "log",        "summary"};
   for (std::string const section : sections) {
      if (tokens.take(section)) {
         return observe([section](Stage& stage) { stage.show(section); });
      }
   }
   tokens.unexpected("one of all, groups, interfaces, hardware, restart, backlog, log, summary");
}

ScenarioEvent parseVerify(Tokens&) {
   return change([](Stage& stage) { stage.verify(); });
}

ScenarioEvent parseAudit(Tokens&) {
   return observe([](Stage& stage) { stage.audit(); });
}

ScenarioEvent parseTrace(Tokens& tokens) {
   std::optional<unsigned> level;
   if (!tokens.take("off")) level = static_cast<unsigned>(tokens.number("a trace level", 31));
   return observe([level](Stage& stage) { stage.narration().traceLevelIs(level); });
}

ScenarioEvent parseSay(Tokens& tokens) {
   std::string text = tokens.word("a text").text;
   while (!tokens.atEnd()) {
      text += tokens.take(",") ? "," : ' ' + tokens.word("a text").text;
   }
   // The line itself is shown; that is all it is for.
   return observe([](Stage&) {});
}

/// What follows "answer": which calls it is for.
ScenarioEvent parseAnswer(Tokens& tokens) {
   auto const answer = [&tokens] {
      return tokens.take("fault") ? Sim::Answer::fault()
                                  : Sim::Answer::of(tokens.read("an answer", answerFromWord));
   };
   auto const times = [&tokens](std::uint64_t otherwise) {
      return tokens.take("times") ? tokens.number("how many times", 1000000000) : otherwise;
   };
   if (tokens.take("next")) {
      Sim::Answer const given = answer();
      std::uint64_t const count = times(1);
      return change(
          [given, count](Stage& stage) { stage.world().hardware().script().next(given, count); });
   }
   if (tokens.take("call")) {
      std::uint64_t const call =
          tokens.number("the number of a call", std::numeric_limits<std::uint32_t>::max());
      Sim::Answer const given = answer();
      return change(
          [call, given](Stage& stage) { stage.world().hardware().script().atCall(call, given); });
   }
   Pkt::IpGenPrefix const prefix =
       tokens.read("a prefix, \"next\" or \"call\"", destinationFromText);
   Sim::Answer const given = answer();
   std::uint64_t const count = times(Sim::Script::always);
   return change([prefix, given, count](Stage& stage) {
      stage.world().hardware().script().forPrefix(prefix, given, count);
   });
}

ScenarioEvent parseCapacity(Tokens& tokens) {
   std::optional<Tunnel::Decap::TunnelType> type;
   for (auto const each : {Tunnel::Decap::TunnelType::gre, Tunnel::Decap::TunnelType::ipip,
                           Tunnel::Decap::TunnelType::udp}) {
      if (tokens.take(stringValue(each).view())) type = each;
   }
   std::size_t const entries =
       tokens.take("unlimited")
           ? Sim::HardwareTable::unlimited
           : static_cast<std::size_t>(tokens.number("a number of entries or \"unlimited\"",
                                                    std::numeric_limits<std::uint32_t>::max()));
   return change([type, entries](Stage& stage) {
      Sim::HardwareTable& table = stage.world().hardware().table();
      if (type) {
         table.capacityIs(*type, entries);
      } else {
         table.capacityIs(entries);
      }
   });
}

ScenarioEvent parseNotReady(Tokens& tokens) {
   double const duration = tokens.take("for") ? tokens.seconds() : Mdl::never;
   return change([duration](Stage& stage) {
      World& world = stage.world();
      world.hardware().notReadyUntilIs(world.now() + duration);
   });
}

}  // namespace

ScenarioEvent parseHardware(Tokens& tokens) {
   if (tokens.take("capacity")) return parseCapacity(tokens);
   if (tokens.take("answer")) return parseAnswer(tokens);
   if (tokens.take("not-ready")) return parseNotReady(tokens);
   if (tokens.take("ready")) {
      return change([](Stage& stage) { stage.world().hardware().notReadyUntilIs(0.0); });
   }
   if (tokens.take("clear")) {
      return change([](Stage& stage) { stage.world().hardware().table().clear(); });
   }
   if (tokens.take("latency")) {
      double const seconds = tokens.seconds();
      return change([seconds](Stage& stage) { stage.world().hardware().latencyIs(seconds); });
   }
   if (tokens.take("call-cost")) {
      double const seconds = tokens.seconds();
      return change([seconds](Stage& stage) { stage.world().callCostIs(seconds); });
   }
   if (tokens.take("udp-wait")) {
      bool const wait = tokens.take("on");
      if (!wait) tokens.need("off");
      return change([wait](Stage& stage) { stage.world().hardware().waitForUdpIs(wait); });
   }
   if (tokens.take("no")) {
      tokens.need("answer");
      Pkt::IpGenPrefix const prefix = tokens.read("a prefix", destinationFromText);
      return change(
          [prefix](Stage& stage) { stage.world().hardware().script().forPrefixDel(prefix); });
   }
   tokens.unexpected(
       "one of capacity, latency, call-cost, not-ready, ready, clear, answer, no, udp-wait");
}

ScenarioEvent parseMachine(Tokens& tokens) {
   if (tokens.take("start")) return change([](Stage& stage) { stage.world().start(); });
   if (tokens.take("build")) return change([](Stage& stage) { stage.world().build(); });
   if (tokens.take("config-ready"))
      return change([](Stage& stage) { stage.world().configReady(); });
   if (tokens.take("initialized")) {
      return change([](Stage& stage) { stage.world().initialized(); });
   }
   if (tokens.take("not-initialized")) {
      return change([](Stage& stage) { stage.world().initializedIs(false); });
   }
   if (tokens.take("stop")) {
      bool const keep = tokens.take("keep-hardware");
      return change([keep](Stage& stage) { stage.world().stop(keep); });
   }
   if (tokens.take("kill")) {
      tokens.need("in");
      tokens.need("call");
      std::uint64_t const call =
          tokens.number("the number of a call", std::numeric_limits<std::uint32_t>::max());
      return change([call](Stage& stage) { stage.killIn(call); });
   }
   bool const interval = tokens.take("review-interval");
   if (interval || tokens.take("review-budget")) {
      double const seconds = tokens.seconds();
      return change([interval, seconds](Stage& stage) {
         ReviewConfiguration& review = stage.world().review();
         (interval ? review.interval : review.budget) = seconds;
         stage.world().reviewChanged();
      });
   }
   tokens.unexpected(
       "one of start, build, config-ready, initialized, not-initialized, stop, kill, "
       "review-interval, review-budget");
}

ScenarioEvent parseEvent(Tokens& tokens) {
   struct Verb {
      char const* word;
      ScenarioEvent (*parse)(Tokens&);
   };
   constexpr std::array verbs = {Verb{"group", parseGroup},
                                 Verb{"replace", parseReplace},
                                 Verb{"interface", parseInterface},
                                 Verb{"no", parseNo},
                                 Verb{"apply", parseApply},
                                 Verb{"hardware", parseHardware},
                                 Verb{"machine", parseMachine},
                                 Verb{"advance", parseAdvance},
                                 Verb{"settle", parseSettle},
                                 Verb{"verify", parseVerify},
                                 Verb{"audit", parseAudit},
                                 Verb{"show", parseShow},
                                 Verb{"expect", parseExpect},
                                 Verb{"trace", parseTrace},
                                 Verb{"say", parseSay}};
   std::string known;
   for (Verb const& verb : verbs) {
      if (tokens.take(verb.word)) return verb.parse(tokens);
      known += (known.empty() ? "one of " : ", ") + std::string(verb.word);
   }
   tokens.unexpected(known);
}

}  // namespace Agent
