#include "platform/sim/Script.h"

#include <gtest/gtest.h>

namespace Sim {
namespace {

Pkt::IpGenPrefix prefix(char const* text) { return Pkt::IpGenPrefix::fromText(text); }

Fwd::DecapKey key(char const* destination) {
   return {{},
           prefix(destination),
           Tunnel::Decap::TunnelType::gre,
           0,
           Tunnel::Decap::PayloadType::unset,
           L3::VrfName::defaultVrf()};
}

Answer const full = Answer::of(Fwd::dgRcHwFull);
Answer const pending = Answer::of(Fwd::dgRcPending);
Answer const unsupported = Answer::of(Fwd::dgRcUnSupported);

TEST(Script, SaysNothingAtFirst) {
   Script script;
   EXPECT_FALSE(script.take(1, key("10.1.0.0/16")));
   EXPECT_FALSE(script.changesByCalls());
}

TEST(Script, AnswersTheNthCallOnly) {
   Script script;
   script.atCall(2, full);
   EXPECT_FALSE(script.take(1, key("10.1.0.0/16")));
   EXPECT_EQ(script.take(2, key("10.1.0.0/16")), full);
   EXPECT_FALSE(script.take(3, key("10.1.0.0/16")));
   EXPECT_FALSE(script.changesByCalls());
}

TEST(Script, ForgetsARuleForACallThatHasPassed) {
   Script script;
   script.atCall(2, full);
   EXPECT_FALSE(script.take(5, key("10.1.0.0/16")));
   EXPECT_FALSE(script.changesByCalls());
}

TEST(Script, AnswersTheNextCallsInTheOrderOfTheRules) {
   Script script;
   script.next(full, 2);
   script.next(pending);
   EXPECT_EQ(script.take(1, key("10.1.0.0/16")), full);
   EXPECT_EQ(script.take(2, key("10.2.0.0/16")), full);
   EXPECT_EQ(script.take(3, key("10.3.0.0/16")), pending);
   EXPECT_FALSE(script.take(4, key("10.4.0.0/16")));
}

TEST(Script, AnswersADestinationAlways) {
   Script script;
   script.forPrefix(prefix("10.1.0.0/16"), unsupported);
   EXPECT_EQ(script.take(1, key("10.1.0.0/16")), unsupported);
   EXPECT_FALSE(script.take(2, key("10.2.0.0/16")));
   EXPECT_EQ(script.take(3, key("10.1.0.0/16")), unsupported);
   EXPECT_FALSE(script.changesByCalls());
   script.forPrefixDel(prefix("10.1.0.0/16"));
   EXPECT_FALSE(script.take(4, key("10.1.0.0/16")));
}

TEST(Script, AnswersADestinationForANumberOfCalls) {
   Script script;
   script.forPrefix(prefix("10.1.0.0/16"), full, 2);
   EXPECT_TRUE(script.changesByCalls());
   EXPECT_EQ(script.take(1, key("10.1.0.0/16")), full);
   EXPECT_EQ(script.take(2, key("10.1.0.0/16")), full);
   EXPECT_FALSE(script.take(3, key("10.1.0.0/16")));
   EXPECT_FALSE(script.changesByCalls());
}

TEST(Script, TheMostExactRuleWins) {
   Script script;
   script.forPrefix(prefix("10.1.0.0/16"), unsupported);
   script.next(pending);
   script.atCall(1, full);
   EXPECT_EQ(script.take(1, key("10.1.0.0/16")), full);
   EXPECT_EQ(script.take(2, key("10.1.0.0/16")), pending);
   EXPECT_EQ(script.take(3, key("10.1.0.0/16")), unsupported);
}

TEST(Script, ClearForgetsEverything) {
   Script script;
   script.forPrefix(prefix("10.1.0.0/16"), unsupported);
   script.next(pending);
   script.atCall(1, full);
   script.clear();
   EXPECT_FALSE(script.take(1, key("10.1.0.0/16")));
}

}  // namespace
}  // namespace Sim
