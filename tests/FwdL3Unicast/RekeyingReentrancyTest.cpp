#include "support/Generate.h"
#include "support/RekeyScene.h"

#include <iterator>
#include <ostream>
#include <span>
#include <string_view>

namespace {

using Support::RekeyScene;
using Tunnel::Decap::PayloadType;
using Tunnel::Decap::TunnelType;

struct Event {
   char const* name;
   RekeyScene::Act act;

   friend void PrintTo(Event const& event, std::ostream* out) { *out << event.name; }
};

/// What the group is going through.
constexpr Event changes[] = {
    {"DestPort", [](RekeyScene& s) { s.changeRed([](auto& red) { red.destPortIs(6081); }); }},
    {"DestPortUnset", [](RekeyScene& s) { s.changeRed([](auto& red) { red.destPortIs(0); }); }},
    {"PayloadType",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.payloadTypeIs(PayloadType::mpls); }); }},
    {"ForwardingVrf",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.forwardingVrfIs(RekeyScene::vrf("blue")); });
     }},
    {"TunnelType",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.tunnelTypeIs(TunnelType::gre); }); }},
    {"TunnelTypeUnknown",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.tunnelTypeIs(TunnelType::unknown); }); }},
    {"AnotherEntity", [](RekeyScene& s) { s.replaceRed({}, "10.1.0.0/16"); }},
    {"Removal", [](RekeyScene& s) { s.removeRed(); }},
    // The other way round: the group is re-keyed while one of its keys goes.
    {"PrefixRemoval",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.decapIpDel(RekeyScene::prefix("10.1.0.0/16")); });
     }},
    {"EntryRemoval",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) {
           red.decapIntfDel({RekeyScene::intf("Ethernet1"), RekeyScene::ipv4});
        });
     }},
    {"AddressChange", [](RekeyScene& s) { s.moveInterface("Ethernet1", "10.0.0.7/24"); }},
    {"InterfaceRemoval",
     [](RekeyScene& s) { s.ip->ipIntfStatusDel(RekeyScene::intf("Ethernet1")); }},
};

/// What the hook does meanwhile.
constexpr Event acts[] = {
    {"Nothing", [](RekeyScene&) {}},
    {"PortChanges", [](RekeyScene& s) { s.changeRed([](auto& red) { red.destPortIs(7000); }); }},
    {"PortChangesBack",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.destPortIs(6080); }); }},
    {"PortGoes", [](RekeyScene& s) { s.changeRed([](auto& red) { red.destPortIs(0); }); }},
    {"PayloadChanges",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.payloadTypeIs(PayloadType::mpls); }); }},
    {"PayloadChangesBack",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.payloadTypeIs(PayloadType::ip); }); }},
    {"VrfChanges",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.forwardingVrfIs(RekeyScene::vrf("grey")); });
     }},
    {"VrfChangesBack",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.forwardingVrfIs(RekeyScene::vrf("default")); });
     }},
    {"TypeChanges",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.tunnelTypeIs(TunnelType::ipip); }); }},
    {"TypeGoes",
     [](RekeyScene& s) { s.changeRed([](auto& red) { red.tunnelTypeIs(TunnelType::unknown); }); }},
    {"TypeGoesAndComes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) {
           red.tunnelTypeIs(TunnelType::unknown);
           red.tunnelTypeIs(TunnelType::udp);
        });
     }},
    {"EverythingChanges",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) {
           red.destPortIs(7000);
           red.payloadTypeIs(PayloadType::mpls);
           red.forwardingVrfIs(RekeyScene::vrf("grey"));
           red.tunnelTypeIs(TunnelType::ipip);
        });
     }},
    {"GroupGoes", [](RekeyScene& s) { s.removeRed(); }},
    {"GroupIsReplaced", [](RekeyScene& s) { s.replaceRed({}, "10.3.0.0/16"); }},
    {"GroupGoesAndComes",
     [](RekeyScene& s) {
        s.removeRed();
        s.replaceRed({}, "10.3.0.0/16");
     }},
    {"FirstPrefixGoes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.decapIpDel(RekeyScene::prefix("10.1.0.0/16")); });
     }},
    {"SecondPrefixGoes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.decapIpDel(RekeyScene::prefix("10.2.0.0/16")); });
     }},
    {"AllPrefixesGo", [](RekeyScene& s) { s.changeRed([](auto& red) { red.decapIpDelAll(); }); }},
    {"APrefixGoesAndComes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) {
           red.decapIpDel(RekeyScene::prefix("10.1.0.0/16"));
           red.decapIpIs(RekeyScene::prefix("10.1.0.0/16"));
        });
     }},
    {"APrefixComes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) { red.decapIpIs(RekeyScene::prefix("10.3.0.0/16")); });
     }},
    {"TheEntryGoes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) {
           red.decapIntfDel({RekeyScene::intf("Ethernet1"), RekeyScene::ipv4});
        });
     }},
    {"AnEntryComes",
     [](RekeyScene& s) {
        s.changeRed([](auto& red) {
           red.decapIntfIs(
               RekeyScene::DecapIntf({RekeyScene::intf("Ethernet2"), RekeyScene::ipv4}));
        });
     }},
    {"TheAddressMoves", [](RekeyScene& s) { s.moveInterface("Ethernet1", "10.0.0.9/24"); }},
    {"TheInterfaceGoes",
     [](RekeyScene& s) { s.ip->ipIntfStatusDel(RekeyScene::intf("Ethernet1")); }},
    {"AnotherGroupTakesAPrefix", [](RekeyScene& s) { s.whenDecapIpAdded("green", "10.1.0.0/16"); }},
    {"AnotherGroupLeavesThePrefix",
     [](RekeyScene& s) { s.whenDecapIpRemoved("green", "10.2.0.0/16"); }},
    {"AnotherGroupFollows", [](RekeyScene& s) { s.groupNamed("green").destPortIs(6081); }},
    {"TimePasses", [](RekeyScene& s) { s.whenTimePasses(1.0); }},
    {"TheHandlerRunsAgain",
     [](RekeyScene& s) {
        if (!s.sm) return;
        if (auto const red = s.sm->mdlDecapGroup(Mdl::String("red"))) red->handleUpdateDestPort();
     }},
    {"TheLastPointerGoes", [](RekeyScene& s) { s.dropMachine(); }},
};

