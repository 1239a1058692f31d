#include "fwd/VerifyData.h"

#include "support/Actor.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

namespace {

using Fwd::VerifyData;
using Mdl::Ptr;
using Mdl::String;
using Support::Journal;

class VerifyDataEntity : public testing::Test {
 protected:
   Ptr<VerifyData> data = Mdl::allocate<VerifyData>();
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(data);
};

TEST_F(VerifyDataEntity, StartsWithoutARequestOrAReport) {
   EXPECT_FALSE(data->requestVerify());
   EXPECT_TRUE(data->cliVerifyOutput().empty());
   EXPECT_TRUE(data->verifyOutput().empty());
}

TEST_F(VerifyDataEntity, TellsOfItsRequestUnder264WhenItChanges) {
   data->requestVerifyIs(false);
   data->requestVerifyIs(true);
   data->requestVerifyIs(true);
   data->requestVerifyIs(false);
   EXPECT_EQ(listener->heard(), Journal({"264", "264"}));
}

TEST_F(VerifyDataEntity, ARequestForNowIsToldEachTime) {
   data->doRequestVerify();
   EXPECT_TRUE(data->requestVerify());
   data->doRequestVerify();
   EXPECT_EQ(listener->heard(), Journal({"264", "264"}));
}

TEST_F(VerifyDataEntity, KeepsTheLinesOfTheCommandInTheirOrder) {
   Ptr<VerifyData const> const reported = data;
   reported->updateCliVerifyOutput("f", "first");
   reported->updateCliVerifyOutput("g", "second");
   ASSERT_EQ(data->cliVerifyOutput().size(), 2u);
   EXPECT_EQ(data->cliVerifyOutput()[0].function, String("f"));
   EXPECT_EQ(data->cliVerifyOutput()[0].text, String("first"));
   EXPECT_EQ(data->cliVerifyOutput()[1].text, String("second"));
}

TEST_F(VerifyDataEntity, KeepsTheRecordedFailures) {
   Ptr<VerifyData const> const reported = data;
   reported->verifyOutputIs({"text", "file", 12, "function", 3});
   ASSERT_EQ(data->verifyOutput().size(), 1u);
   Fwd::VerifyOutput const& output = data->verifyOutput()[0];
   EXPECT_EQ(output.text, String("text"));
   EXPECT_EQ(output.file, String("file"));
   EXPECT_EQ(output.line, 12u);
   EXPECT_EQ(output.function, String("function"));
   EXPECT_EQ(output.code, 3);
}

TEST_F(VerifyDataEntity, AReportIsNoRequest) {
   data->updateCliVerifyOutput("f", "text");
   data->verifyOutputIs({});
   EXPECT_EQ(listener->heard(), Journal());
   EXPECT_FALSE(data->requestVerify());
}

TEST_F(VerifyDataEntity, ForgetsAllReportsAndKeepsTheRequest) {
   data->requestVerifyIs(true);
   data->updateCliVerifyOutput("f", "text");
   data->verifyOutputIs({});
   data->outputDelAll();
   EXPECT_TRUE(data->cliVerifyOutput().empty());
   EXPECT_TRUE(data->verifyOutput().empty());
   EXPECT_TRUE(data->requestVerify());
}

TEST_F(VerifyDataEntity, IsReadByReflection) {
   data->requestVerifyIs(true);
   EXPECT_STREQ(data->fwkType().name(), "Fwd::VerifyData");
   EXPECT_EQ(Support::readableMembers(*data), Journal({"264 requestVerify"}));
   EXPECT_EQ(Mdl::read(*data, "requestVerify").value, Mdl::Reading::Value(true));
}

}  // namespace
