#include "agent/OperatorLog.h"

#include "FwdL3Unicast/Messages.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

TEST(OperatorLog, EqualMessagesInARowAreOneEntry) {
   OperatorLog const log;
   for (int i = 0; i < 3; ++i) Mdl::log(Fwd::TUNNEL_HW_RESOURCE_FULL);
   ASSERT_EQ(log.entries().size(), 1u);
   EXPECT_EQ(log.entries()[0].times, 3u);
}

TEST(OperatorLog, TheOldestGoWhereATableFlapsForEver) {
   OperatorLog log;
   std::size_t told = 0;
   log.observerIs([&](Mdl::LogHandle const&) { ++told; });
   std::size_t const many = 3 * OperatorLog::mostEntries;
   for (std::size_t i = 0; i < many; ++i) {
      Mdl::log(i % 2 == 0 ? Fwd::TUNNEL_HW_RESOURCE_FULL : Fwd::TUNNEL_HW_RESOURCE_NORMAL);
      ASSERT_LE(log.entries().size(), OperatorLog::mostEntries);
   }
   EXPECT_GE(log.entries().size(), OperatorLog::mostEntries * 9 / 10);
   EXPECT_EQ(log.entries().back().message, &Fwd::TUNNEL_HW_RESOURCE_NORMAL);
   EXPECT_EQ(told, many);
}

}  // namespace
}  // namespace Agent
