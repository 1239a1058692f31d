#include "support/DecapFixture.h"
#include "support/MachineChecks.h"

namespace {

/// How requests for a verification reach the machine.
class VerifyRequest : public DecapFixture {
 protected:
   VerifyRequest() {
      givenGroup("red");
      givenRunning();
      forgetSoFar();
   }
   void thenVerified(std::size_t times) const { thenCalls(Texts(times, "verify")); }
};

TEST_F(VerifyRequest, SetsTheFlagAndVerifies) {
   verifyData->requestVerifyIs(true);
   thenVerified(1);
}

TEST_F(VerifyRequest, VerifiesAgainThoughTheFlagIsSetAlready) {
   verifyData->requestVerifyIs(true);
   verifyData->doRequestVerify();
   verifyData->doRequestVerify();
   thenVerified(3);
   EXPECT_TRUE(verifyData->requestVerify());
}

TEST_F(VerifyRequest, IsAnyChangeOfTheAttribute) {
   verifyData->requestVerifyIs(true);
   verifyData->requestVerifyIs(true);
   thenVerified(1);
   verifyData->requestVerifyIs(false);
   thenVerified(2);
}

TEST_F(VerifyRequest, IsNoOtherAttribute) {
   sm->mdlVerifyData()->onAttribute(Fwd::VerifyData::requestVerifyAttributeId + 1, nullptr);
   thenVerified(0);
   sm->mdlVerifyData()->onAttribute(Fwd::VerifyData::requestVerifyAttributeId, nullptr);
   thenVerified(1);
}

TEST_F(VerifyRequest, IsNotHeardWhileTheReactorsNotificationsAreOff) {
   sm->mdlVerifyData()->hasNotificationActiveIs(false);
   verifyData->doRequestVerify();
   thenVerified(0);
}

TEST_F(VerifyRequest, OfOtherVerifyDataVerifiesOnceAtOnce) {
   auto const other = Mdl::allocate<Fwd::VerifyData>();
   auto const before = sm->mdlVerifyData();
   sm->verifyDataIs(other);
   thenVerified(1);
   EXPECT_EQ(sm->mdlVerifyData(), before);
   EXPECT_EQ(sm->verifyData(), other);
   other->doRequestVerify();
   thenVerified(2);
   verifyData->doRequestVerify();
   thenVerified(2);
}

TEST_F(VerifyRequest, OfTheSameVerifyDataDoesNothing) {
   sm->verifyDataIs(verifyData);
   thenVerified(0);
   verifyData->doRequestVerify();
   thenVerified(1);
}

TEST_F(VerifyRequest, OfVerifyDataOnItsWayOutIsNotVerifiedAtOnce) {
   auto const other = Mdl::allocate<Fwd::VerifyData>();
   other->isMarkedForDeletionIs(true);
   sm->verifyDataIs(other);
   thenVerified(0);
   EXPECT_EQ(sm->verifyData(), other);
}

TEST_F(VerifyRequest, OfNoVerifyDataRemovesTheReactor) {
   auto const before = sm->mdlVerifyData();
   sm->verifyDataIs(nullptr);
   EXPECT_EQ(sm->mdlVerifyData(), nullptr);
   EXPECT_EQ(sm->verifyData(), nullptr);
   verifyData->doRequestVerify();
   before->onAttribute(Fwd::VerifyData::requestVerifyAttributeId, nullptr);
   thenVerified(0);
   sm->verifyDataIs(nullptr);
   EXPECT_EQ(sm->mdlVerifyData(), nullptr);
}

TEST_F(VerifyRequest, DeletedIsHeardNoMore) {
   sm->verifyDataDel();
   EXPECT_EQ(sm->verifyData(), nullptr);
   verifyData->doRequestVerify();
   thenVerified(0);
   sm->verifyDataDel();
   EXPECT_EQ(sm->verifyData(), nullptr);
}

TEST_F(VerifyRequest, DeletedLeavesTheReactorAtRestAndWithoutAWayBack) {
   auto const before = sm->mdlVerifyData();
   sm->verifyDataDel();
   EXPECT_TRUE(before->isMarkedForDeletion());
   EXPECT_FALSE(before->hasNotificationActive());
   before->isMarkedForDeletionIs(false);
   before->hasNotificationActiveIs(true);
   verifyData->doRequestVerify();
   before->notifierIs(Mdl::allocate<Fwd::VerifyData>());
   thenVerified(0);
}

TEST_F(VerifyRequest, GivenAgainIsHeardAgain) {
   sm->verifyDataDel();
   sm->verifyDataIs(verifyData);
   EXPECT_TRUE(sm->mdlVerifyData()->hasNotificationActive());
   forgetSoFar();
   verifyData->doRequestVerify();
   thenVerified(1);
}

TEST_F(VerifyRequest, OfAKeyThatIsProgrammedFindsItCounted) {
   verifyData->requestVerifyIs(true);
   whenDecapIpAdded("red", "10.1.0.0/16");
   whenDecapIpAdded("red", "10.2.0.0/16");
   groupNamed("red").destPortIs(6081);
   whenGroupRemoved("red");
   EXPECT_TRUE(verifyData->cliVerifyOutput().empty());
}

}  // namespace
