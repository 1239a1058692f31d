#pragma once

#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "bench/Containers.h"
#include "bench/Keys.h"
#include "bench/job/GroupValues.h"
#include "bench/job/Hook.h"

#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Bench {

/// The whole job the way one writes it first: std::unordered_map, std::shared_ptr, std::function.
/// Configured sets tell their watchers; keys are derived, counted, owned by one VRF a destination,
/// programmed on their first reference and removed on their last.
class Plain {
 public:
   static constexpr char name[] = "plain";

   explicit Plain(unsigned groups) {
      for (unsigned i = 0; i < groups; ++i) {
         auto const group = std::make_shared<Group>();
         group->watchers.emplace_back([this, group = group.get()](auto const& prefix) {
            prefixChanged(*group, group->keys, prefix);
         });
         groups_.push_back(group);
      }
   }
   Plain(Plain const&) = delete;
   Plain& operator=(Plain const&) = delete;

   void add(unsigned group, Pkt::IpGenPrefix const& prefix) {
      auto const alive = groups_[group];
      if (!alive->prefixes.insert(prefix).second) return;
      for (auto const& watcher : alive->watchers) watcher(prefix);
   }
   void apply(unsigned group, std::vector<Pkt::IpGenPrefix> const& prefixes) {
      for (auto const& prefix : prefixes) add(group, prefix);
   }
   void withdraw(unsigned group, Pkt::IpGenPrefix const& prefix) {
      auto const alive = groups_[group];
      if (alive->prefixes.erase(prefix) == 0) return;
      for (auto const& watcher : alive->watchers) watcher(prefix);
   }

   void deleteGroup(unsigned group) {
      auto const alive = groups_[group];
      for (auto const& [key, held] : alive->keys) release(key);
      alive->keys.clear();
      alive->prefixes.clear();
   }
   void rekey(unsigned group, std::uint16_t port) {
      auto const alive = groups_[group];
      alive->values.port = port;
      for (auto const& [key, held] : alive->keys) release(key);
      alive->keys.clear();
      for (auto const& prefix : alive->prefixes) {
         for (auto const& watcher : alive->watchers) watcher(prefix);
      }
   }

   Hardware const& hardware() const { return *hardware_; }

 private:
   using GroupKeys = std::unordered_map<DecapKey, bool, PeerHash<DecapKey>>;
   struct Group {
      GroupValues values;
      std::unordered_set<Pkt::IpGenPrefix, PeerHash<Pkt::IpGenPrefix>> prefixes;
      std::vector<std::function<void(Pkt::IpGenPrefix const&)>> watchers;
      GroupKeys keys;
   };

   void prefixChanged(Group const& group, GroupKeys& keys, Pkt::IpGenPrefix const& prefix) {
      DecapKey const key = group.values.keyOf(prefix);
      if (group.prefixes.contains(prefix)) {
         if (keys.try_emplace(key, true).second) take(key);
      } else if (keys.erase(key) != 0) {
         release(key);
      }
   }
   void take(DecapKey const& key) {
      if (counts_[key]++ != 0) return;
      auto const [owner, isFree] =
          owners_.try_emplace({key.tunnelType(), key.dstIp()}, key.forwardingVrf());
      if (!isFree && owner->second != key.forwardingVrf()) {
         waiting_.insert(key);
         return;
      }
      program_(key);
   }
   void release(DecapKey const& key) {
      auto const count = counts_.find(key);
      if (--count->second != 0) return;
      counts_.erase(count);
      if (waiting_.erase(key) != 0) return;
      remove_(key);
      owners_.erase({key.tunnelType(), key.dstIp()});
   }

   std::vector<std::shared_ptr<Group>> groups_;
   std::unordered_map<DecapKey, std::uint32_t, PeerHash<DecapKey>> counts_;
   std::unordered_map<Fwd::TunnelTypeDecapIp, L3::VrfName, PeerHash<Fwd::TunnelTypeDecapIp>>
       owners_;
   std::unordered_set<DecapKey, PeerHash<DecapKey>> waiting_;
   std::shared_ptr<Hardware> hardware_ = std::make_shared<Hardware>();
   std::function<void(DecapKey const&)> program_ = [hardware = hardware_](auto const& key) {
      hardware->program(key);
   };
   std::function<void(DecapKey const&)> remove_ = [hardware = hardware_](auto const& key) {
      hardware->remove(key);
   };
};

}  // namespace Bench
