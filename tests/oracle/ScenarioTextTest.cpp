#include "oracle/ScenarioText.h"

#include "agent/RunCommand.h"
#include "oracle/Generator.h"
#include "support/TempFile.h"

#include <gtest/gtest.h>

#include <algorithm>
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
   switch (event.kind) {
      case Kind::build:
      case Kind::configReady:
      case Kind::initialize:
      case Kind::advance:
      case Kind::verify:
      case Kind::groupPut:
      case Kind::groupRemove:
      case Kind::tunnelType:
      case Kind::port:
      case Kind::payload:
      case Kind::entryRemove:
      case Kind::entryAgain:
      case Kind::excludeSet:
      case Kind::excludeRemove:
      case Kind::ipPrimary:
      case Kind::ipVirtual:
      case Kind::ipSecondaryAdd:
      case Kind::ipSecondaryRemove:
      case Kind::ip6AddrAdd:
      case Kind::ip6AddrRemove: return true;
      case Kind::prefixAdd:
      case Kind::prefixRemove: return prefixOf(event.prefix()).length() != 0;
      case Kind::groupReplace: return event.word % 4 == 0;
      case Kind::entrySet: return event.addressType() < 2;
      default: return false;
   }
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

class WrittenScenario : public testing::TestWithParam<std::uint32_t> {};

TEST_P(WrittenScenario, PlaysTheSameInTheAgent) {
   Events const events = withInterfaces(generate(GetParam(), 300));
   std::string const scenario = scenarioOf(events, "A test.") + expectationsOf(events);
   EXPECT_NE(scenario.find("expect references"), std::string::npos) << scenario;
   EXPECT_EQ(played(scenario), "") << scenario;
}

INSTANTIATE_TEST_SUITE_P(OfSeed, WrittenScenario, testing::Range(1U, 11U));

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
   EXPECT_EQ(
       linesOf({.kind = Kind::uninitialize}, {{.kind = Kind::build}, {.kind = Kind::initialize}}),
       "# no word for it here: machine not initialized any more\n");
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
