#pragma once

#include "support/Actor.h"

#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

namespace Support {

/// Somebody who watches what the machine watches, and hears of each change before it does. To be
/// there before the machine is.
class FirstToHear {
 public:
   explicit FirstToHear(std::initializer_list<Mdl::Ptr<Mdl::Entity const>> watched) {
      for (auto const& entity : watched) {
         actors_.push_back(actorOn(entity, told_, "first"));
         actors_.back()->actIs([this] {
            if (auto const act = std::exchange(next_, nullptr)) act();
         });
      }
   }
   FirstToHear(FirstToHear const&) = delete;
   FirstToHear& operator=(FirstToHear const&) = delete;
   ~FirstToHear() {
      for (auto const& actor : actors_) actor->actDel();
   }

   /// What it does when it hears of the next change, once; null for nothing.
   void nextIs(std::function<void()> act) { next_ = std::move(act); }

 private:
   Journal told_;
   std::vector<Mdl::Ptr<Actor>> actors_;
   std::function<void()> next_;
};

}  // namespace Support
