#include "mdl/Clock.h"

#include "mdl/Reflection.h"

namespace Mdl {

namespace {

constexpr Member clockMembers[] = {
    {Clock::timeAttributeId, "time", Member::Kind::scalar,
     [](Entity const& clock) { return Reading::of(static_cast<Clock const&>(clock).time()); }},
};

}  // namespace

Clock::~Clock() = default;

Type const& Clock::type() noexcept {
   static Type const type(typeName, clockMembers);
   return type;
}

Clock::NotifieeConst::NotifieeConst(Ptr<Clock const> const& clock) noexcept
    : PtrInterface::NotifieeConst(clock) {}

Clock::NotifieeConst::~NotifieeConst() = default;

Ptr<Clock const> Clock::NotifieeConst::clock() const noexcept {
   return dynamicPtrCast<Clock const>(notifier());
}

void Clock::NotifieeConst::onAttribute(AttributeId attribute, void const*) {
   if (attribute != timeAttributeId || isMarkedForDeletion()) return;
   auto const watched = clock();
   // Written so that a time which is no number wakes nobody.
   bool const armed = timeMin_ != never;
   if (!armed || !watched || !(watched->time() >= timeMin_)) return;
   timeMin_ = never;
   onTimeMin();
}

}  // namespace Mdl
