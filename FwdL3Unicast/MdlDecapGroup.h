#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "FwdL3Unicast/FirstException.h"
#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/GroupKeys.h"
#include "FwdL3Unicast/HeldOrigins.h"
#include "FwdL3Unicast/IntfAddressType.h"
#include "FwdL3Unicast/LoadedKeys.h"
#include "FwdL3Unicast/UnheardIntfs.h"
#include "tunnel/decap/DecapExcludeIntfSet.h"
#include "tunnel/decap/DecapIntfKey.h"

#include <cstdint>
#include <functional>

namespace Fwd {

/// Watches one decap group: derives its hardware keys and keeps them current.
///
/// Keys come from two sources, each with a set of its own: the group's prefixes, and the addresses
/// of its interfaces. A key that both call for is counted once for each.
///
/// Owner: the state machine's registry; the way back is cleared when the reactor leaves it.
/// I1: the sets' held keys are exactly the references that this group has on the machine's counts.
/// I2: until the group has been replayed nothing is derived from its prefixes and interfaces.
/// I3: once flagged for deletion the reactor takes no reference.
/// Re-entrancy: the hook may change the group, any other, or remove it, inside any handler. Walks
///   work on what was there when they began and test again after each hook call.
/// The handlers are public for tests; in service only the dispatch and the machine call them.
class FWD_EXPORT FwdDecapGroupSm::MdlDecapGroup final : public Mdl::PtrInterface::NotifieeConst {
 public:
   using DecapGroup = Tunnel::Decap::DecapGroup;
   using DecapIntfKey = Tunnel::Decap::DecapIntfKey;
   using DecapExcludeIntfSet = Tunnel::Decap::DecapExcludeIntfSet;

   MdlDecapGroup(Mdl::Ptr<DecapGroup const> const& group, FwdDecapGroupSm* stateMachine);

   /// The watched group; null when it was taken away.
   Mdl::Ptr<DecapGroup const> group() const noexcept;
   void decapGroupIs(Mdl::Ptr<DecapGroup const> const& group) { notifierIs(group); }

   /// Another group of the same name: everything is derived anew. An entity of another type counts
   /// as null, which only detaches; the keys stay until the group is withdrawn.
   void notifierIs(Mdl::Ptr<Mdl::Entity const> const& group) override;
   void onAttribute(Mdl::AttributeId attribute, void const* key) override;
   /// Loads what the books have on the key of a prefix.
   void onAttributeSoon(Mdl::AttributeId attribute, void const* key,
                        Mdl::Soon soon) noexcept override;
   void mdlDoZombieReactors(bool zombie) override;
   /// Switched on, it looks up which interfaces the group names by now.
   void hasNotificationActiveIs(bool active) override;

   /// Null also strikes the group off the interfaces that it uses.
   void stateMachineIs(FwdDecapGroupSm* stateMachine);

   // Start-up.

   /// The replay of the state machine that took the group along, 0 before.
   unsigned replayed() const noexcept { return replayed_; }
   void replayedIs(unsigned replay) noexcept { following_ = true, replayed_ = replay; }
   /// Derives everything from the group's interfaces, then from its prefixes.
   void replay(unsigned replay);
   /// Brings a group that was replayed before in line with values, entries and addresses that
   /// changed while nobody could follow. A key that is right already stays untouched.
   void catchUp(FirstException& errors);
   /// The same for a group that was out of the configuration unheard: its prefixes, too.
   void resume();
   /// Runs the handlers of all attributes, as after a new notifier.
   void produceKeys();

   /// Whether the group is being withdrawn just now.
   bool isLeaving() const noexcept { return leaving_; }

   // One key.

   /// The key of a prefix, or, for an interface other than the empty one, of that interface's
   /// primary IPv4 address, which is recorded. Without a destination (a prefix of length zero, an
   /// interface without IPv4 status) the key's is the empty prefix.
   DecapKey createDecapKey(Pkt::IpGenPrefix const& prefix, Pkt::IntfId const& intfId,
                           Tunnel::Decap::TunnelType tunnelType, std::uint16_t destPort,
                           Tunnel::Decap::PayloadType payloadType,
                           L3::VrfName const& forwardingVrf);
   /// Adds one reference to a key, and withdraws one. They know nothing of the group's sets; the
   /// handlers see to it that the group takes and gives back each reference once.
   void createDecapEntry(DecapKey const& key);
   void deleteDecapEntry(DecapKey const& key);

   // The sets, as they show themselves.

