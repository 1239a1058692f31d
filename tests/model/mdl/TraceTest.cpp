#include "mdl/Trace.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Mdl::String;

/// Collects what the facility "TraceTest" traces.
class Trace : public testing::Test {
 protected:
   struct Record {
      std::string facility;
      unsigned level;
      std::string file;
      unsigned line;
      std::string function;
      std::string text;
   };

   Trace() {
      Mdl::Trace::sinkIs([this](Mdl::TraceRecord const& record) {
         records.push_back({std::string(record.facility), record.level, std::string(record.file),
                            record.line, std::string(record.function), std::string(record.text)});
      });
   }
   ~Trace() override { Mdl::Trace::sinkIs(nullptr); }

   void thenTraced(std::vector<std::string> const& expected) {
      std::vector<std::string> texts;
      for (Record const& record : records) texts.push_back(record.text);
      EXPECT_EQ(texts, expected);
   }

   Mdl::TraceHandle handle{"TraceTest", 1};
   std::vector<Record> records;
   std::uint64_t const lostBefore = Mdl::Trace::lost();
};

TEST_F(Trace, AllLevelsAreOffAtFirst) {
   EXPECT_EQ(handle.mask(), 0u);
   for (unsigned level = 0; level < 32; ++level) EXPECT_FALSE(handle.enabled(level)) << level;
}

TEST_F(Trace, EachLevelHasItsOwnBit) {
   for (unsigned bit = 0; bit < 32; ++bit) {
      handle.maskIs(1u << bit);
      for (unsigned level = 0; level < 32; ++level) {
         EXPECT_EQ(handle.enabled(level), level == bit) << level << ' ' << bit;
      }
   }
}

TEST_F(Trace, EmitsTheEnabledLevelsOnly) {
   handle.maskIs(1u << 2 | 1u << 7);
   MDL_TRACE(handle, 2, "two");
   MDL_TRACE(handle, 5, "five");
   MDL_TRACE(handle, 7, "seven");
   thenTraced({"two", "seven"});
}

TEST_F(Trace, EvaluatesNothingWhileOff) {
   int evaluated = 0;
   auto const piece = [&] { return ++evaluated; };
   auto const function = [&] {
      ++evaluated;
      return "function";
   };
   handle.maskIs(~(1u << 2));
   MDL_TRACE(handle, 2, "piece " << piece());
   MDL_TRACE_AS(handle, 2, function(), "text");
   EXPECT_EQ(evaluated, 0);
   handle.maskIs(1u << 2);
   MDL_TRACE(handle, 2, "piece " << piece());
   MDL_TRACE_AS(handle, 2, function(), "text");
   EXPECT_EQ(evaluated, 2);
   thenTraced({"piece 1", "text"});
}

TEST_F(Trace, JoinsItsPiecesWithoutSeparators) {
   handle.maskIs(1u << 2);
   std::uint16_t const port = 65535;
   std::uint32_t const count = 4294967295u;
   char const* const text = "text";
   MDL_TRACE(handle, 2, "a" << text << String("b c") << true << false << port << count << 0u);
   thenTraced({"atextb ctruefalse6553542949672950"});
}

TEST_F(Trace, KeepsTheBytesOfAStringThatHoldsNul) {
   handle.maskIs(1u << 2);
   MDL_TRACE(handle, 2, String("a\0b", 3) << "c");
   thenTraced({std::string("a\0bc", 4)});
}

TEST_F(Trace, AFlagSetInOneRecordDoesNotReachTheNext) {
   handle.maskIs(1u << 2);
   MDL_TRACE(handle, 2, std::hex << std::noboolalpha << 16 << true);
   MDL_TRACE(handle, 2, 16 << true);
   thenTraced({"101", "16true"});
}

TEST_F(Trace, ARecordNamesFacilityLevelFileLineAndFunction) {
   handle.maskIs(1u << 5);
   unsigned const line = __LINE__ + 1;
   MDL_TRACE(handle, 5, "text");
   ASSERT_EQ(records.size(), 1u);
   EXPECT_EQ(records[0].facility, "TraceTest");
   EXPECT_EQ(records[0].level, 5u);
   EXPECT_EQ(records[0].file, __FILE__);
   EXPECT_EQ(records[0].line, line);
   EXPECT_EQ(records[0].function, "TestBody");
   EXPECT_EQ(records[0].text, "text");
}

