#include "platform/sim/Script.h"

#include <algorithm>

namespace Sim {

void Script::next(Answer answer, std::uint64_t times) {
   if (times != 0) next_.push_back({answer, times});
}

void Script::forPrefix(Pkt::IpGenPrefix const& destination, Answer answer, std::uint64_t times) {
   forPrefix_.insert_or_assign(destination, Counted{answer, times});
}

void Script::clear() {
   atCall_.clear();
   next_.clear();
   forPrefix_.clear();
}

std::optional<Answer> Script::take(std::uint64_t call, Fwd::DecapKey const& key) {
   // Calls are only counted up: rules for calls that have passed would never go otherwise.
   atCall_.erase(atCall_.begin(), atCall_.lower_bound(call));
   if (auto const rule = atCall_.find(call); rule != atCall_.end()) {
      Answer const answer = rule->second;
      atCall_.erase(rule);
      return answer;
   }
   if (!next_.empty()) {
      Answer const answer = next_.front().answer;
      if (--next_.front().left == 0) next_.pop_front();
      return answer;
   }
   if (auto const rule = forPrefix_.find(key.dstIp()); rule != forPrefix_.end()) {
      Answer const answer = rule->second.answer;
      if (rule->second.left != always && --rule->second.left == 0) forPrefix_.erase(rule);
      return answer;
   }
   return std::nullopt;
}

bool Script::changesByCalls() const noexcept {
   return !atCall_.empty() || !next_.empty() ||
          std::any_of(forPrefix_.begin(), forPrefix_.end(),
                      [](auto const& rule) { return rule.second.left != always; });
}

}  // namespace Sim
