#include "FwdL3Unicast/dgRetCode.h"

#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

namespace {

using Fwd::dgRetCode;

// Platforms return these numbers. The last two are deliberately not in the order one would expect.
TEST(DgRetCode, HasItsFixedNumbers) {
   std::string text = Mdl::enumDescriptor<dgRetCode>().typeName;
   for (Mdl::Enumerator const& enumerator : Mdl::enumDescriptor<dgRetCode>().enumerators) {
      text += " " + std::to_string(enumerator.value) + "=" + enumerator.name;
   }
   EXPECT_EQ(text,
             "Fwd::dgRetCode 0=dgRcSuccess 1=dgRcNotReady 2=dgRcAlreadyExists 3=dgRcUnSupported "
             "4=dgRcHwFull 5=dgRcMax 6=dgRcPending");
}

TEST(DgRetCode, IsOneByteThatHoldsAnyNumber) {
   static_assert(sizeof(dgRetCode) == 1);
   EXPECT_EQ(static_cast<int>(static_cast<dgRetCode>(255)), 255);
}

TEST(DgRetCode, TextIsTheNameOrTheNumber) {
   EXPECT_EQ(stringValue(Fwd::dgRcPending), Mdl::String("dgRcPending"));
   EXPECT_EQ(Mdl::valueToStrep(Fwd::dgRcHwFull), Mdl::String("dgRcHwFull"));
   EXPECT_EQ(stringValue(static_cast<dgRetCode>(7)), Mdl::String("7"));
}

TEST(DgRetCode, StreamsItsNameAndNotItsNumber) {
   std::ostringstream out;
   out << std::hex << Fwd::dgRcUnSupported << ' ' << static_cast<dgRetCode>(200);
   EXPECT_EQ(out.str(), "dgRcUnSupported 200");
}

TEST(DgRetCode, IsFoundByItsName) {
   EXPECT_EQ(Mdl::enumFromName<dgRetCode>("dgRcAlreadyExists"), Fwd::dgRcAlreadyExists);
   EXPECT_EQ(Mdl::enumFromName<dgRetCode>("success"), std::nullopt);
}

TEST(DgRetCode, EveryValueReadsBack) {
   for (int i = 0; i < 256; ++i) Support::expectRoundTrip(static_cast<dgRetCode>(i));
}

TEST(DgRetCode, RefusesOtherTexts) {
   EXPECT_EQ(Support::parseError<dgRetCode>("dgRcFull"),
             "\"dgRcFull\" is no value of Fwd::dgRetCode");
   EXPECT_EQ(Support::parseError<dgRetCode>("6"), "\"6\" is no value of Fwd::dgRetCode");
}

}  // namespace
