#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>

namespace Oracle {

/// Work in a child process, so that the parent outlives whatever becomes of it. The child ends with
/// what `work` returns as its exit code; nothing that it changes is seen here.
///
/// Owner: the stack.
class Child {
 public:
   explicit Child(std::function<int()> const& work);
   Child(Child const&) = delete;
   Child& operator=(Child const&) = delete;
   /// Waits for its end.
   ~Child();

   /// How the child ended, as a shell would say it: its exit code, or 128 and the number of the
   /// signal that ended it.
   int wait();
   /// The same, or nothing while it runs. Returns after `seconds` at the latest.
   std::optional<int> waitFor(double seconds);
   /// Bytes of memory in use by the child, 0 when it cannot be told.
   std::uint64_t memory() const;

 private:
   std::optional<int> ended_;
   int pid_ = -1;
};

void* mapShared(std::size_t bytes);
void unmapShared(void* memory, std::size_t bytes) noexcept;

/// A value that children share with their parent.
///
/// Owner: the stack. `T` holds nothing but numbers, atomic ones where two processes look at the
/// same time.
template <class T>
class Shared {
 public:
   Shared() : value_(new (mapShared(sizeof(T))) T()) {}
   Shared(Shared const&) = delete;
   Shared& operator=(Shared const&) = delete;
   ~Shared() { unmapShared(value_, sizeof(T)); }

   T& operator*() const noexcept { return *value_; }
   T* operator->() const noexcept { return value_; }

 private:
   T* const value_;
};

}  // namespace Oracle
