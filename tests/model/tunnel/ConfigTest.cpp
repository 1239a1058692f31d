#include "tunnel/decap/Config.h"

#include "support/Actor.h"
#include "support/CollectionFixtures.h"
#include "support/Readable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Mdl::Ptr;
using Mdl::Reading;
using Mdl::String;
using Support::Journal;
using Tunnel::Decap::Config;
using Tunnel::Decap::DecapGroup;

class DecapConfig : public testing::Test {
 protected:
   DecapConfig() { listener->keysOf<String>(Config::decapGroupAttributeId); }

   Ptr<Config> config = Mdl::allocate<Config>();
   Ptr<Support::Listener> listener = Mdl::allocate<Support::Listener>(config);
};

TEST_F(DecapConfig, StartsEmptyAndNotReady) {
   EXPECT_TRUE(config->decapGroup().empty());
   EXPECT_FALSE(config->ready());
   EXPECT_TRUE(config->hasNotificationActive());
}

TEST_F(DecapConfig, ListsItsGroupsByName) {
   auto const red = Mdl::allocate<DecapGroup>("red");
   config->decapGroupIs(red);
   config->decapGroupIs(Mdl::allocate<DecapGroup>("blue"));
   EXPECT_EQ(config->decapGroup("red"), red);
   EXPECT_EQ(config->decapGroup("green"), nullptr);
   EXPECT_EQ(Support::walkedKeys(config->decapGroup()), std::vector<String>({"red", "blue"}));
}

TEST_F(DecapConfig, TellsOfGroupsUnder259AndOfReadinessUnder260) {
   config->decapGroupIs(Mdl::allocate<DecapGroup>("red"));
   config->readyIs(true);
   config->readyIs(true);
   config->decapGroupDel("red");
   config->readyIs(false);
   EXPECT_EQ(listener->heard(), Journal({"259 'red'", "260", "259 'red'", "260"}));
}

TEST_F(DecapConfig, TellsOfEachGroupWhenAllAreRemoved) {
   config->decapGroupIs(Mdl::allocate<DecapGroup>("red"));
   config->decapGroupIs(Mdl::allocate<DecapGroup>("blue"));
   config->decapGroupDelAll();
   EXPECT_EQ(listener->heard(), Journal({"259 'red'", "259 'blue'", "259 'red'", "259 'blue'"}));
}

TEST_F(DecapConfig, TellsOfAGroupThatReplacesAnotherOfItsName) {
   config->decapGroupIs(Mdl::allocate<DecapGroup>("red"));
   auto const second = Mdl::allocate<DecapGroup>("red");
   config->decapGroupIs(second);
   config->decapGroupIs(second);
   EXPECT_EQ(listener->heard(), Journal({"259 'red'", "259 'red'"}));
   EXPECT_EQ(config->decapGroup("red"), second);
}

TEST_F(DecapConfig, RefusesANullGroup) {
   try {
      config->decapGroupIs(nullptr);
      FAIL() << "null was taken";
   } catch (Mdl::NullArgumentException const& exception) {
      EXPECT_STREQ(exception.what(),
                   "Tunnel::Decap::Config: mutator argument for decapGroup is a null pointer");
   }
   EXPECT_TRUE(config->decapGroup().empty());
   EXPECT_EQ(listener->heard(), Journal());
}

TEST_F(DecapConfig, HoldsItsGroups) {
   auto group = Mdl::allocate<DecapGroup>("red");
   config->decapGroupIs(group);
   EXPECT_EQ(group->references(), 2u);
   config->decapGroupDel("red");
   EXPECT_EQ(group->references(), 1u);
}

TEST_F(DecapConfig, IsReadByReflection) {
   Ptr<DecapGroup const> const red = Mdl::allocate<DecapGroup>("red");
   config->decapGroupIs(red);
   config->readyIs(true);
   EXPECT_STREQ(config->fwkType().name(), "Tunnel::Decap::Config");
   EXPECT_EQ(Support::readableMembers(*config), Journal({"259 decapGroup", "260 ready"}));
   EXPECT_EQ(Mdl::read(*config, "decapGroup").entries,
             (Reading::Entries{{String("red"), Ptr<Mdl::Entity const>(red)}}));
   EXPECT_EQ(Mdl::read(*config, "ready").value, Reading::Value(true));
}

}  // namespace
