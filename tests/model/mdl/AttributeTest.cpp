// The accessors and mutators that the declarations of attributes give.

#include "mdl/Attribute.h"

#include "support/CollectionFixtures.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Mdl::Ptr;
using Mdl::String;
using Support::Label;
using Support::Leaf;
using Support::Plant;

class Attribute : public testing::Test {
 protected:
   Ptr<Plant> plant = Mdl::allocate<Plant>();
};

TEST_F(Attribute, AScalarStartsWithTheValueThatItsTypeStartsWith) {
   EXPECT_EQ(plant->height(), 0u);
   EXPECT_EQ(plant->title(), String());
}

TEST_F(Attribute, AScalarReadsBack) {
   plant->heightIs(7);
   plant->titleIs("oak");
   EXPECT_EQ(plant->height(), 7u);
   EXPECT_EQ(plant->title(), String("oak"));
}

TEST_F(Attribute, AnAbsentKeyGivesTheDefaultValue) {
   EXPECT_FALSE(plant->mark("a"));
   EXPECT_EQ(plant->count("a"), 0u);
   EXPECT_EQ(plant->leaf("a"), nullptr);
}

TEST_F(Attribute, ASetGivesTrueForItsMembers) {
   plant->markIs("a");
   EXPECT_TRUE(plant->mark("a"));
   EXPECT_FALSE(plant->mark("b"));
   EXPECT_TRUE(plant->markHas("a"));
   EXPECT_FALSE(plant->markHas("b"));
}

TEST_F(Attribute, AMapTellsAPresentDefaultFromAnAbsentKey) {
   plant->countIs("a", 0);
   EXPECT_EQ(plant->count("a"), 0u);
   EXPECT_TRUE(plant->countHas("a"));
   EXPECT_FALSE(plant->countHas("b"));
}

TEST_F(Attribute, AMapInsertsAndReplaces) {
   plant->countIs("a", 1);
   plant->countIs("b", 2);
   plant->countIs("a", 3);
   EXPECT_EQ(plant->count("a"), 3u);
   EXPECT_EQ(plant->count("b"), 2u);
   EXPECT_EQ(plant->count().size(), 2u);
}

TEST_F(Attribute, AKeyedValueStandsUnderItsOwnKey) {
   plant->labelIs(Label("a", 1));
   plant->labelIs(Label("a", 2));
   ASSERT_EQ(plant->label().size(), 1u);
   EXPECT_EQ(plant->label().find(String("a"))->weight(), 2u);
}

TEST_F(Attribute, AKeyedEntityStandsUnderItsOwnKey) {
   auto const leaf = Mdl::allocate<Leaf>("l");
   plant->leafIs(leaf);
   EXPECT_EQ(plant->leaf("l"), leaf);
   EXPECT_EQ(leaf->references(), 2u);
   plant->leafDel("l");
   EXPECT_EQ(leaf->references(), 1u);
}

TEST_F(Attribute, ANullEntityIsRefusedByTypeAndAttributeAndChangesNothing) {
   plant->leafIs(Mdl::allocate<Leaf>("l"));
   try {
      plant->leafIs(nullptr);
      FAIL() << "null was taken";
   } catch (Mdl::NullArgumentException const& exception) {
      EXPECT_STREQ(exception.what(), "Support::Plant: mutator argument for leaf is a null pointer");
   }
   EXPECT_EQ(plant->leaf().size(), 1u);
}

TEST_F(Attribute, RemovingOneLeavesTheOthers) {
   plant->markIs("a");
   plant->markIs("b");
   plant->markDel("a");
   plant->markDel("a");
   EXPECT_EQ(Support::walkedKeys(plant->mark()), std::vector<String>({"b"}));
}

TEST_F(Attribute, RemovingAllLeavesNone) {
   for (int i = 0; i < 100; ++i) plant->markIs(std::to_string(i));
   plant->markDelAll();
   EXPECT_TRUE(plant->mark().empty());
   plant->markIs("a");
   EXPECT_EQ(plant->mark().size(), 1u);
}

TEST_F(Attribute, EntriesStandInTheOrderOfTheirInsertion) {
   std::vector<String> keys;
   for (int i = 99; i >= 0; --i) keys.emplace_back(std::to_string(i));
   for (String const& key : keys) plant->markIs(key);
   EXPECT_EQ(Support::walkedKeys(plant->mark()), keys);
}

TEST_F(Attribute, HasTheIdentifierOfItsDeclaration) {
   EXPECT_EQ(Plant::heightAttributeId, 130u);
   EXPECT_EQ(Plant::markAttributeId, 132u);
   EXPECT_EQ(Plant::leafAttributeId, 135u);
}

// Small values are copies that outlive the entity; the others are not copied to be looked at. The
// collection itself is for reading only: every change goes through the mutators.
using Constant = Plant const;
static_assert(std::is_same_v<decltype(std::declval<Constant>().height()), std::uint32_t>);
static_assert(std::is_same_v<decltype(std::declval<Constant>().title()), String const&>);
static_assert(std::is_const_v<std::remove_reference_t<decltype(std::declval<Plant>().mark())>>);

}  // namespace
