// The client, and what an agent that runs says to it.

#include "support/DaemonFixture.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <set>

namespace {

using Json = nlohmann::json;
using Support::eventually;

class ClientProgram : public DaemonFixture {};

TEST_F(ClientProgram, ExitCodeTellsHowItWent) {
   givenAgent(two);
   EXPECT_EQ(ask({"verify"}).code, 0);
   EXPECT_EQ(ask({"explain", "10.1.1.1"}).code, 0);
   EXPECT_EQ(ask({"explain", "192.0.2.1"}).code, 1);
   EXPECT_EQ(ask({"explain", "house"}).code, 2);
   EXPECT_EQ(ask({"fly"}).code, 2);
   EXPECT_EQ(ask({"--rows", "many", "verify"}).code, 2);
   EXPECT_EQ(ask({"--rows", "-1", "verify"}).code, 2);
   EXPECT_EQ(ask({"--nonsense"}).code, 2);
   EXPECT_EQ(ask({"load", folder.path("none")}).code, 3);
   EXPECT_EQ(ask({"--help"}).code, 0);
   agent = nullptr;
   EXPECT_EQ(ask({"verify"}).code, 3);
}

TEST_F(ClientProgram, SaysWhatIsWrongOnStandardError) {
   givenAgent(two);
   auto const refused = ask({"explain", "house"});
   EXPECT_EQ(refused.out, "");
   EXPECT_NE(refused.err.find("house"), std::string::npos) << refused.err;
   agent->signal(SIGTERM);
   ASSERT_EQ(agent->code(), 0);
   EXPECT_EQ(ask({"verify"}).err,
             "decapctl: no agent at " + socket + ": No such file or directory\n");
}

TEST_F(ClientProgram, OutputThatIsLostIsAFailure) {
   givenAgent(two);
   for (char const* const words : {"show summary", "--help", "completion bash"}) {
      auto const end = shell(std::string(DECAPCTL_PROGRAM) + " --socket " + socket + " " + words +
                             " >/dev/full");
      EXPECT_EQ(end.code, 3) << words;
      EXPECT_EQ(end.err, "decapctl: cannot write the output\n");
   }
}

TEST_F(ClientProgram, HandsOverFiles) {
   givenAgent(two);
   std::string const next = folder.path("next.json");
   Support::writeFile(next, Support::quoted(three));
   auto const difference = ask({"diff", next});
   EXPECT_EQ(difference.code, 1) << difference.err;
   EXPECT_NE(difference.out.find("  + gre 10.3.0.0/16 vrf default\n"), std::string::npos)
       << difference.out;
   EXPECT_FALSE(agent->says("configuration applied")) << "it was a dry run";
   EXPECT_EQ(ask({"load", next}).out, "Applied: 1 group changed, 1 prefix added\n");
   EXPECT_EQ(ask({"diff", next}).code, 0);
   Support::writeFile(next, "{");
   auto const bad = ask({"load", next});
   EXPECT_EQ(bad.code, 2);
   EXPECT_TRUE(bad.err.starts_with(next + ":1:")) << bad.err;
}

TEST_F(ClientProgram, HandsOverStandardInput) {
   givenAgent(two);
   std::string const next = folder.path("next.json");
   Support::writeFile(next, Support::quoted(three));
   auto const end =
       shell("cat " + next + " | " + DECAPCTL_PROGRAM + " --socket " + socket + " load -");
   EXPECT_EQ(end.code, 0) << end.err;
   EXPECT_EQ(end.out, "Applied: 1 group changed, 1 prefix added\n");
}

TEST_F(ClientProgram, ObeysLinesFromAPipe) {
   givenAgent(two);
   auto const end = shell(std::string("printf 'verify\\n\\n# a comment\\nfly\\nexplain 192.0.2.1\\n"
                                      "audit\\nquit\\nreload\\n' | ") +
                          DECAPCTL_PROGRAM + " --socket " + socket);
   EXPECT_EQ(end.code, 2) << "the worst of all";
   EXPECT_EQ(end.err, "'fly' is no command; 'help' lists them\n");
   EXPECT_EQ(end.out,
             "Verification: nothing is wrong\n"
             "192.0.2.1 is not decapsulated: no group has a prefix around it, and no interface has "
             "the address.\n"
             "Audit: nothing is wrong\n");
}

TEST_F(ClientProgram, AJournalOverwritesNothingElse) {
   givenAgent(two, {"--state", state});
   std::string const table = state + "/hardware.state";
   std::string const before = Support::readFile(table);
   auto const end = ask({"journal", "start", table});
   EXPECT_EQ(end.code, 2);
   EXPECT_EQ(end.err, table + ": is there already, and is no journal\n");
   EXPECT_EQ(Support::readFile(table), before);
   std::string const journal = folder.path("a.journal");
   for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(ask({"journal", "start", journal}).code, 0);
      EXPECT_EQ(ask({"journal", "stop"}).code, 0) << "a journal overwrites another";
   }
}

