#pragma once

#include "mdl/Entity.h"
#include "mdl/Export.h"
#include "mdl/String.h"
#include "mdl/Value.h"

#include <atomic>
#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Mdl {

/// What reading an attribute by reflection gives: one value, or the entries of a collection in the
/// collection's order.
struct MDL_EXPORT Reading {
   /// Plain values as they are, entities as pointers, every other value as its text representation.
   using Value =
       std::variant<std::monostate, bool, std::uint64_t, double, String, Ptr<Entity const>>;
   using Entries = std::vector<std::pair<Value, Value>>;

   Value value;
   Entries entries;

   template <class T>
   static Reading of(T const& attribute) {
      return Reading{valueOf(attribute), {}};
   }

   template <class C>
   static Reading ofCollection(C const& collection) {
      Reading reading;
      reading.entries.reserve(collection.size());
      for (auto const& entry : collection.walk()) {
         reading.entries.emplace_back(valueOf(entry.key), valueOf(entry.value));
      }
      return reading;
   }

   template <class T>
   static Value valueOf(T const& attribute) {
      if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, String> ||
                    std::is_same_v<T, double>) {
         return Value(attribute);
      } else if constexpr (std::is_integral_v<T>) {
         return Value(static_cast<std::uint64_t>(attribute));
      } else if constexpr (std::is_convertible_v<T, Ptr<Entity const>>) {
         return Value(Ptr<Entity const>(attribute));
      } else {
         return Value(valueToStrep(attribute));
      }
   }
};

/// One attribute, derived view or operation of a reflected type.
struct Member {
   enum class Kind : std::uint8_t { scalar, collection, view, operation };
   using Read = Reading (*)(Entity const&);
   /// Arguments are given in their text representations.
   using Invoke = void (*)(Entity&, std::span<String const>);

   AttributeId id;
   char const* name;
   Kind kind;
   Read read = nullptr;
   Invoke invoke = nullptr;
   unsigned arguments = 0;
};

/// The description of an entity type.
///
/// Owner: static storage of the library that defines the type. Never changes but for its
/// allocation counts.
class MDL_EXPORT Type {
 public:
   using Construct = Ptr<Entity> (*)(std::span<Ptr<Entity> const>);

   /// `members` and the texts are static. `constructor` makes an instance from a list of entities;
   /// null for a type that cannot be made so.
   explicit Type(char const* name, std::span<Member const> members = {},
                 Construct constructor = nullptr) noexcept
       : name_(name), members_(members), construct_(constructor) {}
   Type(Type const&) = delete;
   Type& operator=(Type const&) = delete;

   char const* name() const noexcept { return name_; }
   std::span<Member const> members() const noexcept { return members_; }

   /// A member by identifier or name; null when there is none.
   Member const* member(AttributeId id) const noexcept;
   Member const* member(std::string_view name) const noexcept;

   /// Makes an instance. Throws ReflectionException when the type cannot be made from a list, or
   /// the list does not fit; what the constructor throws passes through.
   Ptr<Entity> construct(std::span<Ptr<Entity> const> arguments) const;

   /// Instances that the framework allocated and that still exist, and all there ever were.
   std::uint64_t allocations() const noexcept { return live_.load(std::memory_order_relaxed); }
   std::uint64_t allocationsEver() const noexcept { return ever_.load(std::memory_order_relaxed); }
   void noteAllocation() const noexcept;
   void noteDeallocation() const noexcept;

 private:
   char const* name_;
   std::span<Member const> members_;
   Construct construct_;
   mutable std::atomic<std::uint64_t> live_ = 0;
   mutable std::atomic<std::uint64_t> ever_ = 0;
};

/// Reads an attribute or a view of `entity`. An unknown member, or an operation, is a
/// ReflectionException that names type and member.
MDL_EXPORT Reading read(Entity const& entity, AttributeId id);
MDL_EXPORT Reading read(Entity const& entity, std::string_view name);

/// Calls an operation of `entity` with arguments in their text representations. Throws
/// ReflectionException for what is no operation or a wrong number of arguments, ParseException
/// for an argument that does not parse.
MDL_EXPORT void invoke(Entity& entity, std::string_view operation,
                       std::span<String const> arguments = {});

/// One argument of a construction list as a `T`: null stays null, an entity of another type is a
/// ReflectionException that names its place (from 1) and both types.
template <class T>
Ptr<T> constructionArgument(std::span<Ptr<Entity> const> arguments, std::size_t place);

/// Raises the ReflectionException of `constructionArgument`.
[[noreturn]] MDL_EXPORT void throwArgumentMismatch(std::size_t place, Entity const& given,
                                                   std::string_view wanted);

template <class T>
Ptr<T> constructionArgument(std::span<Ptr<Entity> const> arguments, std::size_t place) {
   Ptr<Entity> const& given = arguments[place];
   Ptr<T> result = dynamicPtrCast<T>(given);
   if (given && !result) throwArgumentMismatch(place + 1, *given, T::typeName);
   return result;
}

}  // namespace Mdl
