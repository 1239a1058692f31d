// The values that all keys of a group share, and the group's end.

#include "FwdL3Unicast/GroupKeysImpl.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/Messages.h"

namespace Fwd {

using Tunnel::Decap::TunnelType;

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateType() {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = group();
   if (!stateMachine || !watched) return;
   // 1.
   FWD_TRACE(2, "handleUpdateType"
                    << " notifier tunnel type " << watched->tunnelType());
   // 2., 3. The keys go as a whole, and with them the record of what they were derived from:
   //        otherwise the entries would pass for applied when the type comes back.
   FirstException errors;
   unsigned const mine = ++rebuilds_;
   // A hook that changes the type, or the group, has had everything rebuilt: there is nothing left
   // for this call to withdraw or to build.
   auto const overtaken = [&] { return mine != rebuilds_ || isMarkedForDeletion(); };
   origins_.clear();
   forgetAll(fromIntf_, errors);
   listIntfs();
   if (!overtaken()) forgetAll(fromIp_, errors);
   if (!overtaken()) {
      // What a hook has taken meanwhile may have missed a change, too.
      if (fromIntf_.empty() && fromIp_.empty()) missedChanges_ = false;
      if (group()) heard_ = keyOf({});
      intfAddressTypeDelAll();
      errors.attempt([&] { followExcludeSets(); });
   }
   // 4. Rebuilt from configuration, which for a group that has not been replayed is the replay's.
   if (following_ && !overtaken()) {
      forEachIntfEntry(errors, false);
      for (auto const& entry : watched->decapIp().walk()) {
         if (overtaken()) break;
         errors.attempt([&] { handleUpdateIp(entry.key); });
      }
   }
   errors.rethrow();
}

/// Whether a change of the group's values reaches its keys.
bool FwdDecapGroupSm::MdlDecapGroup::followsValues() {
   if (stateMachine_ == nullptr) return false;
   if (stateMachine_->initializedAndReady()) return true;
   if (following_) missedChanges_ = true;
   return false;
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateDestPort() {
   auto const watched = group();
   if (!watched || !followsValues()) return;
   FWD_TRACE(2, "handleUpdateDestPort"
                    << " notifier dest Port " << watched->destPort());
   heard_ = DecapKey({}, {}, heard_.tunnelType(), watched->destPort(), heard_.payloadType(),
                     heard_.forwardingVrf());
   if (watched->tunnelType() == TunnelType::unknown) {
      FWD_TRACE(2, "handleUpdateDestPort"
                       << " notifier tunnelType unknown ");
      return;
   }
   rekeyAll([this](DecapKey const& key) {
      return createDecapKey(key.dstIp(), Pkt::emptyIntfId, key.tunnelType(), group()->destPort(),
                            key.payloadType(), key.forwardingVrf());
   });
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdatePayloadType() {
   auto const watched = group();
   if (!watched || !followsValues()) return;
   FWD_TRACE(2, "handleUpdatePayloadType"
                    << " notifier payload " << watched->payloadType());
   heard_ = DecapKey({}, {}, heard_.tunnelType(), heard_.destPort(), watched->payloadType(),
                     heard_.forwardingVrf());
   if (watched->tunnelType() == TunnelType::unknown) return;
   rekeyAll([this](DecapKey const& key) {
      return createDecapKey(key.dstIp(), Pkt::emptyIntfId, key.tunnelType(), key.destPort(),
                            group()->payloadType(), key.forwardingVrf());
   });
}

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateForwardingVrf() {
   auto const watched = group();
   if (!watched || !followsValues()) return;
   FWD_TRACE(2, "handleUpdateForwardingVrf"
                    << " notifier vrf name " << watched->forwardingVrf());
   heard_ = DecapKey({}, {}, heard_.tunnelType(), heard_.destPort(), heard_.payloadType(),
                     watched->forwardingVrf());
   if (watched->tunnelType() == TunnelType::unknown) return;
   rekeyAll([this](DecapKey const& key) {
      return createDecapKey(key.dstIp(), Pkt::emptyIntfId, key.tunnelType(), key.destPort(),
                            key.payloadType(), group()->forwardingVrf());
   });
}

/// While a re-keying is under way, changes went unheard, or one has not been heard of yet, because
/// somebody who heard of it first made another change.
bool FwdDecapGroupSm::MdlDecapGroup::mayHaveOldKeys() const noexcept {
   if (rekeyDepth_ != 0 || missedChanges_) return true;
   auto const* const watched = static_cast<DecapGroup const*>(notifier().get());
   return watched != nullptr && (heard_.tunnelType() != watched->tunnelType() ||
                                 heard_.destPort() != watched->destPort() ||
                                 heard_.payloadType() != watched->payloadType() ||
                                 heard_.forwardingVrf() != watched->forwardingVrf());
}

void FwdDecapGroupSm::MdlDecapGroup::rekeyStale() {
   missedChanges_ = false;
   if (group()) heard_ = keyOf({});
   rekeyAll([this](DecapKey const& key) { return keyOf(key.dstIp()); }, true);
}

/// Withdraws every key and produces the one that takes its place, interface keys first. Old and
/// new are not compared: a key that stays the same is removed and programmed again. This is
/// deliberate; a new reactor re-keys at once, and hardware that lost an entry gets it back. With
/// `onlyStale`, keys that stay the same are left alone.
template <class Rekeyed>
void FwdDecapGroupSm::MdlDecapGroup::rekeyAll(Rekeyed const& rekeyed, bool onlyStale) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   struct Depth {
      unsigned& depth;
      explicit Depth(unsigned& d) noexcept : depth(d) { ++depth; }
      ~Depth() { --depth; }
   } const depth(rekeyDepth_);
   FirstException errors;
   unsigned mine = ++rekeyings_;
   rekeySet(fromIntf_, rekeyed, onlyStale, errors);
   rekeySet(fromIp_, rekeyed, onlyStale, errors);
   // A hook that changed another value inside the walks has made keys that these never saw, from
   // old keys that still had the old value of this one.
   while (mine != rekeyings_ && group() && !isMarkedForDeletion()) {
      mine = ++rekeyings_;
      rekeySet(fromIntf_, rekeyed, true, errors);
      rekeySet(fromIp_, rekeyed, true, errors);
   }
   errors.rethrow();
}

template <class Use, class Rekeyed>
void FwdDecapGroupSm::MdlDecapGroup::rekeySet(GroupKeys<Use>& keys, Rekeyed const& rekeyed,
                                              bool onlyStale, FirstException& errors) {
   BooksAhead books{Mdl::Ptr<FwdDecapGroupSm const>(stateMachine_)};
   auto walk = keys.walk();
   for (auto const& entry : walk) {
      books.step(walk);
      if (isMarkedForDeletion() || !group()) return;
      if (!entry.value.isMember()) continue;
      if (onlyStale && rekeyed(entry.key) == entry.key) continue;
      // A hook that runs a re-keying of its own may take the old key again meanwhile.
      auto old = keys.at(walk);
      do {
         errors.attempt([&] { letGo(old); });
      } while (keys.isHeld(old) && group() && !isMarkedForDeletion());
      // The hook may have put the group to rest, or done away with the key.
      Use const* const now = old.find();
      if (now == nullptr || !group() || isMarkedForDeletion()) continue;
      if (!now->isMember()) continue;
      errors.attempt([&] { rekeyOne(keys, old, rekeyed(entry.key)); });
   }
}

/// The old key has been given back. The set changes before the new key is taken, unlike for a
/// single prefix; the difference is deliberate and without effect on the counts.
template <class Use>
void FwdDecapGroupSm::MdlDecapGroup::rekeyOne(GroupKeys<Use>& keys,
                                              typename GroupKeys<Use>::Entry& old,
                                              DecapKey const& newKey) {
   Use const reasons = *old.find();
   keys.forget(old);
   auto entry = keys.at(hashedKey(newKey));
   Use& use = entry.orInsert();
   use.absorb(reasons);
   use.listed = true;
   use.value = true;
   hold(entry);
}

void FwdDecapGroupSm::MdlDecapGroup::handleDelete() {
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   auto const watched = group();
   // 1.
   FWD_TRACE(2, "handleDelete"
                    << "Decap Group: " << name_);
   if (!stateMachine) return;
   // 2. Such a group has no keys, unless it was not listening when its type went. One whose
   //    entity is gone is withdrawn by what it holds.
   bool const typeless = watched && watched->tunnelType() == TunnelType::unknown;
   if (typeless && !fromIntf_.holdsAny() && !fromIp_.holdsAny()) return;
   // 3.
   if (stateMachine->disableCleanupOnRestart()) {
      FWD_TRACE(5, "Disabling FwdDecapGroupSm cleanup in case of restart");
      return;
   }
   // 4. The sets keep their lists; they go with the reactor.
   leaving_ = true;
   FirstException errors;
   letGoAll(fromIntf_, errors);
   letGoAll(fromIp_, errors);
   // 5.
   auto const config = stateMachine->dgConfig();
   if (config && config->decapGroup().empty()) {
      errors.attempt([&] { stateMachine->decapIntfIpDelAll(); });
   }
   // 6.
   errors.attempt([&] { stateMachine->clearHwResourceFull(); });
   // 7.
   errors.attempt([&] { stateMachine->requestVerifyIfAsked(); });
   leaving_ = false;
   errors.rethrow();
}

}  // namespace Fwd
