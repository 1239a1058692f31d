#include "mdl/Value.h"

#include "support/Generate.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using Support::expectRoundTrip;
using Support::parseError;

/// A value inside a value, for errors that name a path.
struct Inner {
   std::uint8_t number = 0;

   Inner() = default;
   Inner(char const*& at, char const* end) {
      Mdl::needString(at, end, "{'number': ");
      number = Mdl::deserializeAttr<std::uint8_t>(at, end, "number");
      Mdl::needString(at, end, "}");
   }
   void appendStrep(std::string& out) const {
      out += "{'number': ";
      Mdl::appendStrep(out, number);
      out += "}";
   }
   friend bool operator==(Inner const&, Inner const&) = default;
};

struct Outer {
   Inner inner;

   Outer() = default;
   Outer(char const*& at, char const* end) : inner(Mdl::deserializeAttr<Inner>(at, end, "inner")) {}
   void appendStrep(std::string& out) const { Mdl::appendStrep(out, inner); }
   friend bool operator==(Outer const&, Outer const&) = default;
};

template <class T>
class UnsignedValue : public testing::Test {};
using UnsignedTypes = testing::Types<std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(UnsignedValue, UnsignedTypes);

TYPED_TEST(UnsignedValue, ReadsBackAtBothEndsOfItsRange) {
   constexpr TypeParam greatest = std::numeric_limits<TypeParam>::max();
   for (TypeParam value :
        {TypeParam{0}, TypeParam{9}, TypeParam{10}, TypeParam{greatest - 1}, greatest}) {
      expectRoundTrip(value);
   }
}

TYPED_TEST(UnsignedValue, RefusesWhatIsJustBeyondItsRange) {
   std::string greatest = std::to_string(std::numeric_limits<TypeParam>::max());
   std::string beyond = greatest;
   ++beyond.back();  // no greatest value ends in 9
   EXPECT_EQ(parseError<TypeParam>(beyond),
             "a number greater than " + greatest + ": \"" + beyond + "\"");
   EXPECT_EQ(parseError<TypeParam>(greatest + "0"),
             "a number greater than " + greatest + ": \"" + greatest + "0\"");
}

TYPED_TEST(UnsignedValue, HasOneTextForANumber) {
   EXPECT_EQ(parseError<TypeParam>("007"), "a number with a leading zero: \"007\"");
   EXPECT_EQ(parseError<TypeParam>("00"), "a number with a leading zero: \"00\"");
   EXPECT_EQ(parseError<TypeParam>("+7"), "expected a decimal number at \"+7\"");
   EXPECT_EQ(parseError<TypeParam>("-7"), "expected a decimal number at \"-7\"");
   EXPECT_EQ(parseError<TypeParam>(" 7"), "expected a decimal number at \" 7\"");
   EXPECT_EQ(parseError<TypeParam>("0x7"), "text after the value: \"x7\"");
   EXPECT_EQ(parseError<TypeParam>(""), "expected a decimal number at the end of the text");
}

TEST(BoolValue, ReadsBack) {
   EXPECT_EQ(Mdl::valueToStrep(true), Mdl::String("true"));
   EXPECT_EQ(Mdl::valueToStrep(false), Mdl::String("false"));
   expectRoundTrip(true);
   expectRoundTrip(false);
}

TEST(BoolValue, RefusesOtherWords) {
   EXPECT_EQ(parseError<bool>("True"), "expected true or false at \"True\"");
   EXPECT_EQ(parseError<bool>("1"), "expected true or false at \"1\"");
   EXPECT_EQ(parseError<bool>("truer"), "text after the value: \"r\"");
}

TEST(StringValue, StandsInQuotesWithEscapes) {
   EXPECT_EQ(Mdl::valueToStrep(Mdl::String()), Mdl::String("''"));
   EXPECT_EQ(Mdl::valueToStrep(Mdl::String("plain \"text\"")), Mdl::String("'plain \"text\"'"));
   EXPECT_EQ(Mdl::valueToStrep(Mdl::String("it's a \\")), Mdl::String("'it\\'s a \\\\'"));
   EXPECT_EQ(Mdl::valueToStrep(Mdl::String("\n\t\r")), Mdl::String("'\\n\\t\\r'"));
   EXPECT_EQ(Mdl::valueToStrep(Mdl::String("\0\x1f\x7f\x80\xff", 5)),
             Mdl::String("'\\x00\\x1f\\x7f\\x80\\xff'"));
}

