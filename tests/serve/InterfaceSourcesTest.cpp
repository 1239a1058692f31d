#include "agent/serve/InterfaceSources.h"

#include "agent/World.h"
#include "support/Reloads.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

/// A world that is shown interfaces from two sides.
class Sources : public testing::TestWithParam<InterfaceMode> {
 protected:
   InterfaceConfiguration interface(char const* name, char const* primary) const {
      InterfaceConfiguration made;
      made.name = Pkt::IntfId(name);
      made.primary = Pkt::IpAddrWithMask::fromText(primary);
      return made;
   }
   Changes whenFileIs(std::vector<InterfaceConfiguration> const& list) {
      Reload reload(world, {});
      sources.fileIs(list, reload);
      return reload.changes();
   }
   Changes whenLiveIs(InterfaceConfiguration const& one) {
      Reload reload(world, {});
      sources.liveIs(one, reload);
      return reload.changes();
   }
   Changes whenLiveDel(char const* name) {
      Reload reload(world, {});
      sources.liveDel(Pkt::IntfId(name), reload);
      return reload.changes();
   }
   /// "Ethernet1 10.0.0.1/24", in the order of names.
   std::vector<std::string> shown() const {
      std::vector<std::string> texts;
      for (auto const& entry : world.interfaces()) {
         texts.push_back(entry.key.name().stdString() + ' ' +
                         entry.value.ip->addrWithMask().stringValue().stdString());
      }
      std::ranges::sort(texts);
      return texts;
   }
   using Texts = std::vector<std::string>;

   World world;
   InterfaceSources sources{GetParam()};
};

class LiveSources : public Sources {};
class FileSources : public Sources {};
class BothSources : public Sources {};

INSTANTIATE_TEST_SUITE_P(Mode, LiveSources, testing::Values(InterfaceMode::live));
INSTANTIATE_TEST_SUITE_P(Mode, FileSources, testing::Values(InterfaceMode::file));
INSTANTIATE_TEST_SUITE_P(Mode, BothSources, testing::Values(InterfaceMode::both));

TEST_P(LiveSources, LookAtTheSystemOnly) {
   whenLiveIs(interface("eth0", "10.0.0.1/24"));
   EXPECT_FALSE(whenFileIs({interface("eth1", "10.0.1.1/24")}).any());
   EXPECT_EQ(shown(), Texts{"eth0 10.0.0.1/24"});
   EXPECT_EQ(sources.fromFile(), 0u);
   EXPECT_EQ(sources.fromSystem(), 1u);
}

TEST_P(LiveSources, FollowTheSystem) {
   whenLiveIs(interface("eth0", "10.0.0.1/24"));
   EXPECT_EQ(whenLiveIs(interface("eth0", "10.0.0.2/24")), (Changes{.interfacesChanged = 1}));
   EXPECT_EQ(shown(), Texts{"eth0 10.0.0.2/24"});
   EXPECT_EQ(whenLiveDel("eth0"), (Changes{.interfacesRemoved = 1}));
   EXPECT_EQ(shown(), Texts());
}

TEST_P(FileSources, LookAtTheFileOnly) {
   whenFileIs({interface("eth1", "10.0.1.1/24")});
   EXPECT_FALSE(whenLiveIs(interface("eth0", "10.0.0.1/24")).any());
   EXPECT_FALSE(whenLiveIs(interface("eth1", "10.0.0.1/24")).any());
   EXPECT_FALSE(whenLiveDel("eth1").any());
   EXPECT_EQ(shown(), Texts{"eth1 10.0.1.1/24"});
   EXPECT_EQ(sources.fromFile(), 1u);
   EXPECT_EQ(sources.fromSystem(), 0u);
}

TEST_P(FileSources, DropWhatTheFileDrops) {
   whenFileIs({interface("eth1", "10.0.1.1/24"), interface("eth2", "10.0.2.1/24")});
   EXPECT_EQ(whenFileIs({interface("eth2", "10.0.2.1/24")}), (Changes{.interfacesRemoved = 1}));
   EXPECT_EQ(shown(), Texts{"eth2 10.0.2.1/24"});
}

TEST_P(BothSources, ShowWhatIsOnEitherSide) {
   whenLiveIs(interface("eth0", "10.0.0.1/24"));
   whenFileIs({interface("eth1", "10.0.1.1/24")});
   EXPECT_EQ(shown(), (Texts{"eth0 10.0.0.1/24", "eth1 10.0.1.1/24"}));
   EXPECT_EQ(sources.fromFile(), 1u);
   EXPECT_EQ(sources.fromSystem(), 1u);
}

TEST_P(BothSources, TheFileIsAheadOfTheSystem) {
   whenLiveIs(interface("eth0", "10.0.0.1/24"));
   EXPECT_EQ(whenFileIs({interface("eth0", "10.0.1.1/24")}), (Changes{.interfacesChanged = 1}));
   EXPECT_EQ(shown(), Texts{"eth0 10.0.1.1/24"});
   EXPECT_FALSE(whenLiveIs(interface("eth0", "10.0.0.2/24")).any());
   EXPECT_EQ(shown(), Texts{"eth0 10.0.1.1/24"});
}

TEST_P(BothSources, WhatTheFileDropsIsTheSystemsAgain) {
   whenFileIs({interface("eth0", "10.0.1.1/24")});
   whenLiveIs(interface("eth0", "10.0.0.1/24"));
   EXPECT_EQ(whenFileIs({}), (Changes{.interfacesChanged = 1}));
   EXPECT_EQ(shown(), Texts{"eth0 10.0.0.1/24"});
   whenLiveIs(interface("eth0", "10.0.0.3/24"));
   EXPECT_EQ(shown(), Texts{"eth0 10.0.0.3/24"}) << "the system is followed from now on";
}

TEST_P(BothSources, WhatTheFileDropsGoesWhenTheSystemHasItNoMore) {
   whenLiveIs(interface("eth0", "10.0.0.1/24"));
   whenFileIs({interface("eth0", "10.0.1.1/24")});
   EXPECT_FALSE(whenLiveDel("eth0").any());
   EXPECT_EQ(shown(), Texts{"eth0 10.0.1.1/24"}) << "the file has it still";
   EXPECT_EQ(whenFileIs({}), (Changes{.interfacesRemoved = 1}));
   EXPECT_EQ(shown(), Texts());
}

TEST_P(BothSources, ANameThatNobodyHasIsNotMissed) {
   EXPECT_FALSE(whenLiveDel("eth7").any());
   EXPECT_EQ(shown(), Texts());
}

TEST(Modes, HaveNames) {
   EXPECT_STREQ(modeText(InterfaceMode::live), "live");
   EXPECT_STREQ(modeText(InterfaceMode::file), "file");
   EXPECT_STREQ(modeText(InterfaceMode::both), "both");
}

}  // namespace
}  // namespace Agent
