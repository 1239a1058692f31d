#include "FwdL3Unicast/HeldOrigins.h"

#include <algorithm>

namespace Fwd {

void HeldOrigins::add(AddressOrigin const& origin) {
   DecapIntfKey const intf = interfaceOf(origin);
   if (Origins* const held = byInterface_.find(intf)) {
      if (std::ranges::find(*held, origin) == held->end()) held->push_back(origin);
   } else {
      byInterface_.tryInsert(intf, Origins{origin});
   }
}

void HeldOrigins::remove(AddressOrigin const& origin) {
   DecapIntfKey const intf = interfaceOf(origin);
   Origins* const held = byInterface_.find(intf);
   if (held == nullptr) return;
   std::erase(*held, origin);
   if (held->empty()) byInterface_.erase(intf);
}

bool HeldOrigins::has(AddressOrigin const& origin) const {
   Origins const* const held = byInterface_.find(interfaceOf(origin));
   return held != nullptr && std::ranges::find(*held, origin) != held->end();
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
