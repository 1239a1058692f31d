#pragma once

#include "mdl/Entity.h"
#include "mdl/Notifiee.h"
#include "mdl/Ptr.h"
#include "mdl/Value.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Support {

using Journal = std::vector<std::string>;

/// A reactor that writes its name into a journal each time it is told, and then acts. Starts
/// registered and active.
class Actor : public Mdl::PtrInterface::NotifieeConst {
 public:
   using Act = std::function<void(Mdl::AttributeId attribute, void const* key)>;

   Actor(Mdl::Ptr<Mdl::Entity const> notifier, Journal& journal, std::string name)
       : NotifieeConst(std::move(notifier)), journal_(journal), name_(std::move(name)) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   /// What it does when told; not while it is being told.
   void actIs(Act act) { act_ = std::move(act); }
   void actIs(std::function<void()> act) {
      act_ = [act = std::move(act)](Mdl::AttributeId, void const*) { act(); };
   }
   void actDel() { act_ = nullptr; }

   /// What it does in its destructor.
   void lastWillIs(std::function<void()> lastWill) { lastWill_ = std::move(lastWill); }

   void onAttribute(Mdl::AttributeId attribute, void const* key) override {
      journal_.push_back(name_);
      if (act_) act_(attribute, key);
   }

 protected:
   ~Actor() override {
      if (lastWill_) lastWill_();
   }

 private:
   Journal& journal_;
   std::string const name_;
   Act act_;
   std::function<void()> lastWill_;
};

inline Mdl::Ptr<Actor> actorOn(Mdl::Ptr<Mdl::Entity const> notifier, Journal& journal,
                               std::string name) {
   return Mdl::allocate<Actor>(std::move(notifier), journal, std::move(name));
}

/// A reactor that writes down what it is told: "261", or "258 key" when the type of the keys of
/// that attribute has been given.
class Listener final : public Mdl::PtrInterface::NotifieeConst {
 public:
   using KeyText = std::function<std::string(void const* key)>;

   explicit Listener(Mdl::Ptr<Mdl::Entity const> notifier) : NotifieeConst(std::move(notifier)) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   /// Keys of the attribute are of type `K`.
   template <class K>
   void keysOf(Mdl::AttributeId attribute) {
      keyTexts_.emplace_back(attribute, [](void const* key) {
         return std::string(Mdl::valueToStrep(*static_cast<K const*>(key)).view());
      });
   }

   void onAttribute(Mdl::AttributeId attribute, void const* key) override {
      std::string line = std::to_string(attribute);
      if (key != nullptr) line += ' ' + textOf(attribute, key);
      heard_.push_back(std::move(line));
   }

   Journal const& heard() const noexcept { return heard_; }

 private:
   std::string textOf(Mdl::AttributeId attribute, void const* key) const {
      for (auto const& [id, text] : keyTexts_) {
         if (id == attribute) return text(key);
      }
      return "?";
   }

   std::vector<std::pair<Mdl::AttributeId, KeyText>> keyTexts_;
   Journal heard_;
};

}  // namespace Support