std::string nameOf(Event const& change, Event const& act) {
   return std::string(change.name) + "While" + act.name;
}

/// Every change with every act of the hook, in each call that the change leads to.
class RekeyingReentrancy : public ::testing::TestWithParam<std::tuple<Event, Event>> {};

TEST_P(RekeyingReentrancy, EndsInWhatTheConfigurationCallsFor) {
   auto const& [change, act] = GetParam();
   std::uint64_t programs = 0;
   std::uint64_t removals = 0;
   {
      RekeyScene undisturbed;
      change.act(undisturbed);
      programs = undisturbed.programs();
      removals = undisturbed.removals();
      undisturbed.thenAllIsAsConfigured();
   }
   ASSERT_GT(programs + removals, 0U);
   for (std::uint64_t call = 1; call <= programs; ++call) {
      SCOPED_TRACE("in program call " + std::to_string(call));
      RekeyScene scene;
      scene.duringProgram(call, act.act);
      change.act(scene);
      scene.thenAllIsAsConfigured();
   }
   for (std::uint64_t call = 1; call <= removals; ++call) {
      SCOPED_TRACE("in removal call " + std::to_string(call));
      RekeyScene scene;
      scene.duringRemoval(call, act.act);
      change.act(scene);
      scene.thenAllIsAsConfigured();
   }
}

INSTANTIATE_TEST_SUITE_P(Each, RekeyingReentrancy,
                         ::testing::Combine(::testing::ValuesIn(changes),
                                            ::testing::ValuesIn(acts)),
                         [](auto const& tested) {
                            return nameOf(std::get<0>(tested.param), std::get<1>(tested.param));
                         });

/// Acts in several calls of one change.
class RekeyingReentrancyTogether : public ::testing::Test {
 protected:
   static RekeyScene::Act named(std::span<Event const> events, std::string_view name) {
      for (Event const& event : events) {
         if (name == event.name) return event.act;
      }
      ADD_FAILURE() << "no event " << name;
      return [](RekeyScene&) {};
   }
   void inProgram(std::uint64_t call, char const* act) {
      scene.duringProgram(call, named(acts, act));
   }
   void inRemoval(std::uint64_t call, char const* act) {
      scene.duringRemoval(call, named(acts, act));
   }
   void whenChanged(char const* change) { named(changes, change)(scene); }

   RekeyScene scene;
};

TEST_F(RekeyingReentrancyTogether, APrefixThatComesBackWhileItsKeyGoesDoesNotKeepTheOldKey) {
   inRemoval(5, "AnotherGroupFollows");
   inRemoval(6, "APrefixGoesAndComes");
   inRemoval(7, "PortGoes");
   whenChanged("AnotherEntity");
   scene.thenAllIsAsConfigured();
}

TEST_F(RekeyingReentrancyTogether, APrefixThatGoesWithItsOldKeyLeavesTheOneOfTheNextGroup) {
   inProgram(1, "TypeChanges");
   inRemoval(4, "AllPrefixesGo");
   inRemoval(5, "EverythingChanges");
   inProgram(5, "GroupIsReplaced");
   whenChanged("ForwardingVrf");
   scene.thenAllIsAsConfigured();
}

// Several acts in calls of acts: what no list of cases thinks of.
TEST(RekeyingReentrancyAtRandom, EndsInWhatTheConfigurationCallsFor) {
   Support::Generate generate(20240611);
   for (int run = 0; run < 3000 && !::testing::Test::HasFailure(); ++run) {
      std::string story;
      RekeyScene scene;
      Event const& change = changes[generate.below(std::size(changes))];
      for (std::uint32_t i = 0; i < 4; ++i) {
         Event const& act = acts[generate.below(std::size(acts) - 1)];
         std::uint64_t const call = 1 + generate.below(8);
         bool const inProgram = generate.oneIn(2);
         if (inProgram) {
            scene.duringProgram(call, act.act);
         } else {
            scene.duringRemoval(call, act.act);
         }
         story += std::string(act.name) + (inProgram ? " in program " : " in removal ") +
                  std::to_string(call) + ", ";
      }
      SCOPED_TRACE("run " + std::to_string(run) + ": " + story + change.name);
      change.act(scene);
      scene.thenAllIsAsConfigured();
   }
}

}  // namespace
