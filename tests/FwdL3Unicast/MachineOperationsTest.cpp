#include "mdl/Exception.h"
#include "mdl/Reflection.h"
#include "mdl/System.h"
#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

#include <array>

namespace {

/// The machine's operations, called by their names.
class MachineOperations : public DecapFixture {};

TEST_F(MachineOperations, CallsItsOperations) {
   givenRunning();
   Mdl::String const text(Support::rep(key("10.1.0.0/16")));
   Mdl::invoke(*sm, "updateRefCount", std::array{text, Mdl::String("true")});
   thenCounts({"udp 10.1.0.0/16 port 6080 payload ip vrf default x1"});
   Mdl::invoke(*sm, "addKeyToUnprogrammed", std::array{text});
   thenBacklog({"udp 10.1.0.0/16 port 6080 payload ip vrf default"});
   Mdl::invoke(*sm, "doReview");
   thenHardware({"udp 10.1.0.0/16 port 6080 payload ip vrf default"});
   sm->decapIntfIpIs(intf("et1"));
   Mdl::invoke(*sm, "decapIntfIpDel", std::array{Mdl::String("'et1'")});
   EXPECT_TRUE(sm->decapIntfIp().empty());
   Mdl::invoke(*sm, "updateRefCount", std::array{text, Mdl::String("false")});
   thenCounts({});
}

TEST_F(MachineOperations, SchedulesAReviewByItsName) {
   givenGroup("red");
   givenRunning();
   hardware->notReadyUntilIs(Mdl::never);
   whenDecapIpAdded("red", "10.1.0.0/16");
   sm->mdlClock()->timeMinIs(Mdl::never);
   Mdl::invoke(*sm, "doMaybeScheduleReview");
   EXPECT_EQ(sm->mdlClock()->timeMin(), Mdl::System::currentTime() + sm->reviewInterval());
}

TEST_F(MachineOperations, CallsTheHandlersOfStartUp) {
   givenMachine();
   givenTraceLevels({2});
   Mdl::invoke(*sm, "handleInitialized");
   thenTraces({"handleInitialized"});
   config->readyIs(true);
   forgetSoFar();
   Mdl::invoke(*sm, "handleDecapGroupConfigReady");
   Mdl::invoke(*sm, "handleVerify");
   thenTraces({"handleDecapGroupConfigReady", "handleVerify"});
}

TEST_F(MachineOperations, RefusesToCallWithWrongArguments) {
   givenRunning();
   Mdl::String const noKey("nonsense");
   EXPECT_THROW(Mdl::invoke(*sm, "updateRefCount", std::array{noKey}), Mdl::ReflectionException);
   EXPECT_THROW(Mdl::invoke(*sm, "addKeyToUnprogrammed", std::array{noKey}), Mdl::ParseException);
   EXPECT_THROW(Mdl::invoke(*sm, "refCount"), Mdl::ReflectionException);
   EXPECT_THROW(Mdl::invoke(*sm, "colour"), Mdl::ReflectionException);
   thenBacklog({});
   thenCounts({});
}

}  // namespace
