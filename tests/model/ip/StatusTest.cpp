#include "ip/Status.h"

#include "support/Actor.h"
#include "support/CollectionFixtures.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Ip::IpIntfStatus;
using Mdl::Ptr;
using Mdl::String;
using Pkt::IntfId;
using Support::Journal;

class IpStatus : public testing::Test {
 protected:
   IpStatus() { listener->keysOf<IntfId>(Ip::Status::ipIntfStatusAttributeId); }

   Ptr<Ip::Status> status = Mdl::allocate<Ip::Status>();
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(status);
};

TEST_F(IpStatus, ListsInterfacesByTheirId) {
   auto const intf = Mdl::allocate<IpIntfStatus>(IntfId("Ethernet2"));
   status->ipIntfStatusIs(intf);
   status->ipIntfStatusIs(Mdl::allocate<IpIntfStatus>(IntfId("Ethernet1")));
   EXPECT_EQ(status->ipIntfStatus(IntfId("Ethernet2")), intf);
   EXPECT_EQ(status->ipIntfStatus(IntfId("Ethernet3")), nullptr);
   EXPECT_EQ(Support::walkedKeys(status->ipIntfStatus()),
             std::vector<IntfId>({IntfId("Ethernet2"), IntfId("Ethernet1")}));
}

TEST_F(IpStatus, TellsOfInterfacesUnder258) {
   auto const intf = Mdl::allocate<IpIntfStatus>(IntfId("Ethernet1"));
   status->ipIntfStatusIs(intf);
   status->ipIntfStatusIs(intf);
   status->ipIntfStatusIs(Mdl::allocate<IpIntfStatus>(IntfId("Ethernet1")));
   status->ipIntfStatusDel(IntfId("Ethernet1"));
   status->ipIntfStatusDel(IntfId("Ethernet1"));
   EXPECT_EQ(listener->heard(), Journal(3, "258 'Ethernet1'"));
}

TEST_F(IpStatus, RefusesANullInterface) {
   try {
      status->ipIntfStatusIs(nullptr);
      FAIL() << "null was taken";
   } catch (Mdl::NullArgumentException const& exception) {
      EXPECT_STREQ(exception.what(),
                   "Ip::Status: mutator argument for ipIntfStatus is a null pointer");
   }
   EXPECT_EQ(listener->heard(), Journal());
}

TEST_F(IpStatus, IsReadByReflection) {
   Ptr<IpIntfStatus const> const intf = Mdl::allocate<IpIntfStatus>(IntfId("Ethernet1"));
   status->ipIntfStatusIs(intf);
   EXPECT_STREQ(status->fwkType().name(), "Ip::Status");
   EXPECT_EQ(Support::readableMembers(*status), Journal({"258 ipIntfStatus"}));
   EXPECT_EQ(Mdl::read(*status, "ipIntfStatus").entries,
             (Mdl::Reading::Entries{{String("'Ethernet1'"), Ptr<Mdl::Entity const>(intf)}}));
}

}  // namespace
