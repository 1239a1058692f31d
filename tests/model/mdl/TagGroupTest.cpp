#include "mdl/TagGroup.h"

#include "support/Generate.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using Mdl::TagGroup;

std::uint32_t slotsOf(TagGroup const& group, std::uint32_t tag) {
   std::uint32_t bits = 0;
   for (unsigned slot = 0; slot < TagGroup::slots; ++slot) {
      if (group.tags[slot] == tag) bits |= 1U << slot;
   }
   return bits;
}

TEST(TagGroup, IsEmptyAtFirst) {
   TagGroup const group;
   EXPECT_FALSE(group.taken().any());
   EXPECT_EQ(group.matching(0).bits(), TagGroup::allSlots);
}

TEST(TagGroup, ChoosesTheSlotsOfATagAndNoOthers) {
   Support::Generate generate(1);
   for (int round = 0; round < 2000; ++round) {
      TagGroup group;
      // Few different tags, and neighbours among them: bits that differ least are mistaken first.
      std::uint32_t const base = generate.word();
      for (auto& tag : group.tags) tag = static_cast<std::uint8_t>(base + generate.word() % 3);
      group.passed = static_cast<std::uint8_t>(generate.word());
      for (std::uint32_t tag = 0; tag < 256; ++tag) {
         ASSERT_EQ(group.matching(tag).bits(), slotsOf(group, tag)) << tag;
         ASSERT_EQ(group.matchingInWords(tag).bits(), slotsOf(group, tag)) << tag;
      }
   }
}

TEST(TagGroup, WhatWasPassedIsNoSlot) {
   TagGroup group;
   group.passed = 7;
   EXPECT_FALSE(group.matching(7).any());
   EXPECT_FALSE(group.matchingInWords(7).any());
}

TEST(TagGroup, GoesThroughTheChosenSlotsInOrder) {
   TagGroup group;
   for (unsigned const slot : {2U, 3U, 14U}) group.tags[slot] = 9;
   std::uint32_t seen = 0;
   unsigned last = 0;
   for (auto some = group.matching(9); some.any(); some.dropFirst()) {
      EXPECT_GT(some.first(), last);
      last = some.first();
      seen |= 1U << some.first();
   }
   EXPECT_EQ(seen, 1U << 2 | 1U << 3 | 1U << 14);
   EXPECT_EQ(group.taken().bits(), seen);
}

}  // namespace