   bool decapKeyFromIp(DecapKey const& key) const;
   void decapKeyFromIpIs(DecapKey const& key, bool value) { fromIp_.list(hashedKey(key), value); }
   void decapKeyFromIpDel(DecapKey const& key) { fromIp_.unlist(hashedKey(key)); }
   void decapKeyFromIpDelAll() { fromIp_.unlistAll(); }
   GroupKeys<PrefixKeyUse> const& decapKeyFromIp() const noexcept { return fromIp_; }
   bool decapKeyFromIntf(DecapKey const& key) const;
   void decapKeyFromIntfIs(DecapKey const& key, bool value) {
      fromIntf_.list(hashedKey(key), value);
   }
   void decapKeyFromIntfDel(DecapKey const& key) { fromIntf_.unlist(hashedKey(key)); }
   void decapKeyFromIntfDelAll() { fromIntf_.unlistAll(); }
   GroupKeys<IntfKeyUse> const& decapKeyFromIntf() const noexcept { return fromIntf_; }

   // Prefixes, and addresses as interfaces report them.

   /// Only traces. First keys come from `handleUpdateType`; producing them here too would program
   /// them before the type has been looked at.
   void handleUpdateIp();
   /// A prefix was added or removed; the configuration tells which.
   void handleUpdateIp(Pkt::IpGenPrefix const& prefix);
   /// An interface address came or went. Without an origin the address stands for itself.
   void handleIpIntfStatusChange(Pkt::IpGenPrefix const& prefix, bool deletion);
   void handleIpIntfStatusChange(Pkt::IpGenPrefix const& prefix, bool deletion,
                                 AddressOrigin const& origin);

   // Interfaces.

   /// Only traces, for the same reason as `handleUpdateIp`.
   void handleUpdateIntf();
   void handleUpdateIntf(DecapIntfKey const& decapIntfKey);
   void handleUpdateIntfAll(DecapIntfKey const& decapIntfKey, bool update);
   void handleUpdateIntfV6(DecapIntfKey const& decapIntfKey);
   void updateIntfIp(DecapIntfKey const& decapIntfKey,
                     Mdl::Ptr<Ip::IpIntfStatus const> const& status, bool primaryIp,
                     bool secondaryIp, bool virtualIp);
   /// Takes or leaves the key of one address, as the configuration says now. Without an origin the
   /// entry decides that names the key.
   void updateDecapKeyFromIntf(DecapIntfKey const& decapIntfKey, DecapKey const& key);
   void updateDecapKeyFromIntf(DecapIntfKey const& decapIntfKey, DecapKey const& key,
                               AddressOrigin const& origin);
   /// Whether an interface gave the group the key of this host prefix.
   bool hasKeyOf(Pkt::IpGenPrefix const& prefix);
   bool holds(AddressOrigin const& origin) const { return origins_.has(origin); }
   /// Takes and leaves what a named interface has, as the configuration says now.
   void deriveIntf(DecapIntfKey const& intf);
   /// Where to note an address that was refused, or passed over.
   UnheardIntfs& unheard() noexcept { return unheard_; }
   /// Gives back what is held for an interface; what is called for now stays while `onlyStrays()`.
   void leaveIntf(DecapIntfKey const& intf, std::function<bool()> const& onlyStrays);
   /// Gives back what is held for an interface, the empty one for all of the family, and not called
   /// for now.
   void leaveStrays(DecapIntfKey const& intf);

   Mdl::Ptr<IntfAddressType> intfAddressType(Pkt::IntfId const& intfId) const;
   Mdl::Ptr<IntfAddressType> intfAddressTypeIs(Pkt::IntfId const& intfId);
   /// Whether the interface's own IPv4 entry was applied, as far as the group has heard.
   bool isApplied(DecapIntfKey const& intf) const noexcept;
   void intfAddressTypeDel(Pkt::IntfId const& intfId) { intfAddressType_.erase(intfId); }
   void intfAddressTypeDelAll() { intfAddressType_.clear(); }

   // Exclude sets.

   void handleUpdateExcludeIntf(DecapIntfKey const& decapIntfKey);
   void handleExcludeIntfStatusChange(DecapIntfKey const& decapIntfKey, bool excluded);

   DecapExcludeIntfSet prevDecapExcludeIntfSet(DecapIntfKey const& decapIntfKey) const;
   /// Whether the exclude set that was followed last leaves the interface out.
   bool wasExcluded(DecapIntfKey const& intf) const;
   void prevDecapExcludeIntfSetIs(DecapIntfKey const& key, DecapExcludeIntfSet const& set);
   void prevDecapExcludeIntfSetDel(DecapIntfKey const& key) { prevExclude_.erase(key); }
   void prevDecapExcludeIntfSetDelAll() { prevExclude_.clear(); }

