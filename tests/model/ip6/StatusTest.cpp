#include "ip6/Status.h"

#include "support/Actor.h"
#include "support/CollectionFixtures.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Ip6::IntfStatus;
using Mdl::Ptr;
using Mdl::String;
using Pkt::IntfId;
using Support::Journal;

class Ip6Status : public testing::Test {
 protected:
   Ip6Status() { listener->keysOf<IntfId>(Ip6::Status::intfAttributeId); }

   Ptr<Ip6::Status> status = Mdl::allocate<Ip6::Status>();
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(status);
};

TEST_F(Ip6Status, ListsInterfacesByTheirId) {
   auto const intf = Mdl::allocate<IntfStatus>(IntfId("Ethernet2"));
   status->intfIs(intf);
   status->intfIs(Mdl::allocate<IntfStatus>(IntfId("Ethernet1")));
   EXPECT_EQ(status->intf(IntfId("Ethernet2")), intf);
   EXPECT_EQ(status->intf(IntfId("Ethernet3")), nullptr);
   EXPECT_EQ(Support::walkedKeys(status->intf()),
             std::vector<IntfId>({IntfId("Ethernet2"), IntfId("Ethernet1")}));
}

TEST_F(Ip6Status, TellsOfInterfacesUnder259) {
   auto const intf = Mdl::allocate<IntfStatus>(IntfId("Ethernet1"));
   status->intfIs(intf);
   status->intfIs(intf);
   status->intfIs(Mdl::allocate<IntfStatus>(IntfId("Ethernet1")));
   status->intfDel(IntfId("Ethernet1"));
   status->intfDel(IntfId("Ethernet1"));
   EXPECT_EQ(listener->heard(), Journal(3, "259 'Ethernet1'"));
}

TEST_F(Ip6Status, RefusesANullInterface) {
   try {
      status->intfIs(nullptr);
      FAIL() << "null was taken";
   } catch (Mdl::NullArgumentException const& exception) {
      EXPECT_STREQ(exception.what(), "Ip6::Status: mutator argument for intf is a null pointer");
   }
   EXPECT_EQ(listener->heard(), Journal());
}

TEST_F(Ip6Status, IsReadByReflection) {
   Ptr<IntfStatus const> const intf = Mdl::allocate<IntfStatus>(IntfId("Ethernet1"));
   status->intfIs(intf);
   EXPECT_STREQ(status->fwkType().name(), "Ip6::Status");
   EXPECT_EQ(Support::readableMembers(*status), Journal({"259 intf"}));
   EXPECT_EQ(Mdl::read(*status, "intf").entries,
             (Mdl::Reading::Entries{{String("'Ethernet1'"), Ptr<Mdl::Entity const>(intf)}}));
}

}  // namespace
