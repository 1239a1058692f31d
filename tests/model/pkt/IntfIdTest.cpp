#include "pkt/IntfId.h"

#include "pkt/InternalIntfId.h"
#include "pkt/MgmtIntfId.h"
#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Pkt::IntfId;

// Load-time objects of other files may use it in their constructors.
static_assert(Pkt::emptyIntfId.empty());

TEST(IntfId, IsItsName) {
   EXPECT_EQ(IntfId("Ethernet1"), IntfId("Ethernet1"));
   EXPECT_NE(IntfId("Ethernet1"), IntfId("Ethernet10"));
   EXPECT_EQ(IntfId("Ethernet1").name(), Mdl::String("Ethernet1"));
}

TEST(IntfId, EmptyIdIsThatOfTheEmptyName) {
   EXPECT_EQ(Pkt::emptyIntfId, IntfId(""));
   EXPECT_TRUE(Pkt::emptyIntfId.empty());
   EXPECT_NE(Pkt::emptyIntfId, IntfId("Ethernet1"));
}

TEST(IntfId, CopyIsAPointerToTheSameName) {
   static_assert(sizeof(IntfId) == sizeof(void*));
   IntfId const original("Ethernet1");
   IntfId const copy = original;
   EXPECT_EQ(copy.name().charPtr(), original.name().charPtr());
}

TEST(IntfId, OrdersByName) {
   EXPECT_LT(Pkt::emptyIntfId, IntfId("Ethernet1"));
   EXPECT_LT(IntfId("Ethernet1"), IntfId("Ethernet2"));
}

TEST(IntfId, StreamsPlainAndIsRepresentedInQuotes) {
   EXPECT_EQ(Support::streamed(IntfId("Po'1")), "Po'1");
   EXPECT_EQ(Mdl::valueToStrep(IntfId("Po'1")), Mdl::String("'Po\\'1'"));
   EXPECT_EQ(Mdl::valueToStrep(Pkt::emptyIntfId), Mdl::String("''"));
}

TEST(IntfId, GeneratedIdsReadBackAndAgreeWithThemselves) {
   Support::Generate generate(4);
   std::vector<IntfId> ids;
   for (int i = 0; i < 60; ++i) ids.emplace_back(generate.bytes(2));
   for (IntfId const& id : ids) Support::expectRoundTrip(id);
   Support::expectOrderEqualityAndHashAgree(ids);
}

TEST(MgmtIntfId, IsANameThatBeginsWithManagement) {
   EXPECT_TRUE(Pkt::MgmtIntfId::isMgmtIntfId(IntfId("Management1")));
   EXPECT_TRUE(Pkt::MgmtIntfId::isMgmtIntfId(IntfId("Management")));
   EXPECT_FALSE(Pkt::MgmtIntfId::isMgmtIntfId(IntfId("management1")));
   EXPECT_FALSE(Pkt::MgmtIntfId::isMgmtIntfId(IntfId("Manage")));
   EXPECT_FALSE(Pkt::MgmtIntfId::isMgmtIntfId(IntfId("Ethernet1")));
   EXPECT_FALSE(Pkt::MgmtIntfId::isMgmtIntfId(IntfId("Internal1")));
   EXPECT_FALSE(Pkt::MgmtIntfId::isMgmtIntfId(Pkt::emptyIntfId));
}

TEST(InternalIntfId, IsANameThatBeginsWithInternal) {
   EXPECT_TRUE(Pkt::InternalIntfId::isInternalIntfId(IntfId("Internal12")));
   EXPECT_TRUE(Pkt::InternalIntfId::isInternalIntfId(IntfId("Internal")));
   EXPECT_FALSE(Pkt::InternalIntfId::isInternalIntfId(IntfId("internal12")));
   EXPECT_FALSE(Pkt::InternalIntfId::isInternalIntfId(IntfId("Ethernet1")));
   EXPECT_FALSE(Pkt::InternalIntfId::isInternalIntfId(IntfId("Management1")));
   EXPECT_FALSE(Pkt::InternalIntfId::isInternalIntfId(Pkt::emptyIntfId));
}

}  // namespace