   // Attributes of the group as a whole, and its end.

   void handleUpdateType();
   void handleUpdateDestPort();
   void handleUpdatePayloadType();
   void handleUpdateForwardingVrf();
   void handleDelete();

 private:
   ~MdlDecapGroup() override;

   Tunnel::Decap::TunnelType tunnelType() const noexcept;
   /// The key of a prefix with the group's values of now.
   DecapKey keyOf(Pkt::IpGenPrefix const& prefix) const;
   bool booksAreLarge() const noexcept;
   void loadBooks(HashedKey const& key, Mdl::Soon soon) noexcept;
   bool isStopped(DecapKey const& key) const;
   bool isConfigured(Pkt::IpGenPrefix const& prefix) const;
   bool anotherCallsFor(DecapKey const& key) const;
   void withdrawPrefixKey(HashedKey const& key, FirstException& errors);
   DecapKey keyOfOrigin(DecapKey const& key, AddressOrigin const& origin) const;
   DecapKey keyOfPrefix(DecapKey const& key) const;
   bool mayHaveOldKeys() const noexcept;
   bool followsValues();
   void traceWithdrawal(DecapKey const& key) const;

   template <class Keys>
   void hold(Mdl::Lookup<Keys>& entry);
   template <class Keys>
   void letGo(Mdl::Lookup<Keys>& entry);
   template <class Use>
   void letGoAll(GroupKeys<Use>& keys, FirstException& errors);
   template <class Use>
   void forgetAll(GroupKeys<Use>& keys, FirstException& errors);
   void takeOrigin(DecapKey const& key, AddressOrigin const& origin);
   void leaveOrigin(DecapKey const& key, AddressOrigin const& origin);
   void leaveOriginAt(DecapKey const& heldKey, AddressOrigin const& origin);
   template <class Which>
   void leaveEach(HeldOrigins::Origins const& held, Which const& which);
   bool isStray(AddressOrigin const& origin) const;
   void strikeOff(DecapIntfKey const& intf) noexcept;
   void listIntf(DecapIntfKey const& intf) noexcept;
   void listIntfs() noexcept;
   void handleIntfEntry(DecapIntfKey const& keyArgument);
   void forEachIntfEntry(FirstException& errors, bool withExcludes);
   void handleExcludeSet(DecapIntfKey const& keyArgument);
   enum class Record : std::uint8_t { upToDate, applied, changed, missing };
   Record updateRecord(DecapIntfKey const& decapIntfKey);
   bool applyNamedEntry(DecapIntfKey const& decapIntfKey);
   void updateIntfIp6(DecapIntfKey const& decapIntfKey, Ip6::IntfStatus const& status);
   void excludeIntfIp(Pkt::IntfId const& intfId, bool excluded, FirstException& errors);
   void excludeIntfIp6(Pkt::IntfId const& intfId, bool excluded, FirstException& errors);
   void followExcludeSets();

   void rekeyStale();
   template <class Rekeyed>
   void rekeyAll(Rekeyed const& rekeyed, bool onlyStale = false);
   template <class Use, class Rekeyed>
   void rekeySet(GroupKeys<Use>& keys, Rekeyed const& rekeyed, bool onlyStale,
                 FirstException& errors);
   template <class Use>
   void rekeyOne(GroupKeys<Use>& keys, typename GroupKeys<Use>::Entry& old, DecapKey const& newKey);

   FwdDecapGroupSm* stateMachine_;
   Mdl::String const name_;
   std::uint32_t const nameHash_;
   bool following_ = false;
   bool leaving_ = false;
   unsigned replayed_ = 0;
   unsigned rekeyings_ = 0;
   unsigned rekeyDepth_ = 0;
   unsigned rebuilds_ = 0;
   LoadedKeys loaded_;
   /// The group's values changed while nobody could follow: its keys keep the old ones, each until
   /// it is derived anew.
   bool missedChanges_ = false;
   /// What keys are made with, without a destination: the values of which the group has heard.
   DecapKey heard_;
   GroupKeys<IntfKeyUse> fromIntf_;
   GroupKeys<PrefixKeyUse> fromIp_;
   Mdl::Collection<Pkt::IntfId, Mdl::Ptr<IntfAddressType>> intfAddressType_;
   Mdl::Collection<DecapIntfKey, DecapExcludeIntfSet> prevExclude_;
   HeldOrigins origins_;
   UnheardIntfs unheard_;
   Mdl::Collection<DecapIntfKey, bool> listed_;  ///< interfaces that know it as a user
};

}  // namespace Fwd
