// A group's configured prefixes, and the interface addresses that are reported to it.

#include "FwdL3Unicast/BooksAhead.h"
#include "FwdL3Unicast/GroupKeysImpl.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/Messages.h"

namespace Fwd {

using Tunnel::Decap::TunnelType;

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateIp() { FWD_TRACE(2, "handleUpdateIp"); }

void FwdDecapGroupSm::MdlDecapGroup::handleUpdateIp(Pkt::IpGenPrefix const& prefixArgument) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   Pkt::IpGenPrefix const prefix = prefixArgument;
   // 1. A group without a tunnel type has no keys; setting the type produces them.
   if (!stateMachine || tunnelType() == TunnelType::unknown) return;
   // 2.
   FWD_TRACE(2, "handleUpdateIp"
                    << " decapIp " << prefix);
   // 3.
   DecapKey const key = keyOf(prefix);
   HashedKey const hashed = hashedKey(key);
   if (booksAreLarge() && !loaded_.has(hashed.hash())) loadBooks(hashed, Mdl::Soon::now);
   FirstException errors;
   // 4.
   if (!isConfigured(prefix)) {
      // 5.
      FWD_TRACE(2, " delete ");
      if (anotherCallsFor(key)) return;
      withdrawPrefixKey(hashed, errors);
      // The prefix may still have an old key, unless a hook has brought it back.
      if (mayHaveOldKeys()) {
         for (auto const& entry : fromIp_.walk()) {
            if (isConfigured(prefix)) break;
            bool const stale = entry.key.dstIp() == key.dstIp() && entry.key != key;
            if (stale && entry.value.wanted) withdrawPrefixKey(entry.hashed(), errors);
         }
      }
   } else {
      // 6.
      FWD_TRACE(2, " add ");
      DecapKey const heldKey = keyOfPrefix(key);
      HashedKey const held = heldKey == key ? hashed : hashedKey(heldKey);
      auto entry = fromIp_.at(held);
      entry.orInsert().wanted = true;
      errors.attempt([&] { hold(entry); });
      // A hook may have taken the prefix away again.
      PrefixKeyUse const* const now = entry.find();
      if (now != nullptr && now->wanted) fromIp_.list(entry, true);
   }
   errors.rethrow();
}

void FwdDecapGroupSm::MdlDecapGroup::onAttributeSoon(Mdl::AttributeId attribute, void const* key,
                                                     Mdl::Soon soon) noexcept {
   if (attribute != DecapGroup::decapIpAttributeId || !following_ || stateMachine_ == nullptr)
      return;
   if (!notifier() || !booksAreLarge()) return;
   DecapKey const ours = keyOf(*static_cast<Pkt::IpGenPrefix const*>(key));
   loadBooks(hashedKey(ours), soon);
}

/// Smaller ones are in the caches, where loading them takes longer than it saves.
bool FwdDecapGroupSm::MdlDecapGroup::booksAreLarge() const noexcept {
   constexpr std::size_t fewKeys = 16'000;
   return stateMachine_->refCount().size() >= fewKeys;
}

void FwdDecapGroupSm::MdlDecapGroup::loadBooks(HashedKey const& key, Mdl::Soon soon) noexcept {
   if (soon != Mdl::Soon::next) fromIp_.prefetchIndex(key);
   BooksAhead::load(*stateMachine_, key, soon);
   if (soon != Mdl::Soon::later) fromIp_.prefetchEntry(key);
   if (soon != Mdl::Soon::next) loaded_.add(key.hash());
}

/// The key that a prefix has already: the one of the group's values of now, or one that kept its
/// old values because nobody could follow. Derived again it stays what it is.
DecapKey FwdDecapGroupSm::MdlDecapGroup::keyOfPrefix(DecapKey const& key) const {
   if (rekeyDepth_ != 0 || !mayHaveOldKeys() || fromIp_.find(hashedKey(key)) != nullptr) return key;
   for (auto const& entry : fromIp_.walk()) {
      if (entry.key.dstIp() == key.dstIp() && entry.value.wanted) return entry.key;
   }
   return key;
}

