#include "tunnel/decap/hardware/Status.h"

#include "support/Actor.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

namespace {

using Support::Journal;
using Tunnel::Decap::Hardware::Status;

TEST(HardwareStatus, StartsWithRoom) { EXPECT_FALSE(Mdl::allocate<Status>()->hwResourceFull()); }

TEST(HardwareStatus, TellsOfItsFlagWhenItChanges) {
   auto const status = Mdl::allocate<Status>();
   auto const listener = Mdl::allocate<Support::Listener>(status);
   status->hwResourceFullIs(false);
   status->hwResourceFullIs(true);
   status->hwResourceFullIs(true);
   EXPECT_TRUE(status->hwResourceFull());
   status->hwResourceFullIs(false);
   EXPECT_EQ(listener->heard(), Journal({"258", "258"}));
}

TEST(HardwareStatus, IsReadByReflection) {
   auto const status = Mdl::allocate<Status>();
   status->hwResourceFullIs(true);
   EXPECT_STREQ(status->fwkType().name(), "Tunnel::Decap::Hardware::Status");
   EXPECT_EQ(Support::readableMembers(*status), Journal({"258 hwResourceFull"}));
   EXPECT_EQ(Mdl::read(*status, "hwResourceFull").value, Mdl::Reading::Value(true));
}

}  // namespace
