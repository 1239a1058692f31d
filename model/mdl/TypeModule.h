#pragma once

#include "mdl/Export.h"
#include "mdl/Reflection.h"
#include "mdl/String.h"
#include "mdl/Value.h"

#include <span>
#include <string_view>

namespace Mdl {

/// The description of a value type or an enumeration: its name, and how its text representation is
/// read and written.
struct ValueType {
   char const* name;
   /// Reads a text representation and writes the value again. Throws ParseException for what is
   /// none.
   String (*reread)(String const& text);

   template <class T>
   static constexpr ValueType of(char const* name) {
      return {name, [](String const& text) { return valueToStrep(strepToValue<T>(text)); }};
   }
};

/// The types that a library brings into the process, registered from its loading to its unloading.
///
/// Owner: a static object of the library. Its texts and lists are static.
/// I1: a module is found by name exactly while it exists.
class MDL_EXPORT TypeModule {
 public:
   using EntityType = Type const& (*)() noexcept;

   /// `dependencies` are the names of the modules whose types these types use.
   TypeModule(char const* name, std::span<EntityType const> entityTypes,
              std::span<ValueType const> valueTypes,
              std::span<char const* const> dependencies) noexcept;
   TypeModule(TypeModule const&) = delete;
   TypeModule& operator=(TypeModule const&) = delete;
   ~TypeModule();

   char const* name() const noexcept { return name_; }
   std::span<EntityType const> entityTypes() const noexcept { return entityTypes_; }
   std::span<ValueType const> valueTypes() const noexcept { return valueTypes_; }
   std::span<char const* const> dependencies() const noexcept { return dependencies_; }

   /// The module of that name, null when no library has brought it.
   static TypeModule const* find(std::string_view name) noexcept;
   /// A type by its qualified name in whatever module, null when there is none.
   static Type const* findEntityType(std::string_view name) noexcept;
   static ValueType const* findValueType(std::string_view name) noexcept;

 private:
   char const* name_;
   std::span<EntityType const> entityTypes_;
   std::span<ValueType const> valueTypes_;
   std::span<char const* const> dependencies_;
   TypeModule* next_;
};

}  // namespace Mdl
