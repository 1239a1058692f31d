#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/dgRetCode.h"
#include "mdl/Exception.h"
#include "pkt/IpGenPrefix.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>

namespace Sim {

/// What simulated hardware throws where the script says so.
class HardwareFault final : public Mdl::Exception {
 public:
   explicit HardwareFault(std::string const& what) : Exception(what) {}
};

/// One scripted answer: a code, or an exception.
struct Answer {
   /// No code: the call throws `HardwareFault`.
   std::optional<Fwd::dgRetCode> code;

   static Answer of(Fwd::dgRetCode code) { return {code}; }
   static Answer fault() { return {std::nullopt}; }

   friend bool operator==(Answer const&, Answer const&) = default;
};

/// Answers decided in advance, for `programDecapKey` calls.
///
/// The most exact rule wins: the n-th call, then what is queued for the next calls, then the key's
/// destination. A call that no rule speaks of is answered by the hardware itself.
///
/// Owner: the hook (`SimHelper`).
/// Cost: O(log rules) a call; memory by rules that still stand.
class Script {
 public:
   static constexpr std::uint64_t always = 0;

   /// The answer of the `call`-th `programDecapKey`, counted from 1 over the hook's life.
   void atCall(std::uint64_t call, Answer answer) { atCall_[call] = answer; }
   /// The answer of the next `times` calls that no other queued answer speaks of.
   void next(Answer answer, std::uint64_t times = 1);
   /// The answer for a destination, for its next `times` calls or `always`.
   void forPrefix(Pkt::IpGenPrefix const& destination, Answer answer, std::uint64_t times = always);
   void forPrefixDel(Pkt::IpGenPrefix const& destination) { forPrefix_.erase(destination); }
   void forPrefixDelAll() noexcept { forPrefix_.clear(); }
   void clear();

   /// The rule for this call, used up when it was one of a number.
   std::optional<Answer> take(std::uint64_t call, Fwd::DecapKey const& key);

   /// Whether a rule is left that holds for a number of calls only. While there is one, the same
   /// question may get another answer next time.
   bool changesByCalls() const noexcept;

 private:
   struct Counted {
      Answer answer;
      std::uint64_t left;
   };

   std::map<std::uint64_t, Answer> atCall_;
   std::deque<Counted> next_;
   std::map<Pkt::IpGenPrefix, Counted> forPrefix_;
};

}  // namespace Sim
