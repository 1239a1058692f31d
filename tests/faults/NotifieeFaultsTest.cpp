// A reactor that is not the machine's throws at the n-th change that it is told of, for every n.

#include "mdl/Notifiee.h"
#include "support/Tour.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Support::Tour;

/// Watches an entity and throws once.
class Stranger final : public Mdl::PtrInterface::NotifieeConst {
 public:
   Stranger(Mdl::Ptr<Mdl::Entity const> const& watched, std::uint64_t& left)
       : NotifieeConst(watched), left_(left) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   void onAttribute(Mdl::AttributeId, void const*) override {
      if (left_ != 0 && --left_ == 0) throw Support::TourFault();
   }

 private:
   std::uint64_t& left_;
};

struct Watch {
   /// How many changes go by before one throws; 0 for none.
   std::uint64_t left = 0;
   std::vector<Mdl::Ptr<Stranger>> strangers;

   explicit Watch(std::uint64_t changes) : left(changes) {}

   void over(Tour& tour) {
      tour.newcomerIs([this](Mdl::Ptr<Mdl::Entity const> const& entity) {
         strangers.push_back(Mdl::allocate<Stranger>(entity, left));
      });
   }
};

/// Whoever else watches the same entities, whatever they throw: the machine is told of every
/// change, and its own changes are made.
TEST(NotifieeFaults, OfAStrangerKeepNothingFromTheMachine) {
   std::uint64_t change = 1;
   for (bool reached = true; reached && !HasFailure(); ++change) {
      SCOPED_TRACE("change " + std::to_string(change));
      Watch watch(change);
      Tour tour;
      watch.over(tour);
      tour.play();
      reached = watch.left == 0;
      EXPECT_EQ(tour.exceptions(), reached ? 1U : 0U);
      EXPECT_EQ(tour.findings(), std::vector<std::string>());
      EXPECT_EQ(tour.counts(), tour.countsCalledFor());
      tour.end();
      EXPECT_EQ(tour.hook().table().size(), 0U);
   }
   EXPECT_GE(change, 80U);
}

}  // namespace
