#pragma once

#include "FwdL3Unicast/TunnelTypeDecapIp.h"
#include "bench/Containers.h"
#include "bench/Keys.h"
#include "bench/job/GroupValues.h"
#include "bench/job/Hook.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include <utility>
#include <vector>

namespace Bench {

/// The whole job by somebody who knows what is fast: flat maps, intrusive pointers that count
/// without locks, virtual calls. Does what `Plain` does.
class Good {
 public:
   static constexpr char name[] = "good";

   explicit Good(unsigned groups) {
      for (unsigned i = 0; i < groups; ++i) {
         boost::intrusive_ptr<Group> const group(new Group);
         group->watchers.emplace_back(new GroupReactor(*this, *group));
         groups_.push_back(group);
      }
   }
   Good(Good const&) = delete;
   Good& operator=(Good const&) = delete;

   void add(unsigned group, Pkt::IpGenPrefix const& prefix) {
      auto const alive = groups_[group];
      if (!alive->prefixes.insert(prefix).second) return;
      for (auto const& watcher : alive->watchers) watcher->prefixChanged(prefix);
   }
   void apply(unsigned group, std::vector<Pkt::IpGenPrefix> const& prefixes) {
      for (auto const& prefix : prefixes) add(group, prefix);
   }
   void withdraw(unsigned group, Pkt::IpGenPrefix const& prefix) {
      auto const alive = groups_[group];
      if (alive->prefixes.erase(prefix) == 0) return;
      for (auto const& watcher : alive->watchers) watcher->prefixChanged(prefix);
   }

   void deleteGroup(unsigned group) {
      auto const alive = groups_[group];
      for (auto const& watcher : alive->watchers) watcher->groupGone();
      alive->prefixes.clear();
   }
   void rekey(unsigned group, std::uint16_t port) {
      auto const alive = groups_[group];
      alive->values.port = port;
      for (auto const& watcher : alive->watchers) watcher->valuesChanged();
   }

   Hardware const& hardware() const { return hook_->hardware; }

 private:
   template <class T>
   using Counted = boost::intrusive_ref_counter<T, boost::thread_unsafe_counter>;

   struct Watcher : Counted<Watcher> {
      virtual ~Watcher() = default;
      virtual void prefixChanged(Pkt::IpGenPrefix const& prefix) = 0;
      virtual void groupGone() = 0;
      virtual void valuesChanged() = 0;
   };
   struct Hook : Counted<Hook> {
      virtual ~Hook() = default;
      virtual void program(DecapKey const& key) { hardware.program(key); }
      virtual void remove(DecapKey const& key) { hardware.remove(key); }
      Hardware hardware;
   };
   struct Group : Counted<Group> {
      GroupValues values;
      boost::unordered_flat_set<Pkt::IpGenPrefix, PeerHash<Pkt::IpGenPrefix>> prefixes;
      std::vector<boost::intrusive_ptr<Watcher>> watchers;
   };
   struct GroupReactor final : Watcher {
      GroupReactor(Good& good, Group& group) : machine(good), watched(group) {}
      void prefixChanged(Pkt::IpGenPrefix const& prefix) override {
         DecapKey const key = watched.values.keyOf(prefix);
         if (watched.prefixes.contains(prefix)) {
            if (keys.try_emplace(key, true).second) machine.take(key);
         } else if (keys.erase(key) != 0) {
            machine.release(key);
         }
      }
      void groupGone() override {
         for (auto const& [key, held] : keys) machine.release(key);
         keys.clear();
      }
      void valuesChanged() override {
         groupGone();
         for (auto const& prefix : watched.prefixes) prefixChanged(prefix);
      }
      Good& machine;
      Group& watched;
      boost::unordered_flat_map<DecapKey, bool, PeerHash<DecapKey>> keys;
   };

   void take(DecapKey const& key) {
      if (counts_[key]++ != 0) return;
      auto const [owner, isFree] =
          owners_.try_emplace({key.tunnelType(), key.dstIp()}, key.forwardingVrf());
      if (!isFree && owner->second != key.forwardingVrf()) {
         waiting_.insert(key);
         return;
      }
      hook_->program(key);
   }
   void release(DecapKey const& key) {
      auto const count = counts_.find(key);
      if (--count->second != 0) return;
      counts_.erase(count);
      if (waiting_.erase(key) != 0) return;
      hook_->remove(key);
      owners_.erase({key.tunnelType(), key.dstIp()});
   }

   std::vector<boost::intrusive_ptr<Group>> groups_;
   boost::unordered_flat_map<DecapKey, std::uint32_t, PeerHash<DecapKey>> counts_;
   boost::unordered_flat_map<Fwd::TunnelTypeDecapIp, L3::VrfName, PeerHash<Fwd::TunnelTypeDecapIp>>
       owners_;
   boost::unordered_flat_set<DecapKey, PeerHash<DecapKey>> waiting_;
   boost::intrusive_ptr<Hook> const hook_{new Hook};
};

}  // namespace Bench
