#include "mdl/Reflection.h"

#include "mdl/Exception.h"

#include <algorithm>
#include <string>

namespace Mdl {

namespace {

template <class Wanted>
Member const& required(Entity const& entity, Wanted wanted, std::string const& text) {
   Member const* const member = entity.fwkType().member(wanted);
   if (member == nullptr) {
      throw ReflectionException(std::string(entity.fwkType().name()) + " has no member " + text);
   }
   return *member;
}

Reading readMember(Entity const& entity, Member const& member) {
   if (member.read == nullptr) {
      throw ReflectionException(std::string(entity.fwkType().name()) + "::" + member.name +
                                " is an operation and has no value");
   }
   return member.read(entity);
}

}  // namespace

Member const* Type::member(AttributeId id) const noexcept {
   auto const found = std::ranges::find(members_, id, &Member::id);
   return found == members_.end() ? nullptr : &*found;
}

Member const* Type::member(std::string_view name) const noexcept {
   auto const found = std::ranges::find_if(
       members_, [name](Member const& candidate) { return name == candidate.name; });
   return found == members_.end() ? nullptr : &*found;
}

Ptr<Entity> Type::construct(std::span<Ptr<Entity> const> arguments) const {
   if (construct_ == nullptr) {
      throw ReflectionException(std::string(name_) + " cannot be constructed from a list");
   }
   return construct_(arguments);
}

void Type::noteAllocation() const noexcept {
   live_.fetch_add(1, std::memory_order_relaxed);
   ever_.fetch_add(1, std::memory_order_relaxed);
}

void Type::noteDeallocation() const noexcept { live_.fetch_sub(1, std::memory_order_relaxed); }

Reading read(Entity const& entity, AttributeId id) {
   return readMember(entity, required(entity, id, std::to_string(id)));
}

Reading read(Entity const& entity, std::string_view name) {
   return readMember(entity, required(entity, name, std::string(name)));
}

void invoke(Entity& entity, std::string_view operation, std::span<String const> arguments) {
   Member const& member = required(entity, operation, std::string(operation));
   std::string const name = std::string(entity.fwkType().name()) + "::" + member.name;
   if (member.invoke == nullptr) throw ReflectionException(name + " is not an operation");
   if (arguments.size() != member.arguments) {
      throw ReflectionException(name + " takes " + std::to_string(member.arguments) +
                                " arguments, not " + std::to_string(arguments.size()));
   }
   member.invoke(entity, arguments);
}

void throwArgumentMismatch(std::size_t place, Entity const& given, std::string_view wanted) {
   throw ReflectionException("construction argument " + std::to_string(place) + " is a " +
                             given.fwkType().name() + ", not a " + std::string(wanted));
}

}  // namespace Mdl
