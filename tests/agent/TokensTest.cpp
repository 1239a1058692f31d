#include "agent/Tokens.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

std::string const file = "s.scn";

template <class Use>
std::string errorOf(std::string_view text, Use const& use) {
   try {
      Tokens tokens(file, 3, text);
      use(tokens);
   } catch (InputError const& error) {
      return error.what();
   }
   return "no error";
}

TEST(Tokens, AreSeparatedByBlanksAndCommas) {
   Tokens tokens(file, 1, "  one two,three\t, four ");
   EXPECT_EQ(tokens.word("a").text, "one");
   EXPECT_EQ(tokens.word("a").text, "two");
   EXPECT_TRUE(tokens.take(","));
   EXPECT_EQ(tokens.word("a").text, "three");
   EXPECT_TRUE(tokens.take(","));
   EXPECT_EQ(tokens.word("a").text, "four");
   EXPECT_TRUE(tokens.atEnd());
}

TEST(Tokens, ACommentEndsTheLine) {
   Tokens tokens(file, 1, "one # two");
   EXPECT_EQ(tokens.text(), "one");
   tokens.word("a");
   EXPECT_TRUE(tokens.atEnd());
}

TEST(Tokens, AQuoteHoldsBlanksAndQuotes) {
   Tokens tokens(file, 1, R"("a \"b\" \\ # c" d)");
   EXPECT_EQ(tokens.word("a").text, R"(a "b" \ # c)");
   EXPECT_EQ(tokens.word("a").text, "d");
}

TEST(Tokens, AQuotedWordIsNoKeyword) {
   Tokens tokens(file, 1, R"("vrf" vrf)");
   EXPECT_FALSE(tokens.take("vrf"));
   tokens.word("a");
   EXPECT_TRUE(tokens.take("vrf"));
}

TEST(Tokens, AQuoteMustBeClosed) {
   EXPECT_EQ(errorOf("one \"two", [](Tokens&) {}), "s.scn:3:5: the quote is not closed");
}

TEST(Tokens, SaysWhatIsMissingBehindTheLastWord) {
   EXPECT_EQ(errorOf("one  # comment",
                     [](Tokens& tokens) {
                        tokens.word("a");
                        tokens.word("a name");
                     }),
             "s.scn:3:4: expected a name, found the end of the line");
}

TEST(Tokens, SaysWhatIsTooMuch) {
   EXPECT_EQ(errorOf("one two",
                     [](Tokens& tokens) {
                        tokens.word("a");
                        tokens.needEnd();
                     }),
             "s.scn:3:5: expected the end of the line, found \"two\"");
}

TEST(Tokens, RefusesNumbersThatAreNone) {
   auto const number = [](Tokens& tokens) { tokens.number("a count", 9); };
   EXPECT_EQ(errorOf("5", number), "no error");
   for (char const* text : {"10", "-1", "x", "5x", "+5", "0x1"}) {
      EXPECT_EQ(errorOf(text, number),
                "s.scn:3:1: expected a count, a whole number from 0 to 9, found \"" +
                    std::string(text) + "\"");
   }
}

TEST(Tokens, RefusesSecondsThatAreNone) {
   auto const seconds = [](Tokens& tokens) { tokens.seconds(); };
   EXPECT_EQ(errorOf("0.5", seconds), "no error");
   for (char const* text : {"-0.5", "inf", "nan", "1s", "soon"}) {
      EXPECT_EQ(errorOf(text, seconds),
                "s.scn:3:1: expected seconds, a number of at least 0, found \"" +
                    std::string(text) + "\"");
   }
}

TEST(Tokens, AReadersReasonGetsThePlaceOfTheWord) {
   EXPECT_EQ(errorOf("one two",
                     [](Tokens& tokens) {
                        tokens.word("a");
                        tokens.read("a",
                                    [](std::string_view) -> int { throw ValueError("not that"); });
                     }),
             "s.scn:3:5: not that");
}

}  // namespace
}  // namespace Agent
