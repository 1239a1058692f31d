#include "fwd/FwdCommonSmData.h"

#include "support/Actor.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

namespace {

using Fwd::FwdCommonSmData;
using Fwd::VerifyData;
using Mdl::Ptr;
using Mdl::Reading;
using Support::Journal;

TEST(FwdCommonSmDataEntity, MayOfferNoVerifyData) {
   EXPECT_EQ(Mdl::allocate<FwdCommonSmData>()->verifyData(), nullptr);
}

TEST(FwdCommonSmDataEntity, HoldsItsVerifyData) {
   auto const verify = Mdl::allocate<VerifyData>();
   auto const data = Mdl::allocate<FwdCommonSmData>(verify);
   EXPECT_EQ(data->verifyData(), verify);
   EXPECT_EQ(verify->references(), 2u);
   data->verifyDataIs(nullptr);
   EXPECT_EQ(verify->references(), 1u);
}

TEST(FwdCommonSmDataEntity, TellsWhenItsVerifyDataChanges) {
   auto const verify = Mdl::allocate<VerifyData>();
   auto const data = Mdl::allocate<FwdCommonSmData>();
   auto const listener = Mdl::allocate<Support::Listener>(data);
   data->verifyDataIs(nullptr);
   data->verifyDataIs(verify);
   data->verifyDataIs(verify);
   EXPECT_EQ(listener->heard(), Journal({"258"}));
}

TEST(FwdCommonSmDataEntity, IsReadByReflection) {
   auto const verify = Mdl::allocate<VerifyData>();
   auto const data = Mdl::allocate<FwdCommonSmData>(verify);
   EXPECT_STREQ(data->fwkType().name(), "Fwd::FwdCommonSmData");
   EXPECT_EQ(Support::readableMembers(*data), Journal({"258 verifyData"}));
   EXPECT_EQ(Mdl::read(*data, "verifyData").value, Reading::Value(Ptr<Mdl::Entity const>(verify)));
}

}  // namespace
