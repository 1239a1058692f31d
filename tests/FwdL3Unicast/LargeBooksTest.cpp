// With many keys their books are loaded ahead. Nothing else differs.

#include "FwdL3Unicast/MdlDecapGroup.h"
#include "support/DecapFixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

/// Two groups with so many prefixes that changes of them are announced and loaded for.
class LargeBooks : public DecapFixture {
 protected:
   static constexpr std::uint32_t many = 8500;

   LargeBooks() {
      givenGroup("red");
      givenGroup("blue");
      givenRunning();
      for (std::uint32_t i = 0; i < many; ++i) {
         groupNamed("red").decapIpIs(numbered(i));
         groupNamed("blue").decapIpIs(numbered(many + i));
      }
      forgetSoFar();
   }
   static void announce(Mdl::Ptr<Sm::MdlDecapGroup> const& reactor,
                        Pkt::IpGenPrefix const& announced) {
      for (auto const soon : {Mdl::Soon::later, Mdl::Soon::next, Mdl::Soon::now}) {
         reactor->onAttributeSoon(DecapGroup::decapIpAttributeId, &announced, soon);
      }
   }
   static Pkt::IpGenPrefix numbered(std::uint32_t number) {
      return Pkt::IpGenPrefix(Pkt::IpAddr(0x0a000000U + number), 32);
   }
};

TEST_F(LargeBooks, AKeyComesAndGoes) {
   whenDecapIpAdded("red", "192.0.2.0/24");
   thenCalls({"program " + entry("192.0.2.0/24") + " -> success"});
   thenBooksAgree();
   forgetSoFar();
   whenDecapIpRemoved("red", "192.0.2.0/24");
   thenCalls({"remove " + entry("192.0.2.0/24") + " -> removed"});
   thenBooksAgree();
}

TEST_F(LargeBooks, ManyKeysComeAndGoInABurst) {
   std::vector<Pkt::IpGenPrefix> burst;
   for (std::uint32_t i = 0; i < 500; ++i) burst.push_back(numbered(3 * many + i));
   groupNamed("red").decapIpIsEach(burst);
   EXPECT_EQ(hardware->table().size(), 2 * many + 500);
   thenBooksAgree();
   groupNamed("red").decapIpDelEach(burst);
   EXPECT_EQ(hardware->table().size(), 2 * many);
   thenBooksAgree();
}

TEST_F(LargeBooks, AnAnnouncementAloneChangesNothing) {
   auto const announced = prefix("192.0.2.0/24");
   announce(reactor("red"), announced);
   thenCalls({});
   EXPECT_EQ(sm->refCount().size(), 2 * many);
   thenBooksAgree();
}

// What was loaded for is a key of then; a key of other values is loaded for when its turn comes.
TEST_F(LargeBooks, AKeyOfOtherValuesThanAnnouncedIsRight) {
   auto const announced = prefix("192.0.2.0/24");
   announce(reactor("red"), announced);
   groupNamed("red").forwardingVrfIs(vrf("other"));
   forgetSoFar();
   whenDecapIpAdded("red", "192.0.2.0/24");
   thenCalls({"program " + entry("192.0.2.0/24", "other") + " -> success"});
   thenBooksAgree();
}

TEST_F(LargeBooks, AnnouncementsToAGroupWithoutEntityOrMachineAreIgnored) {
   auto const announced = prefix("192.0.2.0/24");
   auto const red = reactor("red");
   auto const blue = reactor("blue");
   red->notifierIs(nullptr);
   announce(red, announced);
   whenGroupRemoved("blue");
   announce(blue, announced);
   thenBooksAgree();
}

}  // namespace
