// What the system says of the agent's process, and of what it leaves in the file system.

#include "support/DaemonFixture.h"

#include <filesystem>

namespace {

using Support::eventually;

class Privileges : public DaemonFixture {};

TEST_F(Privileges, GivesUpEveryPrivilege) {
   givenAgent(two);
   std::string const facts = agent->status();
   EXPECT_NE(facts.find("\nCapEff:\t0000000000000000\n"), std::string::npos) << facts;
   EXPECT_NE(facts.find("\nCapPrm:\t0000000000000000\n"), std::string::npos) << facts;
   EXPECT_NE(facts.find("\nNoNewPrivs:\t1\n"), std::string::npos) << facts;
}

TEST_F(Privileges, BecomesAnotherUser) {
   if (::geteuid() != 0) {
      // Nobody but root becomes somebody else: that is an error, and no agent of another user.
      givenFile(two);
      agent = start({"--user", "nobody"});
      EXPECT_EQ(agent->code(), 3);
      return;
   }
   std::filesystem::permissions(folder.path("."), std::filesystem::perms::all);
   givenFile(two);
   std::filesystem::permissions(file, std::filesystem::perms::others_read,
                                std::filesystem::perm_options::add);
   agent = start({"--user", "nobody"});
   ASSERT_TRUE(eventually([&] { return agent->says(readyLine()) || agent->hasEnded(); }));
   ASSERT_FALSE(agent->hasEnded()) << agent->err();
   std::string const facts = agent->status();
   EXPECT_NE(facts.find("\nUid:\t65534\t65534\t65534\t65534\n"), std::string::npos) << facts;
   EXPECT_EQ(ask({"show", "summary"}).code, 0) << "root may still give commands";
   EXPECT_EQ(ask({"reload"}).code, 0);
}

TEST_F(Privileges, DoesNotBeginAsSomebodyWhoIsNotThere) {
   givenFile(two);
   agent = start({"--user", "nobody-of-that-name"});
   EXPECT_EQ(agent->code(), 3);
   EXPECT_NE(agent->err().find("there is no user 'nobody-of-that-name'"), std::string::npos);
}

}  // namespace
