#pragma once

#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "mdl/Collection.h"
#include "tunnel/decap/DecapIntfKey.h"

namespace Fwd {

/// What a group decided about interfaces by entries and exclude sets of which it had not heard yet.
///
/// They may be taken back before it does: what it then hears of changes nothing, and an address
/// that was refused would stay out. So the group notes the interface, and decides again when it
/// hears of what concerns it. Addresses that were taken need no note: they are found by origin.
///
/// Owner: the group's reactor, which is kept alive during a call.
/// Cost: some 40 bytes for an interface, until what it waits for is heard of.
class UnheardIntfs {
 public:
   using DecapIntfKey = Tunnel::Decap::DecapIntfKey;

   explicit UnheardIntfs(FwdDecapGroupSm::MdlDecapGroup& group) noexcept : group_(group) {}

   /// An address was refused, or passed over: notes its interface if the configuration says of it
   /// what the group has not heard.
   void note(DecapIntfKey const& intf);

   /// Something was heard of an entry or an exclude set, and followed: derives the interfaces anew
   /// that it concerns. Those of which there is more to hear stay noted.
   void derive(DecapIntfKey const& heard);

   /// Drops those of which nothing is unheard any more.
   void dropHeard();

 private:
   bool hasHeardOf(DecapIntfKey const& intf) const;

   FwdDecapGroupSm::MdlDecapGroup& group_;
   Mdl::Collection<DecapIntfKey, bool> noted_;
};

}  // namespace Fwd
