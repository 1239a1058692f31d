#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "mdl/Ptr.h"

#include <array>
#include <cstdint>
#include <utility>

namespace Fwd {

/// Has the processor load what the machine's books have on a key before it is asked for.
///
/// With many keys each search waits for memory, two or three times one after the other. A walk
/// knows which keys come next: far ahead it asks for the indexes' lines, nearer for the entries to
/// which these lead, and when a key's turn comes everything is there.
///
/// Owner: the function that walks.
class BooksAhead {
 public:
   enum class Walked : std::uint8_t { group, backlog };

   /// Null is for a group that has left its machine: nothing is loaded. A walk over the backlog
   /// comes to its entries by itself.
   explicit BooksAhead(Mdl::Ptr<FwdDecapGroupSm const> stateMachine,
                       Walked walked = Walked::group) noexcept
       : stateMachine_(std::move(stateMachine)), walked_(walked) {}

   /// For the next entry of the walk: to be called once for each.
   template <class Walk>
   void step(Walk const& walk) noexcept {
      Hashes& next = hashes_[turn_++ % far];
      Hashes const near = hashes_[(turn_ + far / 2) % far];
      next = {};
      walk.ahead(far, [&](HashedKey const& key) { next = hashesOf(key); });
      if (!stateMachine_) return;
      if (next.key != 0) prefetchIndexes(*stateMachine_, next);
      if (near.key != 0) prefetchEntries(*stateMachine_, near, walked_);
   }

   /// For one key whose turn comes so soon: at least its searches wait side by side.
   static void load(FwdDecapGroupSm const& stateMachine, HashedKey const& key,
                    Mdl::Soon soon) noexcept {
      Hashes const hashes = hashesOf(key);
      if (soon != Mdl::Soon::next) prefetchIndexes(stateMachine, hashes);
      if (soon != Mdl::Soon::later) prefetchEntries(stateMachine, hashes, Walked::group);
   }

 private:
   static constexpr std::uint32_t far = 8;

   struct Hashes {
      std::uint32_t key = 0;
      std::uint32_t destination = 0;
   };

   static Hashes hashesOf(HashedKey const& key) noexcept;
   static void prefetchIndexes(FwdDecapGroupSm const& stateMachine, Hashes const& hashes) noexcept;
   static void prefetchEntries(FwdDecapGroupSm const& stateMachine, Hashes const& hashes,
                               Walked walked) noexcept;

   Mdl::Ptr<FwdDecapGroupSm const> const stateMachine_;
   Walked const walked_;
   std::array<Hashes, far> hashes_;
   std::uint32_t turn_ = 0;
};

}  // namespace Fwd
