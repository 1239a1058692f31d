#include "support/ReentrantWorld.h"
#include "support/Share.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <string>

// Random changes of configuration and interface status, in the middle of which others are made: by
// watchers who hear of each change before the machine does, and by the platform hook. At rest
// everything that the machine holds is compared with what configuration and status call for.
//
// A change that comes in the middle of another must not depend on it: the machine may be told of
// changes in an order in which they were not made, and of some when they are over. The tests of one
// case each (EarlierWatcherTest, TakenBackTest, ChangeInACallTest) have two changes; here are up to
// nine, nested, on what the changes before them left.
//
// A sequence that stops the process prints no seed; a debugger shows it as argument of `faultIn`.

namespace {

using Support::Meddling;
using Support::ReentrantWorld;

constexpr std::uint32_t stepsInSequence = 60;
/// So that there are entries and addresses when the first is meddled with.
constexpr std::uint32_t stepsUndisturbed = 10;

/// What is wrong, and after which step; empty when nothing is. What is done goes to `log`, null
/// for nowhere.
std::string differenceIn(std::uint32_t seed, Meddling meddling, std::string* log) {
   ReentrantWorld world(seed, meddling, log);
   for (std::uint32_t step = 0; step < stepsInSequence; ++step) {
      if (log != nullptr) *log += "step " + std::to_string(step) + "\n";
      world.step(step >= stepsUndisturbed);
      std::string const difference = world.difference();
      if (!difference.empty()) return "After step " + std::to_string(step) + ":\n" + difference;
   }
   world.interfacesGo();
   std::string const difference = world.difference();
   if (!difference.empty()) return "When the interfaces have gone:\n" + difference;
   return world.leftByMachine();
}

/// The same, where an exception is wrong, too: those of the hook do not get here.
std::string faultIn(std::uint32_t seed, Meddling meddling, std::string* log) {
   try {
      return differenceIn(seed, meddling, log);
   } catch (std::exception const& exception) {
      return std::string("An exception: ") + exception.what() + "\n";
   }
}

class ReentrancySoak : public testing::Test {
 protected:
   void thenSequencesEndAsCalledFor(std::uint32_t wholeNumber, Meddling meddling) {
      std::uint32_t const sequences = Support::shareOf(wholeNumber);
      for (std::uint32_t seed = 1; seed <= sequences; ++seed) {
         std::string const fault = faultIn(seed, meddling, nullptr);
         if (fault.empty()) continue;
         // Once more, for somebody to read.
         std::string log;
         faultIn(seed, meddling, &log);
         FAIL() << "seed " << seed << ":\n" << log << fault;
      }
      RecordProperty("sequences", static_cast<int>(sequences));
   }
};

TEST_F(ReentrancySoak, WatchersThatHearFirstMakeChanges) {
   thenSequencesEndAsCalledFor(1500, Meddling::watchers);
}

TEST_F(ReentrancySoak, TheHookMakesChangesToo) {
   thenSequencesEndAsCalledFor(1500, Meddling::hook);
}

TEST_F(ReentrancySoak, TheHookThrowsToo) { thenSequencesEndAsCalledFor(1500, Meddling::faults); }

TEST_F(ReentrancySoak, InitializedIsTakenBackAndGivenAgainToo) {
   thenSequencesEndAsCalledFor(1500, Meddling::readiness);
}

}  // namespace
