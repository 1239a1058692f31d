#include "FwdL3Unicast/InterfaceUsers.h"

#include "mdl/CollectionOrder.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Fwd {

void InterfaceUsers::add(DecapIntfKey const& key, Mdl::String const& group) noexcept {
   try {
      users_.tryInsert(key).value->tryInsert(group, true);
   } catch (...) {
      complete_ = false;
   }
}

void InterfaceUsers::remove(DecapIntfKey const& key, Mdl::String const& group) {
   Names* const names = users_.find(key);
   if (names == nullptr) return;
   names->erase(group);
   if (names->empty()) users_.erase(key);
}

std::optional<std::vector<Mdl::String>> InterfaceUsers::of(
    DecapIntfKey const& key, Tunnel::Decap::Config const& config) const {
   if (!complete_) return std::nullopt;
   try {
      return inOrder(key, config);
   } catch (std::bad_alloc const&) {
      return std::nullopt;
   }
}

std::vector<Mdl::String> InterfaceUsers::inOrder(DecapIntfKey const& key,
                                                 Tunnel::Decap::Config const& config) const {
   Mdl::CollectionOrder const order(config.decapGroup());
   std::vector<std::pair<std::uint64_t, Mdl::String>> ranked;
   auto const collect = [&](DecapIntfKey const& named) {
      Names const* const names = users_.find(named);
      if (names == nullptr) return;
      for (auto const& entry : *names) {
         if (auto const rank = order.rankOf(entry.key)) ranked.emplace_back(*rank, entry.key);
      }
   };
   collect(key);
   collect({Pkt::emptyIntfId, key.family()});
   std::ranges::sort(ranked);
   // A group may have both an entry of the interface's and one for all.
   ranked.erase(std::unique(ranked.begin(), ranked.end()), ranked.end());
   std::vector<Mdl::String> groups;
   groups.reserve(ranked.size());
   for (auto& [rank, name] : ranked) groups.push_back(std::move(name));
   return groups;
}

}  // namespace Fwd
