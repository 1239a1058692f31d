#include "support/AddressWorld.h"

#include <cstdint>
#include <memory>
#include <string>

// The hook makes another change while it is asked to program or to remove a key because of the
// first. In the end hardware has what it has when the one follows the other, or what a machine
// would program that finds the same configuration and addresses.

namespace {

using Support::AddressWorld;
using Support::Change;

class ChangeInACall : public Support::AddressWorldFixture {
 protected:
   enum class Call : std::uint8_t { program, remove };

   Texts oneAfterTheOther(Change const& second) {
      AddressWorld const world = givenWorld();
      givenRunning();
      first().make(world);
      second.make(world);
      whenAllIsReviewed();
      return held();
   }
   /// Makes `second` in the n-th call that `first` leads to. False when it does not lead to as
   /// many.
   bool oneInsideTheOther(Change const& second, Call call, std::uint64_t n) {
      AddressWorld const world = givenWorld();
      givenRunning();
      enum class Turn : std::uint8_t { comes, came, isOver };
      auto const turn = std::make_shared<Turn>(Turn::comes);
      auto const act = [turn, world, second] {
         if (*turn != Turn::comes) return;
         *turn = Turn::came;
         second.make(world);
      };
      if (call == Call::program) {
         hardware->duringProgram(hardware->programCalls() + n, act);
      } else {
         hardware->duringRemoval(hardware->removeCalls() + n, act);
      }
      first().make(world);
      bool const came = *turn == Turn::came;
      *turn = Turn::isOver;
      whenAllIsReviewed();
      return came;
   }
};

TEST_P(ChangeInACall, EndsLikeOneAfterTheOther) {
   for (Change const& second : Support::allChanges()) {
      Texts const after = oneAfterTheOther(second);
      for (Call const call : {Call::program, Call::remove}) {
         for (std::uint64_t n = 1; oneInsideTheOther(second, call, n); ++n) {
            SCOPED_TRACE((call == Call::program ? "programming " : "removal ") + std::to_string(n) +
                         ": " + second.name);
            EXPECT_TRUE(held() == after || held() == calledFor()) << testing::PrintToString(held());
            thenBooksAgree();
            thenAllGoesWithTheInterface();
         }
      }
   }
}

/// Left out of the entry for all, and taken in again.
void isIncludedAgain(AddressWorld const& world) {
   Pkt::IntfId const ethernet1{Mdl::String("Ethernet1")};
   for (std::uint32_t const family : {Pkt::familyIpv4, Pkt::familyIpv6}) {
      Tunnel::Decap::DecapExcludeIntfSet set({Pkt::emptyIntfId, family});
      set.excludeIntfIs(ethernet1);
      world.group->decapExcludeIntfSetIs(set);
      world.group->decapExcludeIntfSetDel({Pkt::emptyIntfId, family});
   }
}

INSTANTIATE_TEST_SUITE_P(Inclusion, ChangeInACall,
                         testing::Combine(testing::Values(Support::Entries::all),
                                          testing::Values(Change{"IsIncludedAgain",
                                                                 isIncludedAgain})),
                         Support::nameOfChange);
INSTANTIATE_TEST_SUITE_P(First, ChangeInACall, Support::eachFirstChange(), Support::nameOfChange);

}  // namespace
