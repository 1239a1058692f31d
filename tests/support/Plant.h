#pragma once

#include "mdl/Attribute.h"
#include "mdl/Reflection.h"
#include "mdl/String.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace Support {

/// A value that carries its own key.
class Label {
 public:
   explicit Label(Mdl::String name = {}, std::uint32_t weight = 0) noexcept
       : name_(std::move(name)), weight_(weight) {}
   Mdl::String const& name() const noexcept { return name_; }
   std::uint32_t weight() const noexcept { return weight_; }
   friend bool operator==(Label const&, Label const&) noexcept = default;

 private:
   Mdl::String name_;
   std::uint32_t weight_;
};

/// An entity that carries its own key, and acts when it dies.
class Leaf final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Support::Leaf";

   explicit Leaf(Mdl::String name, std::function<void()> lastWill = {})
       : name_(std::move(name)), lastWill_(std::move(lastWill)) {}

   Mdl::String const& name() const noexcept { return name_; }

   static Mdl::Type const& type() noexcept {
      static Mdl::Type const type(typeName);
      return type;
   }
   Mdl::Type const& fwkType() const noexcept override { return type(); }

 private:
   ~Leaf() override {
      if (lastWill_) lastWill_();
   }

   Mdl::String const name_;
   std::function<void()> lastWill_;
};

/// An entity with one attribute of each kind.
class Plant final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Support::Plant";

   explicit Plant(std::function<void()> lastWill = {}) : lastWill_(std::move(lastWill)) {}

   static Mdl::Type const& type() noexcept {
      static Mdl::Type const type(typeName);
      return type;
   }
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_SCALAR(std::uint32_t, height, 130);
   MDL_SCALAR(Mdl::String, title, 131);
   MDL_SET(Mdl::String, mark, 132);
   MDL_MAP(Mdl::String, std::uint32_t, count, 133);
   MDL_KEYED_VALUES(Mdl::String, Label, name, label, 134);
   MDL_KEYED_ENTITIES(Mdl::String, Leaf const, name, leaf, 135);

 private:
   ~Plant() override {
      if (lastWill_) lastWill_();
   }

   std::function<void()> lastWill_;
};

}  // namespace Support