void FwdDecapGroupSm::MdlDecapGroup::withdrawPrefixKey(HashedKey const& key,
                                                       FirstException& errors) {
   auto entry = fromIp_.at(key);
   if (PrefixKeyUse* const use = entry.find()) {
      use->wanted = false;
      use->leaving = true;
   }
   errors.attempt([&] { letGo(entry); });
   // A hook may have brought the prefix back.
   PrefixKeyUse const* const now = entry.find();
   if (now != nullptr && !now->wanted) fromIp_.unlist(entry);
}

/// Whether the configuration has the prefix under the group's name. A reactor that a hook has put
/// to rest has no configuration.
bool FwdDecapGroupSm::MdlDecapGroup::isConfigured(Pkt::IpGenPrefix const& prefix) const {
   if (stateMachine_ == nullptr) return false;
   auto const config = stateMachine_->dgConfig();
   if (!config) return false;
   auto const* const configured =
       config->decapGroup().find(Mdl::Hashed<Mdl::String>(name_, nameHash_));
   return configured != nullptr && (*configured)->decapIpHas(prefix);
}

/// Whether a configured prefix gives the key of one that has gone. Only prefixes of length zero
/// share a key, that of no destination.
bool FwdDecapGroupSm::MdlDecapGroup::anotherCallsFor(DecapKey const& key) const {
   if (!key.dstIp().empty()) return false;
   for (auto const& entry : group()->decapIp()) {
      if (entry.key.length() == 0 && isConfigured(entry.key)) return true;
   }
   return false;
}

void FwdDecapGroupSm::MdlDecapGroup::handleIpIntfStatusChange(Pkt::IpGenPrefix const& prefix,
                                                              bool deletion) {
   handleIpIntfStatusChange(prefix, deletion, {Pkt::emptyIntfId, AddressRole::unnamed, prefix});
}

void FwdDecapGroupSm::MdlDecapGroup::handleIpIntfStatusChange(
    Pkt::IpGenPrefix const& prefixArgument, bool deletion, AddressOrigin const& originArgument) {
   Mdl::Ptr<MdlDecapGroup> const self(this);
   Mdl::Ptr<FwdDecapGroupSm> const stateMachine(stateMachine_);
   // A group that has been put to rest has withdrawn everything already.
   if (!stateMachine || isMarkedForDeletion()) return;
   // What the arguments stand in may go with what a hook does.
   Pkt::IpGenPrefix const prefix = prefixArgument;
   // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
   AddressOrigin const origin = originArgument;
   // 1.
   if (!stateMachine->initializedAndReady()) return;
   // 2.
   FWD_TRACE(2, "handleIpIntfStatusChange");
   // 3.
   if (tunnelType() == TunnelType::unknown) return;
   // 4.
   FWD_TRACE(2, "handleIpIntfStatusChange"
                    << " decapIp " << prefix << " Deletion " << deletion);
   // 5.
   DecapKey const key = keyOf(prefix);
   if (deletion) {
      // 6.
      FWD_TRACE(2, " delete ");
      leaveOrigin(key, origin);
   } else {
      // 7.
      FWD_TRACE(2, " add ");
      takeOrigin(key, origin);
   }
}

bool FwdDecapGroupSm::MdlDecapGroup::decapKeyFromIp(DecapKey const& key) const {
   PrefixKeyUse const* const use = fromIp_.find(hashedKey(key));
   return use != nullptr && use->value;
}

bool FwdDecapGroupSm::MdlDecapGroup::decapKeyFromIntf(DecapKey const& key) const {
   IntfKeyUse const* const use = fromIntf_.find(hashedKey(key));
   return use != nullptr && use->value;
}

}  // namespace Fwd
