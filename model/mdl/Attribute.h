#pragma once

#include "mdl/Entity.h"
#include "mdl/Exception.h"

#include <span>
#include <type_traits>
#include <utility>

/// The attributes of an entity, declared in its class body, one line each.
///
/// A declaration gives the stored field, the identifier under which changes are notified and read
/// by reflection (`nameAttributeId`), the accessors and the mutators, all named after the
/// attribute. Mutators follow `Entity`: told after the change, equal is no change, `DelAll` tells
/// per key. Each declaration leaves the class body in a `private:` section.

namespace Mdl {

/// Small values are returned by value, the others by reference to the stored one.
template <class T>
using AttributeResult =
    std::conditional_t<std::is_trivially_copyable_v<T> && sizeof(T) <= 16, T, T const&>;

}  // namespace Mdl

/// `name()`, `nameIs(value)`.
#define MDL_SCALAR(T, name, id)                                                 \
 public:                                                                        \
   [[maybe_unused]] static constexpr ::Mdl::AttributeId name##AttributeId = id; \
   ::Mdl::AttributeResult<T> name() const noexcept { return name##_; }          \
   void name##Is(T value) { scalarIs(name##_, std::move(value), id); }          \
                                                                                \
 private:                                                                       \
   T name##_ {}

/// What all collections share: `name()` the collection itself, `name(key)` the value or a
/// default-constructed one (null, false, 0) when absent, `nameHas(key)`, `nameDel(key)`,
/// `nameDelAll()`.
#define MDL_COLLECTION_BASE(K, V, name, id)                                     \
 public:                                                                        \
   [[maybe_unused]] static constexpr ::Mdl::AttributeId name##AttributeId = id; \
   ::Mdl::Collection<K, V> const& name() const noexcept { return name##_; }     \
   V name(K const& key) const {                                                 \
      V const* const value = name##_.find(key);                                 \
      return value == nullptr ? V{} : *value;                                   \
   }                                                                            \
   bool name##Has(K const& key) const { return name##_.contains(key); }         \
   void name##Del(K const& key) { entryDel(name##_, key, id); }                 \
   void name##DelAll() { entryDelAll(name##_, id); }                            \
                                                                                \
 private:                                                                       \
   ::Mdl::Collection<K, V> name##_

/// A map: also `nameIs(key, value)`.
#define MDL_MAP(K, V, name, id)                                                          \
 public:                                                                                 \
   void name##Is(K const& key, V value) { entryIs(name##_, key, std::move(value), id); } \
   MDL_COLLECTION_BASE(K, V, name, id)

/// A set: also `nameIs(key)`; the stored value is always true. `nameIsEach(keys)` and
/// `nameDelEach(keys)` do the same for several keys, as if one after the other (see
/// `Entity::entriesAre`).
#define MDL_SET(K, name, id)                                                           \
 public:                                                                               \
   void name##Is(K const& key) { entryIs(name##_, key, true, id); }                    \
   void name##IsEach(std::span<K const> keys) { entriesAre(name##_, keys, true, id); } \
   void name##DelEach(std::span<K const> keys) { entriesDel(name##_, keys, id); }      \
   MDL_COLLECTION_BASE(K, bool, name, id)

/// Values that carry their own key, `keyOf()`: also `nameIs(value)`.
#define MDL_KEYED_VALUES(K, V, keyOf, name, id)                                  \
 public:                                                                         \
   void name##Is(V const& value) { entryIs(name##_, value.keyOf(), value, id); } \
   MDL_COLLECTION_BASE(K, V, name, id)

/// Entities that carry their own key, `keyOf()`: also `nameIs(pointer)`, which raises
/// NullArgumentException for null and then changes nothing.
#define MDL_KEYED_ENTITIES(K, E, keyOf, name, id)                       \
 public:                                                                \
   void name##Is(::Mdl::Ptr<E> const& entity) {                         \
      if (!entity) throw ::Mdl::NullArgumentException(typeName, #name); \
      entryIs(name##_, entity->keyOf(), entity, id);                    \
   }                                                                    \
   MDL_COLLECTION_BASE(K, ::Mdl::Ptr<E>, name, id)
