// What the system says of the agent's process, and of what it leaves in the file system.

#include "support/DaemonFixture.h"

#include <filesystem>

namespace {

using Support::eventually;

/// What `id` says of this process, in one word.
std::string idOf(std::string const& option) {
   std::string const said = Support::runProgram({"/usr/bin/id", "-n", option}).out;
   return said.substr(0, said.find('\n'));
}

class Privileges : public DaemonFixture {
 protected:
   bool const isRoot = ::geteuid() == 0;
   std::string const user = idOf("-u");
   std::string const another = isRoot ? "nobody" : "root";
   /// One that may be given to a file: root gives any, others their own.
   std::string const group = isRoot ? "daemon" : idOf("-g");
};

TEST_F(Privileges, GivesUpEveryPrivilege) {
   givenAgent(two);
   std::string const facts = agent->status();
   EXPECT_NE(facts.find("\nCapEff:\t0000000000000000\n"), std::string::npos) << facts;
   EXPECT_NE(facts.find("\nCapPrm:\t0000000000000000\n"), std::string::npos) << facts;
   EXPECT_NE(facts.find("\nNoNewPrivs:\t1\n"), std::string::npos) << facts;
}

TEST_F(Privileges, BecomesAnotherUser) {
   if (!isRoot) {
      // Nobody but root becomes somebody else: that is an error, and no agent of another user.
      givenFile(two);
      agent = start({"--user", another});
      EXPECT_EQ(agent->code(), 3);
      return;
   }
   std::filesystem::permissions(folder.path("."), std::filesystem::perms::all);
   givenFile(two);
   std::filesystem::permissions(file, std::filesystem::perms::others_read,
                                std::filesystem::perm_options::add);
   agent = start({"--user", another});
   ASSERT_TRUE(eventually([&] { return agent->says(readyLine()) || agent->hasEnded(); }));
   ASSERT_FALSE(agent->hasEnded()) << agent->err();
   std::string const facts = agent->status();
   EXPECT_NE(facts.find("\nUid:\t65534\t65534\t65534\t65534\n"), std::string::npos) << facts;
   EXPECT_EQ(ask({"show", "summary"}).code, 0) << "root may still give commands";
   EXPECT_EQ(ask({"reload"}).code, 0);
}

/// "nobody:nogroup 750", as `stat` says it.
std::string ownership(std::string const& path) {
   return Support::runProgram({"/usr/bin/stat", "-c", "%U:%G %a", path}).out;
}

TEST_F(Privileges, WhatRootMakesForAnotherUserIsThatUsers) {
   std::filesystem::permissions(folder.path("."), std::filesystem::perms::all);
   givenFile(two);
   std::filesystem::permissions(file, std::filesystem::perms::others_read,
                                std::filesystem::perm_options::add);
   socket = folder.path("run/deep/control.sock");
   agent = start({"--user", another, "--socket-group", "daemon", "--state", state});
   if (!isRoot) {
      // Nobody but root gives files away; then there are none that would be the wrong user's.
      EXPECT_EQ(agent->code(), 3);
      EXPECT_FALSE(std::filesystem::exists(socket));
      EXPECT_FALSE(std::filesystem::exists(state));
      return;
   }
   ASSERT_TRUE(eventually([&] { return agent->says(readyLine()) || agent->hasEnded(); }));
   ASSERT_FALSE(agent->hasEnded()) << agent->err();
   EXPECT_EQ(ownership(folder.path("run")), "nobody:daemon 750\n");
   EXPECT_EQ(ownership(folder.path("run/deep")), "nobody:daemon 750\n");
   EXPECT_EQ(ownership(socket), "nobody:daemon 660\n");
   EXPECT_EQ(ownership(state), "nobody:nogroup 750\n");
   EXPECT_EQ(ask({"shutdown", "--keep-hardware"}).code, 0);
   EXPECT_EQ(agent->code(), 0) << agent->err();
   EXPECT_EQ(kept().size(), 2u);
   EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST_F(Privileges, AFolderThatIsThereStaysItsOwners) {
   std::filesystem::create_directory(folder.path("run"));
   std::string const before = ownership(folder.path("run"));
   socket = folder.path("run/control.sock");
   givenAgent(two, {"--socket-group", group});
   EXPECT_EQ(ownership(folder.path("run")), before);
   EXPECT_EQ(ownership(socket), user + ":" + group + " 660\n");
}

TEST_F(Privileges, ANewFolderIsOpenToTheGroupThatMayGiveCommands) {
   socket = folder.path("run/control.sock");
   givenAgent(two, {"--socket-group", group});
   EXPECT_EQ(ownership(folder.path("run")), user + ":" + group + " 750\n");
}

TEST_F(Privileges, DoesNotBeginAsSomebodyWhoIsNotThere) {
   givenFile(two);
   agent = start({"--user", "nobody-of-that-name"});
   EXPECT_EQ(agent->code(), 3);
   EXPECT_NE(agent->err().find("there is no user 'nobody-of-that-name'"), std::string::npos);
}

}  // namespace
