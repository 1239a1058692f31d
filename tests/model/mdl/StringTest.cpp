#include "mdl/String.h"

#include "mdl/Exception.h"
#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

// The empty string is a constant of the compiler: it needs no allocation and no moment of its own.
constexpr Mdl::String atCompileTime;

TEST(String, IsEmptyByDefault) {
   Mdl::String const empty;
   EXPECT_TRUE(empty.empty());
   EXPECT_EQ(empty.bytes(), 0u);
   EXPECT_STREQ(empty.charPtr(), "");
   EXPECT_EQ(empty, atCompileTime);
}

TEST(String, EveryEmptyStringIsTheSame) {
   std::string const noText;
   for (Mdl::String const& empty : {Mdl::String(""), Mdl::String("text", 0), Mdl::String(noText),
                                    Mdl::String(nullptr, 0), Mdl::String(std::string_view())}) {
      EXPECT_EQ(empty, Mdl::String());
      EXPECT_EQ(empty.begin(), empty.end());
   }
}

TEST(String, TakesACharacterPointerWithALength) {
   Mdl::String const string("abcdef", 3);
   EXPECT_EQ(string.bytes(), 3u);
   EXPECT_STREQ(string.charPtr(), "abc");
}

TEST(String, TakesAStandardStringWithItsNuls) {
   std::string const text("a\0b", 3);
   Mdl::String const string = text;
   EXPECT_EQ(string.bytes(), 3u);
   EXPECT_EQ(string.stdString(), text);
   EXPECT_EQ(string.charPtr()[3], '\0');
}

TEST(String, TakesALiteralUpToItsNul) {
   Mdl::String const string = "Ethernet1";
   EXPECT_EQ(string.bytes(), 9u);
   EXPECT_EQ(string.view(), "Ethernet1");
}

TEST(String, DoesNotFollowItsSource) {
   std::string text = "before";
   Mdl::String const string(text);
   text[0] = 'X';
   EXPECT_EQ(string.view(), "before");
}

TEST(String, IteratesForward) {
   Mdl::String const string("xyz");
   EXPECT_EQ(std::string(string.begin(), string.end()), "xyz");
   EXPECT_EQ(string.end() - string.begin(), 3);
}

TEST(String, RefusesMoreThanItsMaximumBeforeItReadsAByte) {
   char const onlyByte = 'x';
   try {
      Mdl::String const string(&onlyByte, Mdl::String::maxLength() + 1);
      FAIL() << "made of " << string.bytes() << " bytes";
   } catch (Mdl::RangeException const& error) {
      EXPECT_STREQ(error.what(), "Mdl::String::bytes > maxLength() not allowed");
   }
}

TEST(String, IsAtMostTwoGigabytesLessOne) { EXPECT_EQ(Mdl::String::maxLength(), 0x7fffffffu); }

TEST(StringDeathTest, NullIsAProgrammingError) {
   char const* const null = nullptr;
   EXPECT_DEATH(Mdl::String{null}, "Assertion failed: text != nullptr");
   EXPECT_DEATH(Mdl::String(null, 1), "Assertion failed: text != nullptr");
}

TEST(String, CopySharesTheBytes) {
   Mdl::String const original("shared");
   Mdl::String const copy = original;
   EXPECT_EQ(copy.charPtr(), original.charPtr());
}

TEST(String, BytesOutliveTheStringThatMadeThem) {
   Mdl::String copy;
   {
      Mdl::String const original("still here");
      copy = original;
   }
   EXPECT_EQ(copy.view(), "still here");
}

TEST(String, MovedFromIsEmpty) {
   Mdl::String from("text");
   Mdl::String const to = std::move(from);
   EXPECT_EQ(to.view(), "text");
   EXPECT_TRUE(from.empty());  // NOLINT(bugprone-use-after-move): it is the promise under test
}

TEST(String, AssignmentToItselfChangesNothing) {
   Mdl::String string("itself");
   Mdl::String const& alias = string;
   string = alias;
   EXPECT_EQ(string.view(), "itself");
}

TEST(String, EqualBytesAreEqualWhereverTheyLie) {
   EXPECT_EQ(Mdl::String("same"), Mdl::String(std::string("same")));
   EXPECT_NE(Mdl::String("same"), Mdl::String("sane"));
   EXPECT_NE(Mdl::String("same"), Mdl::String("same\0", 5));
}

TEST(String, OrdersByUnsignedBytes) {
   std::vector<Mdl::String> const ascending{
       Mdl::String(), Mdl::String("\0", 1), "A", "a", "a\x01", "aa", "b", "\x7f", "\x80", "\xff"};
   for (std::size_t i = 0; i + 1 < ascending.size(); ++i) {
      EXPECT_LT(ascending[i], ascending[i + 1]) << i;
   }
}

TEST(String, OrderEqualityAndHashAgree) {
   Support::Generate generate(1);
   std::vector<Mdl::String> strings;
   for (int i = 0; i < 60; ++i) strings.push_back(generate.bytes(2));
   Support::expectOrderEqualityAndHashAgree(strings);
}

TEST(String, ConcatenatesIntoANewString) {
   Mdl::String const left("left");
   EXPECT_EQ(left + " and " + Mdl::String("right"), Mdl::String("left and right"));
   EXPECT_EQ(left + Mdl::String(), left);
   EXPECT_EQ(Mdl::String() + left, left);
   EXPECT_EQ(left.view(), "left");
}

TEST(String, StreamsItsBytes) {
   EXPECT_EQ(Support::streamed(Mdl::String("a\0b", 3)), std::string("a\0b", 3));
}

TEST(String, ServesAsAKeyOfStandardContainers) {
   std::unordered_set<Mdl::String> const names{"a", "b", "a"};
   EXPECT_EQ(names.size(), 2u);
   EXPECT_TRUE(names.contains("b"));
}

}  // namespace
