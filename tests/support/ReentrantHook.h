#pragma once

#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"
#include "mdl/String.h"
#include "platform/sim/Script.h"

#include <functional>
#include <set>
#include <utility>

namespace Support {

/// Hardware with room for every key, behind a hook that lets somebody act in the middle of each of
/// its calls: before the table changes, and after. Some calls may throw.
///
/// Owner: its pointers, as with every hook. What acts is to be taken away before it ends.
class ReentrantHook final : public Fwd::FwdDecapGroupSmHelper {
 public:
   using Table = std::set<Fwd::DecapKey>;
   /// Is told of the call that is under way: "program" or "remove" before the table changes,
   /// "programmed" or "removed" after.
   using Act = std::function<void(char const* call, Fwd::DecapKey const& key)>;
   /// Whether the call that is under way ends with an exception.
   using Fails = std::function<bool()>;

   ReentrantHook() : FwdDecapGroupSmHelper(Mdl::String("reentrant")) {}

   Table const& table() const noexcept { return table_; }

   void actIs(Act act) { act_ = std::move(act); }
   void failsIs(Fails fails) { fails_ = std::move(fails); }

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override {
      act("program", key);
      // A call that throws has not programmed.
      if (fails_ && fails_()) throw Sim::HardwareFault("not programmed");
      table_.insert(key);
      act("programmed", key);
      return Fwd::dgRcSuccess;
   }

   void removeDecapKey(Fwd::DecapKey const& key) override {
      act("remove", key);
      table_.erase(key);
      act("removed", key);
      // A call that throws has removed.
      if (fails_ && fails_()) throw Sim::HardwareFault("removed all the same");
   }

 private:
   ~ReentrantHook() override = default;

   void act(char const* call, Fwd::DecapKey const& key) {
      if (act_) act_(call, key);
   }

   Table table_;
   Act act_;
   Fails fails_;
};

}  // namespace Support
