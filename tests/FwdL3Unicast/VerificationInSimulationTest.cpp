#include "support/DecapFixture.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

/// A simulation stops at the first inconsistency, after it has recorded it.
class VerificationInSimulation : public DecapFixture {
 protected:
   VerificationInSimulation() {
      givenGroup("red");
      givenRunning();
   }
   ~VerificationInSimulation() override { unsetenv(simulation); }

   void givenUncountedPrefixKey(std::string_view destination) {
      reactor("red")->decapKeyFromIpIs(key(destination), true);
   }
   void givenUncountedIntfKey(std::string_view destination) {
      reactor("red")->decapKeyFromIntfIs(key(destination), true);
   }

   /// Writes what was recorded when the process stops: nothing outlives it. In a signal handler, so
   /// without asking for memory.
   static void writeRecorded(int) {
      for (auto const& output : recorded->verifyOutput()) {
         std::fprintf(stderr, "recorded: %s | %s | %s | code %u | %s\n", output.text.charPtr(),
                      output.file.charPtr(), output.function.charPtr(), unsigned{output.code},
                      output.line > 0 ? "with a line" : "without a line");
      }
      std::fprintf(stderr, "lines of the command: %zu\n", recorded->cliVerifyOutput().size());
   }
   void stops(char const* value) {
      setenv(simulation, value, 1);
      recorded = verifyData;
      std::signal(SIGABRT, writeRecorded);
      sm->handleVerify();
   }
   static inline Mdl::Ptr<Fwd::VerifyData> recorded;
   static constexpr char simulation[] = "SIMULATION_VMID";
   static constexpr char assertion[] =
       "Assertion failed: 0, file FwdL3Unicast/FwdDecapGroup, function "
       "void Fwd::FwdDecapGroupSm::handleVerify\\(\\)";
};

using VerificationInSimulationDeath = VerificationInSimulation;

TEST_F(VerificationInSimulationDeath, StopsTheProcess) {
   givenUncountedPrefixKey("10.1.0.0/16");
   EXPECT_DEATH(stops("7"), assertion);
}

TEST_F(VerificationInSimulationDeath, StopsTheProcessWhateverTheValue) {
   givenUncountedIntfKey("10.1.0.0/16");
   EXPECT_DEATH(stops(""), assertion);
}

TEST_F(VerificationInSimulationDeath, RecordsThePrefixKeyBeforeItStops) {
   givenUncountedPrefixKey("10.1.0.0/16");
   EXPECT_DEATH(stops("7"),
                "recorded: key Value.*10\\.1\\.0\\.0/16.* isn't member of  refCount or "
                "unprogrammedKey collections \\| FwdL3Unicast/FwdDecapGroup \\| handleVerify \\| "
                "code 3 \\| with a line\nlines of the command: 0");
}

TEST_F(VerificationInSimulationDeath, RecordsTheInterfaceKeyBeforeItStops) {
   givenUncountedIntfKey("10.2.0.0/16");
   EXPECT_DEATH(stops("7"),
                "recorded: key Value.*10\\.2\\.0\\.0/16.* isn't member of refCount or "
                "unprogrammedKey collections \\| FwdL3Unicast/FwdDecapGroup \\| handleVerify \\| "
                "code 3 \\| with a line\nlines of the command: 0");
}

TEST_F(VerificationInSimulationDeath, StopsTheProcessAlsoWithNothingToRecordItIn) {
   givenUncountedPrefixKey("10.1.0.0/16");
   setenv(simulation, "7", 1);
   EXPECT_DEATH(
       {
          sm->verifyDataDel();
          sm->handleVerify();
       },
       assertion);
}

TEST_F(VerificationInSimulation, PassesConsistentKeys) {
   whenDecapIpAdded("red", "10.1.0.0/16");
   setenv(simulation, "7", 1);
   sm->handleVerify();
   EXPECT_TRUE(verifyData->verifyOutput().empty());
   EXPECT_TRUE(verifyData->cliVerifyOutput().empty());
}

}  // namespace
