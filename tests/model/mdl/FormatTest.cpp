#include "mdl/Format.h"

#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Format, WritesWhatPrintfWrites) {
   EXPECT_EQ(Mdl::format("%s has %u of %x", "table", 12u, 255u), Mdl::String("table has 12 of ff"));
   EXPECT_EQ(Mdl::format("100%%"), Mdl::String("100%"));
}

TEST(Format, EmptyTextIsTheEmptyString) { EXPECT_TRUE(Mdl::format("%s", "").empty()); }

TEST(Format, WritesTextsOfEveryLengthAroundItsBuffer) {
   for (std::size_t length : {254u, 255u, 256u, 257u, 100000u}) {
      std::string const text(length, 'x');
      EXPECT_EQ(Mdl::format("%s", text.c_str()).stdString(), text) << length;
   }
}

TEST(Format, LongTextKeepsAllItsArguments) {
   std::string const text(1000, 'y');
   EXPECT_EQ(Mdl::format("%d %s %d", 1, text.c_str(), 2).stdString(), "1 " + text + " 2");
}

TEST(FormatDeathTest, NullIsAProgrammingError) {
   char const* const null = nullptr;
   EXPECT_DEATH(Mdl::format(null), "Assertion failed: pattern != nullptr");
}

}  // namespace
