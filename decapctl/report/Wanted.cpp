#include "decapctl/report/Wanted.h"

#include <algorithm>

namespace Ctl::Report {

Wanted::Loss Wanted::take(JournalLine const& line) {
   if (line.is(1, "config")) return takeConfig(line);
   std::size_t const number = line.count(2);
   Group& group = groups_[number];
   std::string const& what = line.word(3);
   if (what == "make") {
      group.name = line.name(4);
      return {};
   }
   if (what == "decapIp") {
      std::string const& prefix = line.word(4);
      if (line.flag(5)) {
         group.prefixes.insert(prefix);
         return {};
      }
      group.prefixes.erase(prefix);
      return {number, group.type, prefix};
   }
   std::string const type = group.type;
   if (what == "tunnelType") group.type = line.shown(4);
   if (what == "destPort") group.port = line.shown(4);
   if (what == "payloadType") group.payload = line.shown(4);
   if (what == "forwardingVrf") group.vrf = line.name(4);
   bool const isEmpty = group.prefixes.empty() || !group.configured;
   return {isEmpty ? 0 : number, type, {}};
}

Wanted::Loss Wanted::takeConfig(JournalLine const& line) {
   if (!line.is(3, "decapGroup")) return {};
   std::string const name = line.name(4);
   std::size_t const now = line.isNull(5) ? 0 : line.count(5);
   std::size_t& number = configured_[name];
   std::size_t const before = number;
   if (before != 0) groups_[before].configured = false;
   if (now != 0) groups_[now].configured = true;
   number = now;
   if (now == 0) configured_.erase(name);
   if (before == now || before == 0) return {};
   return {before, groups_[before].type, {}};
}

bool Wanted::isCalledFor(KeyWords const& key) const {
   return std::any_of(configured_.begin(), configured_.end(), [&](auto const& entry) {
      Group const& group = groups_.at(entry.second);
      if (group.type != key.type || !group.prefixes.contains(key.prefix)) return false;
      if (group.vrf != key.vrf && !(group.vrf.empty() && key.vrf == "\"\"")) return false;
      return key.type != "udp" ||
             " port " + group.port + " payload " + group.payload == key.between;
   });
}

std::string Wanted::nameOf(std::size_t group) const {
   auto const found = groups_.find(group);
   return found == groups_.end() || found->second.name.empty() ? std::to_string(group)
                                                               : found->second.name;
}

}  // namespace Ctl::Report
