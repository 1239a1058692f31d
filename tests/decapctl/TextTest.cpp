#include "decapctl/report/Scale.h"
#include "decapctl/report/Text.h"

#include <gtest/gtest.h>

namespace Ctl::Report {
namespace {

TEST(Escaped, TakesMarkupApart) {
   EXPECT_EQ(escaped("<b a=\"1\" c='2'>&"), "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;");
   EXPECT_EQ(escaped(""), "");
   EXPECT_EQ(escaped("größe 設 😀"), "größe 設 😀");
}

TEST(Escaped, ShowsWhatIsNoCharacterAsBytes) {
   EXPECT_EQ(escaped("a\nb\t\x7f"), "a\\x0ab\\x09\\x7f");
   EXPECT_EQ(escaped(std::string_view("\0", 1)), "\\x00");
   EXPECT_EQ(escaped("\xff\xfe"), "\\xff\\xfe");
   EXPECT_EQ(escaped("\xc3"), "\\xc3") << "cut short";
   EXPECT_EQ(escaped("\xc3(<"), "\\xc3(&lt;");
   EXPECT_EQ(escaped("\xc0\xbc"), "\\xc0\\xbc") << "longer than need be";
   EXPECT_EQ(escaped("\xe0\x80\xbc"), "\\xe0\\x80\\xbc");
   EXPECT_EQ(escaped("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "a surrogate";
   EXPECT_EQ(escaped("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "behind the last";
}

TEST(Escaped, DoesNotLetTextTurnAround) {
   EXPECT_EQ(escaped("a\u202eb"), "a\\xe2\\x80\\xaeb");
   EXPECT_EQ(escaped("\u2066"), "\\xe2\\x81\\xa6");
   EXPECT_EQ(escaped("\u0085"), "\\xc2\\x85");
}

TEST(Counted, GroupsDigits) {
   EXPECT_EQ(counted(0), "0");
   EXPECT_EQ(counted(999), "999");
   EXPECT_EQ(counted(1000), "1,000");
   EXPECT_EQ(counted(1234567), "1,234,567");
   EXPECT_EQ(counted(1, "entry", "entries"), "1 entry");
   EXPECT_EQ(counted(0, "entry", "entries"), "0 entries");
}

TEST(Duration, IsAsPeopleSayIt) {
   EXPECT_EQ(duration(0), "0 s");
   EXPECT_EQ(duration(1.5e-6), "1.5 µs");
   EXPECT_EQ(duration(0.0025), "2.5 ms");
   EXPECT_EQ(duration(0.9999), "1 s");
   EXPECT_EQ(duration(12.345), "12.3 s");
   EXPECT_EQ(duration(99.97), "1 min 40 s");
   EXPECT_EQ(duration(119.7), "2 min 00 s");
   EXPECT_EQ(duration(7500), "2 h 05 min");
   EXPECT_EQ(duration(86400 * 30.0), "30 days");
}

TEST(Moment, IsNoFinerThanAMicrosecond) {
   EXPECT_EQ(moment(0), "0 s");
   EXPECT_EQ(moment(0.000664331), "0.000664 s");
   EXPECT_EQ(moment(0.1 + 0.2), "0.3 s");
   EXPECT_EQ(moment(38.760312), "38.7603 s");
}

TEST(Coordinate, HasADigitWhereItMatters) {
   EXPECT_EQ(coordinate(12), "12");
   EXPECT_EQ(coordinate(12.34), "12.3");
   EXPECT_EQ(coordinate(-0.01), "0");
}

TEST(Ticks, AreRoundNumbers) {
   EXPECT_EQ(ticks(4, 4), (std::vector<double>{0, 1, 2, 3, 4}));
   EXPECT_EQ(ticks(400, 4), (std::vector<double>{0, 100, 200, 300, 400}));
   EXPECT_EQ(ticks(460, 4), (std::vector<double>{0, 200, 400}));
   EXPECT_EQ(ticks(0, 4), std::vector<double>{0});
   EXPECT_LE(ticks(1e300, 8).size(), 17u);
   EXPECT_LE(ticks(5e-324, 8).size(), 17u);
}

}  // namespace
}  // namespace Ctl::Report
