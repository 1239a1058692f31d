#include "control/Commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace Control {
namespace {

using Words = std::vector<std::string>;

/// What a person reads when the words are no command; empty when they are one.
std::string complaintAbout(Words const& words) {
   try {
      match(words);
   } catch (CommandError const& error) {
      return error.what();
   }
   return "";
}

std::string_view matched(Words const& words) { return match(words).command->words; }

TEST(Commands, EveryCommandIsThereOnceAndHasHelp) {
   std::set<std::string_view> seen;
   for (Command const& command : commands()) {
      EXPECT_TRUE(seen.insert(command.words).second) << command.words;
      EXPECT_FALSE(command.help.empty()) << command.words;
      EXPECT_FALSE(command.help.ends_with('.')) << command.words;
      EXPECT_LE(command.least, command.most) << command.words;
      EXPECT_EQ(command.most == 0, command.arguments.empty()) << command.words;
   }
   EXPECT_EQ(seen.size(), 26u);
}

TEST(Commands, EveryCommandIsFoundByItsOwnWords) {
   for (Command const& command : commands()) {
      Words words = wordsOf(command.words);
      EXPECT_EQ(commandOf(words).words, command.words);
      words.insert(words.end(), command.least, "x");
      Match const found = match(words);
      EXPECT_EQ(found.command->words, command.words);
      EXPECT_EQ(found.arguments, Words(command.least, "x")) << command.words;
   }
}

TEST(Commands, EveryCommandRefusesMoreThanItTakesWithItsUsage) {
   for (Command const& command : commands()) {
      Words words = wordsOf(command.words);
      words.insert(words.end(), command.most + 1, "x");
      EXPECT_EQ(complaintAbout(words), "usage: " + usageOf(command));
   }
}

TEST(Commands, EveryCommandRefusesLessThanItNeedsWithItsUsage) {
   int needy = 0;
   for (Command const& command : commands()) {
      if (command.least == 0) continue;
      ++needy;
      Words words = wordsOf(command.words);
      words.insert(words.end(), command.least - 1, "x");
      EXPECT_EQ(complaintAbout(words), "usage: " + usageOf(command));
   }
   EXPECT_EQ(needy, 9);
}

TEST(Commands, FilesComeAlongWithThoseThatReadOrWriteThem) {
   Words read;
   Words written;
   for (Command const& command : commands()) {
      if (command.file == Command::File::read) read.emplace_back(command.words);
      if (command.file == Command::File::written) written.emplace_back(command.words);
   }
   EXPECT_EQ(read, (Words{"diff", "load"}));
   EXPECT_EQ(written, (Words{"journal start"}));
}

TEST(Commands, WordsMayBeShortened) {
   EXPECT_EQ(matched({"sh", "g"}), "show groups");
   EXPECT_EQ(matched({"s", "su"}), "show summary");
   EXPECT_EQ(matched({"e", "10.1.1.1"}), "explain");
   EXPECT_EQ(matched({"j", "sta", "f"}), "journal start");
   EXPECT_EQ(matched({"d", "f"}), "diff");
}

TEST(Commands, ArgumentsAreNotShortened) {
   EXPECT_EQ(match(Words{"sh", "g", "show"}).arguments, Words{"show"});
}

TEST(Commands, AWordThatFitsSeveralCommandsNamesThem) {
   EXPECT_EQ(complaintAbout({"re"}), "'re' may be: reload, restart");
   EXPECT_EQ(complaintAbout({"show", "re"}), "'show re' may be: show resources, show restart");
   EXPECT_EQ(complaintAbout({"journal", "st", "f"}),
             "'journal st f' may be: journal start, journal stop");
}

TEST(Commands, ABeginningSaysHowItMayGoOn) {
   EXPECT_EQ(complaintAbout({"journal"}), "'journal' may go on to: journal start, journal stop");
   EXPECT_TRUE(complaintAbout({"show"}).starts_with("'show' may go on to: show summary, "));
   EXPECT_EQ(complaintAbout({"j"}), "'j' may go on to: journal start, journal stop");
}

TEST(Commands, RubbishIsNoCommand) {
   EXPECT_EQ(complaintAbout({"fly"}), "'fly' is no command; 'help' lists them");
   EXPECT_EQ(complaintAbout({"show", "nothing"}),
             "'show nothing' is no command; 'help' lists them");
   EXPECT_EQ(complaintAbout({"SHOW", "groups"}), "'SHOW groups' is no command; 'help' lists them");
   EXPECT_EQ(complaintAbout({"shown", "groups"}),
             "'shown groups' is no command; 'help' lists them");
}

TEST(Commands, NothingIsNoCommand) {
   EXPECT_EQ(complaintAbout({}), "no command; 'help' lists them");
   EXPECT_NE(complaintAbout({""}), "");
   EXPECT_NE(complaintAbout({"show", ""}), "");
}

TEST(Commands, TheLongerOfTwoCommandsWins) {
   EXPECT_EQ(matched({"help", "log"}), "help log");
   EXPECT_EQ(match(Words{"help", "log", "X"}).arguments, Words{"X"});
   EXPECT_EQ(match(Words{"help", "show", "log"}).arguments, (Words{"show", "log"}));
   EXPECT_EQ(matched({"help", "load"}), "help");
}

TEST(Commands, UsageHasTheArguments) {
   EXPECT_EQ(usageOf(commandOf(Words{"show", "groups"})), "show groups [NAME]");
   EXPECT_EQ(usageOf(commandOf(Words{"verify"})), "verify");
}

TEST(Completions, BeginWithAllFirstWords) {
   Words const first = completions(Words{""});
   EXPECT_EQ(first, (Words{"audit", "diff", "explain", "help", "journal", "load", "reload",
                           "restart", "set", "show", "shutdown", "trace", "verify"}));
}

TEST(Completions, ContinueAWord) {
   EXPECT_EQ(completions(Words{"sh"}), (Words{"show", "shutdown"}));
   EXPECT_EQ(completions(Words{"show", "re"}), (Words{"resources", "restart"}));
   EXPECT_EQ(completions(Words{"sh", "gr"}), Words{"groups"});
}

TEST(Completions, OfferTheChoicesOfAnArgument) {
   EXPECT_EQ(completions(Words{"trace", ""}), (Words{"0", "2", "5", "7", "off"}));
   EXPECT_EQ(completions(Words{"trace", "o"}), Words{"off"});
   EXPECT_EQ(completions(Words{"restart", "--k"}), Words{"--keep-hardware"});
}

TEST(Completions, AreEmptyWhereAnythingGoes) {
   EXPECT_EQ(completions(Words{}), Words{});
   EXPECT_EQ(completions(Words{"explain", ""}), Words{});
   EXPECT_EQ(completions(Words{"fly", ""}), Words{});
   EXPECT_EQ(completions(Words{"verify", ""}), Words{});
   EXPECT_EQ(completions(Words{"trace", "off", ""}), Words{});
   EXPECT_EQ(completions(Words{"", "groups"}), Words{});
}

TEST(Completions, AreWordsOfCommandsThatMatch) {
   for (std::string const& first : completions(Words{""})) {
      for (std::string const& second : completions(Words{first, ""})) {
         std::string const complaint = complaintAbout({first, second});
         EXPECT_TRUE(complaint.empty() || complaint.starts_with("usage: "))
             << first << ' ' << second << ": " << complaint;
      }
   }
}

TEST(LineWords, AreSplitAtBlanks) {
   EXPECT_EQ(wordsOf("  show\tgroups \r\n"), (Words{"show", "groups"}));
   EXPECT_EQ(wordsOf(""), Words{});
   EXPECT_EQ(wordsOf(" \t "), Words{});
}

TEST(LineWords, KeepBlanksInQuotes) {
   EXPECT_EQ(wordsOf("show groups \"the first\" 'and last'"),
             (Words{"show", "groups", "the first", "and last"}));
   EXPECT_EQ(wordsOf("a\"b c\"d"), Words{"ab cd"});
   EXPECT_EQ(wordsOf("\"it's\" '\"'"), (Words{"it's", "\""}));
   EXPECT_EQ(wordsOf("''"), Words{""});
}

TEST(LineWords, ABackslashKeepsTheNextCharacter) {
   EXPECT_EQ(wordsOf("a\\ b"), Words{"a b"});
   EXPECT_EQ(wordsOf("\\\"a"), Words{"\"a"});
   EXPECT_EQ(wordsOf("\"a\\\"b\""), Words{"a\"b"});
   EXPECT_EQ(wordsOf("a\\\\b"), Words{"a\\b"});
   EXPECT_EQ(wordsOf("a\\"), Words{"a\\"}) << "with nothing behind it";
}

TEST(LineWords, AQuoteHasToBeClosed) {
   for (char const* line : {"\"a", "'a", "a'", "\"a'", "\"a\\\""}) {
      EXPECT_THROW(wordsOf(line), CommandError) << line;
   }
}

TEST(Help, HasALineForEachCommand) {
   std::string const text = helpText();
   EXPECT_EQ(std::ranges::count(text, '\n'), std::ssize(commands()));
   for (Command const& command : commands()) {
      EXPECT_NE(text.find("  " + usageOf(command) + ' '), std::string::npos) << command.words;
      EXPECT_NE(text.find(std::string(command.help) + '\n'), std::string::npos) << command.words;
   }
}

}  // namespace
}  // namespace Control
