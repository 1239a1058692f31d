#pragma once

#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"
#include "mdl/Collection.h"
#include "mdl/Seconds.h"
#include "platform/sim/HardwareTable.h"
#include "platform/sim/HeldOver.h"
#include "platform/sim/Journal.h"
#include "platform/sim/Script.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace Sim {

class SimTime;
class StateFile;

/// Simulated hardware behind the platform hook: a table with limits, moods and a memory of what it
/// was asked.
///
/// How `programDecapKey` is answered, first rule that applies:
///  1. what the script says; a scripted success writes the key even beyond a capacity;
///  2. exists for a key that is held over: that it is there is known without asking the hardware;
///  3. not-ready while the hardware is not ready;
///  4. exists for a key that the table holds;
///  5. full while the key's type, or the table, has no room;
///  6. with a latency: pending until the latency has passed since the key was first asked for, and
///     success from then on. What is prepared takes no room until it is written;
///  7. success.
///
/// After a restart: what the table holds when `resume` or `holdOver` is called is held over. A key
/// that is answered with exists or success is claimed. What nobody has claimed is removed when
/// `decapGroupConfigReady` is called, and before that where it is in the way of a key of another
/// VRF that is written for the same destination, so that hardware never has two owners of one
/// destination. The journal shows these removals, inside the call that causes them, with the
/// outcome `swept`. So what ends up in the table is what the configuration asks for, whatever was
/// held over, unless the table is too small or too slow for all that is asked: then what is there
/// already is ahead of what is new.
///
///     auto const hardware = Mdl::allocate<Sim::SimHelper>();
///     hardware->table().capacityIs(2);
///     hardware->script().forPrefix(prefix, Sim::Answer::of(Fwd::dgRcUnSupported));
///     ... run ...
///     EXPECT_EQ(hardware->journal().texts(), ...);
///
/// Owner: its pointers, as with every hook.
/// I1: a key is being prepared only while the table does not hold it.
/// I2: a key is held over only while the table holds it, unless somebody removes it from `table()`
///   behind the hook's back; then it is no longer there to be claimed or swept.
/// Re-entrancy: an action (`duringProgram`, `duringRemoval`) and the observer may call anything,
///   the hook included. An action runs before its call touches the table; the observer runs when
///   the outcome stands.
/// Errors: where the table is kept in a file, a change that cannot be recorded does not take place
///   and StateFileError leaves the call.
/// Cost: O(1) a call, O(log held over) while there are held-over keys. Memory by the table's
///   content, the keys being prepared, what the script still holds and what the journal keeps.
class SimHelper final : public Fwd::FwdDecapGroupSmHelper {
 public:
   using Action = std::function<void()>;
   using Observer = std::function<void(Call const&)>;

   explicit SimHelper(Mdl::String name = "simulated hardware");

   HardwareTable& table() noexcept { return table_; }
   HardwareTable const& table() const noexcept { return table_; }
   Journal& journal() noexcept { return journal_; }
   Journal const& journal() const noexcept { return journal_; }
   Script& script() noexcept { return script_; }

   /// Goes on with the table that the file holds, which its last user left, and keeps the table in
   /// the file from now on. To be called before the first call of the hook.
   void resume(std::unique_ptr<StateFile> file);
   /// What the table holds now counts as held over.
   void holdOver() { heldOver_.take(table_); }
   HeldOver const& heldOver() const noexcept { return heldOver_; }

   /// From asking for a key to having it written, 0 at first: at once.
   Mdl::Seconds latency() const noexcept { return latency_; }
   void latencyIs(Mdl::Seconds latency) noexcept { latency_ = latency; }

   /// The hardware is not ready before this time: 0 for a ready one, `Mdl::never` until further
   /// notice.
   Mdl::Seconds notReadyUntil() const noexcept { return notReadyUntil_; }
   void notReadyUntilIs(Mdl::Seconds time) noexcept { notReadyUntil_ = time; }

   /// Each `programDecapKey` and `removeDecapKey` takes so much of simulated time. `time` outlives
   /// the hook, or is null for calls that take none.
   void callCostIs(Mdl::Seconds cost, SimTime* time) noexcept {
      callCost_ = cost;
      time_ = time;
   }

   /// The answer to `waitForDstPortPayloadTypeForUdpTunnel`, true at first.
   void waitForUdpIs(bool wait) noexcept { waitForUdp_ = wait; }

   /// Runs `action` inside the n-th `programDecapKey` or `removeDecapKey`, each counted from 1
   /// over the hook's life.
   void duringProgram(std::uint64_t call, Action action);
   void duringRemoval(std::uint64_t call, Action action);
   /// The n-th `removeDecapKey` throws `HardwareFault` and removes nothing.
   void faultInRemoval(std::uint64_t call);

   /// Told of every call when its outcome stands. An empty one ends that.
   void observerIs(Observer observer) { observer_ = std::move(observer); }

   std::uint64_t programCalls() const noexcept { return programCalls_; }
   std::uint64_t removeCalls() const noexcept { return removeCalls_; }
   /// Entries written so far, over the hook's life.
   std::uint64_t written() const noexcept { return written_; }

   /// The next time at which an answer may become another one by time alone, `Mdl::never` when
   /// time changes nothing any more.
   Mdl::Seconds nextChange() const;

   // The hook.

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override;
   void removeDecapKey(Fwd::DecapKey const& key) override;
   void verify() override;
   void decapGroupConfigReady() override;
   bool waitForDstPortPayloadTypeForUdpTunnel() override { return waitForUdp_; }

 private:
   class Journaled;

   ~SimHelper() override;

   void passCallCost();
   Fwd::dgRetCode answer(Answer const& scripted, Fwd::DecapKey const& key);
   Fwd::dgRetCode answerOfHardware(Fwd::DecapKey const& key);
   bool prepared(Fwd::DecapKey const& key, Mdl::Seconds now);
   bool claim(Fwd::DecapKey const& key);
   void sweepRivals(Fwd::DecapKey const& key);
   void sweep(Fwd::DecapKey const& key);

   HardwareTable table_;
   HeldOver heldOver_;
   Journal journal_;
   Script script_;
   Observer observer_;
   std::map<std::uint64_t, Action> programActions_;
   std::map<std::uint64_t, Action> removalActions_;
   std::map<std::uint64_t, bool> removalFaults_;
   std::uint64_t programCalls_ = 0;
   std::uint64_t removeCalls_ = 0;
   std::uint64_t written_ = 0;
   Mdl::Seconds latency_ = 0.0;
   Mdl::Seconds notReadyUntil_ = 0.0;
   Mdl::Seconds callCost_ = 0.0;
   SimTime* time_ = nullptr;
   bool waitForUdp_ = true;
   /// The keys being prepared and when each will be.
   Mdl::Collection<Fwd::DecapKey, Mdl::Seconds> preparing_;
};

}  // namespace Sim
