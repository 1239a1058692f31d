#include "mdl/Enum.h"

#include "mdl/Value.h"
#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>

namespace Paint {

enum class Colour : std::uint8_t { red = 0, green = 1, blue = 200 };

/// Unscoped, as old interfaces have them: such a value turns into an int wherever it may.
enum Coat : std::uint8_t { coatThin = 1, coatThick = 2 };

}  // namespace Paint

template <>
struct Mdl::EnumTraits<Paint::Colour> {
   static constexpr char const* typeName = "Paint::Colour";
   static constexpr Enumerator enumerators[] = {
       {Paint::Colour::red, "red"}, {Paint::Colour::green, "green"}, {Paint::Colour::blue, "blue"}};
};

template <>
struct Mdl::EnumTraits<Paint::Coat> {
   static constexpr char const* typeName = "Paint::Coat";
   static constexpr Enumerator enumerators[] = {{Paint::coatThin, "coatThin"},
                                                {Paint::coatThick, "coatThick"}};
};

namespace Paint {

std::ostream& operator<<(std::ostream& out, Colour value) { return Mdl::streamEnum(out, value); }
std::ostream& operator<<(std::ostream& out, Coat value) { return Mdl::streamEnum(out, value); }

}  // namespace Paint

namespace {

using Paint::Coat;
using Paint::Colour;
using Support::parseError;

TEST(Enum, KnowsItsTypeAndItsValues) {
   Mdl::EnumDescriptor const type = Mdl::enumDescriptor<Colour>();
   EXPECT_STREQ(type.typeName, "Paint::Colour");
   ASSERT_EQ(type.enumerators.size(), 3u);
   EXPECT_EQ(type.enumerators[2].value, 200);
   EXPECT_STREQ(type.enumerators[2].name, "blue");
}

TEST(Enum, NamesItsValues) {
   EXPECT_EQ(Mdl::enumName(Colour::green), Mdl::String("green"));
   EXPECT_EQ(Mdl::enumName(Paint::coatThick), Mdl::String("coatThick"));
}

TEST(Enum, ValueOutsideIsANumber) {
   EXPECT_EQ(Mdl::enumName(static_cast<Colour>(7)), Mdl::String("7"));
   EXPECT_EQ(Mdl::enumName(static_cast<Coat>(255)), Mdl::String("255"));
}

TEST(Enum, FindsAValueByItsName) {
   EXPECT_EQ(Mdl::enumFromName<Colour>("blue"), Colour::blue);
   EXPECT_EQ(Mdl::enumFromName<Coat>("coatThin"), Paint::coatThin);
}

TEST(Enum, FindsNothingByAnotherName) {
   EXPECT_EQ(Mdl::enumFromName<Colour>("Blue"), std::nullopt);
   EXPECT_EQ(Mdl::enumFromName<Colour>(""), std::nullopt);
   EXPECT_EQ(Mdl::enumFromName<Colour>("200"), std::nullopt);
}

TEST(Enum, EveryValueReadsBack) {
   for (int value = 0; value < 256; ++value) {
      Support::expectRoundTrip(static_cast<Colour>(value));
      Support::expectRoundTrip(static_cast<Coat>(value));
   }
}

TEST(Enum, TextIsTheBareNameOrADecimalNumber) {
   EXPECT_EQ(Mdl::valueToStrep(Colour::red), Mdl::String("red"));
   EXPECT_EQ(Mdl::valueToStrep(static_cast<Colour>(9)), Mdl::String("9"));
}

TEST(Enum, NumberOfAListedValueIsNoText) {
   EXPECT_EQ(parseError<Colour>("200"), "\"200\" is no value of Paint::Colour");
   EXPECT_EQ(parseError<Colour>("0"), "\"0\" is no value of Paint::Colour");
}

TEST(Enum, RefusesOtherTexts) {
   EXPECT_EQ(parseError<Colour>("purple"), "\"purple\" is no value of Paint::Colour");
   EXPECT_EQ(parseError<Colour>("redder"), "\"redder\" is no value of Paint::Colour");
   EXPECT_EQ(parseError<Colour>("'red'"), "\"'red'\" is no value of Paint::Colour");
   EXPECT_EQ(parseError<Colour>(""), "\"\" is no value of Paint::Colour");
   EXPECT_EQ(parseError<Colour>("7up"), "\"7up\" is no value of Paint::Colour");
   EXPECT_EQ(parseError<Colour>("256"), "a number greater than 255: \"256\"");
   EXPECT_EQ(parseError<Colour>("07"), "a number with a leading zero: \"07\"");
   EXPECT_EQ(parseError<Colour>("red "), "text after the value: \" \"");
}

TEST(Enum, StreamsItsTextWhateverTheNumberBase) {
   std::ostringstream out;
   out << std::hex << Colour::green << ' ' << static_cast<Colour>(250) << ' ' << Paint::coatThin
       << ' ' << 250;
   EXPECT_EQ(out.str(), "green 250 coatThin fa");
}

}  // namespace