TEST_F(Trace, ARecordMaySpeakForAnotherFunction) {
   handle.maskIs(1u << 2);
   MDL_TRACE_AS(handle, 2, "handleThat", "text");
   ASSERT_EQ(records.size(), 1u);
   EXPECT_EQ(records[0].function, "handleThat");
}

TEST_F(Trace, IsOneStatement) {
   handle.maskIs(1u << 2);
   if (records.empty())
      MDL_TRACE(handle, 2, "then");
   else
      MDL_TRACE(handle, 2, "else");
   thenTraced({"then"});
}

// ---- Handles
// -------------------------------------------------------------------------------------

TEST_F(Trace, AHandleKnowsItsFacilityAndFlag) {
   EXPECT_STREQ(handle.facility(), "TraceTest");
   EXPECT_EQ(handle.flag(), 1u);
}

TEST_F(Trace, AHandleIsFoundByItsFacilityWhileItExists) {
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTest"), &handle);
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTes"), nullptr);
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTestOther"), nullptr);
   EXPECT_EQ(Mdl::TraceHandle::find(""), nullptr);
   std::optional<Mdl::TraceHandle> passing;
   passing.emplace("TraceTestPassing", 0);
   Mdl::TraceHandle const later("TraceTestLater", 0);
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTestPassing"), &*passing);
   passing.reset();
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTestPassing"), nullptr);
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTestLater"), &later);
   EXPECT_EQ(Mdl::TraceHandle::find("TraceTest"), &handle);
}

// ---- Sinks and losses
// ----------------------------------------------------------------------------

TEST_F(Trace, ASinkThatThrowsLosesTheRecordAndNothingElse) {
   Mdl::Trace::sinkIs([](Mdl::TraceRecord const&) { throw std::runtime_error("full"); });
   handle.maskIs(1u << 2);
   MDL_TRACE(handle, 2, "text");
   MDL_TRACE(handle, 2, "text");
   EXPECT_EQ(Mdl::Trace::lost(), lostBefore + 2);
}

/// A piece that cannot be written.
struct Unwritable {
   [[noreturn]] friend std::ostream& operator<<(std::ostream&, Unwritable) {
      throw std::runtime_error("unwritable");
   }
};

TEST_F(Trace, APieceThatThrowsLosesTheRecordAndNothingElse) {
   handle.maskIs(1u << 2);
   MDL_TRACE(handle, 2, "text " << Unwritable());
   thenTraced({});
   EXPECT_EQ(Mdl::Trace::lost(), lostBefore + 1);
   MDL_TRACE(handle, 2, "next");
   thenTraced({"next"});
   EXPECT_EQ(Mdl::Trace::lost(), lostBefore + 1);
}

TEST_F(Trace, ASinkMayReplaceItself) {
   std::string const kept(100, 'k');
   std::vector<std::string> seen;
   Mdl::Trace::sinkIs([&seen, kept](Mdl::TraceRecord const& record) {
      Mdl::Trace::sinkIs([&seen](Mdl::TraceRecord const&) { seen.push_back("second"); });
      seen.push_back(kept + std::string(record.text));
   });
   handle.maskIs(1u << 2);
   MDL_TRACE(handle, 2, "text");
   MDL_TRACE(handle, 2, "text");
   EXPECT_EQ(seen, (std::vector<std::string>{kept + "text", "second"}));
}

TEST_F(Trace, GoesToStandardErrorWithoutASink) {
   Mdl::Trace::sinkIs(nullptr);
   handle.maskIs(1u << 2);
   testing::internal::CaptureStderr();
   MDL_TRACE_AS(handle, 2, "handleThat", "some text " << 5u);
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "TraceTest/2 handleThat: some text 5\n");
   EXPECT_EQ(Mdl::Trace::lost(), lostBefore);
}

}  // namespace
