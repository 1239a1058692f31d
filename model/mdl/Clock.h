#pragma once

#include "mdl/Entity.h"
#include "mdl/Seconds.h"

namespace Mdl {

/// The agent's clock: one attribute, the time, which the agent's event loop moves on.
class MDL_EXPORT Clock final : public Entity {
 public:
   class NotifieeConst;

   static constexpr AttributeId timeAttributeId = 258;

   static constexpr char typeName[] = "Mdl::Clock";

   Clock() noexcept = default;

   Seconds time() const noexcept { return time_; }
   /// Moves the clock; wake-ups that are due run inside this call.
   void timeIs(Seconds time) { scalarIs(time_, time, timeAttributeId); }

   static Type const& type() noexcept;
   Type const& fwkType() const noexcept override { return type(); }

 private:
   ~Clock() override;

   Seconds time_ = 0.0;
};

/// A reactor on a clock that wants to be woken once, at a time of its choice.
///
/// I1: one arming, one wake-up: the wake-up time is back at `never` when `onTimeMin` runs.
/// I2: a wake-up runs inside a change of the clock's time, never inside `timeMinIs`; one set in
///   the past waits for the next change.
class MDL_EXPORT Clock::NotifieeConst : public PtrInterface::NotifieeConst {
 public:
   /// The clock's time from which the reactor is woken; `never` when it is not armed.
   Seconds timeMin() const noexcept { return timeMin_; }
   void timeMinIs(Seconds time) noexcept { timeMin_ = time; }

   Ptr<Clock const> clock() const noexcept;

   void onAttribute(AttributeId attribute, void const* key) override;

 protected:
   explicit NotifieeConst(Ptr<Clock const> const& clock) noexcept;
   ~NotifieeConst() override;

   /// The clock has reached the wake-up time.
   virtual void onTimeMin() = 0;

 private:
   Seconds timeMin_ = never;
};

}  // namespace Mdl
