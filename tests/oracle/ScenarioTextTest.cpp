#include "oracle/ScenarioText.h"

#include "agent/RunCommand.h"
#include "oracle/Generator.h"
#include "support/TempFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>

// What is written is played by the agent, and there the oracle's expectations are met as well.

namespace {

using namespace Oracle;

std::string played(std::string const& scenario) {
   Support::TempFile const file("oracle.scn", scenario);
   Agent::RunOptions options;
   options.scenario = file.path();
   std::ostringstream out;
   std::ostringstream err;
   Agent::ExitCode const code = Agent::run(options, out, err);
   return code == Agent::ExitCode::ok ? std::string() : err.str();
}

/// What the language says exactly. Time passes in other steps there, so hardware has no moods.
bool isSaidExactly(Event const& event) {
   if (event.kind == Kind::groupReplace) return event.word % 4 == 0;
   if (event.kind == Kind::entrySet) return event.addressType() < 2;
   if (event.kind == Kind::prefixAdd || event.kind == Kind::prefixRemove) {
      return prefixOf(event.prefix()).length() != 0;
   }
   constexpr std::array said = {
       Kind::build,          Kind::configReady,       Kind::initialize,  Kind::advance,
       Kind::verify,         Kind::groupPut,          Kind::groupRemove, Kind::tunnelType,
       Kind::port,           Kind::payload,           Kind::entryRemove, Kind::entryAgain,
       Kind::excludeSet,     Kind::excludeRemove,     Kind::ipPrimary,   Kind::ipVirtual,
       Kind::ipSecondaryAdd, Kind::ipSecondaryRemove, Kind::ip6AddrAdd,  Kind::ip6AddrRemove};
   return std::ranges::find(said, event.kind) != said.end();
}

/// Interfaces have both families or none there: they come once, in the beginning.
Events withInterfaces(Events events) {
   std::erase_if(events, [](Event const& event) { return !isSaidExactly(event); });
   Events all;
   for (std::uint8_t intf = 0; intf < intfCount; ++intf) {
      // Without addresses, in the default VRF.
      all.push_back({.kind = Kind::ipPut, .intf = intf, .word = 1U << 29});
      all.push_back({.kind = Kind::ip6Put, .intf = intf, .word = 1U << 29});
   }
   all.insert(all.end(), events.begin(), events.end());
   return all;
}

class WrittenLife : public testing::TestWithParam<std::uint32_t> {};

TEST_P(WrittenLife, PlaysTheSameInTheAgent) {
   Events const events = withInterfaces(generate(GetParam(), 300));
   std::string const scenario = scenarioOf(events, "A test.") + expectationsOf(events);
   EXPECT_NE(scenario.find("expect hardware"), std::string::npos) << scenario;
   EXPECT_EQ(played(scenario), "") << scenario;
}

INSTANTIATE_TEST_SUITE_P(OfSeed, WrittenLife, testing::Range(1U, 11U));

TEST(WrittenScenario, ExpectsReferencesAndCounts) {
   Events const events = {{.kind = Kind::build},
                          {.kind = Kind::configReady},
                          {.kind = Kind::initialize},
                          {.kind = Kind::groupPut},
                          {.kind = Kind::prefixAdd, .word = 0}};
   EXPECT_EQ(expectationsOf(events),
             "expect references gre 10.1.0.0/16 port 6080 payload ip vrf default 1\n"
             "expect hardware count 1\n"
             "expect backlog count 0\n"
             "expect differences 0\n");
}

/// The lines of an event alone.
std::string linesOf(Event const& event, Events const& before = {}) {
   Scene scene;
   for (Event const& earlier : before) scene.apply(earlier);
   Scene const then = scene;
   EXPECT_TRUE(scene.apply(event));
   ScenarioText text;
   text.add(event, then, scene);
   return text.text();
}

TEST(ScenarioText, SaysSoWhereTheLanguageHasNoWord) {
   EXPECT_EQ(linesOf({.kind = Kind::configAway}, {{.kind = Kind::build}}),
             "# no word for it here: configuration taken away\n");
}

TEST(ScenarioText, ComesAsNearAsItCan) {
   Event const put{.kind = Kind::ipPut, .intf = 0, .word = 1U << 29};
   EXPECT_EQ(linesOf({.kind = Kind::ipPut, .intf = 0, .word = (1U << 29) + 2}, {put}),
             "# near: the interface is removed and made again, for both families\n"
             "no interface Ethernet1\n"
             "interface Ethernet1 vrf default primary 10.0.0.2/32\n");
}

TEST(ScenarioText, AGroupOutsideTheConfigurationIsNotMentioned) {
   EXPECT_EQ(linesOf({.kind = Kind::port, .group = 1, .word = 2}), "");
   EXPECT_EQ(
       linesOf({.kind = Kind::groupPut, .group = 1}, {{.kind = Kind::port, .group = 1, .word = 2}}),
       "group g1 type gre port 4789 payload ip vrf default\n");
}

// Every line that can be written can be read.
TEST(ScenarioText, IsAlwaysReadByTheAgent) {
   for (std::uint32_t seed = 100; seed < 130; ++seed) {
      std::string const error = played(scenarioOf(generate(seed, 250), "A test."));
      EXPECT_EQ(error, "") << "seed " << seed;
   }
}

}  // namespace
