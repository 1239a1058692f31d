#pragma once

#include "mdl/Notifiee.h"
#include "mdl/Value.h"

#include <string>
#include <utility>
#include <vector>

namespace Support {

/// The text representation of a value, as traces show keys and pairs.
template <class T>
std::string rep(T const& value) {
   return Mdl::valueToStrep(value).stdString();
}

/// Notes the changes of an entity, from its creation on.
class ChangeLog final : public Mdl::PtrInterface::NotifieeConst {
 public:
   explicit ChangeLog(Mdl::Ptr<Mdl::Entity const> notifier) noexcept
       : NotifieeConst(std::move(notifier)) {}

   static Mdl::Ptr<ChangeLog> of(Mdl::Ptr<Mdl::Entity const> const& notifier) {
      auto log = Mdl::allocate<ChangeLog>(notifier);
      log->hasNotificationActiveIs(true);
      log->isRegisteredNotifieeIs(true);
      return log;
   }

   void onAttribute(Mdl::AttributeId attribute, void const*) override {
      changes_.push_back(attribute);
   }

   std::vector<Mdl::AttributeId> const& changes() const noexcept { return changes_; }

 private:
   ~ChangeLog() override = default;

   std::vector<Mdl::AttributeId> changes_;
};

}  // namespace Support
