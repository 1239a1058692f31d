#pragma once

#include <utility>

namespace Mdl {

/// The walks that are under way over one collection.
///
/// A collection owns its list and a walk stands in it from its construction to its destruction,
/// or until the collection ends it, whichever comes first; neither outlives what it points to.
/// I1: a walk is in the list exactly while it is not ended.
/// Re-entrancy: walks may come and go in any order, also while others are under way.
/// Cost: one pointer a collection, three a walk; every call is O(1) but `endAll`.
class WalkList {
 public:
   class Link {
    public:
      Link(Link const&) = delete;
      Link& operator=(Link const&) = delete;

      /// The collection is gone, moved away or emptied: there is nothing left to see.
      bool ended() const noexcept { return list_ == nullptr; }

    protected:
      explicit Link(WalkList& list) noexcept : list_(&list), next_(list.first_) {
         if (next_ != nullptr) next_->previous_ = this;
            // A link lives on the stack and is in the list only while it lives (I1), which GCC does
            // not follow through the destructor.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
         list.first_ = this;
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
      }
      ~Link() { leave(); }

      void leave() noexcept {
         if (ended()) return;
         (previous_ == nullptr ? list_->first_ : previous_->next_) = next_;
         if (next_ != nullptr) next_->previous_ = previous_;
         list_ = nullptr;
      }

    private:
      friend class WalkList;

      WalkList* list_;
      Link* previous_ = nullptr;
      Link* next_;
   };

   WalkList() noexcept = default;
   WalkList(WalkList const&) = delete;
   WalkList& operator=(WalkList const&) = delete;
   ~WalkList() { endAll(); }

   bool empty() const noexcept { return first_ == nullptr; }

   void endAll() noexcept {
      for (Link* link = std::exchange(first_, nullptr); link != nullptr; link = link->next_) {
         link->list_ = nullptr;
      }
   }

 private:
   Link* first_ = nullptr;
};

}  // namespace Mdl