TEST_F(ClientProgram, Watches) {
   givenAgent(two);
   Support::RunningProgram watch(
       {DECAPCTL_PROGRAM, "--socket", socket, "--watch", "0.1", "verify"});
   auto const times = [&] {
      std::size_t count = 0;
      std::string const out = watch.out();
      for (std::size_t at = out.find("wrong\n"); at != std::string::npos;
           at = out.find("wrong\n", at + 1)) {
         ++count;
      }
      return count;
   };
   EXPECT_TRUE(eventually([&] { return times() >= 3; })) << watch.out() << watch.err();
   agent->signal(SIGTERM);
   EXPECT_EQ(watch.code(), 3) << "nobody is there to be watched";
}

/// A group of many prefixes, 10.0.0.0/24 and so on.
std::string many(int prefixes) {
   std::string list;
   for (int i = 0; i < prefixes; ++i) {
      list += (i == 0 ? "'10." : ", '10.") + std::to_string(i / 256) + '.' +
              std::to_string(i % 256) + ".0/24'";
   }
   return "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': [" + list + "]}]}";
}

TEST_F(ClientProgram, GetsAllRowsPageByPage) {
   givenAgent(many(25'000));
   auto const end = ask({"--all", "--json", "show", "entries"});
   ASSERT_EQ(end.code, 0) << end.err;
   Json const document = Json::parse(end.out);
   std::set<std::string> destinations;
   for (Json const& entry : document["entries"]) destinations.insert(entry["destination"]);
   EXPECT_EQ(document["entries"].size(), 25'000u);
   EXPECT_EQ(destinations.size(), 25'000u);
   EXPECT_EQ(document["matching"], 25'000);
}

TEST_F(ClientProgram, NamesAGroupOnceAboveAllItsPages) {
   givenAgent(many(11'000));
   auto const end = ask({"--all", "--json", "show", "groups", "a"});
   ASSERT_EQ(end.code, 0) << end.err;
   Json const document = Json::parse(end.out);
   EXPECT_EQ(document["entries"].size(), 11'000u);
   EXPECT_EQ(document["groups"].size(), 1u);
}

TEST_F(ClientProgram, ShowsAllRowsAsText) {
   givenAgent(many(11'000));
   auto const end = ask({"--all", "show", "entries"});
   EXPECT_NE(end.out.find(" 10.0.0.0/24 "), std::string::npos);
   EXPECT_NE(end.out.find("... and 1000 more\n"), std::string::npos) << "below the first page";
   EXPECT_NE(end.out.find(" 10.42.247.0/24 "), std::string::npos);
}

TEST_F(ClientProgram, CommandsThatOnlySaySomethingSayItInADocumentToo) {
   givenAgent(two);
   auto const plain = ask({"help"});
   for (Texts const& words : {Texts{"--all", "--json", "help"}, Texts{"--json", "help"}}) {
      auto const end = ask(words);
      EXPECT_EQ(end.code, 0) << end.err;
      Json const document = Json::parse(end.out, nullptr, false);
      ASSERT_FALSE(document.is_discarded()) << end.out;
      EXPECT_EQ(document["text"].get<std::string>() + '\n', plain.out);
   }
}

TEST_F(ClientProgram, BashCompletesCommands) {
   std::string const programs = std::filesystem::path(DECAPCTL_PROGRAM).parent_path();
   auto const completed = [&](std::string const& words, int at) {
      auto const end = shell("PATH=" + programs +
                             ":$PATH; source <(decapctl completion bash) && "
                             "complete -p decapctl >&2 && COMP_WORDS=(decapctl " +
                             words + ") && COMP_CWORD=" + std::to_string(at) +
                             " && _decapctl && printf '%s\\n' \"${COMPREPLY[@]}\"");
      EXPECT_EQ(end.code, 0) << end.err;
      EXPECT_EQ(end.err, "complete -F _decapctl decapctl\n");
      return end.out;
   };
   EXPECT_EQ(completed("sh", 1), "show\nshutdown\n");
   EXPECT_EQ(completed("show gr", 2), "groups\n");
   EXPECT_EQ(completed("show re", 2), "resources\nrestart\n");
   EXPECT_EQ(completed("trace ''", 2), "0\n2\n5\n7\noff\n");
   EXPECT_EQ(completed("--js", 1), "--json\n");
}

TEST_F(ClientProgram, CompletionNeedsNoAgent) {
   EXPECT_EQ(ask({"complete", "jour"}).out, "journal\n");
   EXPECT_EQ(ask({"completion"}).code, 2);
   EXPECT_EQ(ask({"completion", "fish"}).code, 2);
}

}  // namespace
