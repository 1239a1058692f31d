#pragma once

#include "pkt/IntfId.h"
#include "platform/netlink/InterfaceState.h"

namespace Netlink {

/// Is told of interfaces as they come, change and go. The name is what makes an interface the same:
/// one that is renamed goes under its old name and comes under the new one.
///
/// Owner: whoever follows the interfaces; it outlives what tells it.
/// Re-entrancy: a call may ask the teller anything, and may not destroy it.
/// Errors: an exception leaves the call in which it was told (`Interfaces::read`). What it was told
///   counts as told; the rest follows with the next telling.
class InterfaceObserver {
 public:
   InterfaceObserver() = default;
   InterfaceObserver(InterfaceObserver const&) = delete;
   InterfaceObserver& operator=(InterfaceObserver const&) = delete;
   virtual ~InterfaceObserver() = default;

   /// The interface is there, and is like this. Differs from what was told of it last.
   virtual void interfaceIs(InterfaceState const& state) = 0;
   /// An interface that was told is gone.
   virtual void interfaceDel(Pkt::IntfId const& name) = 0;
   /// All that was told is what the kernel has. After the first complete look at it, and after each
   /// one that lost messages made necessary.
   virtual void synchronised() = 0;
};

}  // namespace Netlink
