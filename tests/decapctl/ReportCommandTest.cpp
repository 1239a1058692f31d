#include "ReportScene.h"
#include "support/Program.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace Ctl::Report {
namespace {

/// The program itself, on files of its own.
class ReportCommand : public testing::Test {
 protected:
   Support::ProgramEnd report(std::vector<std::string> arguments) {
      arguments.insert(arguments.begin(), {DECAPCTL_PROGRAM, "report"});
      return Support::runProgram(arguments);
   }
   void givenJournal(std::string const& text) { Support::writeFile(journal, text); }

   Support::TempFolder const folder;
   std::string const journal = folder.path("a.journal");
   std::string const page = folder.path("a.html");
   std::string const good = ReportScene().machine().text() + "[\"end\"]\n";
};

TEST_F(ReportCommand, WritesThePage) {
   givenJournal(good);
   auto const end = report({"--journal", journal, "-o", page});
   EXPECT_EQ(end.code, 0);
   EXPECT_EQ(end.out, "");
   EXPECT_EQ(end.err, "");
   std::string const text = Support::readFile(page);
   EXPECT_TRUE(text.starts_with("<!DOCTYPE html>\n"));
   EXPECT_TRUE(text.ends_with("</html>\n"));
   EXPECT_NE(text.find("<title>Run of a.journal</title>"), std::string::npos);
}

TEST_F(ReportCommand, WritesToStandardOutputUnderATitle) {
   givenJournal(good);
   auto const end = report({"--journal", journal, "--output", "-", "--title", "Night <1>"});
   EXPECT_EQ(end.code, 0);
   EXPECT_NE(end.out.find("<h1>Night &lt;1&gt;</h1>"), std::string::npos);
   EXPECT_TRUE(end.out.ends_with("</html>\n"));
}

TEST_F(ReportCommand, TheSameJournalGivesTheSamePage) {
   givenJournal(good);
   EXPECT_EQ(report({"--journal", journal, "-o", "-"}).out,
             report({"--journal", journal, "-o", "-"}).out);
}

TEST_F(ReportCommand, ABrokenJournalIsNamedWithItsLineAndGivesNoPage) {
   givenJournal("[\"decap-journal\",1]\n[0.0,\"clock\",0.0]\nnonsense\n[\"end\"]\n");
   auto const end = report({"--journal", journal, "-o", page});
   EXPECT_EQ(end.code, 2);
   EXPECT_EQ(end.err, "decapctl: " + journal + ": line 3: this is no line of a journal\n");
   EXPECT_FALSE(std::filesystem::exists(page));
}

TEST_F(ReportCommand, AJournalThatWasCutOffGivesAPageThatSaysSo) {
   givenJournal(ReportScene().machine().text() + "[1.0,\"clo");
   EXPECT_EQ(report({"--journal", journal, "-o", page}).code, 0);
   EXPECT_NE(Support::readFile(page).find("was cut off in the middle of a line"),
             std::string::npos);
}

TEST_F(ReportCommand, WhatCannotBeReadIsRefused) {
   auto const missing = report({"--journal", journal, "-o", page});
   EXPECT_EQ(missing.code, 2);
   EXPECT_EQ(missing.err, "decapctl: " + journal + ": No such file or directory\n");
   auto const directory = report({"--journal", folder.path(), "-o", page});
   EXPECT_EQ(directory.code, 2);
   EXPECT_EQ(directory.err, "decapctl: " + folder.path() + ": is a directory\n");
}

TEST_F(ReportCommand, TheJournalIsNotOverwritten) {
   givenJournal(good);
   auto const end = report({"--journal", journal, "-o", folder.path() + "/./a.journal"});
   EXPECT_EQ(end.code, 2);
   EXPECT_EQ(end.err, "decapctl: " + journal + ": the page would overwrite the journal\n");
   EXPECT_EQ(Support::readFile(journal), good);
}

TEST_F(ReportCommand, APageThatCannotBeWrittenIsAFailure) {
   givenJournal(good);
   auto const end = report({"--journal", journal, "-o", folder.path("none/a.html")});
   EXPECT_EQ(end.code, 3);
   EXPECT_EQ(end.err, "decapctl: " + folder.path("none/a.html") + ": No such file or directory\n");
   EXPECT_EQ(report({"--journal", journal, "-o", "/dev/full"}).code, 3);
}

TEST_F(ReportCommand, ACommandLineThatLacksSomethingIsRefused) {
   EXPECT_EQ(report({}).code, 2);
   EXPECT_EQ(report({"--journal", journal}).code, 2);
   EXPECT_EQ(report({"-o", page}).code, 2);
   EXPECT_EQ(report({"--journal", journal, "-o", page, "more"}).code, 2);
   EXPECT_FALSE(std::filesystem::exists(page));
}

TEST_F(ReportCommand, HelpSaysHowItIsUsed) {
   auto const end = report({"--help"});
   EXPECT_EQ(end.code, 0);
   for (char const* const part : {"--journal", "--output", "--title", "Exit code"}) {
      EXPECT_NE(end.out.find(part), std::string::npos) << part;
   }
}

TEST(Client, HasReportBesideTheAgentsCommands) {
   auto const help = Support::runProgram({DECAPCTL_PROGRAM, "--help"});
   EXPECT_EQ(help.code, 0);
   EXPECT_NE(help.out.find("report"), std::string::npos);
   EXPECT_NE(help.out.find("show backlog"), std::string::npos);
   auto const completion = Support::runProgram({DECAPCTL_PROGRAM, "complete", "re"});
   EXPECT_NE(completion.out.find("report\n"), std::string::npos) << completion.out;
   EXPECT_NE(completion.out.find("restart"), std::string::npos) << completion.out;
   auto const none = Support::runProgram({DECAPCTL_PROGRAM, "--socket", "/nowhere", "show", "log"});
   EXPECT_EQ(none.code, 3);
}

}  // namespace
}  // namespace Ctl::Report
