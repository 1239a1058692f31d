// What expectations say, met and unmet, and how a scenario ends.

#include "agent/RunCommand.h"
#include "support/TempFile.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Agent {
namespace {

struct Outcome {
   ExitCode code;
   std::string out;
   std::string err;
};

Outcome play(std::string const& scenario, bool json = false) {
   Support::TempFile const file("play.scn", scenario);
   RunOptions options;
   options.scenario = file.path();
   options.json = json;
   std::ostringstream out;
   std::ostringstream err;
   ExitCode const code = run(options, out, err);
   std::string text = err.str();
   for (auto at = text.find(file.path()); at != std::string::npos; at = text.find(file.path())) {
      text.replace(at, file.path().size(), "play.scn");
   }
   return {code, out.str(), text};
}

TEST(ScenarioRun, AnUnmetExpectationShowsWantedBesideFound) {
   Outcome const outcome = play(
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       " expect hardware 10.2.0.0/16 vrf red\n");
   EXPECT_EQ(outcome.code, ExitCode::unmet);
   EXPECT_EQ(outcome.err,
             "play.scn:3:2: expectation not met: wanted hardware 10.2.0.0/16 vrf red; "
             "found hardware gre 10.1.0.0/16 vrf default\n");
   EXPECT_NE(outcome.out.find("    NOT MET\n"
                              "      wanted: hardware 10.2.0.0/16 vrf red\n"
                              "      found:  hardware gre 10.1.0.0/16 vrf default\n"),
             std::string::npos);
   EXPECT_NE(outcome.out.find("Expectations: 0 of 1 met\n"), std::string::npos);
}

TEST(ScenarioRun, GoesOnAfterAnUnmetExpectation) {
   Outcome const outcome = play("expect hardware count 1\nexpect hardware count 0\n");
   EXPECT_EQ(outcome.code, ExitCode::unmet);
   EXPECT_NE(outcome.out.find("Expectations: 1 of 2 met\n"), std::string::npos);
}

TEST(ScenarioRun, ABadLineRunsNothing) {
   Outcome const outcome = play("group a type gre\nadvance soon\n");
   EXPECT_EQ(outcome.code, ExitCode::badInput);
   EXPECT_EQ(outcome.out, "");
   EXPECT_EQ(outcome.err,
             "decap-agent: play.scn:2:9: expected seconds, a number of at least 0, "
             "found \"soon\"\n");
}

/// Each of these is not met after one entry has been programmed.
class UnmetExpectation : public testing::TestWithParam<char const*> {};

TEST_P(UnmetExpectation, IsNoticed) {
   Outcome const outcome =
       play("group a type gre\ngroup a ip 10.1.0.0/16\nexpect " + std::string(GetParam()) + "\n");
   EXPECT_EQ(outcome.code, ExitCode::unmet) << outcome.out;
}

INSTANTIATE_TEST_SUITE_P(
    Each, UnmetExpectation,
    testing::Values("hardware none", "hardware udp 10.1.0.0/16", "hardware 10.1.0.0/16 port 1",
                    "hardware 10.1.0.0/16 payload ip", "hardware 10.1.0.0/16 vrf red",
                    "hardware 10.1.0.0/16, 10.1.0.0/16", "hardware count 2", "backlog 10.1.0.0/16",
                    "backlog count 1", "not-programmed 10.1.0.0/16", "calls none",
                    "calls remove 10.1.0.0/16", "calls program 10.1.0.0/16 -> full",
                    "calls count 2", "log TUNNEL_HW_RESOURCE_FULL", "high-water 2",
                    "references 10.1.0.0/16 2", "resource-full yes", "time 1"));

/// And each of these is met.
class MetExpectation : public testing::TestWithParam<char const*> {};

TEST_P(MetExpectation, IsAccepted) {
   Outcome const outcome =
       play("group a type gre\ngroup a ip 10.1.0.0/16\nexpect " + std::string(GetParam()) + "\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

INSTANTIATE_TEST_SUITE_P(
    Each, MetExpectation,
    testing::Values("hardware 10.1.0.0/16",
                    "hardware gre 10.1.0.0/16 port 0 payload unset vrf default", "hardware count 1",
                    "backlog none", "backlog count 0", "not-programmed none",
                    "calls program 10.1.0.0/16", "calls program gre 10.1.0.0/16 -> success",
                    "calls count 1", "log none", "high-water 1", "references 10.1.0.0/16 1",
                    "resource-full no", "time 0"));

/// What the interface expectations look at: a primary and a virtual address, and a secondary one
/// that nobody was told of.
constexpr char const* anInterface =
    "group a type gre interface all ipv4 address-type all\n"
    "interface Ethernet1 primary 10.0.0.1/24 virtual on secondary 10.0.1.1/24\n";

class UnmetAddressExpectation : public testing::TestWithParam<char const*> {};

TEST_P(UnmetAddressExpectation, IsNoticed) {
   Outcome const outcome = play(std::string(anInterface) + "expect " + GetParam() + "\n");
   EXPECT_EQ(outcome.code, ExitCode::unmet) << outcome.out;
}

INSTANTIATE_TEST_SUITE_P(
    Each, UnmetAddressExpectation,
    testing::Values("addresses a none", "addresses b Ethernet1 primary 10.0.0.1/24",
                    "addresses a Ethernet1 primary 10.0.0.1/24",
                    "addresses a Ethernet1 virtual 10.0.0.1/24, Ethernet1 primary 10.0.0.1/24",
                    "addresses a Ethernet1 primary 10.0.0.1/25, Ethernet1 virtual 10.0.0.1/25",
                    "addresses a Ethernet1 primary 10.0.0.1/24, Ethernet1 secondary 10.0.1.1/24, "
                    "Ethernet1 virtual 10.0.0.1/24",
                    "record Ethernet1 none", "record Ethernet1 primary 10.0.0.1 virtual none",
                    "record Ethernet1 primary 10.0.0.2 virtual 10.0.0.1",
                    "record Ethernet2 primary none virtual none"));

TEST(ScenarioRun, MeetsExpectationsOfAddresses) {
   Outcome const outcome =
       play(std::string(anInterface) +
            "expect addresses a Ethernet1 primary 10.0.0.1/24, Ethernet1 virtual 10.0.0.1/24\n"
            "expect addresses b none\n"
            "expect record Ethernet1 primary 10.0.0.1 virtual 10.0.0.1\n"
            "expect record Ethernet2 none\n"
            "machine stop\n"
            "expect addresses a none\n"
            "expect record Ethernet1 none\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, AnUnmetExpectationOfAddressesShowsWhatThereIs) {
   Outcome const outcome = play(std::string(anInterface) +
                                "expect addresses a none\n"
                                "expect record Ethernet1 none\n");
   EXPECT_EQ(outcome.err,
             "play.scn:3:1: expectation not met: wanted addresses a none; found addresses a "
             "Ethernet1 primary 10.0.0.1/24, Ethernet1 virtual 10.0.0.1/24\n"
             "play.scn:4:1: expectation not met: wanted record Ethernet1 none; found record "
             "Ethernet1 primary 10.0.0.1 virtual 10.0.0.1\n");
}

TEST(ScenarioRun, BothFamiliesOfAnInterfaceGoAlthoughTheFirstFails) {
   Outcome const outcome = play(
       "group a type gre interface all ipv4 interface all ipv6\n"
       "interface Ethernet1\n"
       "interface Ethernet1 primary 10.0.0.1/24 ipv6 2001:db8::1/64\n"
       "hardware answer next fault\n"
       "no interface Ethernet1\n"
       "expect hardware none\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, CallsAreThoseOfTheLastChange) {
   Outcome const outcome = play(
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       "show summary\n"
       "say still the same event\n"
       "expect calls count 1\n"
       "expect calls count 1\n"
       "advance 0\n"
       "expect calls none\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, TracesAreShownFromWhereTheyAreAskedFor) {
   Outcome const outcome = play(
       "group a type gre\n"
       "trace 2\n"
       "group a ip 10.1.0.0/16\n"
       "trace off\n"
       "group a no ip 10.1.0.0/16\n");
   EXPECT_NE(outcome.out.find("    0.000  trace 2  handleUpdateIp decapIp 10.1.0.0/16\n"),
             std::string::npos)
       << outcome.out;
   EXPECT_EQ(outcome.out.find("deleteDecapEntry"), std::string::npos);
}

TEST(ScenarioRun, ShowsCommentsAsTheyStand) {
   Outcome const outcome = play("# first  words\nadvance 1 # not this\n");
   EXPECT_NE(outcome.out.find("# first  words\n> advance 1\n"), std::string::npos) << outcome.out;
}

TEST(ScenarioRun, SettleStopsWhenNothingChangesAnyMore) {
   Outcome const outcome = play(
       "hardware capacity 0\n"
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       "settle\n"
       "expect time 0.1\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, SettleWaitsForHardwareThatWillBeReady) {
   Outcome const outcome = play(
       "hardware not-ready for 5\n"
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       "settle\n"
       "expect hardware 10.1.0.0/16\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, SettleGivesUpAtItsLimit) {
   Outcome const outcome = play(
       "hardware not-ready for 5\n"
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       "settle within 1\n"
       "expect hardware none\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
   EXPECT_NE(outcome.out.find("    not quiet within the time given\n"), std::string::npos);
}

TEST(ScenarioRun, WakesTheMachineEveryTimeItAsksForIt) {
   Outcome const outcome = play(
       "hardware not-ready\n"
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       "advance 1\n"
       "expect calls count 10\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, AReviewIntervalOfZeroDoesNotStandStill) {
   Outcome const outcome = play(
       "machine review-interval 0\n"
       "hardware not-ready\n"
       "group a type gre\n"
       "group a ip 10.1.0.0/16\n"
       "advance 0.01\n"
       "expect calls count 10\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, ALineOfAGroupGoesOnAfterAFault) {
   Outcome const outcome = play(
       "group a type gre\n"
       "hardware answer next fault\n"
       "group a ip 10.1.0.0/16 10.2.0.0/16\n"
       "expect hardware 10.2.0.0/16\n"
       "expect backlog 10.1.0.0/16\n");
   EXPECT_EQ(outcome.code, ExitCode::ok) << outcome.out;
}

TEST(ScenarioRun, JsonListsWhatWasNotMet) {
   Outcome const outcome = play("expect hardware count 1\n", true);
   EXPECT_EQ(outcome.code, ExitCode::unmet);
   EXPECT_NE(outcome.out.find(R"("unmet":[{"line":1,"column":1,"wanted":"hardware count 1",)"
                              R"("found":"hardware count 0"}])"),
             std::string::npos)
       << outcome.out;
}

}  // namespace
}  // namespace Agent
