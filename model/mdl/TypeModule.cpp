#include "mdl/TypeModule.h"

#include <utility>

namespace Mdl {

namespace {

// Modules register while libraries are loaded; a plain pointer is there from the start.
constinit TypeModule* firstModule = nullptr;

}  // namespace

TypeModule::TypeModule(char const* name, std::span<EntityType const> entityTypes,
                       std::span<ValueType const> valueTypes,
                       std::span<char const* const> dependencies) noexcept
    : name_(name), entityTypes_(entityTypes), valueTypes_(valueTypes), dependencies_(dependencies),
      next_(std::exchange(firstModule, this)) {}

TypeModule::~TypeModule() {
   for (TypeModule** at = &firstModule; *at != nullptr; at = &(*at)->next_) {
      if (*at == this) {
         *at = next_;
         return;
      }
   }
}

TypeModule const* TypeModule::find(std::string_view name) noexcept {
   for (auto const* module = firstModule; module != nullptr; module = module->next_) {
      if (name == module->name_) return module;
   }
   return nullptr;
}

Type const* TypeModule::findEntityType(std::string_view name) noexcept {
   for (auto const* module = firstModule; module != nullptr; module = module->next_) {
      for (auto const type : module->entityTypes_) {
         if (name == type().name()) return &type();
      }
   }
   return nullptr;
}

ValueType const* TypeModule::findValueType(std::string_view name) noexcept {
   for (auto const* module = firstModule; module != nullptr; module = module->next_) {
      for (auto const& type : module->valueTypes_) {
         if (name == type.name) return &type;
      }
   }
   return nullptr;
}

}  // namespace Mdl
