#include "ReportScene.h"

#include <gtest/gtest.h>

namespace Ctl::Report {
namespace {

/// What reading a journal of these lines behind the header complains about.
std::string complaint(std::string const& lines) {
   try {
      ReportScene::runOf("[\"decap-journal\",1]\n" + lines);
   } catch (JournalError const& error) {
      return error.what();
   }
   return "nothing";
}

TEST(JournalReader, CountsTheLinesOfACompleteJournal) {
   RunHistory const run = ReportScene().machine().run();
   EXPECT_TRUE(run.end.complete);
   EXPECT_FALSE(run.end.halfLine);
   EXPECT_EQ(run.end.lines, 6u);
}

TEST(JournalReader, AJournalWithoutItsEndWasCutOff) {
   RunHistory const run = ReportScene::runOf(ReportScene().machine().text());
   EXPECT_FALSE(run.end.complete);
   EXPECT_FALSE(run.end.halfLine);
}

TEST(JournalReader, AHalfLineIsLeftOut) {
   RunHistory const run =
       ReportScene::runOf(ReportScene().machine().text() + R"([7.0,"call","prog)");
   EXPECT_TRUE(run.end.halfLine);
   EXPECT_FALSE(run.end.complete);
   EXPECT_EQ(run.end.lines, 5u);
   EXPECT_EQ(run.duration, 0.0);
}

TEST(JournalReader, ACallWithoutItsAnswerIsCounted) {
   RunHistory const run =
       ReportScene::runOf(ReportScene().machine().text() + "[7.0,\"call\",\"verify\"]\n");
   EXPECT_EQ(run.unanswered, 1u);
   EXPECT_EQ(run.calls, 1u);
}

TEST(JournalReader, SomethingElseIsNoJournal) {
   std::string const expected = "line 1: this is no journal, or one of another version";
   for (char const* const text :
        {"", "\n", "{}", "[\"decap-journal\",1]", "[\"decap-journal\",2]\n"}) {
      try {
         ReportScene::runOf(text);
         FAIL() << text;
      } catch (JournalError const& error) {
         EXPECT_EQ(error.what(), expected) << text;
         EXPECT_EQ(error.line(), 1u);
      }
   }
}

TEST(JournalReader, ABrokenLineIsNamed) {
   std::string const no = "this is no line of a journal";
   EXPECT_EQ(complaint("[0.0,\"clock\",0.0]\n[0.0,\"cl\n[\"end\"]\n"), "line 3: " + no);
   EXPECT_EQ(complaint("\n"), "line 2: " + no);
   EXPECT_EQ(complaint("[]\n"), "line 2: " + no);
   EXPECT_EQ(complaint("{\"a\":1}\n"), "line 2: " + no);
   EXPECT_EQ(complaint("[1e999,\"clock\"]\n"), "line 2: " + no);
   EXPECT_EQ(complaint(std::string("[\"log\",\"\0\"]\n", 12)), "line 2: " + no);
}

TEST(JournalReader, ALineThatCannotBeThereIsNamed) {
   EXPECT_EQ(complaint("[0.0,\"answer\",\"done\"]\n"), "line 2: an answer without a call");
   EXPECT_EQ(complaint("[2.0,\"clock\",2.0]\n[1.0,\"clock\",1.0]\n"), "line 3: the time goes back");
   EXPECT_EQ(complaint("[-1.0,\"clock\",2.0]\n"), "line 2: the line begins with no time");
   EXPECT_EQ(complaint("[\"song\"]\n"), "line 2: no line of a journal begins so");
   EXPECT_EQ(complaint("[[1]]\n"), "line 2: no line of a journal begins so");
   EXPECT_EQ(complaint("[0.0,\"call\"]\n"), "line 2: something is missing at its end");
   EXPECT_EQ(complaint("[0.0,\"call\",\"program\",7]\n"), "line 2: item 3 is no name");
   EXPECT_EQ(complaint("[0.0,\"call\",7]\n"), "line 2: item 2 is no word");
   EXPECT_EQ(complaint("[0.0,\"group\",-1,\"make\",\"a\"]\n"), "line 2: item 2 is no number");
   EXPECT_EQ(complaint("[0.0,\"group\",1,\"make\",{\"bytes\":\"4x\"}]\n"),
             "line 2: item 4 is no name");
   EXPECT_EQ(complaint("[\"end\"]\n[\"end\"]\n"),
             "line 3: something follows the end of the journal");
   EXPECT_EQ(complaint("[\"end\"]\nx"), "line 3: something follows the end of the journal");
}

TEST(JournalReader, ALineWithoutEndIsNotKept) {
   EXPECT_EQ(complaint(std::string(std::size_t{17} << 20, 'x')), "line 2: the line is too long");
}

TEST(JournalReader, ManyNestedListsAreNoTrouble) {
   std::string const open(100'000, '[');
   EXPECT_EQ(complaint(open + std::string(100'000, ']') + "\n"),
             "line 2: this is no line of a journal");
}

TEST(JournalReader, NothingIsNestedDeeperThanANameInAList) {
   std::string const line = R"([0.0,"machine","x",[)";
   EXPECT_EQ(complaint(line + R"({"bytes":"ff"}]])" + "\n"), "nothing");
   EXPECT_EQ(complaint(line + R"([[1]]]])" + "\n"), "line 2: this is no line of a journal");
   EXPECT_EQ(complaint(line + std::string(200'000, '[') + std::string(200'000, ']') + "]]\n"),
             "line 2: this is no line of a journal");
}

TEST(JournalReader, AnyLineCutShortIsRefusedOrShown) {
   std::string const whole = ReportScene()
                                 .machine()
                                 .group("1", "core", "10.1.0.0/16")
                                 .program("1.0", "gre 10.1.0.0/16 vrf red", "full")
                                 .line(R"(["alarm",true])")
                                 .line(R"(["log","TUNNEL_HW_RESOURCE_FULL"])")
                                 .line(R"([2.0,"ipIntf",1,"make",{"bytes":"ff"},"default"])")
                                 .text();
   std::size_t const header = whole.find('\n') + 1;
   for (std::size_t size = header; size < whole.size(); ++size) {
      EXPECT_FALSE(ReportScene::runOf(whole.substr(0, size)).end.complete);
      // The same in the middle of a file.
      try {
         ReportScene::runOf(whole.substr(0, size) + "\n[\"end\"]\n");
      } catch (JournalError const& error) {
         EXPECT_GE(error.line(), 2u);
      }
   }
}

}  // namespace
}  // namespace Ctl::Report
