#pragma once

#include "mdl/Entity.h"

#include <functional>
#include <utility>

namespace Journal {

/// A reactor that passes on what it hears of one entity.
///
/// Owner: the recorder.
class Watcher final : public Mdl::PtrInterface::NotifieeConst {
 public:
   using Heard = std::function<void(Mdl::AttributeId attribute, void const* key)>;

   Watcher(Mdl::Ptr<Mdl::Entity const> const& entity, Heard heard)
       : NotifieeConst(entity), heard_(std::move(heard)) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   void onAttribute(Mdl::AttributeId attribute, void const* key) override {
      heard_(attribute, key);
   }

 private:
   ~Watcher() override = default;

   Heard const heard_;
};

}  // namespace Journal
