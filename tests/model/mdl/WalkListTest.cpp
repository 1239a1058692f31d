#include "mdl/WalkList.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Mdl::WalkList;

struct Link : WalkList::Link {
   explicit Link(WalkList& list) : WalkList::Link(list) {}
   using WalkList::Link::leave;
};

TEST(WalkList, IsEmptyWhenTheLastWalkHasLeft) {
   WalkList list;
   auto first = std::make_unique<Link>(list);
   auto second = std::make_unique<Link>(list);
   auto third = std::make_unique<Link>(list);
   second.reset();
   EXPECT_FALSE(list.empty());
   third.reset();
   EXPECT_FALSE(list.empty());
   first.reset();
   EXPECT_TRUE(list.empty());
}

TEST(WalkList, EndsAllWalks) {
   WalkList list;
   Link const first(list);
   Link const second(list);
   list.endAll();
   EXPECT_TRUE(first.ended());
   EXPECT_TRUE(second.ended());
   EXPECT_TRUE(list.empty());
}

TEST(WalkList, AnEndedWalkLeavesNothing) {
   WalkList list;
   auto ended = std::make_unique<Link>(list);
   list.endAll();
   Link const later(list);
   ended.reset();
   EXPECT_FALSE(list.empty());
   EXPECT_FALSE(later.ended());
}

TEST(WalkList, EndsItsWalksWhenItIsDestroyed) {
   auto list = std::make_unique<WalkList>();
   Link const walk(*list);
   list.reset();
   EXPECT_TRUE(walk.ended());
}

TEST(WalkList, AWalkMayLeaveTwice) {
   WalkList list;
   Link walk(list);
   Link const other(list);
   walk.leave();
   walk.leave();
   EXPECT_TRUE(walk.ended());
   EXPECT_FALSE(list.empty());
}

}  // namespace
