#include "FwdL3Unicast/HeldOrigins.h"

#include <algorithm>
#include <utility>

namespace Fwd {

namespace {

/// Among those of one interface.
auto rankOf(AddressOrigin const& origin) noexcept { return std::pair(origin.role, origin.address); }

template <class Origins>
auto placeOf(Origins& held, AddressOrigin const& origin) {
   return std::ranges::lower_bound(held, rankOf(origin), {}, rankOf);
}

template <class Origins>
bool isIn(Origins const& held, AddressOrigin const& origin) {
   auto const place = placeOf(held, origin);
   return place != held.end() && *place == origin;
}

}  // namespace

void HeldOrigins::add(AddressOrigin const& origin) {
   DecapIntfKey const intf = interfaceOf(origin);
   if (Origins* const held = byInterface_.find(intf)) {
      if (!isIn(*held, origin)) held->insert(placeOf(*held, origin), origin);
   } else {
      byInterface_.tryInsert(intf, Origins{origin});
   }
}

void HeldOrigins::remove(AddressOrigin const& origin) {
   DecapIntfKey const intf = interfaceOf(origin);
   Origins* const held = byInterface_.find(intf);
   if (held == nullptr || !isIn(*held, origin)) return;
   held->erase(placeOf(*held, origin));
   if (held->empty()) byInterface_.erase(intf);
}

bool HeldOrigins::has(AddressOrigin const& origin) const {
   Origins const* const held = byInterface_.find(interfaceOf(origin));
   return held != nullptr && isIn(*held, origin);
}

HeldOrigins::Origins HeldOrigins::of(DecapIntfKey const& intf) const {
   Origins const* const held = byInterface_.find(intf);
   return held != nullptr ? *held : Origins();
}

HeldOrigins::Origins HeldOrigins::of(std::uint32_t family) const {
   Origins all;
   for (auto const& entry : byInterface_) {
      if (entry.key.family() == family) {
         all.insert(all.end(), entry.value.begin(), entry.value.end());
      }
   }
   return all;
}

}  // namespace Fwd
