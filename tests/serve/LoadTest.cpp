// Many clients at once, while the machine goes on with its own work.

#include "support/ServerFixture.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

namespace Agent {
namespace {

class LoadTest : public ServerFixture {};

TEST_F(LoadTest, TwoHundredClientsAreAnsweredWhileTheMachineReviews) {
   constexpr std::size_t crowd = 200;
   rlimit files{};
   ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &files), 0);
   files.rlim_cur = files.rlim_max;
   ::setrlimit(RLIMIT_NOFILE, &files);
   ASSERT_GT(files.rlim_cur, 2 * crowd + 50);
   givenServer(
       "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', "
       "'10.2.0.0/16']}], 'hardware': {'capacity': 1}, 'review': {'interval': 0.01}}");
   auto const start = std::chrono::steady_clock::now();
   auto const seconds = [&] {
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
   };

   // Each asks for something of its own, so that no answer goes to somebody else.
   std::vector<Client> clients;
   for (std::size_t i = 0; i < crowd; ++i) {
      clients.emplace_back(address.path);
      std::string const own = "10.9." + std::to_string(i) + ".";
      std::string lines;
      for (int n = 0; n < 4; ++n) lines += lineOf({"explain", own + std::to_string(n)});
      ASSERT_EQ(clients.back().send(lines), lines.size());
   }
   std::vector<int> answered(crowd, 0);
   std::uint64_t const before = hardware().programCalls();
   bool const all = until([&] {
      clock = seconds();
      service->turn();
      for (std::size_t i = 0; i < crowd; ++i) {
         while (auto const reply = clients[i].reply()) {
            std::string const own =
                "10.9." + std::to_string(i) + "." + std::to_string(answered[i]++) + " is not ";
            EXPECT_EQ(reply->status, Status::found);
            EXPECT_TRUE(reply->text.starts_with(own)) << i << ": " << reply->text;
         }
      }
      return std::ranges::all_of(answered, [](int count) { return count >= 4; });
   });
   EXPECT_TRUE(all);
   EXPECT_LT(seconds(), 20.0);
   EXPECT_GT(hardware().programCalls(), before) << "the review has tried again";
   EXPECT_EQ(server->clients(), crowd);
   clients.clear();
   EXPECT_TRUE(until([&] { return server->clients() == 0; }));
}

}  // namespace
}  // namespace Agent
