#include "tunnel/decap/DecapExcludeIntfSet.h"

#include "support/ValueChecks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Pkt::IntfId;
using Tunnel::Decap::DecapExcludeIntfSet;
using Tunnel::Decap::DecapIntfKey;

DecapIntfKey const allIpv4(Pkt::emptyIntfId, 1);

DecapExcludeIntfSet setOf(std::vector<char const*> const& names) {
   DecapExcludeIntfSet set(allIpv4);
   for (char const* const name : names) set.excludeIntfIs(IntfId(name));
   return set;
}

std::string members(DecapExcludeIntfSet const& set) {
   std::string text;
   for (IntfId const& intfId : set.excludeIntf()) text += intfId.name().stdString() + " ";
   return text;
}

TEST(DecapExcludeIntfSet, IsEmptyWhenMadeOfItsKey) {
   DecapExcludeIntfSet const set(allIpv4);
   EXPECT_EQ(set.key(), allIpv4);
   EXPECT_TRUE(set.empty());
   EXPECT_FALSE(set.excludeIntf(IntfId("Ethernet1")));
}

TEST(DecapExcludeIntfSet, KeepsMembersInTheOrderOfTheirAddition) {
   EXPECT_EQ(members(setOf({"c", "a", "b"})), "c a b ");
}

TEST(DecapExcludeIntfSet, HasAMemberOnce) {
   DecapExcludeIntfSet set(allIpv4);
   EXPECT_TRUE(set.excludeIntfIs(IntfId("a")));
   EXPECT_FALSE(set.excludeIntfIs(IntfId("a")));
   EXPECT_EQ(set.size(), 1u);
}

TEST(DecapExcludeIntfSet, TakesMembersOut) {
   DecapExcludeIntfSet set = setOf({"c", "a", "b"});
   EXPECT_TRUE(set.excludeIntfDel(IntfId("a")));
   EXPECT_FALSE(set.excludeIntfDel(IntfId("a")));
   EXPECT_FALSE(set.excludeIntf(IntfId("a")));
   EXPECT_EQ(members(set), "c b ");
}

TEST(DecapExcludeIntfSet, MemberCanBeNamedByTheSetItself) {
   DecapExcludeIntfSet set = setOf({"a", "b"});
   EXPECT_FALSE(set.excludeIntfIs(set.excludeIntf().front()));
   EXPECT_TRUE(set.excludeIntfDel(set.excludeIntf().front()));
   EXPECT_EQ(members(set), "b ");
}

TEST(DecapExcludeIntfSet, MemberThatComesBackStandsLast) {
   DecapExcludeIntfSet set = setOf({"a", "b"});
   set.excludeIntfDel(IntfId("a"));
   set.excludeIntfIs(IntfId("a"));
   EXPECT_EQ(members(set), "b a ");
}

TEST(DecapExcludeIntfSet, CanBeEmptied) {
   DecapExcludeIntfSet set = setOf({"a", "b"});
   set.excludeIntfDelAll();
   EXPECT_EQ(set, DecapExcludeIntfSet(allIpv4));
   EXPECT_TRUE(set.excludeIntfIs(IntfId("a")));
}

TEST(DecapExcludeIntfSet, ComparesMembersWhateverTheirOrder) {
   EXPECT_EQ(setOf({"a", "b"}), setOf({"b", "a"}));
   EXPECT_NE(setOf({"a", "b"}), setOf({"a"}));
   EXPECT_NE(setOf({"a"}), setOf({"b"}));
   EXPECT_NE(setOf({}), DecapExcludeIntfSet(DecapIntfKey(Pkt::emptyIntfId, 2)));
}

TEST(DecapExcludeIntfSet, CopyStaysWhenTheOriginalChanges) {
   DecapExcludeIntfSet original = setOf({"a", "b"});
   DecapExcludeIntfSet const copy = original;
   original.excludeIntfDel(IntfId("a"));
   EXPECT_EQ(members(copy), "a b ");
}

TEST(DecapExcludeIntfSet, RepresentationListsTheMembersInTheirOrder) {
   std::string const key =
       "Value('Tunnel::Decap::DecapIntfKey', ** {'intfId': '', 'addressFamily': 1})";
   EXPECT_EQ(Mdl::valueToStrep(setOf({"b", "a"})).stdString(),
             "Value('Tunnel::Decap::DecapExcludeIntfSet', ** {'key': " + key +
                 ", 'excludeIntf': ['b', 'a']})");
   for (DecapExcludeIntfSet const& set : {setOf({}), setOf({"a"}), setOf({"b", "a", ""})}) {
      Support::expectRoundTrip(set);
      Support::expectNoPartIsAValue(set);
      EXPECT_EQ(members(Mdl::strepToValue<DecapExcludeIntfSet>(Mdl::valueToStrep(set))),
                members(set));
   }
}

TEST(DecapExcludeIntfSet, RepresentationOfAMemberTwiceIsRefused) {
   std::string text = Mdl::valueToStrep(setOf({"a", "b"})).stdString();
   text.replace(text.find("'b'"), 3, "'a'");
   EXPECT_EQ(Support::parseError<DecapExcludeIntfSet>(text),
             "attribute 'excludeIntf': a member twice: \"a\"");
}

TEST(DecapExcludeIntfSet, RepresentationWithAnUnfinishedListIsRefused) {
   std::string text = Mdl::valueToStrep(setOf({"a"})).stdString();
   text.insert(text.find("]"), ", ");
   EXPECT_EQ(Support::parseError<DecapExcludeIntfSet>(text),
             "attribute 'excludeIntf': expected \"'\" at \"]})\"");
}

}  // namespace
