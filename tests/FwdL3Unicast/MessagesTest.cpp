#include "FwdL3Unicast/FwdDecapGroup.h"
#include "mdl/Log.h"
#include "mdl/Trace.h"

#include <gtest/gtest.h>

namespace {

TEST(Messages, TheTraceFacilityIsFwdDecapGroup) {
   EXPECT_STREQ(Fwd::traceHandle.facility(), "FwdDecapGroup");
   EXPECT_EQ(Mdl::TraceHandle::find("FwdDecapGroup"), &Fwd::traceHandle);
}

TEST(Messages, NothingIsTracedAtFirst) { EXPECT_EQ(Fwd::traceHandle.mask(), 0U); }

TEST(Messages, ResourceFullIsDefinedAtLoadTime) {
   Mdl::LogHandle const* const handle = Mdl::LogHandle::find("TUNNEL_HW_RESOURCE_FULL");
   ASSERT_EQ(handle, &Fwd::TUNNEL_HW_RESOURCE_FULL);
   EXPECT_STREQ(handle->name(), "TUNNEL_HW_RESOURCE_FULL");
   EXPECT_EQ(handle->severity(), 3U);
   EXPECT_STREQ(handle->format(), "Hardware resources are insufficient to program all tunnels.");
   EXPECT_STREQ(handle->explanation(),
                "The switch is unable to program all tunnels due to insufficient hardware "
                "resources. Packets to/from one or more tunnels may not get forwarded in "
                "hardware.");
   EXPECT_STREQ(handle->recommendedAction(),
                "Reconfigure your network to reduce the number of tunnels in the switch.");
   EXPECT_EQ(handle->interval(), 0.0);
   EXPECT_EQ(handle->rate(), 1.0);
   EXPECT_EQ(handle->firstCount(), 0U);
   EXPECT_EQ(handle->secondCount(), 0U);
}

TEST(Messages, ResourceNormalIsDefinedAtLoadTime) {
   Mdl::LogHandle const* const handle = Mdl::LogHandle::find("TUNNEL_HW_RESOURCE_NORMAL");
   ASSERT_EQ(handle, &Fwd::TUNNEL_HW_RESOURCE_NORMAL);
   EXPECT_STREQ(handle->name(), "TUNNEL_HW_RESOURCE_NORMAL");
   EXPECT_EQ(handle->severity(), 3U);
   EXPECT_STREQ(handle->format(), "Hardware resources to program tunnels are recovered.");
   EXPECT_STREQ(handle->explanation(), "The switch was able to program all tunnels in hardware.");
   EXPECT_STREQ(handle->recommendedAction(), Mdl::NoActionRequired);
   EXPECT_EQ(handle->interval(), 0.0);
   EXPECT_EQ(handle->rate(), 1.0);
   EXPECT_EQ(handle->firstCount(), 0U);
   EXPECT_EQ(handle->secondCount(), 0U);
}

TEST(Messages, TheInterfaceIdForAllInterfacesIsTheEmptyName) {
   EXPECT_EQ(Fwd::emptyIntfId, Pkt::IntfId(Mdl::String("")));
}

}  // namespace
