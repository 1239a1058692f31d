#pragma once

#include "mdl/Assert.h"
#include "mdl/PtrInterface.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace Mdl {

/// Intrusive, reference-counted pointer to a `PtrInterface`. Copying adds a reference, destruction
/// releases one; both are a handful of instructions without a lock unless the process has asked
/// for thread-safe pointers.
///
/// I1: a pointer clears itself before it releases, so that code run by the release (a destructor
///   that looks at the structure which held the pointer) finds null and not a dying object.
/// I2: following a null pointer stops the process by assertion.
template <class T>
class Ptr {
 public:
   using element_type = T;

   constexpr Ptr() noexcept = default;
   constexpr Ptr(std::nullptr_t) noexcept {}
   explicit Ptr(T* object) noexcept : object_(object) { add(); }
   Ptr(Ptr const& other) noexcept : object_(other.object_) { add(); }
   Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

   template <class U>
   requires std::is_convertible_v<U*, T*> Ptr(Ptr<U> const& other)
   noexcept : object_(other.get()) { add(); }
   template <class U>
   requires std::is_convertible_v<U*, T*> Ptr(Ptr<U>&& other)
   noexcept : object_(other.detach()) {}

   ~Ptr() { release(); }

   // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a copy of its own is swapped in.
   Ptr& operator=(Ptr const& other) noexcept {
      Ptr(other).swap(*this);
      return *this;
   }
   Ptr& operator=(Ptr&& other) noexcept {
      Ptr(std::move(other)).swap(*this);
      return *this;
   }
   Ptr& operator=(std::nullptr_t) noexcept {
      release();
      return *this;
   }

   /// Takes over a reference that the caller owns, instead of adding one.
   static Ptr adopt(T* object) noexcept {
      Ptr result;
      result.object_ = object;
      return result;
   }
   /// Gives up the object without releasing its reference; the caller owns it then.
   T* detach() noexcept { return std::exchange(object_, nullptr); }

   T* get() const noexcept { return object_; }
   T* operator->() const noexcept {
      MDL_ASSERT(object_ != nullptr);
      return object_;
   }
   T& operator*() const noexcept { return *operator->(); }
   explicit operator bool() const noexcept { return object_ != nullptr; }

   void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }

   friend bool operator==(Ptr const& a, std::nullptr_t) noexcept { return a.object_ == nullptr; }
   template <class U>
   friend bool operator==(Ptr const& a, Ptr<U> const& b) noexcept {
      return a.get() == b.get();
   }
   template <class U>
   friend std::strong_ordering operator<=>(Ptr const& a, Ptr<U> const& b) noexcept {
      return std::compare_three_way{}(a.get(), b.get());
   }

 private:
   void add() const noexcept {
      if (object_ != nullptr) object_->addReference();
   }
   void release() noexcept {
      if (T* const object = detach(); object != nullptr) object->releaseReference();
   }

   T* object_ = nullptr;
};

/// The same object as a `T` when it is one, null otherwise.
template <class T, class U>
Ptr<T> dynamicPtrCast(Ptr<U> const& pointer) noexcept {
   return Ptr<T>(dynamic_cast<T*>(pointer.get()));
}

/// The same object as a `T`, which the caller knows it to be.
template <class T, class U>
Ptr<T> staticPtrCast(Ptr<U> const& pointer) noexcept {
   return Ptr<T>(static_cast<T*>(pointer.get()));
}

/// Constructs a `T` and returns the first pointer to it. What the constructor throws, and a
/// failing allocation, reach the caller; nothing is left behind then. Entities are counted by
/// their type (`Type::allocations`).
template <class T, class... Args>
Ptr<T> allocate(Args&&... args) {
   Ptr<T> object = Ptr<T>::adopt(new T(std::forward<Args>(args)...));
   if constexpr (requires { object->noteAllocation(); }) object->noteAllocation();
   return object;
}

}  // namespace Mdl

template <class T>
struct std::hash<Mdl::Ptr<T>> {
   std::size_t operator()(Mdl::Ptr<T> const& pointer) const noexcept {
      return std::hash<T*>{}(pointer.get());
   }
};