TEST(StringValue, EveryByteReadsBack) {
   for (int byte = 0; byte < 256; ++byte) {
      char const text = static_cast<char>(static_cast<unsigned char>(byte));
      expectRoundTrip(Mdl::String(&text, 1));
   }
}

TEST(StringValue, GeneratedBytesReadBack) {
   Support::Generate generate(3);
   for (int i = 0; i < 500; ++i) expectRoundTrip(generate.bytes(40));
}

TEST(StringValue, RefusesWhatIsNoQuotedText) {
   EXPECT_EQ(parseError<Mdl::String>("plain"), "expected \"'\" at \"plain\"");
   EXPECT_EQ(parseError<Mdl::String>("'open"), "expected \"'\" at the end of the text");
   EXPECT_EQ(parseError<Mdl::String>("'a' b"), "text after the value: \" b\"");
   EXPECT_EQ(parseError<Mdl::String>("'\\q'"), "expected an escape at \"q'\"");
   EXPECT_EQ(parseError<Mdl::String>("'\\"), "expected an escape at the end of the text");
   EXPECT_EQ(parseError<Mdl::String>("'a\nb'"),
             "expected an escape for an unprintable byte at \"\\x0ab'\"");
}

TEST(StringValue, HasOneTextForAByte) {
   EXPECT_EQ(parseError<Mdl::String>("'\\x41'"),
             "expected a byte that needs a hexadecimal escape at \"41'\"");
   EXPECT_EQ(parseError<Mdl::String>("'\\x0a'"),
             "expected a byte that needs a hexadecimal escape at \"0a'\"");
   EXPECT_EQ(parseError<Mdl::String>("'\\xFF'"),
             "expected two small hexadecimal digits at \"FF'\"");
   EXPECT_EQ(parseError<Mdl::String>("'\\xf"), "expected two small hexadecimal digits at \"f\"");
}

TEST(NeedString, MovesBehindTheLiteral) {
   std::string const text = "one, two";
   char const* at = text.data();
   char const* const end = at + text.size();
   Mdl::needString(at, end, "one");
   Mdl::needString(at, end, ", ");
   EXPECT_EQ(std::string(at, end), "two");
}

TEST(NeedString, SaysWhatItExpectedAndWhatIsThere) {
   std::string const text = "a longer text than an error message is going to show to its reader";
   char const* at = text.data();
   try {
      Mdl::needString(at, at + text.size(), "}");
      FAIL();
   } catch (Mdl::ParseException const& error) {
      EXPECT_STREQ(error.what(),
                   "expected \"}\" at \"a longer text than an error message is g...\"");
   }
}

TEST(DeserializeAttr, ErrorNamesTheAttribute) {
   EXPECT_EQ(parseError<Inner>("{'number': 256}"),
             "attribute 'number': a number greater than 255: \"256\"");
}

TEST(DeserializeAttr, NestedErrorNamesThePath) {
   EXPECT_EQ(parseError<Outer>("{'number': x}"),
             "attribute 'inner': attribute 'number': expected a decimal number at \"x}\"");
}

TEST(DeserializeAttr, ErrorOutsideTheValueNamesNoAttribute) {
   EXPECT_EQ(parseError<Inner>("{'other': 1}"), "expected \"{'number': \" at \"{'other': 1}\"");
   EXPECT_EQ(parseError<Inner>("{'number': 1"), "expected \"}\" at the end of the text");
}

TEST(Value, TypesOfTheirOwnReadBack) {
   Outer outer;
   outer.inner.number = 200;
   expectRoundTrip(outer);
   EXPECT_EQ(Mdl::valueToStrep(outer), Mdl::String("{'number': 200}"));
}

}  // namespace
