#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/Export.h"
#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/Entity.h"
#include "mdl/String.h"

namespace Fwd {

/// The platform hook: what the state machine asks of the hardware. A platform layer subclasses it.
///
/// Owner: the agent, which hands it to the state machine; the state machine holds it until it ends.
/// Re-entrancy: any operation may change configuration, release keys or drop the last pointer to
///   the state machine. For one key there is at most one `programDecapKey` or `removeDecapKey`
///   under way: what a hook changes about the very key it was called for takes effect when the
///   call returns.
/// Exceptions: one that leaves `programDecapKey` counts as "not programmed, retry later" and
///   reaches whoever caused the call; one that leaves `removeDecapKey` counts as removed.
class FWD_EXPORT FwdDecapGroupSmHelper : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Fwd::FwdDecapGroupSmHelper";

   explicit FwdDecapGroupSmHelper(Mdl::String name);

   /// The name given at construction.
   virtual Mdl::String name() const;

   /// Programs one key. Called on a key's first reference, and again by a review for a key that
   /// was refused.
   virtual dgRetCode programDecapKey(DecapKey const& key) = 0;

   /// Removes one key, after its last reference went. Not called for a key that waits to be
   /// programmed.
   virtual void removeDecapKey(DecapKey const& key) = 0;

   /// A verification has been requested. Nothing by default.
   virtual void verify();

   /// The whole configuration has been replayed, once: what hardware still holds from before and
   /// nobody has programmed again is no longer wanted. Nothing by default.
   virtual void decapGroupConfigReady();

   /// Whether keys of UDP tunnels wait until destination port and payload type are set. True by
   /// default.
   virtual bool waitForDstPortPayloadTypeForUdpTunnel();

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

 protected:
   ~FwdDecapGroupSmHelper() override;

 private:
   Mdl::String const name_;
};

}  // namespace Fwd
